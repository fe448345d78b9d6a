#include "corelib/base/locks.h"

#include "corelib/base/recordarray.h"
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

TEST(LocksTest, TablesStandTwoThreads) {
    STRINGARRAY record(STRING("count=0\ntext=\n"), 4, 4);
    DYNARRAY<STRING> list(4, 4);
    std::thread writer([&] {
        for (int i = 1; i <= 2000; ++i) {
            record.SetNumber("count", i);
            record.Set("text", STRING("a value that needs a buffer of its own"));
            list.Add("x");
        }
    });
    int last = 0;
    while (last < 2000) {
        int now = record.GetNumber("count");
        ASSERT_GE(now, last);
        last = now;
        STRING text = record.Get("text");
        ASSERT_TRUE(text == "" || text.Length() == 38);
        list.Count();
    }
    writer.join();
    EXPECT_EQ(list.Count(), 2000);
    EXPECT_EQ(record.AsText().Line(0), "count=2000");
}
