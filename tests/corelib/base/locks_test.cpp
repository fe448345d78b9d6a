#include "corelib/base/locks.h"

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
