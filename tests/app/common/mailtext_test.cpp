#include "app/common/mailtext.h"

#include "tests/support/testsupport.h"

namespace {

TEST(MailText, SplitsTheFirstAddress) {
    const char* const CASES[][3] = {
        {"\"Doe, Jane\" <jane@example.org>", "Doe, Jane", "jane@example.org"},
        {"a@example.org, b@example.org", "a@example.org", "a@example.org"},
        {"<only@example.org>", "only@example.org", "only@example.org"},
        {"\"back\\\\slash \\\"quoted\\\"\" <x@y>", "back\\slash \"quoted\"", "x@y"},
        {"plain \\, comma <x@y>", "plain , comma", "x@y"},
        {"\"(no comment): kept;\" <x@y>", "(no comment): kept;", "x@y"},
        {" <x@y>\ttail ", "tail", "x@y"},
        {"front <x@y> tail", "front  tail", "x@y"},
        {"wrong > order < here", "wrong > order < here", "wrong > order < here"},
        {"(never closed <x@y>", "", ""},
        {"ends in a backslash\\", "ends in a backslash", "ends in a backslash"},
        {"", "", ""},
    };
    for (const auto& [value, name, wantedEmail] : CASES) {
        STRING text = value;
        STRING email = "old";
        SplitAddress(text, email);
        EXPECT_EQ(Std(text), name) << value;
        EXPECT_EQ(Std(email), wantedEmail) << value;
    }
}

TEST(MailText, DecodesEncodedWords) {
    const char* const CASES[][2] = {
        {"plain = text?", "plain = text?"},
        {"=?ISO-8859-1?Q?K=E4se_=3D_gut?= today", "K\xE4se = gut today"},
        {"=?utf-8?Q?K=C3=A4se_gut?=", "K=C3=A4se gut"},
        {"=?utf-8?B?S8Okc2U=?=", "K\xC3\xA4se"},
        {"=?ISO-8859-1?b?S+RzZQ==?=", "K\xE4se"},
        {"=?utf-8?B?YQ==?= =?utf-8?B?Yg==?=", "a b"},
        {"a =?x?q?no end =?ISO-8859-1?Q?ok?=", "a no end =?ISO-8859-1?Q?ok"},
        {"=?ISO-8859-1?Q?one?= =?ISO-8859-1?Q?cut", "one =?ISO-8859-1?Q?cut"},
    };
    for (const auto& [value, decoded] : CASES) {
        STRING text = value;
        DecodeEncodedWords(text);
        EXPECT_EQ(Std(text), decoded) << value;
    }
    STRING null;
    DecodeEncodedWords(null);
    EXPECT_FALSE(null.NotNull());
}

TEST(MailText, ReadsDates) {
    const char* const CASES[][3] = {
        {"Wed, 4 Mar 2026 05:06:07 +0100", "2026-03-04", "05:06"},
        {"Wed,  04  Dec  1999  23:59", "1999-12-04", "23:59"},
        {"4 Mar 2026 05:06:07", "0000-00-00", "00:00"},
        {"Wed, 4 mar 2026 05:06:07", "2026-00-04", "05:06"},
        {"Wed, 4 Mar 99999999999999999999 1:2", "2147483647-03-04", "01:02"},
        {"", "0000-00-00", "00:00"},
    };
    for (const auto& [value, wantedDate, wantedTime] : CASES) {
        STRING date, time;
        ParseDate(value, date, time);
        EXPECT_EQ(Std(date), wantedDate) << value;
        EXPECT_EQ(Std(time), wantedTime) << value;
    }
}

}  // namespace
