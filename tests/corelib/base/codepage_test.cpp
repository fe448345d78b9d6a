#include "corelib/base/codepage.h"

#include "corelib/base/utf8.h"
#include "tests/support/testsupport.h"

namespace {

TEST(CodePage, TurnsUtf8IntoBytes) {
    const std::pair<const char*, const char*> cases[] = {
        {"größte", "gr\xf6\xdfte"},
        {"€ „q“", "\x80 \x84q\x93"},  // in 0x80 to 0x9f
        {"中!", "?!"},
        {"😀!", "?!"},      // what the page lacks
        {"\xc2\x81", "?"},  // a control that the page does not use
        {"\xc3", "?"},      // cut off
    };
    for (const auto& [utf8, bytes] : cases)
        EXPECT_EQ(Std(CODEPAGE::FromUtf8(utf8)), bytes) << utf8;
}

TEST(CodePage, KnowsAValueOfAnEarlierVersion) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"Ω größer 日本", "Ω größer 日本", "Ω größer 日本"},
        {"Gr\xf6\xdf\x65 \x80", "Größe €", "Größe €"},
        {"Ä°\xfc", "Ã„Â°ü", "Ä°ü"},  // as a whole, or byte by byte
        {"\x81", "?", "?"},
        {"", "", ""},
    };
    for (const auto& [bytes, whole, guessed] : cases) {
        EXPECT_EQ(Std(CODEPAGE::ToUtf8(bytes)), whole);
        std::string text = "a ";
        CODEPAGE::AppendGuessed(text, bytes);
        EXPECT_EQ(text, std::string("a ") + guessed);
    }
    EXPECT_FALSE(CODEPAGE::ToUtf8(STRING()).NotNull());
    STRING secret("\xfc");
    secret.SetFlags(STRINGFLAG_BINARY);
    EXPECT_EQ(CODEPAGE::ToUtf8(secret).GetFlags(), STRINGFLAG_BINARY);
}

TEST(Utf8, IsCutBetweenCharacters) {
    const std::tuple<const char*, size_t, const char*> cases[] = {
        {"aü", 3, "aü"},
        {"aü", 2, "a"},
        {"aü", 1, "a"},
        {"a日", 3, "a"},
        {"日本", 3, "日"},
        {"a😀b", 4, "a"},
        {"", 0, ""},
        {"üb", 0, ""},
        {"😀", 3, ""},
        {"😀b", 4, "😀"},
        {"ab\xfc\xfc", 3, "ab\xfc"},  // of no UTF-8 any byte may be the last
        {"\x80\x80\x80\x80\x80", 4, "\x80\x80\x80\x80"},
    };
    for (const auto& [text, bytes, wanted] : cases)
        EXPECT_EQ(UTF8::Cut(text, bytes), wanted) << text << bytes;
}

}  // namespace
