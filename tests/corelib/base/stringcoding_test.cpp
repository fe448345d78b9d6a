#include "corelib/base/strings.h"
#include "corelib/base/trace.h"
#include "tests/support/testsupport.h"

namespace {

STRING AllBytes() {
    STRING text("");
    for (int i = 0; i < 256; ++i) {
        char c = static_cast<char>(i);
        text.AppendBytes(&c, 1);
    }
    return text;
}

}  // namespace

TEST(StringCodingTest, EscapedTextIsSevenBitAndComesBack) {
    EXPECT_EQ(STRING("a=b{c}").Escape("={}"), "a\\x3db\\x7bc\\x7d");
    EXPECT_EQ(STRING("\r\n\t\x1a\\\xff\x7f\x01").Escape(""), "\\r\\n\\t\\z\\\\\\xff\x7f\\x01");
    STRING all = AllBytes();
    STRING coded = all.Escape("={}");
    for (char c : coded.View())
        EXPECT_TRUE(c >= 32) << "only printable bytes and 127";
    EXPECT_EQ(coded.Unescape(), all);
}

TEST(StringCodingTest, DamagedEscapesGoOnBehindTheirAssertion) {
    const std::tuple<const char*, std::string, int> rows[] = {
        {"a\\qb", "aqb", 1}, {"a\\", "a", 1}, {"\\x4", "\x04", 1}, {"\\xzz-", {"\0zz-", 4}, 2}};
    for (const auto& [text, result, assertions] : rows) {
        EXPECT_ASSERTIONS(assertions);
        EXPECT_EQ(Std(STRING(text).Unescape()), result) << text;
    }
    // Passwords stand in files with escapes: no report shows the text.
    LogOption("/LOGIT:escapes.log");
    EXPECT_ASSERTIONS(1);
    EXPECT_EQ(STRING("open\\sesame").Unescape(), "opensesame");
    LogOption("/LOGITCLOSE");
    const std::string log = ReadBytes(STRING("escapes.log"));
    EXPECT_NE(log.find("byte 6 of 11"), log.npos) << log;
    EXPECT_EQ(log.find("sesame"), log.npos) << log;
    remove("escapes.log");
}

TEST(StringCodingTest, Base64RoundTripAndLineBreaks) {
    STRING all = AllBytes();
    for (int length = 0; length < 80; ++length) {
        STRING piece = all.Mid(100, length);
        EXPECT_EQ(piece.ToBase64().FromBase64(), piece) << length;
        EXPECT_EQ(piece.ToBase64(true).FromBase64(), piece) << length;
    }
    EXPECT_EQ(STRING("Man").ToBase64(), "TWFu");
    EXPECT_EQ(all.Left(57).ToBase64(true).Length(), 78) << "one line of 76 and its end";
    EXPECT_EQ(all.Left(58).ToBase64(true).Pos("\r\n"), 80) << "a single last byte does not break the line";
    EXPECT_EQ(all.Left(59).ToBase64(true).Pos("\r\n"), 76);
}

TEST(StringCodingTest, DamagedBase64) {
    const char* const rows[][2] = {{"QQ", ""},    {"QQ==", "A"}, {"Q Q\r\n=", "A"}, {"QUI=QUI=", "AB"},
                                   {"=QUJD", ""}, {"Q=UJD", ""}, {"QUJDRA", "ABC"}};
    for (const auto& [text, result] : rows) {
        EXPECT_EQ(STRING(text).FromBase64(), result) << text;
        EXPECT_TRUE(STRING(text).FromBase64().NotNull());
    }
}

TEST(StringCodingTest, CrcHasNoInversion) {
    // The common CRC-32 of "123456789" is cbf43926; without start value and final inversion it is this.
    EXPECT_EQ(STRING("123456789").Crc(), 0x2dfd2d88u);
    EXPECT_EQ(STRING("").Crc(), 0u);
    EXPECT_EQ(STRING().Crc(), 0u);
}
