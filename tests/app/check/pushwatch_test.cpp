#include "app/check/pushwatch.h"

#include <filesystem>

#include "app/mailbox/imap.h"
#include "app/mailbox/imapidle.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/net/tcpio.h"
#include "tests/app/check/fakes.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/answeringdevice.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/times.h"

namespace {

using namespace std::chrono_literals;

constexpr const char* LOGIN = "IMAPCMD_0 LOGIN joe pw";
constexpr int NEVER_MS = 3600000;

// A server's side up to what it says to LOGIN, which is the first command.
SCRIPT LoggingIn(const std::string& answer) {
    return {PLAY::Send("* OK hello\r\n"), PLAY::Expect(LOGIN), PLAY::Send(answer)};
}

// Up to where it is to tell of a folder of three mails, and on from there.
SCRIPT Idling(SCRIPT rest, const std::string& confirmation = "+ idling\r\n") {
    SCRIPT script = LoggingIn("IMAPCMD_0 OK [CAPABILITY IMAP4rev1 IDLE] in\r\n");
    for (const STEP& step : {PLAY::Expect("IMAPCMD_1 EXAMINE INBOX"), PLAY::Send("* 3 EXISTS\r\nIMAPCMD_1 OK\r\n"),
                             PLAY::Expect("IMAPCMD_2 IDLE"), PLAY::Send(confirmation)})
        script.push_back(step);
    script.insert(script.end(), rest.begin(), rest.end());
    return script;
}

PUSHTARGET Target(const std::string& server, int handle = 1, const char* password = "pw") {
    return {handle, {ITEMTYPE_IMAP, "joe", STRING(server)}, password, {}, ""};
}

// Short pauses after failures; those after refusals would outlast any test.
constexpr PUSHTIMES SHORT{.RenewMs = NEVER_MS,
                          .BackOffMs = 1,
                          .MostBackOffMs = NEVER_MS,
                          .WellMs = 0,
                          .SettleMs = 0,
                          .GapMs = 0,
                          .MostGapMs = 0,
                          .MostMailGapMs = 0,
                          .RoomPauseMs = 0};

class Push : public testing::Test {
 protected:
    Push() {
        SHRINKABLE::ImapTimes.LineMs = 500;
        SHRINKABLE::ImapTimes.PauseMs = 0;
        SHRINKABLE::TcpTimes.ReadFailedMs = 1;
        SHRINKABLE::TcpTimes.StopLookMs = 10;
    }
    ~Push() override {
        Watch.reset();
        SHRINKABLE::ImapTimes = {};
        SHRINKABLE::TcpTimes = {};
    }
    void Begin(const PUSHTIMES& times = SHORT) {
        Watch.emplace([this](int) { ++News; }, [this](int, bool active) { Active += active ? 1 : -1; }, times);
    }
    bool Comes(int news) {
        return Eventually([&] { return News >= news; });
    }

