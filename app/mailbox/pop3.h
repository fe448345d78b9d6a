#pragma once

#include <cstdint>

#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// POP3 (RFC 1939) with USER and PASS, STAT, LIST, TOP, DELE and QUIT on port 110; a server text of the form host:port
/// reaches any port. Mail is never fetched: a body's first lines come from TOP.

/// Time-outs in ms, and the most that a listing may take. Tests shrink them.
struct POPTIMES {
    int GreetingMs = 40000;
    int ReplyMs = 10000;             // each other line
    int64_t ListingBytes = 1 << 30;  // reading ends behind the mail that passes this: no server fills the memory
};
extern POPTIMES PopTimes;

/// Body lines that are asked for when an item's DownloadMailTexts is on.
inline constexpr int POP_BODY_LINES = 100;
/// The buffer of a reply line: longer lines come in pieces.
inline constexpr int POP_LINE = 1024;

/// Connects and logs on. In every case `reply` holds the last line that was read ("" after a time-out), or "-ERR " and
/// the device's text if there is no connection.
bool PopLogin(BASEIO& device, const STRING& server, const STRING& user, const STRING& password,
              char (&reply)[POP_LINE]);

/// Reads the mailbox, newest mail first, with `lines` lines of each body, into a listing with "+OK " in front. True
/// only if QUIT was acknowledged too; false with "-ERR " and the server's line if the log-on or STAT failed, false with
/// the listing if only QUIT did.
bool PopGet(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password, int lines,
            STRING& result);

/// The same over a device of the caller's, which is offline at first, and destroyed behind it.
bool PopRead(BASEIO& device, const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
             int lines, STRING& result);

/// Deletes mails by ids of the form "number|size", one a line, all or none: the server carries the deletions out at
/// QUIT, which is sent only if all went well. A mail whose size is no longer the one of its id is passed over. True if
/// QUIT was acknowledged.
bool PopDelete(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
               const STRING& ids);

/// The row of POP3 in the table of handlers.
extern const MAILHANDLER PopHandler;
