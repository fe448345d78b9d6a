// Checks of a POP3 mailbox that send their commands ahead and ask for new mails only.

#include <map>

#include "app/mailbox/knownmails.h"
#include "app/mailbox/pop3.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/support/stopsoon.h"

namespace {

constexpr const char* GREETING = "+OK hello\r\n";
constexpr const char* OK = "+OK\r\n";

// A server that says to each command what it says in these exchanges, and whatever follows from that.
class MODEL {
 public:
    MODEL(const std::vector<EXCHANGE>& exchanges, bool pipelines, std::string uidl)
        : Replies(exchanges.begin(), exchanges.end()), Uidl(std::move(uidl)) {
        Replies["CAPA"] = pipelines ? "+OK\r\nTOP\r\npipelining\r\n.\r\n" : "-ERR what?\r\n";
        for (const auto& [command, reply] : exchanges) {
            int number, size, end = 0;
            if (command.starts_with("LIST ") && sscanf(reply.c_str(), "+OK %d %d\r\n%n", &number, &size, &end) == 2 &&
                end == static_cast<int>(reply.size()))
                Sizes += reply.substr(4);
        }
    }
    OUTCOME Get(STRINGARRAY& item) {
        Heard.clear();
        return ReadFast(
            item, GREETING, [this](const std::string& line) { return Answer(line); },
            [](BASEIO& device, const MAILBOXCALL& call, STRING& result) { return PopRead(device, call, 0, result); });
    }
    // Deletes instead.
    OUTCOME Erase(STRINGARRAY& item, const char* ids) {
        Heard.clear();
        return ReadFast(
            item, GREETING, [this](const std::string& line) { return Answer(line); },
            [ids](BASEIO& device, const MAILBOXCALL& call, STRING& error) {
                return PopErase(device, call, ids, error);
            });
    }
    std::string Heard;  // the commands after STAT

