#include "corelib/net/tcpio.h"

#include <cstdio>
#include <optional>

#include "corelib/base/trace.h"
#include "corelib/net/abandon.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/stopsoon.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"

using namespace PLAY;

namespace {

constexpr int LONG_MS = 20000;

std::string Take(BASEIO& device, int room, int timeoutMs = LONG_MS, const char* until = nullptr) {
    std::string out(static_cast<size_t>(room), '?');
    int length = room;
    const bool ok = device.Read(out.data(), &length, timeoutMs, until);
    EXPECT_EQ(ok, length > 0);
    return out.substr(0, static_cast<size_t>(length));
}

std::string Info(TCPIPIO& device, const char* key) {
    return Std(device.GetInfo(key));
}

std::string LastErrors(TCPIPIO& device) {
    return Info(device, "LastError") + " " + Info(device, "lasterrorclass") + " " + Info(device, "LASTERRORSTRING");
}

// A listening socket that nobody accepts on.
HELDSOCKET Deaf(uint32_t address, uint16_t* port) {
    SOCKETS::Startup();
    const SOCKETS::SOCK s = SOCKETS::Open();
    EXPECT_EQ(SOCKETS::Listen(s, address, 0, 0, port), SOCKETS::LISTENERROR::None);
    return HELDSOCKET(s);
}

// A clock that goes back an hour, 30 ms after its making.
class STEPBACK : public FAKECLOCK {
 public:
    int Elapsed() const {
        auto passed = std::chrono::steady_clock::now() - Start;
        return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
    }
    int64_t UnixMilliSeconds() override {
        const int elapsed = Elapsed();
        return 1772600767000 + elapsed - (elapsed >= 30 ? 3600000 : 0);
    }

 private:
    const std::chrono::steady_clock::time_point Start = std::chrono::steady_clock::now();
};

// Shrinks times for the length of a test.
class TcpIo : public testing::Test {
 protected:
    ~TcpIo() override {
        SHRINKABLE::TcpTimes = {};
        TcpLookups = {};
        Held = false;
        EXPECT_TRUE(Eventually([] { return AbandonableCalls == 0; }));
    }
    // Look-ups take until the end of the test.
    void HoldLookups() {
        Held = true;
        TcpLookups.HostByName = [](const char*, uint32_t*, STRING*) { return Hold(); };
        TcpLookups.HostByAddress = [](uint32_t, STRING*) { return Hold(); };
    }

 private:
    static bool Hold() {
        while (Held)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return false;
    }
    static inline std::atomic<bool> Held = false;
};

// Callers that fill the queue of a listener, until the system lets the next one wait; none where it refuses that one.
std::vector<SOCKETREF> FillQueue(uint16_t port) {
    std::vector<SOCKETREF> callers;
    auto ready = SOCKETS::READY::Writable;
    while (ready == SOCKETS::READY::Writable && callers.size() < 20) {
        callers.push_back(std::make_shared<HELDSOCKET>(SOCKETS::Open()));
        SOCKETS::SetBlocking(callers.back()->Number, false);
        SOCKETS::Connect(callers.back()->Number, SOCKETS::LOOPBACK, port);
        ready = SOCKETS::WaitConnected(callers.back()->Number, 50);
    }
    if (ready != SOCKETS::READY::Nothing)
        callers.clear();
    return callers;
}

}  // namespace

TEST_F(TcpIo, TakesDestinationsWithColonBlankAndStar) {
    SCRIPTEDSERVER server(SCRIPT{Send("hello"), Silence()});
    const std::string port = std::to_string(server.Port());
    for (const std::string& destination : {"127.0.0.1:" + port, "127.0.0.1 " + port, " *:127.0.0.1:" + port + ":110",
                                           "localhost:" + port, "localhost " + port + " trailing:text"}) {
        TCPIPIO device("", "", "");
        ASSERT_TRUE(device.MakeCall(destination.c_str())) << destination;
        EXPECT_TRUE(Info(device, "CallerId").ends_with(" (127.0.0.1)")) << Info(device, "CallerId");
        EXPECT_EQ(Take(device, 5), "hello");
        EXPECT_TRUE(device.DropCall());
        EXPECT_EQ(Info(device, "CallerId"), "<unknown>");
    }
}

