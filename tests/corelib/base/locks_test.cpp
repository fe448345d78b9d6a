#include "corelib/base/locks.h"

#include "corelib/base/trace.h"
#include "tests/support/testsupport.h"

TEST(LocksTest, AnEventWakesItsWaiterAndStaysSet) {
    EVENTSEM go(false), done(false);
    EXPECT_FALSE(go.Wait(0));
    EXPECT_FALSE(go.Wait(1));
    std::thread other([&] {
        go.Wait(WAIT_FOREVER);
        done.Set();
    });
    go.Set();
    EXPECT_TRUE(done.Wait(10000));
    EXPECT_TRUE(go.Wait(0));
    go.Reset();
    EXPECT_FALSE(go.Wait(0));
    other.join();
}

TEST(LocksTest, AMutexBelongsToItsThread) {
    MUTEXSEM mutex;
    ASSERT_TRUE(mutex.Request(0));
    ASSERT_TRUE(mutex.Request(0)) << "re-entrant";
    bool refused = false, obtained = false;
    std::thread([&] { refused = !mutex.Request(0) && !mutex.Request(5); }).join();
    EXPECT_TRUE(refused);
    mutex.Release();
    std::thread waiter([&] {
        obtained = mutex.Request(10000);
        mutex.Release();
    });
    mutex.Release();
    waiter.join();
    EXPECT_TRUE(obtained);
    mutex.Release();
    EXPECT_TRUE(mutex.Request(0)) << "a Release too many does no harm";
    mutex.Release();
}

namespace {

// The lines of a trace without their prefixes and the numbers of the objects, which have eight digits.
std::string WithoutNumbers(const std::string& lines) {
    std::string text;
    for (size_t at = 0; at < lines.size(); ++at) {
        size_t digits = lines.find_first_not_of("0123456789abcdef", at) - at;
        if (lines[at] == '[')
            at = lines.find(' ', at);
        else if (digits == 8)
            at += digits - 1;
        else
            text += lines[at];
    }
    return text;
}

}  // namespace

TEST(LocksTest, EachStepLeavesATraceAtItsLevel) {
    TEMPDIR dir;
    STRING log = dir.File("log");
    auto lines = [&](const char* level) {
        LogOption((STRING("/LOGIT:") || log).Text());
        LogOption(level);
        {
            EVENTSEM event(false);
            event.Wait(0);
            event.Set();
            event.Wait(0);
            event.Reset();
            MUTEXSEM mutex;
            mutex.Request(0);
            std::thread([&] { mutex.Request(0); }).join();
            mutex.Release();
        }
        LogOption("/LOGITCLOSE");
        return WithoutNumbers(ReadBytes(log));
    };
    EXPECT_EQ(lines("/LOG:6"), "");
    EXPECT_EQ(lines("/LOG:7"),
              "EVENTSEM::EVENTSEM created \r\nEVENTSEM::Wait  rc=258\r\nEVENTSEM::Set \r\nEVENTSEM::Wait  rc=0\r\n"
              "EVENTSEM::Reset \r\nEVENTSEM::~EVENTSEM deleted \r\n");
    EXPECT_EQ(lines("/LOG:12"),
              "EVENTSEM::EVENTSEM created \r\nEVENTSEM::Wait  rc=258\r\nEVENTSEM::Set \r\nEVENTSEM::Wait  rc=0\r\n"
              "EVENTSEM::Reset \r\nMUTEXSEM::MUTEXSEM created \r\nMUTEXSEM::MUTEXSEM obtained  rc= 0\r\n"
              "MUTEXSEM::MUTEXSEM obtained  rc= 258\r\nMUTEXSEM::MUTEXSEM released  rc= 1\r\n"
              "MUTEXSEM::MUTEXSEM deleted \r\nEVENTSEM::~EVENTSEM deleted \r\n");
}
