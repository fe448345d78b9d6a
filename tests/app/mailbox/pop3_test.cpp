#include "app/mailbox/pop3.h"

#include <map>

#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/answeringdevice.h"
#include "tests/support/stopsoon.h"
#include "tests/support/times.h"

namespace {

constexpr const char* GREETING = "+OK hello\r\n";
constexpr const char* OK = "+OK\r\n";

// A whole conversation, and the places in it.
enum PLACE { USER, PASS, STAT, LIST2, TOP2, LIST1, TOP1, QUIT };
const std::vector<EXCHANGE> WHOLE = {
    {"USER joe", OK},
    {"PASS pw", OK},
    {"STAT", "+OK 2 70\r\n"},
    {"LIST 2", "+OK 2 40\r\n"},
    {"TOP 2 0", "+OK\r\nA: b\r\n\r\n..x\r\n.\r\n"},
    {"LIST 1", "+OK 1 30\r\n"},
    {"TOP 1 0", "+OK\r\nC: d\r\n\r\n.\r\n"},
    {"QUIT", "+OK bye\r\n"},
};
const std::string SUMMARY = "2 msgs|2 ?unread|70 bytes\n";
const std::string BLOCK2 = "X-Size: 40\nX-Message-Id: 2|40\nA: b\n\n..x\n.\n\1";
const std::string BLOCK1 = "X-Size: 30\nX-Message-Id: 1|30\nC: d\n\n.\n\1";

OUTCOME Get(const SCRIPTEDSERVER& server) {
    RECORDINGROW row;
    STRING result = "from before";
    bool ok = PopGet(row.Call(STRING(server.HostPort()), " joe ", "pw  "), 0, result);
    return {ok, Std(result)};
}

// The conversation as it goes if the server says something else at one place: up to there, and then `rest`.
std::vector<EXCHANGE> Deviating(PLACE place, const std::string& reply, const std::vector<EXCHANGE>& rest) {
    std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + place);
    exchanges.emplace_back(WHOLE[place].first, reply);
    exchanges.insert(exchanges.end(), rest.begin(), rest.end());
    return exchanges;
}

std::vector<EXCHANGE> From(PLACE place) {
    return {WHOLE.begin() + place, WHOLE.end()};
}

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
        ANSWERINGDEVICE device(GREETING, [this](const std::string& line) { return Answer(line); });
        RECORDINGROW row;
        row.Item = item;
        row.Item.Set("FastCheck", "1");
        STRING result = "from before";
        const bool ok = PopRead(device, row.Call("server", " joe ", "pw  "), 0, result);
        item = row.Item;
        return {ok, Std(result)};
    }
    std::string Heard;  // the commands after STAT

 private:
    std::string Answer(const std::string& line) {
        if (Replies.contains("STAT"))
            Heard += line + "\n";
        if (line == "UIDL" && !Uidl.empty())
            return Uidl;
        if (line == "LIST")
            return OK + Sizes + ".\r\n";
        const auto found = Replies.find(line);
        return found == Replies.end() ? "-ERR no\r\n" : found->second;
    }
    std::map<std::string, std::string> Replies;
    const std::string Uidl;
    std::string Sizes;  // lines of LIST for all
};

const std::string UIDL = "+OK\r\n1 one\r\n2 two\r\n.\r\n";

// The fast way comes to the same, from nothing and with a listing to go on from.
void ExpectTheSameFast(const std::vector<EXCHANGE>& exchanges, const OUTCOME& expected, bool isSilent) {
    for (const bool pipelines : {true, false}) {
        for (const std::string& uidl : {UIDL, std::string()}) {
            Patiently(isSilent, [&] {
                MODEL server(exchanges, pipelines, uidl);
                STRINGARRAY item;
                for (const char* check : {"first", "later"}) {
                    const OUTCOME outcome = server.Get(item);
                    if (outcome.Ok != expected.Ok || (outcome.Ok && outcome != expected))
                        return check + std::string(pipelines ? ", ahead" : "") + (uidl.empty() ? "" : ", with ids: ") +
                               testing::PrintToString(outcome);
                    StoreListing(item, outcome.Ok ? outcome.Result : "");
                }
                return std::string();
            });
        }
    }
}