 private:
    std::string Answer(const std::string& line) {
        if (Replies.contains("STAT"))
            Heard += line + "\n";
        if (line == "UIDL" && !Uidl.empty())
            return Uidl;
        if (line.starts_with("UIDL ")) {
            const size_t at = Uidl.find("\n" + line.substr(5) + " ");
            return at == Uidl.npos ? "-ERR no\r\n" : "+OK " + Uidl.substr(at + 1, Uidl.find('\n', at + 1) - at);
        }
        if (line.starts_with("DELE "))
            return OK;
        if (line == "LIST")
            return OK + Sizes + ".\r\n";
        const auto found = Replies.find(line);
        return found == Replies.end() ? "-ERR no\r\n" : found->second;
    }
    std::map<std::string, std::string> Replies;
    const std::string Uidl;
    std::string Sizes;  // lines of LIST for all
};

// Mails 7, 8 and so on, each with its size, id and text; more of them the more there are.
std::vector<EXCHANGE> Mailbox(const std::vector<int>& mails, std::string& uidl) {
    std::vector<EXCHANGE> exchanges = {{"USER joe", OK}, {"PASS pw", OK}};
    exchanges.emplace_back("STAT", "+OK " + std::to_string(mails.size()) + " 999\r\n");
    uidl = OK;
    for (size_t i = 0; i < mails.size(); ++i) {
        const std::string number = std::to_string(i + 1), mail = std::to_string(mails[i]);
        uidl += number + " id" + mail + "\r\n";
        exchanges.emplace_back("LIST " + number, "+OK " + number + " 10" + mail + "\r\n");
        exchanges.emplace_back("TOP " + number + " 0", "+OK\r\nM: " + mail + "\r\n\r\n.\r\n");
    }
    uidl += ".\r\n";
    exchanges.emplace_back("QUIT", OK);
    return exchanges;
}

std::string Listing(const std::vector<int>& mails) {
    const std::string count = std::to_string(mails.size());
    std::string text = count + " msgs|" + count + " ?unread|999 bytes\n";
    for (size_t i = mails.size(); i > 0; --i) {
        const std::string mail = std::to_string(mails[i - 1]), size = "10" + mail;
        text += "X-Size: " + size + "\nX-Message-Id: " + std::to_string(i) + "|" + size + "\nM: " + mail + "\n\n.\n\1";
    }
    return text;
}

// A later check that finds these mails, where the last one has found 1, 2 and 3.
struct LATER {
    explicit LATER(const std::vector<int>& mails, const std::function<void(std::string& uidl)>& change = {}) {
        SHORTTIMES times(8000);
        std::string uidl;
        Exchanges = Mailbox({1, 2, 3}, uidl);
        EXPECT_EQ(MODEL(Exchanges, true, uidl).Get(Item), (OUTCOME{true, Listing({1, 2, 3})}));
        StoreListing(Item, Listing({1, 2, 3}));
        Exchanges = Mailbox(mails, uidl);
        if (change)
            change(uidl);
        Server = std::make_unique<MODEL>(Exchanges, true, uidl);
    }
    STRINGARRAY Item;
    std::vector<EXCHANGE> Exchanges;
    std::unique_ptr<MODEL> Server;
};

TEST(PopFast, WhatIsKnownIsNotAskedFor) {
    const std::string all = "LIST 4\nTOP 4 0\nLIST 3\nTOP 3 0\nLIST 2\nTOP 2 0\nLIST 1\nTOP 1 0\nQUIT\n",
                      megabyte(1 << 20, 'x');
    const auto replace = [](const std::string& from, const std::string& to) {
        return [=](std::string& uidl) { uidl.replace(uidl.find(from), from.size(), to); };
    };
    const struct {
        const char* What;
        std::vector<int> Mails;
        std::function<void(std::string& uidl)> Change;
        std::string Asked;
    } cases[] = {
        {"nothing new", {1, 2, 3}, {}, "QUIT\n"},
        {"one new, one gone: numbers are others", {1, 3, 4}, {}, "LIST 3\nTOP 3 0\nQUIT\n"},
        {"all gone", {}, {}, "QUIT\n"},
        {"another id", {1, 2, 3}, replace("id2", "id9"), "LIST 2\nTOP 2 0\nQUIT\n"},
        {"another size", {1, 22, 3}, replace("id22", "id2"), "LIST 2\nTOP 2 0\nQUIT\n"},
        {"a mail without an id", {1, 2, 3, 4}, replace("2 id2\r\n", ""), "LIST 4\nTOP 4 0\nLIST 2\nTOP 2 0\nQUIT\n"},
        {"mails that there are not",
         {1, 2, 3},
         replace("1 id1\r\n", "0 a\r\n1 id1\r\n4000000000 b\r\n4 c\r\n"),
         "QUIT\n"},
        {"an id twice", {1, 2, 3, 4}, replace("id2", "id1"), all},
        {"a number twice", {1, 2, 3, 4}, replace("2 id2", "1 id2"), all},
        {"an empty id", {1, 2, 3, 4}, replace("id2", ""), all},
        {"an id of a megabyte", {1, 2, 3, 4}, replace("id2", megabyte), all},
        {"an id with control bytes", {1, 2, 3}, replace("id2", "id2\1\r"), "LIST 2\nTOP 2 0\nQUIT\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        SHORTTIMES times(8000);
        LATER later(c.Mails, c.Change);
        // What was learnt this time serves the next.
        for (const std::string& asked : {c.Asked, std::string(c.Asked == all || c.Change ? "" : "QUIT\n")}) {
            const OUTCOME outcome = later.Server->Get(later.Item);
            EXPECT_EQ(outcome, (OUTCOME{true, Listing(c.Mails)}));
            EXPECT_TRUE(asked.empty() || later.Server->Heard == "USER joe\nPASS pw\nCAPA\nSTAT\nUIDL\nLIST\n" + asked)
                << later.Server->Heard;
            StoreListing(later.Item, outcome.Result);
        }
    }
}

TEST(PopFast, ADoubtMakesTheNextCheckAPlainOne) {
    const std::string reply5 = "+OK 5 105\r\n", top5 = "+OK\r\nM: 5\r\n\r\n.\r\n", reply4 = "+OK 4 104\r\n",
                      top4 = "+OK\r\nM: 4\r\n\r\n.\r\n";
    const struct {
        const char* What;
        std::string List5, Top5, List4, Top4;  // what the server says to these commands
        const char* Error;
        bool Ahead = true;
    } cases[] = {
        {"replies mixed up", reply4, top4, reply5, top5, "-ERR 999 LIST result error"},
        {"texts mixed up", reply5, reply4, top4, top5, "-ERR 999 LIST result error"},
        {"a reply is missing", reply5, "", reply4, top4, "-ERR 999 LIST result error"},
        {"two are missing", "", "", reply4, top4, "-ERR 999 LIST result error"},
        {"the last is missing", reply5, top5, reply4, "", "-ERR 999 Read Timeout"},
        {"a reply twice", reply5, top5 + top5, reply4, top4, "-ERR 999 LIST result error"},
        {"the end is missing", reply5, "+OK\r\nM: 5\r\n", reply4, top4, "-ERR 999 LIST result error"},
        {"a reply twice, with nothing ahead", reply5, top5 + top5, reply4, top4, "-ERR 999 LIST result error", false},
        {"commands refused", reply5, "-ERR busy\r\n", "-ERR busy\r\n", "-ERR busy\r\n", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        LATER later({1, 2, 3, 4, 5});
        std::string uidl, first3 = Listing({1, 2, 3}).replace(0, 13, "5 msgs|5 ?unr");
        std::vector<EXCHANGE> broken = Mailbox({1, 2, 3, 4, 5}, uidl);
        std::map<std::string, std::string> said = {
            {"LIST 5", c.List5}, {"TOP 5 0", c.Top5}, {"LIST 4", c.List4}, {"TOP 4 0", c.Top4}};
        for (EXCHANGE& exchange : broken)
            if (said.contains(exchange.first))
                exchange.second = said[exchange.first];
        Patiently(true, [&] {
            STRINGARRAY item = later.Item;
            item.Set("@PlainChecks", "0");
            OUTCOME outcome = MODEL(broken, c.Ahead, uidl).Get(item), expected{!c.Error, c.Error ? c.Error : first3};
            const int first = item.GetNumber("@PlainChecks");
            const OUTCOME plain = later.Server->Get(item);
            const bool isPlain = later.Server->Heard.find("CAPA") == std::string::npos;
            // Then a fast one, and after the second doubt three plain ones.
            MODEL(broken, c.Ahead, uidl).Get(item);
            const bool good = outcome == expected && first == 1 && item.GetNumber("@PlainChecks") == 3 && isPlain &&
                              plain == OUTCOME{true, Listing({1, 2, 3, 4, 5})};
            return good ? "" : testing::PrintToString(outcome) + testing::PrintToString(plain);
        });
    }
}

TEST(PopFast, NumbersAndMailsThatGoAreNoIdsToKnowMailsBy) {
    SHORTTIMES times(8000);
    std::string uidl;
    const std::vector<EXCHANGE> exchanges = Mailbox({1, 2, 3}, uidl);
    const std::string first = "CAPA\nSTAT\nUIDL\nLIST\n", three = "LIST 3\nTOP 3 0\n",
                      others = "LIST 2\nTOP 2 0\nLIST 1\nTOP 1 0\n";
    const struct {
        const char* Uidl;
        std::vector<int> Gone;
        std::string Asked;
    } cases[] = {{"+OK\r\n1 1\r\n2 2\r\n3 3\r\n.\r\n", {}, three + others},
                 {"+OK\r\n1 1\r\n2 2\r\n3 4\r\n.\r\n", {}, ""},
                 {"+OK\r\n1 1\r\n2 2\r\n3 4\r\n.\r\n", {0}, three},
                 {"+OK\r\n1 1\r\n2 2\r\n3 4\r\n.\r\n", {1, 2}, others}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Uidl + c.Asked);
        MODEL server(exchanges, true, c.Uidl);
        STRINGARRAY item;
        EXPECT_EQ(server.Get(item), (OUTCOME{true, Listing({1, 2, 3})}));
        NEXTLISTING::Forget(item, c.Gone);
        StoreListing(item, Listing({1, 2, 3}));
        EXPECT_EQ(server.Get(item), (OUTCOME{true, Listing({1, 2, 3})}));
        EXPECT_TRUE(server.Heard.ends_with(first + c.Asked + "QUIT\n")) << server.Heard;
    }
}

// A mail that the plain way does not get either is no doubt more than once; nor is all of it refused for ever.
TEST(PopFast, WhatIsRefusedIsAskedForPlainlyOnce) {
    SHORTTIMES times(8000);
    std::string uidl;
    std::vector<EXCHANGE> exchanges = Mailbox({1, 2}, uidl);
    for (const char* refused : {"TOP 2 0", "STAT"}) {
        for (EXCHANGE& exchange : exchanges)
            if (exchange.first == refused)
                exchange.second = "-ERR broken\r\n";
        MODEL server(exchanges, true, uidl);
        STRINGARRAY item;
        std::string ways;
        for (int check = 0; check < 4; ++check) {
            const OUTCOME outcome = server.Get(item);
            ways += server.Heard.find("UIDL") == std::string::npos ? "plain " : "fast ";
            if (outcome.Ok)
                StoreListing(item, outcome.Result);
        }
        EXPECT_EQ(ways, *refused == 'T' ? "fast plain fast fast " : "fast plain fast plain ") << refused;
    }
}

TEST(PopFast, OnlyTheMailThatWasListedIsDeleted) {
    SHORTTIMES times(8000);
    const struct {
        const char* What;
        std::vector<int> Mails;
        std::string From, To;  // in the reply to UIDL
        std::string Asked;
    } cases[] = {
        {"it is", {1, 2, 3}, "", "", "LIST 2\nUIDL 2\nDELE 2\nQUIT\n"},
        {"another of its size", {1, 2, 3}, "id2", "id9", "LIST 2\nUIDL 2\nQUIT\n"},
        {"ids that are told no more", {1, 2, 3}, "2 id2", "0 x", "LIST 2\nUIDL 2\nQUIT\n"},
        {"another size", {1, 4, 3}, "", "", "LIST 2\nQUIT\n"},
    };
    for (const auto& c : cases) {
        LATER later(c.Mails, [&](std::string& uidl) { uidl.replace(uidl.find(c.From), c.From.size(), c.To); });
        EXPECT_EQ(later.Server->Erase(later.Item, "2|102\n"), (OUTCOME{true, "from before"})) << c.What;
        EXPECT_EQ(later.Server->Heard, "USER joe\nPASS pw\nSTAT\n" + c.Asked) << c.What;
    }
}

TEST(PopFast, AWindowEndsWithTheServerAndWithTheProgram) {
    const SCRIPT start =
        ServerScript(GREETING, {{"USER joe", OK}, {"PASS pw", OK}, {"CAPA", "+OK\r\nPIPELINING\r\n.\r\n"}});
    for (const bool goes : {true, false}) {
        SHORTTIMES times(8000);
        SCRIPT script = start;
        script.push_back(PLAY::ReadUntil("LIST\r\n"));
        script.push_back(PLAY::Send("+OK 2 70\r\n+OK\r\n.\r\n+OK\r\n.\r\n"));
        script.push_back(PLAY::ReadUntil("QUIT\r\n"));
        script.push_back(PLAY::Send("+OK 2 40\r\n+OK\r\nA: b\r\n"));
        if (goes)
            script.push_back(PLAY::Cut());
        SCRIPTEDSERVER server(script);
        RECORDINGROW row;
        const STOPSOON stop;
        if (!goes)
            row.StopAsked = stop.Question();
        row.Item.Set("FastCheck", "1");
        STRING result;
        EXPECT_FALSE(PopGet(row.Call(STRING(server.HostPort())), 0, result));
        EXPECT_EQ(result, goes ? "-ERR Remote disconnected" : "-ERR Stopped");
        EXPECT_EQ(row.Item.Exists("@PlainChecks"), goes) << "an end of ours is no doubt";
        if (!goes)
            EXPECT_STOPPED(stop);
    }
}

}  // namespace

void ExpectPopTheSameFast(const std::vector<EXCHANGE>& exchanges, const OUTCOME& expected, bool isSilent) {
    for (const bool pipelines : {true, false}) {
        for (const char* uidl : {"+OK\r\n1 one\r\n2 two\r\n.\r\n", ""}) {
            SCOPED_TRACE(std::string(pipelines ? "ahead " : "") + uidl);
            ExpectTheSameFast([&] { return MODEL(exchanges, pipelines, uidl); }, expected, isSilent);
        }
    }
}
