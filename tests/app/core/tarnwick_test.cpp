#include "app/core/tarnwick.h"

#include "app/filter/spamfilter.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "tests/app/core/coresupport.h"
#include "tests/servers/scriptedserver.h"

namespace {

class Tarnwick : public ::testing::Test {
 protected:
    Tarnwick() : Here(Program.Path()) {}

    std::unique_ptr<TARNWICK> Make(const char* switches = "") {
        Line = STRING("\"/WORKDIR:") || Data.Path() || "\" " || switches;
        Arguments = std::make_unique<ARGUMENTS>("tarnwick", Line.Text());
        return std::make_unique<TARNWICK>(FrontEnd, Notifier, *Arguments, Texts, Quick);
    }
    std::string InData(const char* name) { return ReadBytes(Data.File(name)); }
    TESTSTORE Store;
    TEMPDIR Program;
    TEMPDIR Data;
    CURRENTDIR Here;
    RECORDER FrontEnd;
    NOTIFIER Notifier;
    NUMBEREDTEXTS Texts;
    STRING Line;
    std::unique_ptr<ARGUMENTS> Arguments;
    const CHECKTIMES Quick = {.TurnMs = 1};
};

TEST_F(Tarnwick, AStopReachesTheFilterFromWhoeverIsAsked) {
    auto app = Make();
    ASSERT_TRUE(app->Open());
    STRINGARRAY item;
    item.Set("Type", "1");
    item.Set("DoSpamFilter", "1");
    item.Set("@Handle", "1");
    const STRING listing = "1 msgs|0 unread|1 bytes\nSubject: x\n\n";
    EXPECT_EQ(app->Filter().SpamFilter(item, listing).Line(0), "1 msgs|0 unread|1 bytes");
    bool stop = false;
    app->Cycle().SetStopQuestion([&] { return stop; });
    stop = true;
    EXPECT_EQ(app->Filter().SpamFilter(item, listing), "-ERR Stopped");
    stop = false;
    EXPECT_EQ(app->Filter().SpamFilter(item, listing).Line(0), "1 msgs|0 unread|1 bytes");
    app->Stop();
    EXPECT_EQ(app->Filter().SpamFilter(item, listing), "-ERR Stopped");
}

TEST_F(Tarnwick, EndsWhateverAServerDoesAndKeepsTheItemAsItWas) {
    using namespace PLAY;
    const std::string ok = "+OK\r\n";
    SCRIPT logon = {Send(ok), ExpectPrefix("USER"), Send(ok), ExpectPrefix("PASS"), Send(ok), ExpectPrefix("STAT")};
    const auto listing = [&](const char* state, std::vector<STEP> rest) {
        SCRIPT script = logon;
        script.push_back(Send(state));
        script.insert(script.end(), rest.begin(), rest.end());
        return script;
    };
    std::string flood;
    for (int i = 0; i < 500000; ++i)
        flood += "a line of one mail that goes on and on, as far as anybody can see\r\n";
    const std::tuple<const char*, const char*, SCRIPT> CASES[] = {
        {"silent from the start", "1", {Silence()}},
        {"a drip", "1", {Drip("+OK " + std::string(100000, 'x'))}},
        {"silent in the middle", "1", listing("+OK 1000000 1000000000\r\n", {ExpectPrefix("LIST"), Silence()})},
        {"a huge mail", "1",
         listing("+OK 1 1000000000\r\n", {ExpectPrefix("LIST"), Send("+OK 1 1000000000\r\n"), ExpectPrefix("TOP"),
                                          Send(ok + "A: b\r\n\r\n" + flood)})},
        {"silent to IMAP", "2", {Send("* OK ready\r\n"), ExpectPrefix(""), Silence()}},
        {"a literal without end", "2", {Send("* OK ready\r\n"), ExpectPrefix(""), Send("* X {900000000}\r\n" + flood)}},
        {"silent web mail", "3", {Silence()}},
        {"a circle of redirects",
         "3",
         {ReadUntil("\r\n\r\n"), Send("HTTP/1.0 302 Found\r\nLocation: again\r\n\r\n"), Cut()}},
    };
    for (const auto& [what, type, script] : CASES) {
        SCOPED_TRACE(what);
        SCRIPTEDSERVER server(script);
        WriteBytes(Data.File("tarnwick.ini"),
                   "ConnectionType=0\r\nVersion=2.02\r\nDoHttpProxy=1\r\nHttpProxy=" + server.HostPort() + "\r\n");
        WriteBytes(Data.File("accounts.ini"), "[#0]\r\nName=a\r\nType=" + std::string(type) +
                                                  "\r\nSource=" + server.HostPort() +
                                                  "|joe\r\nTimingCyclic=600\r\nLastRC=5|5\r\nLastValue=kept\r\n");
        auto app = Make();
        ASSERT_TRUE(app->Open());
        app->Start();
        EXPECT_TRUE(Eventually([&] { return server.Connections() > 0; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const auto start = std::chrono::steady_clock::now();
        app->Stop();
        app.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        const std::string items = InData("accounts.ini");
        EXPECT_NE(items.find("LastRC=5|5\r\n"), std::string::npos) << items;
        EXPECT_NE(items.find("LastValue=kept\r\n"), std::string::npos) << items;
        server.Mismatch();
    }
}

TEST_F(Tarnwick, TheDataMoveWithTheirPathsAtTheNextStart) {
    const STRING from = Data.File("from");
    const STRING to = Data.File("to");
    Store.Set("ApplicationDataDir", from);
    Arguments = std::make_unique<ARGUMENTS>("tarnwick");
    {
        TARNWICK app(FrontEnd, Notifier, *Arguments, Texts, Quick);
        ASSERT_TRUE(app.Open());
        app.pState.Set("PopupDuration", "99");
    }
    Store.Set("ApplicationDataDir.New", STRING("*") || to);
    {
        STRINGARRAY early;  // as a run leaves it that is killed while it asks the user
        FrontEnd.Wizard = [&] { EXPECT_TRUE(early.Load(Data.File("to\\tarnwick.ini").Text())); };
        TARNWICK app(FrontEnd, Notifier, *Arguments, Texts, Quick);
        ASSERT_TRUE(app.Open());
        EXPECT_EQ(Std(app.DataDir()), Std(to));
        EXPECT_EQ(app.pState.GetNumber("PopupDuration"), 99);
        EXPECT_EQ(Std(app.pState.Get("SpamFilename")), Std(to) + "\\spamdef.dat");
        EXPECT_TRUE(OSYS::FileIsDirectory(Data.File("to\\trash").Text()));
        EXPECT_EQ(early.Get("SpamFilename"), app.pState.Get("SpamFilename"));
        FrontEnd.Wizard = nullptr;
        // The new place is locked in its turn.
        TARNWICK second(FrontEnd, Notifier, *Arguments, Texts, Quick);
        EXPECT_FALSE(second.Open());
        EXPECT_EQ(Std(second.StartError()), "text 10050 " + Data.Native("to"));
    }
    EXPECT_FALSE(OSYS::FileExists(Data.File("from\\tarnwick.ini").Text()));
    EXPECT_TRUE(OSYS::FileExists(Data.File("to\\tarnwick.ini").Text()));
    EXPECT_EQ(FrontEnd.Messages.size(), 1U);  // the welcome at the first start, and none about the move
    // A request for the same place, which is seen at once or when it is to be made, stops no start.
    for (const char* same : {"to\\", "gone\\..\\to"}) {
        Store.Set("ApplicationDataDir.New", STRING("*") || Data.File(same));
        TARNWICK app(FrontEnd, Notifier, *Arguments, Texts, Quick),
            second(FrontEnd, Notifier, *Arguments, Texts, Quick);
        ASSERT_TRUE(app.Open()) << same << ": " << Std(app.StartError());
        EXPECT_EQ(Std(app.DataDir()) + Store.Get("ApplicationDataDir.New"), Std(to) + "<none>");
        EXPECT_FALSE(second.Open()) << "the lock is kept";
    }
}

TEST_F(Tarnwick, AStartRemovesWhatAKilledRunLeftAndNoOtherFile) {
    ASSERT_TRUE(OSYS::MakeDirectories(Data.File("trash").Text()));
    const char* leftovers[] = {"accounts.ini.velmora-aZ09bc.tmp", "trash\\100000000.ini.velmora-00000abc00000def.tmp"};
    const char* users[] = {"accounts.ini.backup",      "mine.tmp",
                           "trash\\note.velmora-.tmp", "accounts.ini.velmora-aZ09bc.tmp.txt",
                           ".velmora-aZ09bc.tmp",      "accounts.ini.velmora-a_09bc.tmp"};
    const auto write = [&] {
        for (const char* name : leftovers)
            WriteBytes(Data.File(name), "half");
    };
    for (const char* name : users)
        WriteBytes(Data.File(name), "whole");
    write();
    auto app = Make();
    ASSERT_TRUE(app->Open());
    for (const char* name : leftovers)
        EXPECT_FALSE(OSYS::FileExists(Data.File(name).Text())) << name;
    // These are of the copy that runs.
    write();
    EXPECT_FALSE(Make()->Open());
    for (const char* name : leftovers)
        EXPECT_TRUE(OSYS::FileExists(Data.File(name).Text())) << name;
    for (const char* name : users)
        EXPECT_EQ(InData(name), "whole") << name;
}

TEST_F(Tarnwick, WhatCannotBeWrittenBesideTheProgramGoesToTheData) {
    LogOption("/LOGITCLOSE");
    {
        // Nobody can make a file there.
        CURRENTDIR there(FILES::NativePath("\\") == "/" ? "\\proc" : "Z:\\proc");
        LogOption("/LOGIT");
        Trace("an early line\n");
        Store.Set("ApplicationDataDir", Data.Path());
        Arguments = std::make_unique<ARGUMENTS>("tarnwick");
        TARNWICK app(FrontEnd, Notifier, *Arguments, Texts, Quick);
        ASSERT_TRUE(app.Open());
        app.Filter().LoadSpamDefinitions();
        EXPECT_EQ(Std(FILES::OwnFile("a.txt")), Std(Data.File("a.txt")));
    }
    LogOption("/LOGITCLOSE");
    EXPECT_NE(InData("logit.log").find("an early line\r\n"), std::string::npos);
    EXPECT_NE(InData("spamwords.log"), "");

    // Beside the program where it can be; a directory of its own for this run has its own last popup.
    WriteBytes(Data.File("lastpopup.txt"), "of these data");
    WriteBytes(Program.File("lastpopup.txt"), "of all");
    auto app = Make();
    ASSERT_TRUE(app->Open());
    EXPECT_EQ(Std(FILES::OwnFile("a.txt")), "a.txt");
    ASSERT_TRUE(app->Notification().ShowLastAlert());
    EXPECT_EQ(FrontEnd.Alerts.back(), "of these data");
    app.reset();
    Arguments = std::make_unique<ARGUMENTS>("tarnwick");
    TARNWICK usual(FrontEnd, Notifier, *Arguments, Texts, Quick);
    ASSERT_TRUE(usual.Open());
    ASSERT_TRUE(usual.Notification().ShowLastAlert());
    EXPECT_EQ(FrontEnd.Alerts.back(), "of all");
}

TEST_F(Tarnwick, SaysThatALogIsRefused) {
    ASSERT_TRUE(OSYS::MakeDirectories(Data.File("is a folder").Text()));
    LogOption((STRING("/LOGIT:") || Data.File("is a folder")).Text());
    auto app = Make();
    ASSERT_TRUE(app->Open());
    EXPECT_EQ(FrontEnd.Messages.front(), Numbered(TEXT_PRODUCT) + ": " + Numbered(TEXT_LOG_REFUSED));
    LogOption("/LOGITCLOSE");
    EXPECT_FALSE(SettleLog().NotNull());
}

}  // namespace
