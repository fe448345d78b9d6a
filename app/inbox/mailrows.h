#pragma once

#include <string>
#include <vector>

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/core/commands.h"
#include "app/inbox/senderlist.h"
#include "corelib/base/recordarray.h"

/// Pictures of a row, by their numbers.
enum MAILPICTURE { PICTURE_UNREAD = 1, PICTURE_MARKED, PICTURE_READ, PICTURE_PASSED_OVER };

/// Columns, from left to right.
enum MAILCOLUMN { COLUMN_SENDER, COLUMN_SUBJECT, COLUMN_SIZE, COLUMN_POINTS };

/// A list of mails that a person works on, free of any window: rows, pictures, order, marks, and which commands make
/// sense. Mails are named by their index in the table, which stays as it is when the rows are sorted. The thread of the
/// user interface.
class MAILROWS {
 public:
    /// The settings, which outlive it.
    explicit MAILROWS(STRINGARRAY& state) : State(state) {}
    virtual ~MAILROWS() = default;
    MAILROWS(const MAILROWS&) = delete;
    MAILROWS& operator=(const MAILROWS&) = delete;

    /// The title of the window that shows them.
    virtual STRING Title() const = 0;
    /// Carries the marks out; how many mails could not be dealt with, and stay marked.
    virtual int Apply() = 0;

    int Count() const { return Mails.Count(); }
    const STRINGARRAY& Mail(int mail) const { return Mails[mail]; }
    /// A copy of the record with its Body, also where that is read only when it is asked for.
    virtual STRINGARRAY Whole(int mail) const { return Mails[mail]; }
    /// The cells of a row, UTF-8 (see SHOWNMAIL), joined by tabs.
    std::string RowText(int mail) const;
    MAILPICTURE Picture(int mail) const;

    bool IsMarked(int mail) const { return Mails[mail].GetNumber("Deleted") != 0; }
    bool HasMarked() const { return CountMarked() > 0; }
    int CountMarked() const;
    /// By hand: from it the filter learns.
    void Mark(const std::vector<int>& mails, bool marked);
    /// Adds the senders to the list of friends or of bad senders, see AddSenders; from it the filter learns, too.
    LISTED ListSenders(const std::vector<int>& mails, bool bad);

    /// All mails in the order of the last sort column.
    std::vector<int> Sorted() const;
    /// What a click on a column's head makes of the settings: the same column turns the order, another one keeps it.
    void ClickColumn(int column);

    /// How the commands look with those mails selected.
    std::vector<COMMANDSTATE> CommandStates(const std::vector<int>& selected, bool canAnswer) const;

    /// Whether marked mails are to go now, and whether the person is to be asked before; automatic: not by a command of
    /// theirs.
    bool MayApply(bool automatic) const;
    bool MustAsk(bool automatic) const;

    /// Whether its mark was changed since the mails were read.
    bool IsTouched(int mail) const { return Mails[mail].GetNumber("@Touched") != 0; }

    /// What tells a mail from others, also in the next listing, whatever its id is there: for a selection that outlives
    /// this one.
    virtual std::string Name(int mail) const { return NameOf(Mails[mail]).Identity; }
    /// The mails of those names that there are, in the order of the names. Of equal mails each is given once.
    std::vector<int> Find(const std::vector<std::string>& names) const;

 protected:
    /// To be called whenever Mails was filled anew.
    void TakeShown();
    void Remove(int mail);
    /// Without any lesson.
    void SetMarks(const std::vector<int>& mails, bool marked);
    /// What a person does with a mail tells the filter what it is. By default nobody listens.
    virtual void Teach(int /*mail*/, bool /*isSpam*/) {}

    STRINGARRAY& State;
    RECORDARRAY Mails{MAILHASH_SLOTS, MAILHASH_SLOTS};

 private:
    struct SHOWN {
        std::string Sender, Subject;
    };
    int Compare(int left, int right, int column) const;

    std::vector<SHOWN> Shown;  // for each mail
};
