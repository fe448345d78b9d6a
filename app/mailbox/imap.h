#pragma once

#include <cstdint>

#include "app/mailbox/mailhandler.h"
#include "corelib/net/baseio.h"

/// IMAP (RFC 3501) with LOGIN, SELECT, SEARCH, FETCH, STORE, COPY, EXPUNGE and LOGOUT on port 143; a server text of the
/// form host:port reaches any port. Reading changes no flag: content is fetched with BODY.PEEK only.

inline constexpr int IMAP_PORT = 143, IMAPS_PORT = 993;

/// Time-outs and pauses, and the most that a server may say. Tests shrink them.
struct IMAPTIMES {
    int LineMs = 5000;               // each line, the greeting too, and each piece of a literal
    int PauseMs = 250;               // after LOGIN when reading, ahead of it when deleting and moving
    int ReplySeconds = 300;          // a reply whose lines take longer than this has no end, and so has one
    int64_t ReplyBytes = 16 << 20;   // of more bytes; the list of two million mails is as long
    int64_t LiteralBytes = 65536;    // what is kept of a literal: nobody's mail makes the others unreadable
    int64_t ListingBytes = 1 << 30;  // reading ends with the mail that passes this: no server fills the memory
    int64_t MailPrice = 3072;        // counted beside its bytes for each mail: what its record takes at least
};
extern const IMAPTIMES& ImapTimes;

/// Bytes of the body that are asked for when an item's DownloadMailTexts is on.
inline constexpr int IMAP_BODY_BYTES = 4096;

/// The name of the folder that an item watches; empty for the inbox.
STRING WatchedFolder(const STRINGARRAY& item);

/// Reads a folder ("" for the inbox), newest mail first, with at most `bytes` bytes of each mail's first body part,
/// into a listing, and stores in the item's @UidValidity under what its UIDs are valid. False,
/// with "-ERR " and the server's last line, if anything at all went wrong; a server that is gone before it has
/// confirmed LOGOUT is no such thing.
[[nodiscard]] bool ImapGet(const MAILBOXCALL& call, const STRING& folder, int bytes, STRING& result);

/// The same over a device of the caller's, which is offline at first, and destroyed after it.
[[nodiscard]] bool ImapRead(BASEIO& device, const MAILBOXCALL& call, const STRING& folder, int bytes, STRING& result);

/// Deletes mails by their UIDs, one a line, in the folder that the item reads; one that has gone is passed over, and so
/// is what is no number. If the UIDs are not what they were at the listing (the item's UidValidity), none goes. Then
/// `error` is "OK"; on failure it has the reply without its tag, and is empty if there was none. What is marked as
/// deleted stays so.
[[nodiscard]] bool ImapDelete(const MAILBOXCALL& call, const STRING& ids, STRING& error);

/// The same with a copy in `folder` made first; `error` lacks the reply's status word, too. Mails that are in that
/// folder stay as they are.
[[nodiscard]] bool ImapMove(const MAILBOXCALL& call, const STRING& ids, const STRING& folder, STRING& error);

/// The two over a device of the caller's: a move if there is a `folder`.
[[nodiscard]] bool ImapDispose(BASEIO& device, const MAILBOXCALL& call, const STRING& ids, const STRING* folder,
                               STRING& error);

/// The row of IMAP in the table of handlers.
extern const MAILHANDLER ImapHandler;
