#include "app/mailbox/pop3.h"

#include "tests/app/mailbox/mailboxsupport.h"

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

OUTCOME Get(const SCRIPTEDSERVER& server, const char* user = " joe ", const char* password = "pw  ",
            bool isModern = false) {
    RECORDINGROW row;
    MAILBOXCALL call = row.Call(STRING(server.HostPort()), user, password);
    call.Security.IsModern = isModern;
    STRING result = "from before";
    bool ok = PopGet(call, 0, result);
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
        ExpectPopTheSameFast(exchanges, c.Outcome, IsSilent(exchanges) || c.Late);
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
        ExpectPopTheSameFast(exchanges, expected, false);
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
    const EXCHANGE proof{"APOP mrose c4c9334bac560ecc979e58001b3e22fb", OK};
    const struct {
        const char* What;
        std::string Greeting;
        std::vector<EXCHANGE> LogIn;
        std::string Error = {};  // none: it works
        const char *User = "joe", *Password = "pw";
    } cases[] = {
        {"usual", GREETING, {user, {"PASS pw", OK}}},
        {"proved", stamp, {proof}, "", "mrose", "tanstaaf"},
        {"no time stamp", "+OK <hello> <a b@c>\r\n", {user, {"PASS pw", OK}}},
        {"not proved",
         stamp,
         {{proof.first, "-ERR what\r\n"}, {"USER mrose", OK}, {"PASS tanstaaf", OK}},
         "",
         "mrose",
         "tanstaaf"},
        {"not proved, as a code says",
         stamp,
         {{proof.first, "-ERR [AUTH] Bad login\r\n"}, {"USER mrose", OK}, {"PASS tanstaaf", OK}},
         "",
         "mrose",
         "tanstaaf"},
        {"in use", stamp, {{proof.first, "-ERR [IN-USE] x\r\n"}}, "-ERR [IN-USE] x", "mrose", "tanstaaf"},
        {"wrong", GREETING, {user, wrong, both}, "-ERR [AUTH] wrong"},
        {"wrong, and nothing else is known", GREETING, {user, wrong, noCapa}, "-ERR [AUTH] wrong"},
        {"USER refused", GREETING, {noUser, both, plain}},
        {"USER absent", GREETING, {user, wrong, sasl, plain}},
        {"USER for another mechanism",
         GREETING,
         {user, wrong, capa("USER\r\nSASL LOGIN\r\n"), {"AUTH LOGIN", "+\r\n"}, {"am9l", "-ERR no\r\n"}},
         "-ERR no"},
        {"no way", GREETING, {noUser, capa("SASL CRAM-MD5 PLAINER\r\n")}, "-ERR no"},
        {"refused again", GREETING, {noUser, both, {plain.first, "-ERR nor so\r\n"}}, "-ERR nor so"},
        {"asked for once more", GREETING, {noUser, both, {plain.first, "+ \r\n"}, {"AGpvZQBwdw==", OK}}},
        {"asked for without end",
         GREETING,
         {noUser, both, {plain.first, "+ \r\n"}, {"AGpvZQBwdw==", "+\r\n"}},
         "-ERR +"},
        {"in two pieces",
         GREETING,
         {noUser,
          capa("SASL LOGIN\r\n"),
          {"AUTH LOGIN", "+ VXNlcm5hbWU6\r\n"},
          {"am9l", "+ UGFzc3dvcmQ6\r\n"},
          {"cHc=", OK}}},
        {"other letters", GREETING, {sasl, {"AUTH PLAIN AGrDtgBww6Qgc3M=", OK}}, "", "jö", "pä ss"},
        {"other letters as they are", GREETING, {noCapa, {"USER jö", OK}, {"PASS pä ss", OK}}, "", "jö", "pä ss"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::vector<EXCHANGE> exchanges = c.LogIn;
        if (c.Error.empty())
            exchanges.insert(exchanges.end(), {stat, quit});
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(ServerScript(c.Greeting, exchanges));
        const OUTCOME expected{c.Error.empty(), c.Error.empty() ? listed : c.Error};
        EXPECT_EQ(Problem(server, exchanges, Get(server, c.User, c.Password, true), expected), "");
    }
}

TEST(PopLogin, CallsAgainWhereAServerGoesOverARefusedProof) {
    const std::string stamp = "+OK <1896.697170952@dbc.mtview.ca.us>\r\n";
    SCRIPT proof = ServerScript(stamp, {{"APOP mrose c4c9334bac560ecc979e58001b3e22fb", "-ERR no\r\n"}});
    proof.push_back(PLAY::Cut());
    SHORTTIMES times(8000);
    SCRIPTEDSERVER server(
        {proof,
         ServerScript(stamp, {{"USER mrose", OK}, {"PASS tanstaaf", OK}, {"STAT", "+OK 0 0\r\n"}, {"QUIT", OK}})});
    EXPECT_EQ(Get(server, "mrose", "tanstaaf", true), (OUTCOME{true, "0 msgs|0 ?unread|0 bytes\n"}));
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
