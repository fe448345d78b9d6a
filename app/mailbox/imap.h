#pragma once

#include <cstdint>

#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// IMAP (RFC 3501) with LOGIN, SELECT, SEARCH, FETCH, STORE, COPY, EXPUNGE and LOGOUT on port 143; a server text of the
/// form host:port reaches any port. Reading changes no flag: content is fetched with BODY.PEEK only.

/// Time-outs and pauses, and the most that a server may say. Tests shrink them.
struct IMAPTIMES {
    int LineMs = 5000;               // each line, the greeting too
    int PauseMs = 250;               // behind LOGIN when reading, ahead of it when deleting and moving
    int ReplySeconds = 300;          // a reply whose lines take longer than this has no end, and so has one
    int64_t ReplyBytes = 16 << 20;   // of more bytes; the list of two million mails is as long
    int64_t ListingBytes = 1 << 30;  // reading ends behind the mail that passes this: no server fills the memory
};
extern IMAPTIMES ImapTimes;

/// Bytes of the body that are asked for when an item's DownloadMailTexts is on.
inline constexpr int IMAP_BODY_BYTES = 4096;

/// One command, with the next tag in front, and its reply: all lines up to the tagged one, each ended by "\n", those in
/// front of the last one by "\r\n" if crlf is set, as the length of a literal counts them. `line`, of `size` bytes,
/// then holds the last line: the tagged one; or nothing, if no more lines came; or an error text, if the reply had no
/// end. The tag's counter is one for all conversations, which are held one at a time.
STRING ImapCommand(BASEIO& device, const STRING& command, char* line, int size, bool crlf);

/// Reads a folder ("" for the inbox), newest mail first, with at most `bytes` bytes of each mail's first body part,
/// into a listing with "+OK " in front. False, with "-ERR " and the server's last line, if anything at all went wrong.
bool ImapGet(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
             const STRING& folder, int bytes, STRING& result);

/// The same over a device of the caller's, which is offline at first, and destroyed behind it.
bool ImapRead(BASEIO& device, const PROGRESS& progress, const STRING& server, const STRING& user,
              const STRING& password, const STRING& folder, int bytes, STRING& result);

/// Deletes mails of the inbox by their UIDs, one a line; one that has gone is passed over. Then `error` is "OK"; on
/// failure it has the reply without its tag, and is empty if there was none. What is marked as deleted stays so.
bool ImapDelete(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
                const STRING& ids, STRING& error);

/// The same with a copy in `folder` made first; `error` lacks the reply's status word, too.
bool ImapMove(const PROGRESS& progress, const STRING& server, const STRING& user, const STRING& password,
              const STRING& ids, const STRING& folder, STRING& error);

/// The row of IMAP in the table of handlers.
extern const MAILHANDLER ImapHandler;