    std::atomic<int> News = 0, Active = 0;
    std::optional<PUSHWATCH> Watch;
};

TEST(ImapNews, AreWhatAServerTellsOfAFolder) {
    struct CASE {
        std::vector<std::string> Lines;
        NEWS Last;
    };
    const CASE cases[] = {
        {{"* 3 EXISTS"}, NEWS::NONE},
        {{"* 4 EXISTS"}, NEWS::MAIL},
        {{"* 4 exists", "* 4 EXISTS"}, NEWS::NONE},
        {{"* 2 EXISTS"}, NEWS::MARKS},
        {{"* 2 EXPUNGE"}, NEWS::MARKS},
        {{"* 2 EXPUNGE", "* 3 EXISTS"}, NEWS::MAIL},
        {{"* 2 EXPUNGE", "* 2 EXISTS"}, NEWS::NONE},
        {{"* VANISHED 4:7,9"}, NEWS::MARKS},
        {{"* VANISHED 4", "* 3 EXISTS"}, NEWS::MAIL},
        {{"* 2 FETCH (UID 7 FLAGS (\\Seen))"}, NEWS::MARKS},
        {{"* 2 FETCH (BODY[1] {23}\r\n* 9 EXISTS\r\n FLAGS (x))"}, NEWS::NONE},
        {{"* 2 FETCH (UID 7 MODSEQ (9))"}, NEWS::NONE},
        {{"* 5 RECENT"}, NEWS::NONE},
        {{"* OK still here"}, NEWS::NONE},
        {{"* 99999999999 EXISTS"}, NEWS::NONE},
        {{"* -4 EXISTS"}, NEWS::NONE},
        {{"* 0 EXISTS", "* 1 EXPUNGE", "* 1 EXPUNGE", "* 0 EXISTS"}, NEWS::MAIL},
        {{"+ 4 EXISTS"}, NEWS::NONE},
        {{""}, NEWS::NONE},
    };
    for (const CASE& c : cases) {
        IMAPNEWS news(3);
        NEWS last = NEWS::NONE;
        for (const std::string& line : c.Lines)
            last = news.Take(line);
        EXPECT_EQ(last, c.Last) << testing::PrintToString(c.Lines);
    }
}

TEST_F(Push, TellsOnceOfWhatComesTogether) {
    const SCRIPT renewal = {PLAY::Expect("DONE"),
                            PLAY::Send("* 6 EXISTS\r\nIMAPCMD_2 OK done\r\n"),
                            PLAY::Expect("IMAPCMD_3 IDLE"),
                            PLAY::Send("* 7 EXISTS\r\nIMAPOTHER_1 OK\r\n+ go on\r\n"),
                            PLAY::Await(),
                            PLAY::Cut()};
    SCRIPT rest = {
        PLAY::Await(), PLAY::Send("* 3 EXISTS\r\n* 0 RECENT\r\n* OK [ALERT] nothing\r\n"),
        PLAY::Await(), PLAY::Send("* 4 EXISTS\r\n* 1 FETCH (FLAGS (\\Seen))\r\n* 1 EXPUNGE\r\n* 5 EXISTS\r\n"),
        PLAY::Await(), PLAY::Send("* 2 FETCH (X {14}\r\n* 99 EXISTS\r\n Y 1)\r\n")};
    rest.insert(rest.end(), renewal.begin(), renewal.end());
    SCRIPTEDSERVER server(Idling(rest));
    PUSHTIMES times = SHORT;
    times.BackOffMs = NEVER_MS;
    times.SettleMs = 30;
    Begin(times);
    Watch->Watch({Target(server.HostPort())});
    ASSERT_TRUE(Comes(1)) << "something may have come before";
    EXPECT_TRUE(Watch->IsActive(1));
    EXPECT_FALSE(Watch->IsActive(2));
    for (const int news : {1, 2, 2}) {
        server.GoOn();
        EXPECT_TRUE(Comes(news));
        std::this_thread::sleep_for(60ms);
        EXPECT_EQ(News, news);
    }
    Watch->Renew();
    ASSERT_TRUE(Comes(3));
    EXPECT_EQ(Active, 1);
    server.GoOn();
    EXPECT_TRUE(Eventually([&] { return Active == 0; }));
    EXPECT_EQ(News, 3) << "two mails of one renewal";
    EXPECT_EQ(server.Connections(), 1);
}

TEST_F(Push, TellsLessOftenOfMailThatComesWithoutARest) {
    SCRIPT flapping;
    for (int i = 0; i < 500; ++i)
        for (const STEP& step : {PLAY::Await(), PLAY::Send("* 3 EXISTS\r\n* 4 EXISTS\r\n")})
            flapping.push_back(step);
    SCRIPTEDSERVER server(Idling(flapping));
    PUSHTIMES times = SHORT;
    times.GapMs = 5;
    times.MostMailGapMs = NEVER_MS;
    Begin(times);
    Watch->Watch({Target(server.HostPort())});
    ASSERT_TRUE(Comes(1));
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < 200ms) {
        server.GoOn();
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_LT(News, 22) << "40 at the first pace";
}

// A server whose words are ahead of what is heard of them.
struct TALKER {
    explicit TALKER(std::string words)
        : Device("* OK\r\n", [words = std::move(words)](const std::string& line) {
              const std::string tag = line.substr(0, line.find(' '));
              return line.ends_with(" IDLE") ? words : tag + " OK [CAPABILITY IDLE] done\r\n";
          }) {}
    RECORDINGROW Row;
    ANSWERINGDEVICE Device;
    const MAILBOXCALL Call = Row.Call("server");
    IMAPIDLE Talk{Device, Call, ""};
    NEWS Heard = NEWS::NONE;
};

std::string Lines(int count) {
    std::string lines;
    for (int i = 0; i < count; ++i)
        lines += "* OK still here\r\n";
    return lines;
}

TEST_F(Push, HearsAServerThatTalksOnWithoutForgettingToTell) {
    TALKER server("+ idling\r\n* 4 EXISTS\r\n" + Lines(5000));
    ASSERT_EQ(server.Talk.Begin(server.Heard), IMAPIDLE::STATE::GOOD);
    EXPECT_EQ(server.Talk.Hear(server.Heard), IMAPIDLE::STATE::GOOD);
    EXPECT_EQ(server.Heard, NEWS::MAIL);
    EXPECT_TRUE(server.Talk.HasMore());
}

TEST_F(Push, WaitsForConsentNoLongerThanForAReply) {
    struct : CLOCK::SOURCE {
        std::atomic<int64_t> Now = 0;
        int64_t UnixMilliSeconds() override { return Now += 10; }
        void Sleep(int /*ms*/) override { std::this_thread::yield(); }
    } hurrying;
    SHRINKABLE::ImapTimes.ReplySeconds = 60;
    SHRINKABLE::ImapTimes.LineMs = NEVER_MS;
    TALKER server(Lines(20000) + "+ idling\r\n");
    CLOCK::SOURCE* const former = CLOCK::SetSource(&hurrying);
    EXPECT_EQ(server.Talk.Begin(server.Heard), IMAPIDLE::STATE::LOST);
    CLOCK::SetSource(former);
    EXPECT_TRUE(server.Talk.HasMore());
}

TEST_F(Push, CallsAtOnceWhereASleepHasCostTheConnection) {
    SCRIPTEDSERVER server({Idling({PLAY::Expect("DONE")}), Idling({})});
    SHRINKABLE::ImapTimes.LineMs = 200;
    PUSHTIMES times = SHORT;
    times.BackOffMs = NEVER_MS;
    Begin(times);
    Watch->Watch({Target(server.HostPort())});
    ASSERT_TRUE(Eventually([&] { return Active == 1; }));
    Watch->Renew();
    EXPECT_TRUE(Eventually([&] { return server.Connections() >= 2 && Active == 1; }));
}

TEST_F(Push, LeavesChecksTheirConnections) {
    SCRIPTEDSERVER server(Idling({}));
    PUSHTIMES times = SHORT;
    times.MostWatched = 2;
    Begin(times);
    const std::vector<PUSHTARGET> targets = {Target(server.HostPort()), Target(server.HostPort(), 2),
                                             Target(server.HostPort(), 3)};
    for (int i = 0; i < 5; ++i) {
        Watch->Watch(targets);
        ASSERT_TRUE(Eventually([&] { return Active == 2; }));
    }
    EXPECT_FALSE(Watch->IsActive(3));
    EXPECT_TRUE(Eventually([&] {
        Watch->Watch({targets[1], targets[2]});
        return Watch->IsActive(3);
    }));
    EXPECT_EQ(server.Connections(), 3);
}

TEST_F(Push, AsksAnUnableServerAgainWhateverTheClockSays) {
    SCRIPTEDSERVER server({Idling({}, "IMAPCMD_2 NO not now\r\n"), Idling({})});
    FAKECLOCK clock;
    PUSHTIMES times = SHORT;
    times.UnableSeconds = 100;
    Begin(times);
    const auto comes = [&](int connections) {
        Watch->Watch({Target(server.HostPort())});
        std::this_thread::sleep_for(2ms);
        return server.Connections() == connections;
    };
    EXPECT_TRUE(Eventually([&] { return comes(1); }) && server.Wait(1) && comes(1) && comes(1));
    clock.Advance(-86400000);
    EXPECT_TRUE(comes(1));
    // Nobody knows when it began to rest; but less than the day in all.
    int looks = 0;
    EXPECT_TRUE(Eventually([&] {
        clock.Advance(++looks <= 800 ? 101000 : 0);
        return comes(2);
    }));
    Watch.reset();  // before its clock
}

TEST_F(Push, CallsAgainWhereTheConnectionHasBeenLost) {
    const std::string manyLines = [] {
        std::string lines;
        for (int i = 0; i < 400; ++i)
            lines += "* 3 EXISTS\r\n";
        return lines;
    }();
    const std::pair<const char*, SCRIPT> cases[] = {
        {"a farewell", Idling({PLAY::Send("* BYE for now\r\n"), PLAY::Cut()})},
        {"no farewell", Idling({PLAY::Cut()})},
        {"a line that is cut", Idling({PLAY::Send("* 4 EXI"), PLAY::Cut()})},
        {"a line without an end", Idling({PLAY::Send("* 4 EXI")})},
        {"a literal that does not come", Idling({PLAY::Send("* 1 FETCH (X {99}\r\n* 4 EXISTS\r\n")})},
        {"an end of its own", Idling({PLAY::Send("IMAPCMD_2 OK enough\r\n")})},
        {"lines for ever", Idling({PLAY::Send(manyLines)})},
        {"a line for ever", Idling({PLAY::Send(std::string(5000, 'x'))})},
        {"lines for ever ahead of its consent", Idling({}, manyLines)},
        {"consent too late", Idling({}, "* OK wait\r\n")},
        {"a greeting too late", {PLAY::Silence()}},
        {"a farewell as greeting", {PLAY::Send("* BYE restarting\r\n"), PLAY::Cut()}},
        {"a passing trouble", LoggingIn("IMAPCMD_0 NO [UNAVAILABLE] later\r\n")},
        {"no answer to the login", LoggingIn("")},
        {"no answer to a question",
         {PLAY::Send("* OK\r\n"), PLAY::Expect(LOGIN), PLAY::Send("IMAPCMD_0 OK\r\n"), PLAY::Silence()}},
    };
    SHRINKABLE::ImapTimes.ReplyBytes = 4000;
    SHRINKABLE::ImapTimes.LineMs = 150;
    for (const auto& [name, script] : cases) {
        SCOPED_TRACE(name);
        SCRIPTEDSERVER server({script, Idling({PLAY::Await(), PLAY::Send("* 4 EXISTS\r\n")})});
        Begin();
        Watch->Watch({Target(server.HostPort())});
        EXPECT_TRUE(Eventually([&] { return server.Connections() >= 2 && Active == 1; }));
        const int before = News;
        server.GoOn();
        EXPECT_TRUE(Comes(before + 1));
        Watch.reset();
        EXPECT_EQ(server.Mismatch(), "");
        Active = News = 0;
    }
    const std::string nobody = "127.0.0.1:" + std::to_string(ClosedPort());
    Begin();
    Watch->Watch({Target(nobody)});
}

TEST_F(Push, LeavesAServerAloneThatWouldSayTheSameAgain) {
    const std::pair<const char*, SCRIPT> cases[] = {
        {"a wrong password", LoggingIn("IMAPCMD_0 NO [AUTHENTICATIONFAILED] no\r\n")},
        {"too many connections", {PLAY::Send("* BYE Too many connections from you\r\n"), PLAY::Cut()}},
        {"too many of one user",
         LoggingIn("IMAPCMD_0 NO [UNAVAILABLE] Maximum number of connections from user+IP exceeded\r\n")},
        {"another limit", LoggingIn("IMAPCMD_0 NO [LIMIT] enough\r\n")},
        {"a folder that is not there",
         {PLAY::Send("* OK\r\n"), PLAY::Expect(LOGIN), PLAY::Send("IMAPCMD_0 OK [CAPABILITY IDLE]\r\n"),
          PLAY::Expect("IMAPCMD_1 EXAMINE INBOX"), PLAY::Send("IMAPCMD_1 NO gone\r\n")}},
        {"a server that cannot tell",
         {PLAY::Send("* OK\r\n"), PLAY::Expect(LOGIN), PLAY::Send("IMAPCMD_0 OK\r\n"),
          PLAY::Expect("IMAPCMD_1 CAPABILITY"), PLAY::Send("* CAPABILITY IMAP4rev1 IDLER\r\nIMAPCMD_1 OK\r\n")}},
        {"one that does not want to", Idling({}, "IMAPCMD_2 NO not now\r\n")},
        {"one that does not know what it can do", Idling({}, "IMAPCMD_2 BAD what\r\n")},
    };
    for (const auto& [name, script] : cases) {
        SCOPED_TRACE(name);
        SCRIPT second = Idling({});
        second[1] = PLAY::Expect("IMAPCMD_0 LOGIN joe other");
        SCRIPTEDSERVER server({script, second});
        Begin();
        Watch->Watch({Target(server.HostPort())});
        ASSERT_TRUE(server.Wait(1));
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(4ms);
            Watch->Watch({Target(server.HostPort())});
        }
        EXPECT_EQ(server.Connections(), 1);
        EXPECT_EQ(News, 0);
        // At once, now that something is different.
        Watch->Watch({Target(server.HostPort(), 1, "other")});
        EXPECT_TRUE(Eventually([&] { return Active == 1; }));
        Watch.reset();
        EXPECT_EQ(server.Mismatch(), "");
        Active = News = 0;
    }
}

