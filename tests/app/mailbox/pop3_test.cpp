#include "app/mailbox/pop3.h"

#include "app/mailbox/listing.h"
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
const std::string SUMMARY = "+OK 2 msgs|2 ?unread|70 bytes\n";
const std::string BLOCK2 = "X-Size: 40\nX-Message-Id: 2|40\nA: b\n\n..x\n.\n\1";
const std::string BLOCK1 = "X-Size: 30\nX-Message-Id: 1|30\nC: d\n\n.\n\1";

OUTCOME Get(const SCRIPTEDSERVER& server) {
    RECORDINGROW row;
    STRING result = "from before";
    bool ok = PopGet(row.Progress(), STRING(server.HostPort()), " joe ", "pw  ", 0, result);
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
    const std::string longLine(2000, 'x');
    const std::string tail = BLOCK2 + BLOCK1;
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
        {"password refused in other words", PASS, "no such mailbox\r\n", end, {false, "-ERR no such mailbox"}},
        {"password's reply empty", PASS, "\r\n", end, {false, "-ERR "}},
        {"STAT refused without a blank", STAT, "-ERR\r\n", end, {false, "-ERR -ERR"}},
        {"STAT runs on and has more words", STAT, "+OKAY 2 70 and more\r\n", From(LIST2), {true, SUMMARY + tail}},
        {"an empty mailbox", STAT, "+OK 0 0\r\n", quit, {true, "+OK 0 msgs|0 ?unread|0 bytes\n"}},
        {"a negative count", STAT, "+OK -5 9\r\n", quit, {true, "+OK -5 msgs|-5 ?unread|9 bytes\n"}},
        {"a count past all numbers",
         STAT,
         "+OK 99999999999 1\r\n",
         {{"LIST 2147483647", "-ERR no\r\n"}, {"QUIT", OK}},
         {true, "+OK 99999999999 msgs|99999999999 ?unread|1 bytes\n"}},
        {"first LIST refused", LIST2, "-ERR\r\n", quit, {true, SUMMARY}},
        {"second LIST refused", LIST1, "-ERR\r\n", quit, {true, SUMMARY + BLOCK2}},
        {"a size past all numbers",
         LIST1,
         "+OK 1 99999999999 or so\r\n",
         From(TOP1),
         {true, SUMMARY + BLOCK2 + "X-Size: 2147483647\nX-Message-Id: 1|2147483647\nC: d\n\n.\n\1"}},
        {"TOP refused", TOP1, "-ERR\r\n", quit, {true, SUMMARY + BLOCK2}},
        {"an over-long line, a zero byte, a return within a line",
         TOP2,
         "+OK\r\nA: " + longLine + "\r\nB: 1" + std::string(1, 0) + "2\r\nC\r: 3\r\n.\r\n",
         From(LIST1),
         {true, SUMMARY + "X-Size: 40\nX-Message-Id: 2|40\nA: " + longLine.substr(0, 1020) + "\n" +
                    longLine.substr(1020) + "\nB: 1\n2\nC: 3\n.\n\1" + BLOCK1}},
        {"a point that ends an over-long line does not end the mail",
         TOP2,
         "+OK\r\nA: b\r\n\r\n" + longLine.substr(0, 1023) + ".\r\nmore\r\n.\r\n",
         From(LIST1),
         {true, SUMMARY + "X-Size: 40\nX-Message-Id: 2|40\nA: b\n\n" + longLine.substr(0, 1023) + "\n.\nmore\n.\n\1" +
                    BLOCK1}},
        {"lines stop coming, and come late",
         TOP2,
         "+OK\r\nA: b\r\n",
         {{"LIST 1", "late\r\n.\r\n"}, {"QUIT", OK}},
         {false, SUMMARY + "X-Size: 40\nX-Message-Id: 2|40\nA: b\n\n\1"},
         true},
        {"QUIT refused", QUIT, "-ERR\r\n", end, {false, SUMMARY + tail}},
        {"QUIT silent", QUIT, "", end, {false, SUMMARY + tail}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        const std::vector<EXCHANGE> exchanges = Deviating(c.Place, c.Reply, c.Rest);
        Patiently(IsSilent(exchanges) || c.Late, [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            OUTCOME outcome = Get(server);
            return Problem(server, exchanges, outcome, c.Outcome);
        });
    }
}