TEST(PopGet, OutcomeOfWhatAServerMaySay) {
    const std::vector<EXCHANGE> quit = From(QUIT), end;
    const std::string tail = BLOCK2 + BLOCK1, without2 = SUMMARY + BLOCK1, without1 = SUMMARY + BLOCK2;
    const OUTCOME badStat{false, "-ERR 999 STAT result error"}, badList{false, "-ERR 999 LIST result error"};
    const auto sized = [](const std::string& size) {
        return OUTCOME{true, SUMMARY + BLOCK2 + "X-Size: " + size + "\nX-Message-Id: 1|" + size + "\nC: d\n\n.\n\1"};
    };
    struct {
        const char* What;
        PLACE Place;
        std::string Reply;
        std::vector<EXCHANGE> Rest;
        OUTCOME Outcome;
        bool Late = false;  // silent, though each command has an answer in the end
    } const cases[] = {
        {"all well", QUIT, OK, end, {true, SUMMARY + tail}},
        {"user refused, in lower case", USER, "-err who\r\n", end, {false, "-err who"}},
        {"user silent", USER, "", end, {false, "-ERR "}},
        {"an encrypted port", USER, "\x15\x03\x01", end, {false, "-ERR 999 TLS only"}, true},
        {"password refused in other words", PASS, "no such mailbox\r\n", end, {false, "-ERR no such mailbox"}},
        {"password's reply empty", PASS, "\r\n", end, {false, "-ERR "}},
        {"STAT refused without a blank", STAT, "-ERR\r\n", end, {false, "-ERR -ERR"}},
        {"STAT runs on and has more words", STAT, "+OKAY 2 70 and more\r\n", From(LIST2), {true, SUMMARY + tail}},
        {"an empty mailbox", STAT, "+OK 0 0\r\n", quit, {true, "0 msgs|0 ?unread|0 bytes\n"}},
        {"a negative count", STAT, "+OK -5 9\r\n", end, badStat},
        {"a negative size", STAT, "+OK 2 -9\r\n", end, badStat},
        {"a size past all numbers", STAT, "+OK 2 99999999999999999999\r\n", end, badStat},
        {"more mails than bytes", STAT, "+OK 71 70\r\n", end, badStat},
        {"a count that runs on", STAT, "+OK 2x 70\r\n", end, badStat},
        {"a size that is not known", STAT, "+OK 2 0\r\n", From(LIST2), {true, "2 msgs|2 ?unread|0 bytes\n" + tail}},
        {"a size in words", STAT, "+OK 2 many\r\n", From(LIST2), {true, "2 msgs|2 ?unread|many bytes\n" + tail}},
        {"newest refused", LIST2, "-ERR\r\n", From(LIST1), {true, without2}},
        {"oldest not shown", TOP1, "-ERR\r\n", quit, {true, without1}},
        {"all refused", LIST2, "-ERR\r\n", {{"LIST 1", "-ERR no\r\n"}}, {false, "-ERR no"}},
        {"LIST understood otherwise", LIST1, "2 messages:\r\n", end, {false, "-ERR 2 messages:"}},
        {"a negative size of a mail", LIST1, "+OK 1 -30\r\n", end, badList},
        {"a size of a mail that runs on", LIST1, "+OK 1 30k\r\n", From(TOP1), {true, SUMMARY + tail}},
        {"a mail without a size", LIST1, "+OK 1\r\n", From(TOP1), sized("0")},
        {"a large size, and words", LIST1, "+ok 1 99999999999 or so\r\n", From(TOP1), sized("99999999999")},
        {"a size cut short", LIST1, "+OK 1 3", end, {false, "-ERR 999 Read Timeout"}, true},
        {"lines stop coming", TOP2, "+OK\r\nA: b\r\n", end, {false, "-ERR 999 Read Timeout"}, true},
        {"QUIT silent", QUIT, "", end, {true, SUMMARY + tail}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        const std::vector<EXCHANGE> exchanges = Deviating(c.Place, c.Reply, c.Rest);
        Patiently(IsSilent(exchanges) || c.Late, [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            OUTCOME outcome = Get(server);
            return Problem(server, exchanges, outcome, c.Outcome);
        });
        ExpectTheSameFast(exchanges, c.Outcome, IsSilent(exchanges) || c.Late);
    }
}

TEST(PopGet, NothingInAMailEndsItOrChangesAnother) {
    const std::string x(1022, 'x'), zero(1, 0);
    const std::string forged = "\1X-Size: 30\r\nX-Message-Id: 1|30\r\n\r\n";
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"a block's end, and another mail's id", "A: b\r\n" + forged, "A: b\n X-Size: 30\nX-Message-Id: 1|30\n\n"},
        {"an over-long line, a zero byte, a return within a line", "A: " + x + "yz\r\nB: 1" + zero + "2\r\nC\r: 3\r\n",
         "A: " + x.substr(2) + "\nxxyz\nB: 1 2\nC: 3\n"},
        {"a point at the end of an over-long line", x + "x.\r\nmore\r\n", x + "x\n.\nmore\n"},
        {"the same with a return in it", x + "\r.\r\nmore\r\n", x + "\n.\nmore\n"},
        {"an over-long line that is just full", x + "x\r\nA: b\r\n", x + "x\nA: b\n"},
        {"a point after a zero byte", "x" + zero + ".\r\n" + zero + ".\r\nmore\r\n", "x .\n .\nmore\n"},
        {"a point in front of one", "." + zero + "\r\nmore\r\n", ". \nmore\n"},
        {"a point after a return", "\r.\r\nmore\r\n", ".\nmore\n"},
        {"a point with two returns", ".\r\r\nmore\r\n", ".\nmore\n"},
        {"going on with the line above", "\tand more\r\n", " and more\n"},
    };
    for (const auto& [what, mail, block] : cases) {
        SCOPED_TRACE(what);
        const auto exchanges = Deviating(TOP2, OK + mail + ".\r\n", From(LIST1));
        SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
        const OUTCOME expected{true, SUMMARY + "X-Size: 40\nX-Message-Id: 2|40\n" + block + ".\n\1" + BLOCK1};
        const OUTCOME outcome = Get(server);
        EXPECT_EQ(Problem(server, exchanges, outcome, expected), "");
        ExpectTheSameFast(exchanges, expected, false);
    }
}

