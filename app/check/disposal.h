#pragma once

#include "app/check/trashstore.h"
#include "corelib/base/recordarray.h"

/// Marks the mails of a check by their X-SpamPoints: queues them for deletion or moving in the item's lists, keeps a
/// copy in the trash where the settings say so, and sets X-Ignore to "1" for those that are to be no news. Does nothing
/// for an item that takes no part in the filter. True if something was queued, which the next check carries out.
bool MarkBySpamVerdict(STRINGARRAY& item, RECORDARRAY& records, const STRINGARRAY& state, TRASHSTORE& trash);
