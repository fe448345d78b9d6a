#pragma once

#include <cstdint>

#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// POP3 (RFC 1939) with USER and PASS, STAT, LIST, TOP, DELE and QUIT on port 110; a server text of the form host:port
/// reaches any port. Mail is never fetched: a body's first lines come from TOP.

inline constexpr int POP3_PORT = 110, POP3S_PORT = 995;

/// Time-outs in ms, and the most that a listing may take. Tests shrink them.
struct POPTIMES {
    int GreetingMs = 40000;
    int ReplyMs = 10000;             // any other line
    int64_t MailBytes = 16 << 20;    // what is kept of one mail: nobody's mail takes the room of the others
    int64_t ListBytes = 64 << 20;    // of a reply that has a line for each mail
    int64_t ListingBytes = 1 << 30;  // reading ends after the mail that passes this: no server fills the memory
    int64_t MailPrice = 3072;        // counted beside its bytes for each mail: what its record takes at least
};
extern const POPTIMES& PopTimes;

/// Body lines that are asked for when an item's DownloadMailTexts is on.
inline constexpr int POP_BODY_LINES = 100;
/// The buffer of a line: longer ones come in pieces.
inline constexpr int POP_LINE = 1024;

/// Reads the mailbox, newest mail first, with `lines` lines of each body, into a listing; a single
/// mail that the server refuses to show is left out. True if the listing is whole, whatever the server says to QUIT;
/// else false with "-ERR " and the server's line, or what has ended the conversation, or nothing if the server fell
/// silent before the first mail.
[[nodiscard]] bool PopGet(const MAILBOXCALL& call, int lines, STRING& result);

/// The same over a device of the caller's, which is offline at first, and destroyed after it.
[[nodiscard]] bool PopRead(BASEIO& device, const MAILBOXCALL& call, int lines, STRING& result);

/// Deletes mails by ids of the form "number|size", one a line, all or none: the server carries the deletions out at
/// QUIT, which is sent only if all went well. A mail whose size is no longer the one of its id is passed over. True if
/// QUIT was acknowledged; else `error` says why as PopGet does, without "-ERR ".
[[nodiscard]] bool PopDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error);

/// The same over a device of the caller's.
[[nodiscard]] bool PopErase(BASEIO& device, const MAILBOXCALL& call, const STRING& ids, STRING& error);

/// The row of POP3 in the table of handlers.
extern const MAILHANDLER PopHandler;
