#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/account.h"
#include "corelib/base/recordarray.h"

/// The first @Handle of a run. Handles count up from here.
inline constexpr int FIRST_ITEM_HANDLE = 4096;

/// What SetItemState changes: a dialog edits the item (@Locked), a check of it runs (@InUpdate).
inline constexpr int ITEMSTATE_LOCKED = 1;
inline constexpr int ITEMSTATE_INUPDATE = 2;

/// For SetItemState: no change, only the question whether the item is in a check.
inline constexpr int ITEMSTATE_ASK = -1;

/// LastSeenIds of an item whose mails shall all come as new at the next check.
inline constexpr const char* SHOW_ALL_IDS = "<SHOWALL>";

/// The item with that handle: its place in the table, or -1; itself, or null. 0 is the handle of none.
int FindHandle(const RECORDARRAY& items, int handle);
STRINGARRAY* FindItem(RECORDARRAY& items, int handle);

/// Adds ids to a list of an item's, such as "@DeleteMessageId", one a line: those that it lacks. In one step, as the
/// work thread takes lists and the user's thread adds to them.
void AddIds(STRINGARRAY& item, const char* key, const std::vector<std::string_view>& ids);
/// Empties a list of ids, and gives what stood there, in one step.
STRING TakeIds(STRINGARRAY& item, const char* key);

/// A mail by its name on the server, which another mail may have at the next check, and by what it is (see IdentityOf,
/// with its date and size): a Message-Id alone may be a stranger's copy, and nightly reports have the same words.
struct MAILNAME {
    std::string Id, Identity;
};
MAILNAME NameOf(const STRINGARRAY& record);
/// Queues mails that a person wants deleted (@DeleteMessageId). What is queued while a check runs outlives the check's
/// own verdicts: it is remembered in @QueuedByUser until it is carried out.
void QueueDeletion(STRINGARRAY& item, const std::vector<MAILNAME>& mails);
/// Adds their ids to @DeleteMessageId alone.
void AddToDeletions(STRINGARRAY& item, const std::vector<MAILNAME>& mails);
/// What a person has queued and no check has carried out.
std::vector<MAILNAME> QueuedByUser(const STRINGARRAY& item);
/// Calls `change` with each of them, in one step; those for which it is false are forgotten.
void ChangeQueued(STRINGARRAY& item, const std::function<bool(MAILNAME& mail)>& change);

/// Completes an item's record: gives each missing key its default (colours from the settings `state`), sets the
/// run-time keys to their start values, gives it the next handle, marks the password for Base64, and locks the key set.
/// Names, credentials and folders become UTF-8 if an earlier version has left them in code page 1252.
/// For records that were loaded or are new, before another thread sees them; isNew: an account that the user is adding,
/// which has defaults of its own where a record of earlier runs keeps what a missing key has always meant.
void FixItem(STRINGARRAY& item, const STRINGARRAY& state, int& nextHandle, bool isNew = false);
