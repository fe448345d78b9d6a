#pragma once

#include "app/inbox/mailrows.h"
#include "corelib/base/stopquestion.h"

class LEARNING;
class TARNWICK;

/// The copies in the trash. All come up marked: what lies there is to go, and who wants to keep a copy takes the mark
/// off.
class TRASHMAILS : public MAILROWS {
 public:
    explicit TRASHMAILS(TARNWICK& application);

    /// Reads the folder anew.
    void Load();
    /// The window's title: the product's name, and how many copies there are.
    STRING Title() const override;
    /// Index of the copy with that id, -1 if there is none.
    int FindId(std::string_view id) const;
    /// The mail with its text, which is read when it is asked for: a copy of the record. The text is empty if its file
    /// has gone.
    std::string Name(int mail) const override { return std::string(Mails[mail]["@File"].View()); }
    STRINGARRAY Whole(int mail) const override;

    /// Deletes the files of the marked copies, and takes them out of the list. How many could not be deleted; these
    /// stay.
    int Apply() override;

    /// Sends the copy on to the user's own address, so that it reaches the real mailbox: with a mark in its subject
    /// that the filter takes for an exception, and without the filter's report. The copy stays. False with the server's
    /// words, or why there was no conversation. Blocks as EMAIL does: for a thread of its own.
    /// What arrived is a lesson for the filter: it was no spam. Marks are none here, where all that lies is to go.
    static bool SendOn(LEARNING& lessons, const STRINGARRAY& whole, const STRINGARRAY& state, const TEXTS& texts,
                       const STOPQUESTION& stopAsked, STRING& error);

 private:
    STRING TextFile(int mail) const;

    TARNWICK& Application;
};

/// The message that SendOn sends.
STRING MessageToSendOn(const STRINGARRAY& whole);
