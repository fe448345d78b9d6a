#pragma once

#include "app/check/notifier.h"
#include "app/check/trashstore.h"
#include "app/common/texts.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

/// What the detection works with beside the item.
struct NEWMAILPARTS {
    const STRINGARRAY& State;  // the settings
    const TEXTS& Texts;
    TRASHSTORE& Trash;
    NOTIFIER& Notifier;
    STOPQUESTION StopAsked = {};
};

/// What a person has queued (see QueueDeletion), under the ids that the mails have in the item's present listing: POP3
/// numbers shift when other mails go, and a listing may have come after the person saw the mails. What is not there any
/// more is queued no longer.
void RenewQueuedIds(STRINGARRAY& item);

/// Marks the spam of a new listing, compares the rest with the ids that were on the server at the item's last check,
/// stores the item's LastSeenIds and LastRC, hands over to the notifier, and forces a check if spam was queued for
/// disposal. `asked` is true if the user asked for the check and waits for an answer. The row's text comes back, such
/// as "3 mails (1 unread)"; null if the program is to end: the item is as it was then. popupOpened tells whether a
/// popup was queued.
STRING HandleNewMail(STRINGARRAY& item, const STRING& listing, const STRING& lastSeenIds, bool asked,
                     const NEWMAILPARTS& parts, bool& popupOpened);
