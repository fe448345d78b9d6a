#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "corelib/base/strings.h"

/// The listing: the text in which every mailbox delivers its mail and which everything else reads. A summary line of
/// three fields split at "|" (count, unread, size), then for each mail its header lines, an empty line, the body, and a
/// byte of value 1. Lines end in "\n", and no "\r" is in it.
namespace LISTING {

inline constexpr char BLOCK_END = 1;

/// Lines that handlers put on top of a block.
inline constexpr const char* SIZE_HEADER = "X-Size";
inline constexpr const char* ID_HEADER = "X-Message-Id";
inline constexpr const char* MESSAGEID_HEADER = "Message-Id";
inline constexpr const char* SEEN_HEADER = "Seen";
inline constexpr const char* TRANSPORT_HEADER = "X-Transport";
/// "no": the body is what a person reads, in UTF-8, whatever the mail's own header says of it.
inline constexpr const char* MIME_HEADER = "Mime";
/// Lines that the spam filter puts on top of those.
inline constexpr const char* REASON_HEADER = "X-SpamReason";
inline constexpr const char* POINTS_HEADER = "X-SpamPoints";

/// True if a peer's first bytes are those of an encrypted conversation (a TLS record, RFC 8446 section 5.1): it took
/// our words for the beginning of one.
bool IsEncrypted(std::string_view reply);
/// Stands in the place of such a reply.
inline constexpr const char* ENCRYPTED = "999 TLS only";
/// "-ERR " and the line, or the line alone if it begins so already; without any "\r".
STRING ErrorText(const char* line);

/// Count, " msgs|", unread, " ?unread|" or " unread|", size, " bytes\n"; the three go in as the server's text.
STRING SummaryLine(const STRING& count, const STRING& unread, bool unreadKnown, const STRING& size);

/// Fields of the first line of a listing.
struct SUMMARY {
    STRING Line;         // without its "\n"
    int Count = 0;       // number at the start of field 0
    STRING UnreadField;  // null if there is no field 1
};
SUMMARY ReadSummary(const STRING& listing);

/// Walks the blocks of a listing in one pass. The listing must outlive the cursor.
class BLOCKCURSOR {
 public:
    explicit BLOCKCURSOR(const STRING& listing);
    /// Stores the next block, without its end byte; false at the end of the text, and at an empty block, which ends the
    /// listing for everybody who reads it. Without an end byte the last block runs to the end of the text.
    bool Next(std::string_view& block);

 private:
    std::string_view Rest;
};

/// Takes the line off that ends a reply of a POP3 server (RFC 1939 section 3), which stands in the blocks of such a
/// mailbox only; true if it was there. Points at the beginning of the lines above it are doubled then.
bool TakeReplyEnd(std::string_view& body);

/// Cuts the lines off a block that the spam filter has put on top of it; empty if there are none.
std::string_view TakeVerdict(std::string_view& block);

/// How many blocks a listing has.
int CountBlocks(const STRING& listing);

/// Puts a listing together from pieces of any size, in linear time and with no spare room in the result, which lives as
/// long as its item does. What would make it longer than a STRING can be is a failed assertion, and is left out.
class WRITER {
 public:
    void Append(std::string_view bytes);
    /// Bytes so far.
    int64_t Length() const { return Total; }
    /// The text, after `head`, which counts to the whole; the writer is empty then.
    STRING Take(std::string_view head = {});

 private:
    std::vector<std::string> Pieces;
    int64_t Total = 0;
};

}  // namespace LISTING
