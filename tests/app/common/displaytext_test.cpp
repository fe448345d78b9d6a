#include "app/common/displaytext.h"

#include "tests/support/testsupport.h"

// What a mail says reaches a terminal as text only, whatever its bytes are.
TEST(DisplayText, LetsNoControlThrough) {
    const std::pair<std::string_view, const char*> cases[] = {
        {"plain text", "plain text"},
        // Sequences that colour, clear, rename the window, or answer a query.
        {"\x1b[31mred\x1b[0m", "[31mred[0m"},
        {std::string_view("nul\0bel\a\b\x7f", 10), "nulbel"},
        // The same introducer as one byte, and as the character that UTF-8 has for it.
        {"\x9b"
         "31m",
         "\xe2\x80\xba"
         "31m"},
        {"\xc2\x9b"
         "31m",
         "31m"},
        {"line\r\nbreak\tand tab", "line break and tab"},
        // Marks that turn the direction of writing, or that cannot be seen.
        {"exe.\xe2\x80\xaegpj", "exe.gpj"},
        {"a\xe2\x81\xa6z\xd8\x9c.\xe2\x80\x8b\xef\xbb\xbf\xf3\xa0\x81\x81", "az."},
        // UTF-8 stays; other bytes are those of the code page, one by one.
        {"\xc3\xbc \xe2\x82\xac", "\xc3\xbc \xe2\x82\xac"},
        {"\xfc \x80", "\xc3\xbc \xe2\x82\xac"},
        {"cut \xe2\x82", "cut \xc3\xa2\xe2\x80\x9a"},
        // A form of UTF-8 that hides a control.
        {"\xc0\x9b", "\xc3\x80\xe2\x80\xba"},
    };
    for (const auto& [bytes, shown] : cases)
        EXPECT_EQ(DISPLAYTEXT::Safe(bytes), shown) << testing::PrintToString(std::string(bytes));
}

TEST(DisplayText, CountsColumns) {
    const std::pair<const char*, int> cases[] = {
        {"abc", 3},
        {"\xc3\xbc\xe2\x82\xac", 2},                      // two and three bytes, one column each
        {"e\xcc\x81", 1},                                 // a letter and its accent
        {"\xe6\x97\xa5\xe6\x9c\xac", 4},                  // two ideographs
        {"\xf0\x9f\x98\x80!", 3},                         // a face
        {"\xf0\x9f\x91\x8d\xf0\x9f\x8f\xbd", 2},          // a hand with its colour
        {"\xe0\xb8\x81\xe0\xb8\xb4\xe0\xb9\x88", 1},      // a Thai letter with vowel and tone
        {"\xed\x95\x9c\xea\xb8\x80 \xd7\xa9\xd7\x81", 6}  // Hangul; a Hebrew letter with its dot
    };
    for (const auto& [text, columns] : cases)
        EXPECT_EQ(DISPLAYTEXT::Width(text), columns) << text;
}

TEST(DisplayText, FitsTextIntoColumns) {
    using DISPLAYTEXT::Fit;
    EXPECT_EQ(Fit("abc", 5), "abc  ");
    EXPECT_EQ(Fit("abc", 5, true), "  abc");
    EXPECT_EQ(Fit("abcdef", 5), "ab...");
    EXPECT_EQ(Fit("abc", 2), "..");
    EXPECT_EQ(Fit("abc", 0), "");
    // An accent stays with its letter, and a character of two columns is not cut in half.
    EXPECT_EQ(Fit("abe\xcc\x81"
                  "fghi",
                  6),
              "abe\xcc\x81...");
    EXPECT_EQ(Fit("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e"
                  "abc",
                  6),
              "\xe6\x97\xa5... ");
    // Two faces that are joined are one.
    EXPECT_EQ(Fit("a👩‍👧bcd", 6), "a...  ");
}

TEST(DisplayText, CutsBetweenCharacters) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {"Привет", 2, "Пр"},
        {"ó\xcc\xa7o\xcc\x81", 1, "ó\xcc\xa7"},
        {"👩‍👧👍🏽!", 2, "👩‍👧👍🏽"},
        {"ab", 3, "ab"},
        {"ab", 0, ""},
        {"\xcc\x81g", 1, "\xcc\x81"},
    };
    for (const auto& [text, characters, beginning] : cases)
        EXPECT_EQ(DISPLAYTEXT::FirstCharacters(text, characters), beginning) << text;
    std::string marks = "a";
    for (int i = 0; i < 1000; ++i)
        marks += "\xcc\x81";
    EXPECT_EQ(DISPLAYTEXT::FirstCharacters(marks, 1).size(), 61U);
}
