#include "corelib/base/clock.h"

#include "tests/support/testsupport.h"

TEST(ClockTest, AFakeClockMovesOnlyByHand) {
    FAKECLOCK clock(1000);
    EXPECT_EQ(CLOCK::Seconds(), 1000);
    CLOCK::Sleep(1999);
    EXPECT_EQ(CLOCK::Seconds(), 1001);
    clock.Advance(1);
    EXPECT_EQ(CLOCK::Seconds(), 1002);
}

TEST(ClockTest, TheDayClockCountsFromTheFirstOfTheMonth) {
    FAKECLOCK clock;
    CLOCK::LOCALTIME t = CLOCK::Local();
    EXPECT_EQ(CLOCK::DayMilliSeconds(), (((int64_t{t.Day} * 24 + t.Hour) * 60 + t.Minute) * 60 + t.Second) * 1000);
    clock.Advance(250);
    EXPECT_EQ(CLOCK::Local().Millisecond, 250);
    int64_t before = CLOCK::DayMilliSeconds();
    clock.Advance(int64_t{31} * 24 * 3600 * 1000);
    EXPECT_NE(CLOCK::DayMilliSeconds() - before, int64_t{31} * 24 * 3600 * 1000) << "the turn of a month";
    EXPECT_GT(CLOCK::LocalFrom(CLOCK::Seconds()).Year, 2000);
}
