#pragma once

#include <chrono>

#include "corelib/base/stopquestion.h"

/// A program that is to end 30 ms after the making of this: time for a peer's conversation to get stuck.
class STOPSOON {
 public:
    STOPQUESTION Question() const {
        return [yes = Yes] { return std::chrono::steady_clock::now() >= yes; };
    }
    /// How long what was asked to stop has gone on: ms, below 0 if it had ended before it was asked.
    int Overtime() const {
        const auto passed = std::chrono::steady_clock::now() - Yes;
        return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
    }

 private:
    const std::chrono::steady_clock::time_point Yes = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
};

/// Holds that `work` was still going on when it was asked to stop, and ended within two seconds; it needs a look's
/// time.
#define EXPECT_STOPPED(stop)                    \
    do {                                        \
        const int overtime = (stop).Overtime(); \
        EXPECT_GE(overtime, 0);                 \
        EXPECT_LT(overtime, 2000);              \
    } while (false)