TEST_F(TcpIo, TellsWhyACallFails) {
    const std::string noHost(300, 'a');
    const std::tuple<std::string, const char*, std::string> cases[] = {
        {noHost + ":110", "4098 500 Host not found", noHost.substr(0, 255)},
        {"127.0.0.1:no-such-service", "4097 500 No TCP/IP socket or service", "127.0.0.1"},
        {"127.0.0.1:0", "4097 500 No TCP/IP socket or service", "127.0.0.1"},
        {"127.0.0.1:65559", "4097 500 No TCP/IP socket or service", "127.0.0.1"},  // not 23
        {"127.0.0.1:" + std::to_string(ClosedPort()), "4096 400 No response", "127.0.0.1"},
        // Nothing can be an address of its own; the broadcast address takes no calls.
        {":", "4096 400 No response", ""},
    };
    TCPIPIO device("", "", "");
    for (const auto& [destination, errors, callerId] : cases) {
        EXPECT_FALSE(device.MakeCall(destination.c_str())) << destination;
        EXPECT_EQ(LastErrors(device), errors) << destination;
        EXPECT_EQ(Info(device, "CALLERID"), callerId);
        EXPECT_EQ(Info(device, "ONLINE"), "0");
        EXPECT_EQ(device.Write("x", 1), 0);
    }
    // A failed call leaves the device as good as new.
    SCRIPTEDSERVER server(SCRIPT{Silence()});
    EXPECT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_EQ(LastErrors(device), "0 200 No Error");
}

TEST_F(TcpIo, GivesUpOnASilentHost) {
    SHRINKABLE::TcpTimes = {.ConnectMs = 60, .StopLookMs = 20};
    uint16_t port = 0;
    HELDSOCKET deaf = Deaf(SOCKETS::LOOPBACK, &port);
    const std::vector<SOCKETREF> callers = FillQueue(port);
    if (callers.empty())
        GTEST_SKIP() << "this system refuses what does not fit the queue";
    const std::string destination = "127.0.0.1:" + std::to_string(port);
    TCPIPIO device("", "", "");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(device.MakeCall(destination.c_str()));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(55));
    EXPECT_EQ(LastErrors(device), "4096 400 No response");
    SHRINKABLE::TcpTimes.ConnectMs = 60000;
    const STOPSOON stop;
    device.SetStopQuestion(stop.Question());
    EXPECT_FALSE(device.MakeCall(destination.c_str()));
    EXPECT_STOPPED(stop);
}

TEST_F(TcpIo, GivesUpOnALookUpThatTakesTooLong) {
    HoldLookups();
    SCRIPTEDSERVER server(SCRIPT{Silence()});
    const std::string name = "name.example:" + std::to_string(server.Port());
    for (const std::string& destination : {name, server.HostPort()}) {
        const STOPSOON stop;
        TCPIPIO device("", "", "");
        device.SetStopQuestion(stop.Question());
        EXPECT_FALSE(device.MakeCall(destination.c_str()));
        EXPECT_STOPPED(stop);
    }
    SHRINKABLE::TcpTimes = {.ConnectMs = 40, .StopLookMs = 10};
    TCPIPIO device("", "", "");
    EXPECT_FALSE(device.MakeCall(name.c_str()));
    EXPECT_EQ(LastErrors(device), "4098 500 Host not found");
    EXPECT_TRUE(device.MakeCall(server.HostPort().c_str())) << "an address needs no name";
    EXPECT_EQ(Info(device, "CallerId"), "<unnamed> (127.0.0.1)");
    // They do not pile up.
    for (int i = 0; i < 40; ++i)
        AwaitOrAbandon<int>([] { return 1; }, {}, 0, 10);
    const auto hold = [lookup = TcpLookups.HostByAddress] { return lookup(0, nullptr); };
    for (int i = 0; i < 2 * MOST_ABANDONABLE_CALLS; ++i)
        EXPECT_FALSE(AwaitOrAbandon<bool>(hold, {}, 0, 10));
    EXPECT_LE(AbandonableCalls, MOST_ABANDONABLE_CALLS);
}

TEST_F(TcpIo, AStopEndsAReadAndAWriteAndTheDevice) {
    const SCRIPT SCRIPTS[] = {{Silence()}, {Drip(std::string(100000, 'd'))}, {Deafness()}};
    const std::string flood(50000000, 'f');
    for (const SCRIPT& script : SCRIPTS) {
        SCRIPTEDSERVER server(script);
        std::optional<STOPSOON> stop;
        {
            TCPIPIO device("", "", "");
            ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
            stop.emplace();
            device.SetStopQuestion(stop->Question());
            if (script[0].Kind == STEP::DEAFNESS) {
                EXPECT_LT(device.Write(flood.data(), static_cast<int>(flood.size())), 0);
                EXPECT_EQ(Info(device, "ONLINE"), "0");
            } else {
                while (!Take(device, 1000).empty()) {
                }
            }
        }
        EXPECT_STOPPED(*stop);
    }
}

