#include <locale.h>
#include <string_view>
#include <time.h>

#include "corelib/base/clock.h"
#include "corelib/base/utf8.h"

namespace CLOCK {

LOCALTIME LocalFrom(int64_t unixSeconds) {
    auto when = static_cast<time_t>(unixSeconds);
    tm t{};
    localtime_r(&when, &t);
    return {t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, 0};
}

STRING DateText(const LOCALTIME& day) {
    tm t{};
    t.tm_year = day.Year - 1900;
    t.tm_mon = day.Month - 1;
    t.tm_mday = day.Day;
    timegm(&t);  // fills in the day of the week
    // The user's locale, without touching the process's own; the neutral one where that is not installed.
    locale_t user = newlocale(LC_TIME_MASK, "", nullptr);
    if (!user)
        user = newlocale(LC_TIME_MASK, "C", nullptr);
    if (!user)
        return DateIso(day);
    char text[128];
    std::string_view written(text, strftime_l(text, sizeof text, "%x", &t, user));
    freelocale(user);
    // A locale that is not UTF-8 is told the neutral way.
    return UTF8::IsValid(written) && !written.empty() ? STRING(written) : DateIso(day);
}

}  // namespace CLOCK
