#pragma once

#include "app/check/notifier.h"
#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// Compares a new listing of the item with the ids that were on the server at its last check, stores the item's
/// LastSeenIds and LastRC, and hands over to the notifier. `asked` is true if the user asked for the check and waits
/// for an answer. The row's text comes back, such as "3 mails (1 unread)". popupOpened tells whether a popup was
/// queued.
STRING HandleNewMail(STRINGARRAY& item, const STRING& listing, const STRING& lastSeenIds, bool asked,
                     const TEXTS& texts, NOTIFIER& notifier, bool& popupOpened);
