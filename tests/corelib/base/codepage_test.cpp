#include "corelib/base/codepage.h"

#include "tests/support/testsupport.h"

namespace {

TEST(CodePage, TurnsUtf8IntoBytes) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"gr\xc3\xb6\xc3\x9fte", "gr\xf6\xdfte", true},
        {"\xe2\x82\xac \xe2\x80\x9eq\xe2\x80\x9c", "\x80 \x84q\x93", true},  // in 0x80 to 0x9f
        {"\xe4\xb8\xad!", "?!", false},                                      // a character that the page lacks
        {"\xf0\x9f\x98\x80!", "?!", false},
        {"\xc2\x81", "?", false},  // a control that the page does not use
        {"\xc3", "?", false},      // cut off
    };
    for (const auto& [utf8, bytes, wantedExact] : cases) {
        bool exact = !wantedExact;
        EXPECT_EQ(Std(CODEPAGE::FromUtf8(utf8, &exact)), bytes) << utf8;
        EXPECT_EQ(exact, wantedExact) << utf8;
    }
}

TEST(CodePage, KeepsEveryByteItKnowsOnTheWayThere) {
    const std::string_view unused = "\x81\x8d\x8f\x90\x9d";
    for (int byte = 0; byte < 256; ++byte) {
        const char ch = static_cast<char>(byte);
        const std::string text(1, unused.find(ch) == unused.npos ? ch : '?');
        const STRING utf8 = CODEPAGE::ToUtf8(std::string(1, ch));
        EXPECT_EQ(Std(CODEPAGE::FromUtf8(utf8.View())), text) << byte;
    }
}

}  // namespace
