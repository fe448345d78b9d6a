#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/filter/learning.h"
#include "app/filter/mxmemory.h"
#include "app/filter/wordscanner.h"
#include "corelib/net/mxlookup.h"

/// What the filter thinks of a mail.
struct SPAMSCORE {
    int Result = 0;  // the points, or 0 if the mail has too few indications or an exception
    int TotalPoints = 0;
    int Significant = 0;  // significant indications
    int Exceptions = 0;
};

/// The spam filter: gives every mail of a listing its points and its reasons, and takes no action on any. Points alone
/// condemn nothing: they count only with enough significant indications and without an exception.
class SPAMFILTER {
 public:
    /// All of it outlives the filter.
    SPAMFILTER(const STRINGARRAY& state, const TEXTS& texts, FRONTEND& frontEnd, MXLOOKUP& mx)
        : State(state), Texts(texts), FrontEnd(frontEnd), Mx(mx) {}

    /// Who knows that the program is to end; nobody at first. The mail under way is left within moments then, and what
    /// comes back is of no use. Not while a mail is scored.
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// What the user teaches; nothing at first. It outlives the filter.
    void SetLearning(LEARNING* learning) { Lessons = learning; }
    /// Carries out the lessons that wait. Work thread.
    void Learn() {
        if (Lessons)
            Lessons->Work(StopAsked);
    }
    /// Whether the settings let mails of that item be filtered.
    bool IsFiltered(const STRINGARRAY& item) const;

    /// Reads the spam variables and the word table anew; the number of rows. Any thread: a scan that runs goes on with
    /// the table it has.
    int LoadSpamDefinitions();

    /// The listing with X-SpamPoints and X-SpamReason on top of each of its mails. An item that is not filtered gets 0
    /// points everywhere. An empty block ends the listing. A text that begins "-ERR " if it was stopped. Work thread.
    /// A mail of the item's last listing (see NEXTLISTING::Places) keeps its verdict if that has the same basis, as the
    /// item's @VerdictBasis tells.
    STRING SpamFilter(const STRINGARRAY& item, STRING listing);
    /// What the verdicts of the last listing rest on: lists, variables and settings, as a number. Work thread.
    const STRING& Basis() const { return LatestBasis; }

    /// Scores one mail by the definitions that were loaded last. `report`, which may be null, gets the report for a
    /// person. handle and status: for the progress in the item's row. memory: that of a check of many mails; null for
    /// one mail alone. The filter's own thread, one mail at a time.
    SPAMSCORE SpamFilterMessage(const char* message, STRING* report, int handle, const STRING& status,
                                MXMEMORY* memory = nullptr);

 private:
    void CountLearned(WORDSCANNER& scanner, const DECODEDVIEW& view) const;
    SPAMSCORE Score(const SPAMTABLE& table, WORDSCANNER& scanner, MXMEMORY& mx, std::string_view message,
                    std::string* report, int handle, const STRING& status);
    bool IsStopped() const { return StopAsked && StopAsked(); }
    std::string Report(const WORDSCANNER& scanner, const SPAMSCORE& score) const;
    STRING BasisOf(const SPAMTABLE* table) const;
    std::vector<std::string> KnownVerdicts(const STRINGARRAY& item) const;
    std::shared_ptr<const SPAMTABLE> LoadTable();
    std::shared_ptr<const SPAMTABLE> Table();

    const STRINGARRAY& State;
    const TEXTS& Texts;
    FRONTEND& FrontEnd;
    MXLOOKUP& Mx;
    LEARNING* Lessons = nullptr;
    STOPQUESTION StopAsked;
    STRING LatestBasis;
    std::mutex Guard;                              // of the pointer
    std::shared_ptr<const SPAMTABLE> LatestTable;  // null until the first load
};

/// Stands for a line feed in the value of X-SpamReason.
inline constexpr char REASON_LINE_END = 0x0C;