TEST(PopGet, GreetingDecidesFirst) {
    for (const char* greeting : {"-ERR busy", "220 other protocol"}) {
        SCRIPTEDSERVER server(ServerScript(std::string(greeting) + "\r\n", {}));
        const std::string words = std::string(greeting).starts_with('-') ? greeting : std::string("-ERR ") + greeting;
        EXPECT_EQ(Get(server), (OUTCOME{false, words}));
        EXPECT_TRUE(server.Wait());
        EXPECT_EQ(server.Transcript(), "");
    }
}

// An error, or as much of the listing as came; and never a success without the server's word for it.
std::string ProblemOfCut(const OUTCOME& outcome, bool confirmed) {
    const STRING listing(outcome.Result);
    LISTING::BLOCKCURSOR blocks(listing);
    bool good = outcome.Ok == confirmed &&
                (LISTING::BeginsWith(outcome.Result, "-ERR ") || LISTING::BeginsWith(outcome.Result, "+OK "));
    std::string_view block;
    for (const std::string& right : {BLOCK2, BLOCK1})
        if (good && blocks.Next(block))
            good = right.starts_with(block.substr(0, block.find_last_not_of('\n') + 1));
    return good && !blocks.Next(block) ? "" : testing::PrintToString(outcome);
}

TEST(PopGet, ACutAfterAnyByteLeavesAnErrorOrAPartOfTheListing) {
    const SCRIPT script = ServerScript(GREETING, WHOLE);
    const int total = ServerBytes(script), farewell = total - static_cast<int>(WHOLE[QUIT].second.size());
    for (int sent = 0; sent < total && !HasFailure(); ++sent) {
        SCOPED_TRACE("cut behind byte " + std::to_string(sent));
        Patiently(true, [&] {
            SCRIPTEDSERVER server(script);
            server.CutAfter(sent);
            // The three bytes "+OK" are its word.
            std::string problem = ProblemOfCut(Get(server), sent >= farewell + 3);
            return problem + server.Mismatch();
        });
    }
}

TEST(PopGet, AServerWithoutEndDoesNotFillTheMemory) {
    SHORTTIMES times(8000);
    PopTimes.ListingBytes = 1000;
    std::string flood = OK;
    for (int i = 0; i < 5000; ++i)
        flood += "and so on\r\n";
    SCRIPTEDSERVER server(ServerScript(GREETING, Deviating(TOP2, flood, {{"QUIT", OK}})));
    OUTCOME outcome = Get(server);
    EXPECT_FALSE(outcome.Ok);
    EXPECT_LT(outcome.Result.size(), 1100U);
    EXPECT_TRUE(outcome.Result.starts_with(SUMMARY) && outcome.Result.ends_with("and so on\n\1"));
}

TEST(PopDelete, AllOrNothing) {
    const EXCHANGE list2 = WHOLE[LIST2], delete2{"DELE 2", OK}, list1 = WHOLE[LIST1], quit{"QUIT", OK};
    struct {
        const char* What;
        const char* Ids;
        std::vector<EXCHANGE> Exchanges;  // behind STAT
        bool Ok;
        int Assertions;
    } const cases[] = {
        {"two mails", "2|40\n\n1|30\n", {list2, delete2, list1, {"DELE 1", OK}, quit}, true, 0},
        {"another size: not this mail", "2|41", {list2, quit}, true, 0},
        {"LIST refused", "2|40\n1|30", {{"LIST 2", "-ERR\r\n"}}, false, 0},
        {"no QUIT: the first is taken back", "2|40\n1|30", {list2, delete2, list1, {"DELE 1", "-ERR\r\n"}}, false, 0},
        {"QUIT silent", "2|40", {list2, delete2, {"QUIT", ""}}, false, 0},
        {"half an id", "2", {list2, quit}, true, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        EXPECT_ASSERTIONS(c.Assertions);
        std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + LIST2);
        exchanges.insert(exchanges.end(), c.Exchanges.begin(), c.Exchanges.end());
        Patiently(IsSilent(exchanges), [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            RECORDINGROW row;
            bool ok = PopDelete(row.Progress(), STRING(server.HostPort()), "joe", "pw", c.Ids);
            return Problem(server, exchanges, {ok, ""}, {c.Ok, ""});
        });
    }
}

}  // namespace
