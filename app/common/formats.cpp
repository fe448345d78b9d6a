#include "app/common/formats.h"

#include <algorithm>
#include <climits>
#include <string>

#include "corelib/system/osys.h"

namespace {

/// The plural word of a unit, or its singular, which is one byte shorter in every language that we have.
STRING UnitFor(const TEXTS& texts, int part, int number) {
    STRING word = texts.Part(TEXT_DURATION, part);
    if (number == 1)
        word.DeleteRight(1);
    return word;
}

}  // namespace

STRING FormatNumber(int64_t number) {
    std::string digits = std::to_string(number);
    const size_t first = number < 0 ? 1 : 0;
    if (digits.size() > first + 3) {
        const STRING separator = OSYS::ThousandsSeparator();
        for (size_t pos = digits.size(); pos > first + 3;) {
            pos -= 3;
            digits.insert(pos, separator.View());
        }
    }
    return STRING(std::string_view(digits));
}

STRING FormatSize(int64_t bytes) {
    constexpr int64_t KILO = 1024;
    int64_t number = bytes / KILO;
    const char* unit = " KB";
    if (bytes >= KILO * KILO * KILO) {
        number = bytes / (KILO * KILO * KILO);
        unit = " GB";
    } else if (bytes >= KILO * KILO) {
        number = bytes / (KILO * KILO);
        unit = " MB";
    }
    return FormatNumber(number) || unit;
}

STRING FormatMailCount(const TEXTS& texts, int count, const STRING& between) {
    STRING number = texts.Part(TEXT_COUNTS, PART_COUNTS_NONE);
    if (count != 0)
        number.Format("%d", count);
    return number || between || texts.Part(TEXT_COUNTS, count == 1 ? PART_COUNTS_ONE : PART_COUNTS_MANY);
}

STRING FormatDuration(const TEXTS& texts, int64_t milliseconds, int64_t precisionMs) {
    // A clock that was set back gives a span below 0, which is as good as none.
    const int64_t ms = milliseconds < 0 ? 0 : milliseconds;
    const int64_t s = ms / 1000;
    const int days = static_cast<int>(std::min<int64_t>(s / 86400, INT_MAX));
    const int hours = static_cast<int>(s / 3600 % 24);
    const int minutes = static_cast<int>(s / 60 % 60);
    const int seconds = static_cast<int>(s % 60);
    const int tenths = static_cast<int>(ms % 1000 / 100);
    const STRING wordMinutes = texts.Part(TEXT_DURATION, PART_DURATION_MINUTES);
    const STRING wordSeconds = texts.Part(TEXT_DURATION, PART_DURATION_SECONDS);

    STRING out;
    if (s >= 86400) {
        const STRING wordDays = UnitFor(texts, PART_DURATION_DAYS, days);
        const STRING wordHours = UnitFor(texts, PART_DURATION_HOURS, hours);
        out.Format("%d %s, %d %s, %d %s", days, wordDays.Text(), hours, wordHours.Text(), minutes, wordMinutes.Text());
    } else if (s >= 3600) {
        const STRING wordHours = UnitFor(texts, PART_DURATION_HOURS, hours);
        out.Format("%d %s, %d %s", hours, wordHours.Text(), minutes, wordMinutes.Text());
    } else if (precisionMs >= 60000) {
        out.Format("%d %s", minutes, wordMinutes.Text());
    } else if (s >= 60 && precisionMs >= 1000) {
        out.Format("%d %s, %d %s", minutes, wordMinutes.Text(), seconds, wordSeconds.Text());
    } else if (s >= 60) {
        out.Format("%d %s, %d.%1d %s", minutes, wordMinutes.Text(), seconds, tenths, wordSeconds.Text());
    } else if (precisionMs >= 1000) {
        out.Format("%d %s", seconds, wordSeconds.Text());
    } else if (s > 0) {
        out.Format("%d.%d %s", seconds, tenths, wordSeconds.Text());
    } else if (ms < 11) {
        out.Format("%d %s", static_cast<int>(ms), texts.Part(TEXT_DURATION, PART_DURATION_MILLISECONDS).Text());
    } else {
        out.Format("0.%02d %s", static_cast<int>(ms / 10), wordSeconds.Text());
    }
    return out;
}