TEST_F(TcpIo, ABigWriteArrivesWhole) {
    std::string sent(3000000, 'x');
    for (size_t i = 0; i < sent.size(); i += 7)
        sent[i] = static_cast<char>('a' + i % 26);
    sent += "\r\n";
    SCRIPTEDSERVER server(SCRIPT{ReadUntil("\r\n"), Send("thanks")});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_EQ(device.Write(sent.data(), static_cast<int>(sent.size())), 1);
    EXPECT_EQ(Take(device, 6), "thanks");
    EXPECT_EQ(server.Transcript(), sent);
}

TEST_F(TcpIo, APeerThatIsTooSlowEndsTheConversation) {
    SHRINKABLE::TcpTimes = {.StopLookMs = 10, .SlowMs = 60, .SlowBytesPerSecond = 1 << 20, .QuickMs = 10};
    SCRIPTEDSERVER server({SCRIPT{Drip(std::string(100000, 'd'))}, SCRIPT{Deafness()}, SCRIPT{Send("quick")}});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    for (int i = 0; i < 1000 && !Take(device, 20, LONG_MS).empty(); ++i) {
    }
    EXPECT_TRUE(device.IsTooSlow());
    EXPECT_EQ(LastErrors(device), "4105 400 Too slow");
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() > 0; }));
    EXPECT_EQ(Take(device, 20, 0), "") << "nothing is read any more, whatever is there";
    device.DropCall();
    EXPECT_EQ(LastErrors(device), "4105 400 Too slow");

    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_EQ(LastErrors(device), "0 200 No Error");
    const std::string flood(50000000, 'f');
    EXPECT_LT(device.Write(flood.data(), static_cast<int>(flood.size())), 0) << "nor is it written for ever";
    EXPECT_EQ(LastErrors(device), "4105 400 Too slow");

    while (device.NumAvail() > 0 || device.IsTooSlow()) {
        device.DropCall();
        ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
        int length = 100000;
        std::string rest(100000, ' ');
        device.Read(rest.data(), &length, 20, nullptr);
    }
    EXPECT_EQ(LastErrors(device), "0 200 No Error");
}

TEST_F(TcpIo, ManyQuickRepliesAndOurOwnTimeAreNotSlow) {
    SCRIPT script;
    for (int i = 0; i < 50; ++i) {
        script.push_back(ExpectPrefix("NOOP"));
        script.push_back(Drip("+ done so far\n"));
    }
    SHRINKABLE::TcpTimes = {.SlowMs = 20, .SlowBytesPerSecond = 1 << 20};
    for (const bool quickIsFree : {true, false}) {
        SHRINKABLE::TcpTimes.QuickMs = quickIsFree ? 10000 : 0;
        SCRIPTEDSERVER server(script);
        TCPIPIO device("", "", "");
        ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
        for (int i = 0; i < 50 && !device.IsTooSlow(); ++i) {
            device.Write("NOOP\r\n", -1);
            Take(device, 100, LONG_MS, "\n");
        }
        EXPECT_EQ(device.IsTooSlow(), !quickIsFree);
    }
    SCRIPTEDSERVER server(SCRIPT{Send("one\ntwo\nthree\nfour\n")});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() == 19; }));
    for (const char* line : {"one\n", "two\n", "three\n", "four\n"}) {
        EXPECT_EQ(Take(device, 100, LONG_MS, "\n"), line);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

TEST_F(TcpIo, PaceCountsBytesForTheTimeThatWasWaited) {
    const std::tuple<int, int, int, int, bool> CASES[] = {
        {60, 1000, 199, 0, true},  {600, 1000, 200, 0, false}, {59, 1000, 0, 0, false},   {1000, 490, 1, 1, false},
        {2000, 490, 1, 1, true},   {100, 4900, 1, 1, true},    {12, 10000, 100, 1, true}, {6, 10000, 100, 1, false},
        {100, -5000, 0, 0, false}, {60, 1000, 0, 10, false},
    };
    for (const auto& [waits, waitMs, bytes, askEach, slow] : CASES) {
        PACE pace;
        for (int i = 0; i < waits; ++i) {
            if (askEach > 0 && i % askEach == 0)
                pace.Asked();
            pace.Moved(bytes);
            pace.Waited(waitMs);
        }
        EXPECT_EQ(pace.IsTooSlow(), slow) << waits << " * " << waitMs << ", " << bytes;
    }
    // What came at full speed before buys one minute of a drip and no more.
    PACE pace;
    pace.Moved(1 << 30);
    for (int i = 0; i < 120; ++i) {
        EXPECT_FALSE(pace.IsTooSlow());
        pace.Waited(1000);
    }
    EXPECT_TRUE(pace.IsTooSlow());
}

TEST_F(TcpIo, ReadEndsByCountByStopByteOrByTime) {
    SCRIPTEDSERVER server(SCRIPT{Send("one\ntwo;three"), ExpectPrefix(""), Drip("slow\nbehind")});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_EQ(Take(device, 100, LONG_MS, ";\n"), "one\n");
    EXPECT_EQ(Take(device, 100, LONG_MS, ";\n"), "two;");
    EXPECT_EQ(Take(device, 2, LONG_MS, "\n"), "th");
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() == 3; }));
    EXPECT_EQ(Take(device, 100, 40, "\n"), "ree");
    EXPECT_EQ(Take(device, 100, 40), "");
    EXPECT_EQ(Take(device, 0), "");
    device.Write("\r\n", -1);
    EXPECT_EQ(Take(device, 100, LONG_MS, "\n"), "slow\n");
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() == 6; }));
    EXPECT_EQ(Take(device, 100, 0), "behind");
}