// Mails 7, 8 and so on, each with its size, id and text; more of them the more there are.
std::vector<EXCHANGE> Mailbox(const std::vector<int>& mails, std::string& uidl) {
    std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + STAT);
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
    } cases[] = {
        {"replies mixed up", reply4, top4, reply5, top5, "-ERR 999 LIST result error"},
        {"texts mixed up", reply5, reply4, top4, top5, "-ERR 999 LIST result error"},
        {"a reply is missing", reply5, "", reply4, top4, "-ERR 999 LIST result error"},
        {"two are missing", "", "", reply4, top4, "-ERR 999 LIST result error"},
        {"the last is missing", reply5, top5, reply4, "", "-ERR 999 Read Timeout"},
        {"a reply twice", reply5, top5 + top5, reply4, top4, "-ERR 999 LIST result error"},
        {"the end is missing", reply5, "+OK\r\nM: 5\r\n", reply4, top4, "-ERR 999 LIST result error"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        LATER later({1, 2, 3, 4, 5});
        std::string uidl;
        std::vector<EXCHANGE> broken = Mailbox({1, 2, 3, 4, 5}, uidl);
        std::map<std::string, std::string> said = {
            {"LIST 5", c.List5}, {"TOP 5 0", c.Top5}, {"LIST 4", c.List4}, {"TOP 4 0", c.Top4}};
        for (EXCHANGE& exchange : broken)
            if (said.contains(exchange.first))
                exchange.second = said[exchange.first];
        Patiently(true, [&] {
            STRINGARRAY item = later.Item;
            const OUTCOME outcome = MODEL(broken, true, uidl).Get(item), expected{false, c.Error};
            const int first = item.GetNumber("@PlainChecks");
            const OUTCOME plain = later.Server->Get(item);
            const bool isPlain = later.Server->Heard.find("CAPA") == std::string::npos;
            // Then a fast one, and after the second doubt three plain ones.
            MODEL(broken, true, uidl).Get(item);
            const bool good = outcome == expected && first == 1 && item.GetNumber("@PlainChecks") == 3 && isPlain &&
                              plain == OUTCOME{true, Listing({1, 2, 3, 4, 5})};
            return good ? "" : testing::PrintToString(outcome) + testing::PrintToString(plain);
        });
    }
}

