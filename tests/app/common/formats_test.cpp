#include "app/common/formats.h"

#include "corelib/system/osys.h"
#include "tests/support/testsupport.h"

namespace {

/// The number with the user's separator in place of each comma.
std::string Local(std::string text) {
    const std::string separator = Std(OSYS::ThousandsSeparator());
    for (size_t at = text.find(','); at != std::string::npos; at = text.find(',', at + separator.size()))
        text.replace(at, 1, separator);
    return text;
}

TEST(Formats, Numbers) {
    const std::pair<int64_t, const char*> CASES[] = {
        {0, "0"},       {999, "999"},          {1000, "1,000"},
        {-100, "-100"}, {-123456, "-123,456"}, {9223372036854775807, "9,223,372,036,854,775,807"}};
    for (const auto& [number, text] : CASES)
        EXPECT_EQ(Std(FormatNumber(number)), Local(text));
}

TEST(Formats, Sizes) {
    const std::pair<int64_t, const char*> CASES[] = {
        {0, "0 KB"},       {1023, "0 KB"},           {2047, "1 KB"},       {1048575, "1,023 KB"},
        {1048576, "1 MB"}, {1073741823, "1,023 MB"}, {1073741824, "1 GB"}, {1073741824LL * 12345, "12,345 GB"}};
    for (const auto& [bytes, text] : CASES)
        EXPECT_EQ(Std(FormatSize(bytes)), Local(text));
}

class DURATIONTEXT : public TEXTS {
 public:
    STRING Get(int id) const override { return id == 2951 ? "sec|-|min|-|hours|days|-|-|ms" : "<STR-ERR>"; }
};

TEST(Formats, Durations) {
    const std::tuple<int64_t, int64_t, const char*> CASES[] = {
        {86400000, 60000, "1 day, 0 hours, 0 min"},
        {86399999, 1, "23 hours, 59 min"},
        {3600000, 1, "1 hour, 0 min"},
        {3599999, 1000, "59 min, 59 sec"},
        {61999, 999, "1 min, 1.9 sec"},
        {59999, 60000, "0 min"},
        {59999, 999, "59.9 sec"},
        {999, 1, "0.99 sec"},
        {10, 1, "10 ms"},
        {-5, 1, "0 ms"},
        {INT64_MAX, 1, "2147483647 days, 7 hours, 12 min"},
    };
    for (const auto& [ms, precision, text] : CASES)
        EXPECT_EQ(Std(FormatDuration(DURATIONTEXT(), ms, precision)), text) << ms;
}

}  // namespace