TEST_F(TcpIo, ReadStandsAClockThatStepsBack) {
    SCRIPTEDSERVER server(SCRIPT{Send("part"), Silence()});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().c_str()));
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() == 4; }));
    LogOption("/LOGIT:stepback.log");
    {
        STEPBACK clock;
        EXPECT_EQ(Take(device, 100, 80, "\n"), "part");
        // The time counts from the step on.
        EXPECT_GE(clock.Elapsed(), 30 + 80);
        EXPECT_LT(clock.Elapsed(), 10000);
    }
    LogOption("/LOGITCLOSE");
    STRING log;
    ASSERT_TRUE(log.Load("stepback.log", "r"));
    EXPECT_GE(log.Pos("BASEIO::Read *** WARNING!!! *** negative time diff -3599"), 0) << log.Text();
    remove("stepback.log");
}

// The accepting side listens on the address of the host name, which has to be a loopback address to be called here.
class TcpAccept : public testing::Test {
 protected:
    void SetUp() override {
        SOCKETS::Startup();
        STRING name;
        if (!SOCKETS::HostByName(SOCKETS::HostName().Text(), &Address, &name) || Address >> 24 != 127)
            GTEST_SKIP() << "the name of this machine is no loopback address";
        Deaf(Address, &Port);
        PortText = std::to_string(Port);
    }
    std::string Destination() const { return Std(SOCKETS::AddressText(Address)) + ":" + PortText; }
    // Calls until the listener is there.
    void Call(TCPIPIO& caller) const {
        EXPECT_TRUE(Eventually([&] { return caller.MakeCall(Destination().c_str()); }));
    }

    uint32_t Address = 0;
    uint16_t Port = 0;
    std::string PortText;
};

TEST_F(TcpAccept, TakesCallsOfTwoDevicesOnOnePort) {
    TCPIPIO called[] = {{PortText.c_str(), "", ""}, {PortText.c_str(), "", ""}};
    TCPIPIO callers[] = {{"", "", ""}, {"", "", ""}};
    std::atomic<int> accepted = 0;
    const auto take = [&](TCPIPIO& device) { accepted += device.AcceptCall(); };
    std::thread first(take, std::ref(called[0])), second(take, std::ref(called[1]));
    for (TCPIPIO& caller : callers) {
        Call(caller);
        caller.Write("1", 1);
    }
    first.join();
    second.join();
    EXPECT_EQ(accepted, 2);
    for (TCPIPIO& device : called) {
        EXPECT_EQ(LastErrors(device), "0 200 No Error");
        EXPECT_TRUE(Info(device, "CallerId").starts_with("127."));
        EXPECT_EQ(Take(device, 1), "1");
        device.DropCall();
    }
    // The last drop closes the listener; the next call opens it anew.
    EXPECT_FALSE(callers[0].DropCall() && callers[0].MakeCall(Destination().c_str()));
    std::thread third(take, std::ref(called[0]));
    Call(callers[0]);
    third.join();
    EXPECT_EQ(accepted, 3);
}

TEST_F(TcpAccept, FailsWhereThePortIsTaken) {
    HELDSOCKET taken = Deaf(Address, &Port);
    TCPIPIO device(std::to_string(Port).c_str(), "", "");
    EXPECT_FALSE(device.AcceptCall());
    EXPECT_EQ(LastErrors(device), "4104 500 Bind failed");
}
