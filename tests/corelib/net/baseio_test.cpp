#include "corelib/net/baseio.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <string>

#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"
#include "tests/support/testsupport.h"

namespace {

// A device whose line a test speaks on. Its DevRead blocks until the asked number of bytes has come.
class TESTDEVICE : public BASEIO {
 public:
    TESTDEVICE() : BASEIO("me", nullptr, "", true) { OpenStartGate(); }
    ~TESTDEVICE() override {
        Say("", true);
        KillDaemon();
    }

    // over: reading fails once the line is empty.
    void Say(const std::string& bytes, bool over = false) {
        std::lock_guard hold(Guard);
        Line += bytes;
        Over = over;
        Spoken.notify_all();
    }

    bool DevRead(char* buffer, int* length) override {
        ++Reads;
        std::unique_lock hold(Guard);
        Spoken.wait(hold, [&] { return static_cast<int>(Line.size()) >= *length || Over; });
        *length = std::min(*length, static_cast<int>(Line.size()));
        Line.copy(buffer, static_cast<size_t>(*length));
        Line.erase(0, static_cast<size_t>(*length));
        return *length > 0;
    }
    int DevGetNumAvail() override {
        std::lock_guard hold(Guard);
        return static_cast<int>(Line.size());
    }
    int DevWrite(const char*, int) override { return 0; }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }

    std::atomic<int> Reads = 0;

 private:
    std::mutex Guard;
    std::condition_variable Spoken;
    std::string Line;
    bool Over = false;
};

std::string Take(BASEIO& device, int room, int timeoutMs, const char* until = nullptr) {
    std::string out(static_cast<size_t>(room), '?');
    int length = room;
    const bool ok = device.Read(out.data(), &length, timeoutMs, until);
    EXPECT_EQ(ok, length > 0);
    return out.substr(0, static_cast<size_t>(length));
}

// A clock that goes back an hour, 30 ms after its making.
class STEPBACK : public CLOCK::SOURCE {
 public:
    STEPBACK() : Former(CLOCK::SetSource(this)) {}
    ~STEPBACK() override { CLOCK::SetSource(Former); }
    int Elapsed() const {
        auto passed = std::chrono::steady_clock::now() - Start;
        return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
    }
    int64_t UnixMilliSeconds() override {
        const int elapsed = Elapsed();
        return 1772600767000 + elapsed - (elapsed >= 30 ? 3600000 : 0);
    }
    void Sleep(int) override {}

 private:
    const std::chrono::steady_clock::time_point Start = std::chrono::steady_clock::now();
    CLOCK::SOURCE* Former;
};

}  // namespace

TEST(BaseIo, DaemonGoesOnBehindAFailedRead) {
    TcpTimes.ReadFailedMs = 1;
    {
        TESTDEVICE device;
        device.Say("a", true);
        EXPECT_TRUE(Eventually([&] { return device.Reads > 4; }));
        device.Say("b");
        EXPECT_EQ(Take(device, 2, 20000), "ab");
    }
    TcpTimes = {};
}

TEST(BaseIo, ReadEndsByCountByStopByteOrByTime) {
    TESTDEVICE device;
    device.Say("one\ntwo;three");
    EXPECT_EQ(Take(device, 100, 20000, ";\n"), "one\n");
    EXPECT_EQ(Take(device, 100, 20000, ";\n"), "two;");
    EXPECT_EQ(Take(device, 2, 20000, "\n"), "th");
    EXPECT_EQ(Take(device, 100, 40, "\n"), "ree");
    EXPECT_EQ(Take(device, 100, 40), "");
    EXPECT_EQ(Take(device, 0, 20000), "");
    std::thread speaker([&] {
        for (const char* piece : {"sl", "ow", "\n", "behind"}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            device.Say(piece);
        }
    });
    EXPECT_EQ(Take(device, 100, 20000, "\n"), "slow\n");
    speaker.join();
    EXPECT_TRUE(Eventually([&] { return device.NumAvail() == 6; }));
    EXPECT_EQ(Take(device, 100, 0), "behind");
}

TEST(BaseIo, ReadStandsAClockThatStepsBack) {
    LogOption("/LOGIT:stepback.log");
    {
        TESTDEVICE device;
        STEPBACK clock;
        device.Say("part");
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
