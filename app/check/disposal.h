#pragma once

#include <vector>

#include "app/check/notifier.h"
#include "app/check/trashstore.h"
#include "corelib/base/stopquestion.h"

/// What the marking of a check's mails came to.
struct SPAMMARKS {
    bool Queued = false;  // something that the next pass is to carry out at once
    int Lost = 0;         // mails queued for deletion of which no copy could be written
    int Uncopied = 0;     // mails that stay on the server, of which none could be written
    SENTAWAY SentAway = {};
    std::vector<int> Condemned = {};  // indexes of all that a verdict sends away, in this check or in others
    bool Stopped = false;             // the program is to end: the item is as it was
};

/// What the marking works with beside the item.
struct SPAMPARTS {
    const STRINGARRAY& State;  // the settings
    TRASHSTORE& Trash;
    STOPQUESTION StopAsked = {};
};

/// Marks the mails of a check by their X-SpamPoints: queues them for deletion or moving in the item's lists, keeps a
/// copy in the trash where the settings say so, and sets X-Ignore to "1" for those that are to be no news. Does nothing
/// for an item that takes no part in the filter. `announced` is the number of mails that the server claims.
///
/// Only a mail whose id is sure is queued or copied: it stands in one block alone, and of POP3 it has a number that the
/// server has announced, in a listing of no more blocks than mails. A mail that has been queued before and is still
/// there, because the server keeps it, is neither copied again nor a reason for another pass; the next check tries its
/// deletion again (@RetryMessageId) when it is due. What a person has queued meanwhile stays queued.
SPAMMARKS MarkBySpamVerdict(STRINGARRAY& item, MAILRECORDS& records, int announced, const SPAMPARTS& parts);

/// True if a mail without any points may be sent away or be no news: all are looked at as spam is.
bool IsEveryMailSpam(const STRINGARRAY& state);

/// The server has refused what was queued: if the mails are still there at the next good check, they are queued again,
/// with the copies that they have.
void ForgetTries(STRINGARRAY& item);
