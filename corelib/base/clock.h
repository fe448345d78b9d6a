#pragma once

#include <cstdint>

#include "corelib/base/strings.h"

/// The one source of time: every clock reading and every pause of the system comes from here, so that a test can put a
/// clock of its own in.
namespace CLOCK {

struct LOCALTIME {
    int Year;         // 2026
    int Month;        // 1..12
    int Day;          // 1..31
    int Hour;         // 0..23
    int Minute;       // 0..59
    int Second;       // 0..60
    int Millisecond;  // 0..999
};

/// Where time comes from. The system's own is used unless a test sets another.
class SOURCE {
 public:
    virtual ~SOURCE() = default;
    /// Milliseconds since 1970, UTC.
    virtual int64_t UnixMilliSeconds() = 0;
    /// Suspends the calling thread.
    virtual void Sleep(int ms) = 0;
};

/// Puts a source in place of the present one; nullptr is the system's own. The caller keeps it alive until it is taken
/// out again. The former one comes back (nullptr for the system's).
SOURCE* SetSource(SOURCE* source);

/// Seconds since 1970, UTC.
int64_t Seconds();
/// The local time, and the local form of a time given in seconds since 1970.
LOCALTIME Local();
LOCALTIME LocalFrom(int64_t unixSeconds);
/// A day in the user's date format; as "%04d-%02d-%02d" where there is none.
STRING DateText(const LOCALTIME& day);
/// The same day as "%04d-%02d-%02d" for every user.
STRING DateIso(const LOCALTIME& day);
/// The day-of-month based clock: (((day*24+hour)*60+minute)*60+second)*1000+ms of the local time. Runs backwards once a
/// month; whoever measures with it must stand that.
int64_t DayMilliSeconds();
void Sleep(int ms);

/// Measures how long something takes. A clock that is set back costs no more than the time since the last look.
class STOPWATCH {
 public:
    STOPWATCH();
    /// ms since it was made, as far as it has looked.
    int64_t Passed();

 private:
    int64_t Last, Sum = 0;
};

}  // namespace CLOCK