TEST_F(Push, CallsALostServerAgainOnceACheckHasReachedIt) {
    SCRIPTEDSERVER server({Idling({PLAY::Cut()}), LoggingIn("IMAPCMD_0 NO no\r\n"), Idling({})});
    PUSHTIMES times = SHORT;
    times.BackOffMs = NEVER_MS;
    Begin(times);
    Watch->Watch({Target(server.HostPort())});
    ASSERT_TRUE(Eventually([&] { return server.Connections() == 1 && News == 1 && Active == 0; }));
    EXPECT_TRUE(Eventually([&] {
        Watch->Reached(2);
        Watch->Reached(1);
        return server.Connections() == 2;
    }));
    // It has refused: the same call would fail again.
    ASSERT_TRUE(server.Wait(2));
    for (int i = 0; i < 5; ++i) {
        std::this_thread::sleep_for(4ms);
        Watch->Reached(1);
    }
    EXPECT_EQ(server.Connections(), 2);
}

TEST_F(Push, HoldsOneConnectionForEachAccountThatIsWatched) {
    SCRIPTEDSERVER server(Idling({}));
    Begin();
    Watch->Watch({Target(server.HostPort()), Target(server.HostPort(), 2)});
    ASSERT_TRUE(Eventually([&] { return Active == 2; }));
    // Both gone, and one of them back at once: never a second one beside the first.
    Watch->Watch({});
    for (int i = 0; i < 500 && server.Connections() < 3; ++i) {
        Watch->Watch({Target(server.HostPort(), 2)});
        EXPECT_LE(Active, 2);
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(Eventually([&] { return Active == 1 && Watch->IsActive(2); }));
    EXPECT_EQ(server.Connections(), 3);
    Watch->Stop();
    Watch->Watch({Target(server.HostPort())});
    EXPECT_TRUE(server.Wait(3)) << "none begins any more";
}

TEST_F(Push, ManyEndAtOnceWhereverTheyAre) {
    const SCRIPT silentTls = {PLAY::Silence()};
    SCRIPTEDSERVER idle(Idling({})), silent(silentTls), loggingIn(LoggingIn(""));
    SHRINKABLE::ImapTimes.LineMs = 60000;
    SHRINKABLE::TcpTimes = {.ReadFailedMs = 1};
    Begin();
    std::vector<PUSHTARGET> targets;
    for (int i = 0; i < 20; ++i) {
        const SCRIPTEDSERVER* const servers[] = {&idle, &idle, &idle, &loggingIn, &silent};
        targets.push_back(Target(servers[i % 5]->HostPort(), i));
        if (i % 5 == 4)
            targets.back().Security = {SECURITY_TLS, true, ""};
    }
    Watch->Watch(targets);
    EXPECT_TRUE(Eventually([&] { return Active >= 12; }));
    CLOCK::STOPWATCH watch;
    Watch->End();
    // A tenth of a second, and more on a machine that has other things to do; one that waited would take a minute.
    EXPECT_LT(watch.Passed(), 5000);
}

TEST_F(Push, ADayOfDropsLeavesNoHandleBehind) {
#ifndef _WIN32
    const auto handles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    SCRIPTEDSERVER server(Idling({PLAY::Cut()}));
    PUSHTIMES times = SHORT;
    times.MostBackOffMs = 1;
    Begin(times);
    Watch->Watch({Target(server.HostPort())});
    ASSERT_TRUE(Eventually([&] { return server.Connections() >= 10; }));
    const auto before = handles();
    EXPECT_TRUE(Eventually([&] { return server.Connections() >= 300; }));
    EXPECT_LT(handles(), before + 5);
#endif
}

TEST_F(Push, GivesWayToAConversationThatWasTurnedAway) {
    const SCRIPT turnedAway = {PLAY::Send("* BYE Maximum number of connections\r\n"), PLAY::Cut()};
    const SCRIPT listing = {PLAY::Send("* OK\r\n"),
                            PLAY::Expect(LOGIN),
                            PLAY::Send("IMAPCMD_0 OK\r\n"),
                            PLAY::Expect("IMAPCMD_1 SELECT INBOX"),
                            PLAY::Send("* 0 EXISTS\r\nIMAPCMD_1 OK\r\n"),
                            PLAY::Expect("IMAPCMD_2 LOGOUT"),
                            PLAY::Send("IMAPCMD_2 OK\r\n")};
    for (const SCRIPT& refusal : {turnedAway, SCRIPT{PLAY::Cut()}}) {
        SCRIPTEDSERVER server({Idling({}), Idling({}), refusal, listing, refusal});
        Begin();
        Watch->Watch({Target(server.HostPort(), 1)});
        ASSERT_TRUE(Eventually([&] { return Active == 1; }));
        Watch->Watch({Target(server.HostPort(), 1), Target(server.HostPort(), 2)});
        ASSERT_TRUE(Eventually([&] { return Active == 2; }));

        FRONTEND nobody;
        NUMBERTEXTS texts;
        STRINGARRAY item, settings;
        int handle = 2;
        FillSettings(settings, {{"PopupBackgroundColor", "1"}, {"PopupTextColor", "2"}});
        FixItem(item, settings, handle);
        MAILACCOUNT::SetAddress(item, {ITEMTYPE_IMAP, "joe", STRING(server.HostPort())}, "pw");
        MAILHANDLING mailboxes(nobody, texts, settings);
        mailboxes.SetRoomMaker([&](const STRINGARRAY& its) {
            return Watch->MakeRoom(its.GetNumber("@Handle"), MAILACCOUNT::Address(its));
        });
        EXPECT_EQ(Std(mailboxes.GetMailbox(item)), "0 msgs|? unread|0 bytes\n");
        EXPECT_TRUE(Watch->IsActive(1));
        EXPECT_FALSE(Watch->IsActive(2)) << "its own one";
        EXPECT_FALSE(Watch->MakeRoom(2, {ITEMTYPE_IMAP, "joe", "other"}));
        Watch.reset();
        EXPECT_EQ(server.Mismatch(), "");
        Active = News = 0;
    }
}

/// A check cycle that is told of news.
class ToldCycle : public CYCLETEST {
 protected:
    ToldCycle() {
        STRINGARRAY& item = AddItem("a", 3600);
        MAILACCOUNT::SetAddress(item, {ITEMTYPE_IMAP, "joe", STRING(Server.HostPort())}, "pw");
        item.Set("Push", "1");
        CLOCK::SetSource(nullptr);
    }
    STRINGARRAY& Item() { return Items[0]; }
    bool Becomes(bool active) {
        return Eventually([&] {
            Told.Turn();
            return Watch.IsActive(Item().GetNumber("@Handle")) == active;
        });
    }
    int Checks() {
        int checks = 0;
        for (const std::string& entry : Journal.Take())
            checks += entry == "get a";
        return checks;
    }

    SCRIPTEDSERVER Server{Idling({})};
    PUSHWATCH Watch{[this](int handle) { Told.ForceRefreshItem(handle); }, {}, SHORT};
    CHECKCYCLE Told{CHECKPARTS{
        State, Items, FrontEnd, Texts, Mailboxes, Filter, Trash, Notifier, Dialup, {.SettleSeconds = -1}, &Watch}};
};

TEST_F(ToldCycle, ChecksOnceMoreForWhatComesDuringACheck) {
    const int handle = Item().GetNumber("@Handle");
    Item().Set("Push", "0");
    // Due by its period: what comes while it lists is not in that listing.
    Mailboxes.DuringCheck = [&] {
        for (int i = 0; i < 5; ++i)
            Told.ForceRefreshItem(handle);
        Mailboxes.DuringCheck = nullptr;
    };
    Told.Turn();
    EXPECT_EQ(Checks(), 1);
    while (Item().GetNumber("@ForceRefresh") > 0)
        Told.Turn();
    EXPECT_LE(Checks(), 2);
    // Before it begins, however often: one check.
    for (int i = 0; i < 5; ++i)
        Told.ForceRefreshItem(handle);
    EXPECT_EQ(Item().GetNumber("@ForceRefresh"), 1);
    // While it is suspended none goes out, and afterwards one.
    Told.SetSuspended(true);
    Told.Turn();
    EXPECT_EQ(Checks(), 0);
    Told.SetSuspended(false);
    Told.Turn();
    Told.Turn();
    EXPECT_EQ(Checks(), 1);
    Told.ForceRefreshItem(handle + 1);
}

TEST_F(ToldCycle, WantsItForNewAccountsAndForOldOnesThatSaySo) {
    const auto isWanted = [&](const char* text, bool isNew) {
        STRINGARRAY item(STRING(text), 8, 8);
        FixItem(item, State, NextHandle, isNew);
        return PushTargetOf(item).has_value();
    };
    EXPECT_FALSE(isWanted("Type=2\nSource=host|joe\n", false));
    EXPECT_TRUE(isWanted("Type=2\nSource=host|joe\n", true));
    EXPECT_TRUE(isWanted("Type=2\nSource=host|joe\nPush=1\n", false));
    EXPECT_FALSE(isWanted("Type=2\nSource=host|joe\nPush=0\n", true));
    EXPECT_FALSE(isWanted("Type=1\nSource=host|joe\n", true)) << "POP3";
    Item().Set("DoAltFolder", "1");
    Item().Set("AltFolder", "Lists");
    EXPECT_EQ(PushTargetOf(Item())->Folder, "Lists");
}

TEST_F(ToldCycle, RenewsWhenTheMachineHasSlept) {
    ASSERT_TRUE(Becomes(true));
    CHECKCYCLE slept{CHECKPARTS{
        State, Items, FrontEnd, Texts, Mailboxes, Filter, Trash, Notifier, Dialup, {.SleepSeconds = -1}, &Watch}};
    slept.Turn();
    EXPECT_TRUE(Server.Transcript().ends_with("IDLE\r\n"));
    slept.Turn();
    EXPECT_TRUE(Eventually([&] { return Server.Transcript().ends_with("DONE\r\n"); }));
}

TEST_F(ToldCycle, WatchesAsLongAsTheAccountMayBeChecked) {
    ASSERT_TRUE(Becomes(true));
    const std::pair<std::function<void()>, std::function<void()>> changes[] = {
        {[&] { Item().Set("UpdateSuspended", "1"); }, [&] { Item().Set("UpdateSuspended", "0"); }},
        {[&] { Told.SetSuspended(true); }, [&] { Told.SetSuspended(false); }},
        {[&] { Item().Set("Push", "0"); }, [&] { Item().Set("Push", "1"); }},
        {[&] { State.Set("ConnectionType", "-1"); }, [&] { State.Set("ConnectionType", "0"); }},
        {[&] {
             Item().AllowNewKeys(true);
             Item().Set("Source2Sealed", "w1x");
             Item().Set("Source2", "");
         },
         [&] { MAILACCOUNT::SetPassword(Item(), "pw"); }},
        {[&] { Item().SetNumber("Type", ITEMTYPE_POP3); }, [&] { Item().SetNumber("Type", ITEMTYPE_IMAP); }},
    };
    for (const auto& [end, back] : changes) {
        end();
        EXPECT_TRUE(Becomes(false));
        back();
        EXPECT_TRUE(Becomes(true));
    }
    State.Set("ConnectionType", "1");
    EXPECT_TRUE(Becomes(false));
    Dialup.Connected = true;
    EXPECT_TRUE(Becomes(true)) << "somebody has dialled";
    const int handle = Item().GetNumber("@Handle");
    EXPECT_TRUE(Told.RemoveItem(0));
    Told.Turn();
    EXPECT_TRUE(Eventually([&] { return !Watch.IsActive(handle); }));
}

}  // namespace