TEST(PopFast, AWindowEndsWithTheServerAndWithTheProgram) {
    const SCRIPT start = ServerScript(GREETING, {WHOLE[USER], WHOLE[PASS], {"CAPA", "+OK\r\nPIPELINING\r\n.\r\n"}});
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

TEST(PopGet, AHangUpIsAFailureUpToTheEndOfTheLastMail) {
    const SCRIPT script = ServerScript(GREETING, WHOLE);
    const int total = ServerBytes(script), whole = total - static_cast<int>(WHOLE[QUIT].second.size());
    for (int sent = 0; sent < total && !HasFailure(); ++sent) {
        SCOPED_TRACE("cut after byte " + std::to_string(sent));
        Patiently(true, [&] {
            SCRIPTEDSERVER server(script);
            server.CutAfter(sent);
            const OUTCOME outcome = Get(server);
            const OUTCOME expected =
                sent < whole ? OUTCOME{false, "-ERR Remote disconnected"} : OUTCOME{true, SUMMARY + BLOCK2 + BLOCK1};
            return (outcome == expected ? "" : testing::PrintToString(outcome)) + server.Mismatch();
        });
    }
}

TEST(PopGet, NeitherAMailNorTheirNumberFillsTheMemory) {
    std::string flood = OK;
    for (int i = 0; i < 5000; ++i)
        flood += "and so on\r\n";
    const std::string head2 = "X-Size: 40\nX-Message-Id: 2|40\n", rest = "and so on\nand so on\n.\n\1";
    const std::tuple<int, int, int, std::vector<EXCHANGE>, OUTCOME> cases[] = {
        // A mail that is too long keeps its beginning, and the others are none the worse.
        {30, 1000000, 0, From(LIST1), {true, SUMMARY + head2 + rest + BLOCK1}},
        {30, 1000, 0, {}, {false, "-ERR 999 TOP reply without end"}},
        {30, 100000, 100000, From(QUIT), {true, SUMMARY + head2 + rest}},
    };
    for (const auto& [mailBytes, listingBytes, mailPrice, following, outcome] : cases) {
        SHORTTIMES times(8000);
        SHRINKABLE::PopTimes.MailBytes = mailBytes;
        SHRINKABLE::PopTimes.ListingBytes = listingBytes;
        SHRINKABLE::PopTimes.MailPrice = mailPrice;
        SCRIPTEDSERVER server(ServerScript(GREETING, Deviating(TOP2, flood + ".\r\n", following)));
        EXPECT_EQ(Get(server), outcome);
    }
}

TEST(PopLogin, EachWayThatAServerMayTakeAndNoMoreWordsThanThat) {
    const EXCHANGE stat{"STAT", "+OK 0 0\r\n"}, quit{"QUIT", OK}, user{"USER joe", OK},
        noUser{"USER joe", "-ERR no\r\n"}, wrong{"PASS pw", "-ERR [AUTH] wrong\r\n"}, noCapa{"CAPA", "-ERR what\r\n"},
        plain{"AUTH PLAIN AGpvZQBwdw==", OK};
    const auto capa = [](const std::string& lines) { return EXCHANGE{"CAPA", "+OK\r\n" + lines + ".\r\n"}; };
    const std::string listed = "0 msgs|0 ?unread|0 bytes\n", stamp = "+OK <1896.697170952@dbc.mtview.ca.us>\r\n";
    const EXCHANGE sasl = capa("TOP\r\nSASL LOGIN PLAIN\r\n"), both = capa("USER\r\nsasl plain\r\n");
    const struct {
        const char* What;
        std::string Greeting;
        const char* User;
        const char* Password;
        std::vector<EXCHANGE> LogIn;
        std::string Error = {};  // none: it works
    } cases[] = {
        {"usual", GREETING, "joe", "pw", {user, {"PASS pw", OK}}},
        {"proved", stamp, "mrose", "tanstaaf", {{"APOP mrose c4c9334bac560ecc979e58001b3e22fb", OK}}},
        {"no time stamp", "+OK <hello> <a b@c>\r\n", "joe", "pw", {user, {"PASS pw", OK}}},
        {"not proved",
         stamp,
         "mrose",
         "tanstaaf",
         {{"APOP mrose c4c9334bac560ecc979e58001b3e22fb", "-ERR what\r\n"}, {"USER mrose", OK}, {"PASS tanstaaf", OK}}},
        {"in use",
         stamp,
         "mrose",
         "tanstaaf",
         {{"APOP mrose c4c9334bac560ecc979e58001b3e22fb", "-ERR [IN-USE] x\r\n"}},
         "-ERR [IN-USE] x"},
        {"wrong", GREETING, "joe", "pw", {user, wrong, both}, "-ERR [AUTH] wrong"},
        {"wrong, and nothing else is known", GREETING, "joe", "pw", {user, wrong, noCapa}, "-ERR [AUTH] wrong"},
        {"USER refused", GREETING, "joe", "pw", {noUser, both, plain}},
        {"USER absent", GREETING, "joe", "pw", {user, wrong, sasl, plain}},
        {"USER for another mechanism",
         GREETING,
         "joe",
         "pw",
         {user, wrong, capa("USER\r\nSASL LOGIN\r\n"), {"AUTH LOGIN", "+\r\n"}, {"am9l", "-ERR no\r\n"}},
         "-ERR no"},
        {"no way", GREETING, "joe", "pw", {noUser, capa("SASL CRAM-MD5 PLAINER\r\n")}, "-ERR no"},
        {"refused again", GREETING, "joe", "pw", {noUser, both, {plain.first, "-ERR nor so\r\n"}}, "-ERR nor so"},
        {"asked for once more", GREETING, "joe", "pw", {noUser, both, {plain.first, "+ \r\n"}, {"AGpvZQBwdw==", OK}}},
        {"asked for without end",
         GREETING,
         "joe",
         "pw",
         {noUser, both, {plain.first, "+ \r\n"}, {"AGpvZQBwdw==", "+\r\n"}},
         "-ERR +"},
        {"in two pieces",
         GREETING,
         "joe",
         "pw",
         {noUser,
          capa("SASL LOGIN\r\n"),
          {"AUTH LOGIN", "+ VXNlcm5hbWU6\r\n"},
          {"am9l", "+ UGFzc3dvcmQ6\r\n"},
          {"cHc=", OK}}},
        {"other letters", GREETING, "jö", "pä ss", {sasl, {"AUTH PLAIN AGrDtgBww6Qgc3M=", OK}}},
        {"other letters as they are", GREETING, "jö", "pä ss", {noCapa, {"USER jö", OK}, {"PASS pä ss", OK}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::vector<EXCHANGE> exchanges = c.LogIn;
        if (c.Error.empty())
            exchanges.insert(exchanges.end(), {stat, quit});
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(ServerScript(c.Greeting, exchanges));
        RECORDINGROW row;
        MAILBOXCALL call = row.Call(STRING(server.HostPort()), c.User, c.Password);
        call.Security.IsModern = true;
        STRING result;
        const bool ok = PopGet(call, 0, result);
        EXPECT_EQ(Problem(server, exchanges, {ok, Std(result)}, {c.Error.empty(), c.Error.empty() ? listed : c.Error}),
                  "");
    }
}

TEST(PopDelete, AllOrNothing) {
    const EXCHANGE list2 = WHOLE[LIST2], delete2{"DELE 2", OK}, list1 = WHOLE[LIST1], quit{"QUIT", OK};
    struct {
        const char* What;
        const char* Ids;
        std::vector<EXCHANGE> Exchanges;  // after STAT
        bool Ok;
        const char* Error = "";
        int Assertions = 0;
    } const cases[] = {
        {"two mails", "2|40\n\n1|30\n", {list2, delete2, list1, {"DELE 1", OK}, quit}, true},
        {"a size that only begins so", "2|4", {list2, quit}, true},
        {"a size that is the same in fewer bits", "2|4294967336", {list2, quit}, true},
        {"a large size", "2|4294967336", {{"LIST 2", "+OK 2 4294967336\r\n"}, delete2, quit}, true},
        {"the reply for another mail", "2|40", {{"LIST 2", "+OK 1 40\r\n"}}, false, "999 LIST result error"},
        {"no size, as an id had it", "2|0", {{"LIST 2", "+OK 2 none\r\n"}, quit}, true},
        {"half a reply", "2|4", {{"LIST 2", "+OK 2 4"}}, false, "999 Read Timeout"},
        {"LIST refused", "2|40\n1|30", {{"LIST 2", "-ERR gone\r\n"}}, false, "gone"},
        {"no QUIT: the first is taken back",
         "2|40\n1|30",
         {list2, delete2, list1, {"DELE 1", "-ERR no\r\n"}},
         false,
         "no"},
        {"QUIT silent", "2|40", {list2, delete2, {"QUIT", ""}}, false, "999 Read Timeout"},
        {"what is no id", "2|40 \n2|-40\nx|40\n", {quit}, true},
        {"half an id", "2", {quit}, true, "", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        EXPECT_ASSERTIONS(c.Assertions);
        std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + LIST2);
        exchanges.insert(exchanges.end(), c.Exchanges.begin(), c.Exchanges.end());
        Patiently(std::string_view(c.Error) == "999 Read Timeout", [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            RECORDINGROW row;
            STRING error = "";
            bool ok = PopDelete(row.Call(STRING(server.HostPort())), c.Ids, error);
            return Problem(server, exchanges, {ok, Std(error)}, {c.Ok, c.Error});
        });
    }
}

}  // namespace
