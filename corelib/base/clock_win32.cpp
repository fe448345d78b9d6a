#include <ctime>
#include <iterator>
#include <windows.h>

#include "corelib/base/clock.h"
#include "corelib/base/widepath.h"

namespace CLOCK {

LOCALTIME LocalFrom(int64_t unixSeconds) {
    auto when = static_cast<time_t>(unixSeconds);
    tm t{};
    localtime_s(&t, &when);
    return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, 0};
}

STRING DateText(const LOCALTIME& day) {
    SYSTEMTIME t{};
    t.wYear = static_cast<WORD>(day.Year);
    t.wMonth = static_cast<WORD>(day.Month);
    t.wDay = static_cast<WORD>(day.Day);
    wchar_t text[128];
    return GetDateFormatW(LOCALE_USER_DEFAULT, 0, &t, nullptr, text, std::size(text)) ? FromWide(text) : DateIso(day);
}

}  // namespace CLOCK
