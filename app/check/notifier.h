#pragma once

#include <vector>

#include "app/check/mailrecords.h"

/// What a check found, for whoever tells the user.
struct CHECKREPORT {
    MAILRECORDS& Records;              // all mails of the listing, in its order
    const std::vector<int>& NewMails;  // indexes of the records that are new, in their order
    bool ShowAll;                      // the user asked to see all mails as new
    bool Unknown;                      // the unread count is not exact
    bool Asked;                        // the user asked for this check and waits for an answer
    STRING Status;                     // the row's text, such as "3 mails"
    STRING NewText;                    // " (2 new)"
    bool PopupShown = false;           // for those who are told after the user
};

/// The mails of a check that the filter's verdicts send away: indexes of the records, in their order. A mail stands
/// here once, when it is queued; what the server then keeps comes no second time.
struct SENTAWAY {
    std::vector<int> Trashed = {};  // deleted, with a copy in the trash
    std::vector<int> Deleted = {};  // without one
    std::vector<int> Moved = {};    // to the item's spam folder
};

/// Where new-mail detection hands over to the notification of the user. Work thread, but for StopSoundLoop.
class NOTIFIER {
 public:
    virtual ~NOTIFIER() = default;
    /// New mails have come. True if a popup was queued.
    virtual bool NewMail(STRINGARRAY& /*item*/, const CHECKREPORT& /*report*/) { return false; }
    /// Nothing is new, and the user asked for an answer. True if a popup was queued.
    virtual bool NothingNew(STRINGARRAY& /*item*/, const CHECKREPORT& /*report*/) { return false; }
    /// Spam is going, after what the two above have told of the same check. Never for nothing.
    virtual void SpamSentAway(const STRINGARRAY& /*item*/, const RECORDARRAY& /*records*/, const SENTAWAY& /*mails*/) {}
    /// The user knows of the mail: a sound that is repeated ends. Any thread.
    virtual void StopSoundLoop() {}
};
