#include "app/mailbox/listing.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace LISTING {

namespace {

constexpr size_t PIECE_BYTES = 65536;

}  // namespace

bool IsEncrypted(std::string_view reply) {
    return reply.starts_with("\x15\x03") || reply.starts_with("\x16\x03");
}

STRING ErrorText(const char* line) {
    STRING text = ASCII::BeginsWith(line, "-ERR ") ? STRING(line) : STRING("-ERR ") || line;
    text.Replace("\r", "");
    return text;
}

STRING SummaryLine(const STRING& count, const STRING& unread, bool unreadKnown, const STRING& size) {
    return count || " msgs|" || unread || (unreadKnown ? " unread|" : " ?unread|") || size || " bytes\n";
}

SUMMARY ReadSummary(const STRING& listing) {
    SUMMARY summary;
    summary.Line = listing.Line(0, WORD_NEVERNULL);
    summary.Count = atoi(summary.Line);
    summary.UnreadField = summary.Line.Word(1, "|");
    return summary;
}

BLOCKCURSOR::BLOCKCURSOR(const STRING& listing) : Rest(listing.View()) {
    size_t end = Rest.find('\n');
    Rest.remove_prefix(end == Rest.npos ? Rest.size() : end + 1);
}

bool BLOCKCURSOR::Next(std::string_view& block) {
    block = Rest.substr(0, Rest.find(BLOCK_END));
    Rest.remove_prefix(std::min(block.size() + 1, Rest.size()));
    if (block.empty())
        Rest = {};
    return !block.empty();
}

bool TakeReplyEnd(std::string_view& body) {
    const bool has = body == ".\n" || body.ends_with("\n.\n");
    if (has)
        body.remove_suffix(2);
    return has;
}

std::string_view TakeVerdict(std::string_view& block) {
    std::string_view rest = block;
    for (const char* name : {REASON_HEADER, POINTS_HEADER})
        if (rest.starts_with(name))
            ASCII::Take(rest, '\n');
    const std::string_view verdict = block.substr(0, block.size() - rest.size());
    block = rest;
    return verdict;
}

int CountBlocks(const STRING& listing) {
    BLOCKCURSOR blocks(listing);
    int count = 0;
    for (std::string_view block; blocks.Next(block);)
        ++count;
    return count;
}

void WRITER::Append(std::string_view bytes) {
    if (!ASSERTION(bytes.size() <= static_cast<uint64_t>(STRING::MAX_LENGTH - Total), "Total<=STRING::MAX_LENGTH"))
        return;
    Total += static_cast<int64_t>(bytes.size());
    while (!bytes.empty()) {
        if (Pieces.empty() || Pieces.back().size() == PIECE_BYTES)
            Pieces.emplace_back().reserve(PIECE_BYTES);
        std::string& piece = Pieces.back();
        size_t n = std::min(bytes.size(), PIECE_BYTES - piece.size());
        piece.append(bytes.substr(0, n));
        bytes.remove_prefix(n);
    }
}

STRING WRITER::Take(std::string_view head) {
    STRING text;
    if (!ASSERTION(head.size() <= static_cast<uint64_t>(STRING::MAX_LENGTH - Total), "Total<=STRING::MAX_LENGTH"))
        head = {};
    text.Make(static_cast<int>(Total + static_cast<int64_t>(head.size())), nullptr);
    char* at = text.Data() + head.copy(text.Data(), head.size());
    for (std::string& piece : Pieces) {
        at += piece.copy(at, piece.size());
        piece = std::string();
    }
    Pieces.clear();
    Total = 0;
    return text;
}

}  // namespace LISTING
