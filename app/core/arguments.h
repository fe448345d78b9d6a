#pragma once

#include <string>
#include <vector>

#include "corelib/base/dynarray.h"

/// The switches that the program was started with: the words of the command line and the lines of commandline.ini.
/// Word 0 is the program's own name and is never taken for a switch. Built and filled before a second thread runs;
/// read-only afterwards.
class ARGUMENTS {
 public:
    /// No words but the program's name.
    explicit ARGUMENTS(const char* program);
    /// From a command line without the program's name. Words are split at blanks; one that begins with a double quote
    /// runs to the next double quote, without the two.
    ARGUMENTS(const char* program, const char* commandLine);
    /// From words that the platform has split already.
    ARGUMENTS(int argc, const char* const* argv);
    explicit ARGUMENTS(const std::vector<std::string>& words);

    /// Adds the lines of a file, cut of blanks and tabs at both ends, as further words, with "/" for the "-" in front
    /// of a switch with a value; nothing if there is no such file.
    void AddFile(const char* filename = "commandline.ini");
    /// Hands the words that it has not had yet to the trace log's option reader.
    void ApplyLogOptions();

    /// Is there a word of "/" or "-" and that name? Names are compared without regard to case.
    bool TestArg(const char* name) const;
    /// Do at least n+1 words begin with "/" or "-" and that name?
    bool TestArgValue(const char* name, int n) const;
    /// What stands after the name in the n-th such word (from 0), without one ":" in front; empty for a word that
    /// begins with "-", null if there are not that many.
    STRING GetArgValue(const char* name, int n) const;

    /// All words, word 0 included.
    int Count() const { return Words.Count(); }
    const STRING& operator[](int i) const { return Words[i]; }
    /// The command line as one text, without the program's name.
    const STRING& CommandLine() const { return Line; }

 private:
    const STRING* FindValue(const char* name, int n) const;

    DYNARRAY<STRING> Words;
    STRING Line;
    int Applied = 1;
};

/// The words of a command line, as the constructor splits it. Any bytes; never an empty word, unless it is quoted.
DYNARRAY<STRING> SplitCommandLine(const char* commandLine);

/// The words that a program was started with (its name first), in the form in which switches are read: one with a value
/// begins with "/", also where the user has written "-". Their paths are made whole: the program makes its own
/// directory the current one, and a user means the one in which the program was started.
std::vector<std::string> CompletePaths(std::vector<std::string> words);
