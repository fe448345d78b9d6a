#pragma once

#include "app/mailbox/mailhandler.h"

/// The inbox of the local message store, through the program's one MAPI session (MAILBOXCALL::Mapi). There is no server
/// to connect to, and no user.

/// Bytes of the body that are asked for when an item's DownloadMailTexts is on.
inline constexpr int MAPI_BODY_BYTES = 4096;

/// Reads the inbox into a listing, with at most `bytes` bytes of each body. False with "-ERR " and a text for a person.
[[nodiscard]] bool MapiGet(const MAILBOXCALL& call, int bytes, STRING& result);

/// Moves mails into the store's wastebasket by their ids, one a line. After the first that cannot be moved no other is
/// tried. `error` is "OK" on success.
[[nodiscard]] bool MapiDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error);

/// The same into a folder that holds mail, by its name: with its store's in front, or without, and then in the first
/// store that has one. `error` stays empty where there is no session.
[[nodiscard]] bool MapiMove(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error);

/// The row of MAPI in the table of handlers.
extern const MAILHANDLER MapiHandler;
