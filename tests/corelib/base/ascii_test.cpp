#include "corelib/base/ascii.h"

#include <cstdint>
#include <gtest/gtest.h>

#include "corelib/base/utf8.h"

using namespace std::string_view_literals;

constexpr size_t NONE = std::string_view::npos;

TEST(Ascii, SearchesWithoutRegardToTheCaseOfAsciiLettersAlone) {
    const std::tuple<std::string_view, std::string_view, size_t, size_t> searches[] = {
        {"one Two two", "TWO", 0, 4}, {"one Two two", "two", 5, 8}, {"aab", "AB", 0, 1},
        {"ab", "abc", 0, NONE},       {"ab", "b", 2, NONE},         {"ab", "", 2, 2},
        {"ab", "", 3, NONE},          {"\xe4", "\xc4", 0, NONE},    {"@[", "`{", 0, NONE},
        {"x\0Y"sv, "\0y"sv, 0, 1},
    };
    for (const auto& [text, what, start, place] : searches) {
        EXPECT_EQ(ASCII::Find(text, what, start), place) << text << " " << what << " " << start;
        EXPECT_EQ(ASCII::BeginsWith(text.substr(std::min(start, text.size())), what) && place != NONE, place == start)
            << text;
    }
    EXPECT_TRUE(ASCII::BeginsWith("+ok 1", "+OK ") && ASCII::BeginsWith("+ok 1", ""));
    EXPECT_TRUE(ASCII::Equal("a\0B"sv, "A\0b"sv) && !ASCII::Equal("a\0b"sv, "a\0c"sv) && !ASCII::Equal("a", "ab"));
    EXPECT_EQ(ASCII::Lower("aZ\xc4[") + ASCII::Upper("zA\xe4{"), "az\xc4[ZA\xe4{");
}

TEST(Ascii, CutsPiecesThatMayBeEmpty) {
    std::string_view rest = "one,,two";
    EXPECT_EQ(ASCII::Take(rest, ','), "one");
    EXPECT_EQ(ASCII::Take(rest, ','), "");
    EXPECT_EQ(ASCII::Take(rest, ','), "two");
    EXPECT_EQ(ASCII::Take(rest, ','), "");
    EXPECT_EQ(ASCII::Trim("\t a b ", " \t"), "a b");
    EXPECT_EQ(ASCII::TrimLeft("  ", " ").size() + ASCII::TrimRight("  ", " ").size() + ASCII::Trim("", " ").size(), 0U);
}

TEST(Ascii, ReadsNumbersOfDigitsAlone) {
    int32_t number = 7;
    for (const auto text : {"", "-1", "+1", " 1", "2147483648", "\xb2"})
        EXPECT_FALSE(ASCII::ReadNumber(text, number)) << text;
    EXPECT_EQ(number, 7);
    EXPECT_TRUE(!ASCII::ReadNumber("30k", number) && number == 30);
    EXPECT_TRUE(ASCII::ReadNumber("02147483647", number) && number == INT32_MAX);
}

TEST(Utf8, TakesCharactersAndSingleBytesOfWhatIsNone) {
    const std::tuple<std::string_view, char32_t, size_t> texts[] = {
        {"\0"sv, 0, 1},
        {"\xc3\xa4x", 0xe4, 2},
        {"\xe2\x82\xac", 0x20ac, 3},
        {"\xf4\x8f\xbf\xbf", 0x10ffff, 4},
        {"\xc3", UTF8::INVALID, 1},      // cut off
        {"\xc1\xbf", UTF8::INVALID, 1},  // longer than it need be, here and in the next two
        {"\xe0\x9f\xbf", UTF8::INVALID, 1},
        {"\xf0\x8f\xbf\xbf", UTF8::INVALID, 1},
        {"\xed\xa0\x80", UTF8::INVALID, 1},      // half of a pair
        {"\xf4\x90\x80\x80", UTF8::INVALID, 1},  // past the last one
        {"\x80", UTF8::INVALID, 1},
        {"\xe2\x82x", UTF8::INVALID, 1},
    };
    for (const auto& [bytes, character, taken] : texts) {
        std::string_view rest = bytes;
        EXPECT_EQ(UTF8::Take(rest), character) << testing::PrintToString(bytes);
        EXPECT_EQ(bytes.size() - rest.size(), taken) << testing::PrintToString(bytes);
    }
}
