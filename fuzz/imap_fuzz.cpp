#include "app/mailbox/imap.h"
#include "app/mailbox/imapidle.h"
#include "bench/unwatched.h"
#include "corelib/base/ascii.h"
#include "fuzz/listingblocks.h"
#include "fuzz/saidserver.h"

namespace {

// Whatever an IMAP server says, reading ends, and what comes out is an error, or a listing in which nothing that the
// server said can end a block.
void ReadWhatAServerSays(std::string_view said, bool fast) {
    UNWATCHED row;
    row.Item.Set("FastCheck", fast ? "1" : "0");
    SAIDSERVER server(said);
    STRING listing;
    if (!ImapRead(server, row.Call("", "", ""), "", IMAP_BODY_BYTES, listing)) {
        Never(!ASCII::BeginsWith(listing.View(), "-ERR "));
        return;
    }
    Never(!ASCII::IsDigit(listing.View().front()));
    for (const std::string& block : Blocks(listing))
        Never(block.find("Message-Id: ") == block.npos || block.find("\n\n") == block.npos);
}

struct MAIL {
    std::string Header, Body;
};

// Nor is there an end to telling of news that hangs up or means anything else.
void ListenToWhatAServerSays(std::string_view said) {
    UNWATCHED row;
    SAIDSERVER server(said, true);
    const MAILBOXCALL call = row.Call("", "", "");
    IMAPIDLE idle(server, call, "");
    NEWS heard = NEWS::NONE;
    if (idle.Begin(heard) == IMAPIDLE::STATE::GOOD && idle.Hear(heard) == IMAPIDLE::STATE::GOOD)
        (void)idle.Renew(heard);
    IMAPNEWS news;
    while (!said.empty())
        (void)news.Take(ASCII::Take(said, '\n'));
}

// What a correct server says to one command about three mails; flags stand after the text if `flagsLast` is set.
std::string Answer(const std::string& line, const MAIL (&mails)[3], bool flagsLast) {
    const size_t blank = line.find(' ');
    const std::string command = line.substr(blank + 1);
    std::string done = line.substr(0, blank) + " OK done\r\n";
    if (command.starts_with("SELECT"))
        return "* 3 EXISTS\r\n* OK [UIDVALIDITY 7] ok\r\n" + done;
    if (command.starts_with("SEARCH"))
        return "* SEARCH 1 2 3\r\n" + done;
    const auto literal = [](const std::string& text) { return "{" + std::to_string(text.size()) + "}\r\n" + text; };
    std::string many;
    for (const char number : {'1', '2', '3'}) {
        const MAIL& mail = mails[number - '1'];
        many += std::string("* ") + number + " FETCH (UID " + number;
        if (command.starts_with("UID FETCH "))
            many += " BODY[HEADER] " + literal(mail.Header) + " BODY[HEADER.FIELDS (X)] " + literal(mail.Header) +
                    " BODY[1]<0> " + literal(mail.Body.substr(0, IMAP_BODY_BYTES));
        many += " FLAGS () RFC822.SIZE 9)\r\n";
    }
    if (command.starts_with("UID FETCH ") || command.starts_with("FETCH 1:3 "))
        return many + done;
    if (!command.starts_with("FETCH "))
        return done;
    const char number = command[6];
    const MAIL& mail = mails[number - '1'];
    const auto holds = [&](const char* text) { return command.find(text) != command.npos; };
    std::string items = holds("SIZE") ? "RFC822.SIZE 9" : std::string("UID ") + number;
    if (holds("FLAGS") && flagsLast)
        items = "BODY[HEADER.FIELDS (X)] " + literal(mail.Header) + " FLAGS ()";
    else if (holds("FLAGS"))
        items = "FLAGS () BODY[HEADER.FIELDS (X)] " + literal(mail.Header);
    else if (holds("HEADER"))
        items = "BODY[HEADER] " + literal(mail.Header);
    else if (holds("BODY"))
        items = "BODY[1]<0> " + literal(mail.Body.substr(0, IMAP_BODY_BYTES));
    return std::string("* ") + number + " FETCH (" + items + ")\r\n" + done;
}

std::vector<std::string> ReadThreeMails(const MAIL& middle, bool flagsLast, bool fast) {
    const MAIL mails[] = {{"From: a\r\n\r\n", "first\r\n"}, middle, {"Subject: c\r\n\r\n", "third"}};
    ANSWERINGDEVICE server("* OK hello\r\n", [&](const std::string& line) { return Answer(line, mails, flagsLast); });
    UNWATCHED row;
    row.Item.Set("FastCheck", fast ? "1" : "0");
    STRING listing;
    Never(!ImapRead(server, row.Call("", "", ""), "", IMAP_BODY_BYTES, listing) ||
          !listing.View().starts_with("3 msgs|3 unread|0 bytes\n"));
    return Blocks(listing);
}

// A mail of these bytes is one mail, and the ones beside it are what they are without it.
void ReadWhatAMailSays(const std::string& text) {
    const size_t end = text.find("\r\n\r\n"), half = end == text.npos ? text.size() / 2 : end + 4;
    const bool flagsLast = text.size() % 2 == 0;
    const MAIL middle{text.substr(0, half), text.substr(half)};
    const std::vector<std::string> plain = ReadThreeMails({}, flagsLast, false),
                                   blocks = ReadThreeMails(middle, flagsLast, false);
    Never(ReadThreeMails(middle, flagsLast, true) != blocks);
    Never(plain.size() != 3 || blocks.size() != 3 || blocks[0] != plain[0] || blocks[2] != plain[2] ||
          blocks[1].find("\nMessage-Id: 2\nSeen: 0\n\n") == plain[1].npos);
}

}  // namespace

FUZZ_TARGET(text) {
    SHRINKABLE::ImapTimes.PauseMs = 0;
    SHRINKABLE::ImapTimes.LineMs = 4;
    for (const bool fast : {false, true})
        ReadWhatAServerSays(text, fast);
    ListenToWhatAServerSays(text);
    // This one answers.
    SHRINKABLE::ImapTimes.LineMs = 10000;
    ReadWhatAMailSays(std::string(text));
}
