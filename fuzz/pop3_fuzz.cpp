#include "app/mailbox/listing.h"
#include "app/mailbox/pop3.h"
#include "bench/unwatched.h"
#include "corelib/base/ascii.h"
#include "fuzz/saidserver.h"

namespace {

constexpr size_t MOST_BYTES = 12000;  // of a mail: the server says more, and not more than it can

bool Read(std::string_view said, STRING& listing, bool fast = false) {
    UNWATCHED row;
    row.Item.Set("FastCheck", fast ? "1" : "0");
    SAIDSERVER server(said);
    return PopRead(server, row.Call("", "", ""), 0, listing);
}

// What a server sends of a mail: a line ends in "\n" and nowhere else, and a point that begins one is doubled.
std::string Sent(std::string_view mail) {
    std::string lines;
    while (!mail.empty()) {
        std::string_view line = mail.substr(0, mail.find('\n'));
        mail.remove_prefix(std::min(line.size() + 1, mail.size()));
        if (line.starts_with('.'))
            lines += '.';
        lines.append(line).append(line.ends_with('\r') ? "\n" : "\r\n");
    }
    return lines + ".\r\n";
}

// Whatever a server says, reading ends, and what comes out is a listing or an error.
void ReadAnything(std::string_view said) {
    STRING listing;
    const bool ok = Read(said, listing);
    Never(ok ? !ASCII::IsDigit(listing.View().front()) : !ASCII::BeginsWith(listing.View(), "-ERR "));
    const LISTING::SUMMARY summary = LISTING::ReadSummary(listing);
    LISTING::BLOCKCURSOR cursor(listing);
    int blocks = 0;
    for (std::string_view block; ok && cursor.Next(block); ++blocks)
        Never(!block.starts_with("X-Size: ") || !block.ends_with(".\n"));
    Never(ok && blocks != summary.Count);
}

// The same of a check that sends its commands ahead.
void ReadAnythingFast(std::string_view said) {
    STRING listing;
    const std::string start = "+OK\r\n+OK\r\n+OK\r\n+OK\r\nPIPELINING\r\n.\r\n";
    const bool ok = Read(start + std::string(said), listing, true);
    Never(ok ? !ASCII::IsDigit(listing.View().front()) : !ASCII::BeginsWith(listing.View(), "-ERR "));
}

// One mail's bytes change no other mail's block, nor any mail's id.
void ReadBetweenTwo(std::string_view mail, bool fast) {
    const std::string ahead = "+OK\r\nPIPELINING\r\n.\r\n", lists = "+OK\r\n1 a\r\n.\r\n+OK\r\n2 400\r\n.\r\n";
    const std::string said = "+OK\r\n+OK\r\n+OK\r\n" + (fast ? ahead : "") + "+OK 3 900\r\n" + (fast ? lists : "") +
                             "+OK 3 300\r\n+OK\r\nA: 3\r\n\r\n..\r\n.\r\n+OK 2 400\r\n+OK\r\n" + Sent(mail) +
                             "+OK 1 200\r\n+OK\r\nA: 1\r\n\r\nx\r\n.\r\n+OK\r\n";
    STRING listing;
    Never(!Read(said, listing, fast) || !listing.View().starts_with("3 msgs|3 ?unread|900 bytes\n"));
    LISTING::BLOCKCURSOR cursor(listing);
    std::string_view block;
    for (const std::string_view expected :
         {"X-Size: 300\nX-Message-Id: 3|300\nA: 3\n\n..\n.\n", "X-Size: 400\nX-Message-Id: 2|400\n",
          "X-Size: 200\nX-Message-Id: 1|200\nA: 1\n\nx\n.\n"})
        Never(!cursor.Next(block) ||
              (block != expected &&
               (!expected.ends_with("2|400\n") || !block.starts_with(expected) || block[expected.size()] == '\t')));
    Never(cursor.Next(block));
}

}  // namespace

FUZZ_TARGET(bytes) {
    SHRINKABLE::PopTimes.GreetingMs = SHRINKABLE::PopTimes.ReplyMs = 4;
    ReadAnything(bytes);
    ReadAnythingFast(bytes);
    // This server says it all, however long the machine takes to hear it.
    SHRINKABLE::PopTimes.GreetingMs = SHRINKABLE::PopTimes.ReplyMs = 20000;
    for (const bool fast : {false, true})
        ReadBetweenTwo(bytes.substr(0, MOST_BYTES), fast);
}
