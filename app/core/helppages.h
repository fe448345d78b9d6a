#pragma once

#include "app/common/texts.h"

class PROGRAMSTARTER;

/// The help that came with the program, as pages in the language of the texts. A topic is the number of a dialog, a
/// window or a chapter, or a control of one; each has a file that leads to its place on a page.
class HELPPAGES {
 public:
    /// Looks beside the program, and where a system keeps such pages. The texts outlive the object.
    HELPPAGES(const TEXTS& texts, const STRING& programDirectory);

    bool AreThere() const;
    /// The first page, with the table of contents; the path where it should be if it is not there.
    const STRING& Contents() const { return First; }
    /// The file to open for a control (0: none in particular), or, where there is no word on it, for what it is in; the
    /// first page where there is none on that either.
    STRING FileOf(int window, int control = 0) const;
    /// Opens that file in the browser. What to tell the user if that cannot be done, otherwise null.
    [[nodiscard]] STRING Open(PROGRAMSTARTER& programs, int window, int control = 0) const;

 private:
    const TEXTS& Texts;
    STRING First;
};
