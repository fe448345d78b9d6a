#include "corelib/base/clock.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace CLOCK {

namespace {

class SYSTEMSOURCE : public SOURCE {
 public:
    int64_t UnixMilliSeconds() override {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    }
    void Sleep(int ms) override {
        if (ms > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
};

SYSTEMSOURCE SystemSource;
std::atomic<SOURCE*> Source = nullptr;

SOURCE& Present() {
    SOURCE* source = Source;
    return source ? *source : SystemSource;
}

LOCALTIME LocalFromMs(int64_t unixMs) {
    int64_t seconds = unixMs / 1000, ms = unixMs % 1000;
    if (ms < 0) {
        ms += 1000;
        --seconds;
    }
    LOCALTIME result = LocalFrom(seconds);
    result.Millisecond = static_cast<int>(ms);
    return result;
}

}  // namespace

SOURCE* SetSource(SOURCE* source) {
    return Source.exchange(source);
}

int64_t Seconds() {
    // Rounded down, before 1970 too.
    int64_t ms = Present().UnixMilliSeconds();
    return ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
}

LOCALTIME Local() {
    return LocalFromMs(Present().UnixMilliSeconds());
}

STRING DateIso(const LOCALTIME& day) {
    STRING text;
    text.Format("%04d-%02d-%02d", day.Year, day.Month, day.Day);
    return text;
}

int64_t DayMilliSeconds() {
    LOCALTIME t = Local();
    return (((int64_t{t.Day} * 24 + t.Hour) * 60 + t.Minute) * 60 + t.Second) * 1000 + t.Millisecond;
}

void Sleep(int ms) {
    Present().Sleep(ms);
}

STOPWATCH::STOPWATCH() : Last(Present().UnixMilliSeconds()) {}

int64_t STOPWATCH::Passed() {
    const int64_t now = Present().UnixMilliSeconds();
    Sum += std::max<int64_t>(now - Last, 0);
    Last = now;
    return Sum;
}

}  // namespace CLOCK
