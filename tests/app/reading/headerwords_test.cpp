#include "app/reading/headerwords.h"

#include "app/reading/shownmail.h"
#include "tests/support/testsupport.h"

namespace {

TEST(HeaderWords, AreReadInEveryLetter) {
    const struct {
        const char *Value, *Read, *Charset = "";
    } CASES[] = {
        {"plain = text?", "plain = text?"},
        {"=?ISO-8859-1?Q?Gr=FC=DFe_aus?= Wien", "Grüße aus Wien"},
        {"=?windows-1252?Q?=80_100_=96_=84jetzt=93?=", "€ 100 – „jetzt“"},
        {"=?iso-8859-1?q?=80?=", "€"},  // as it is used
        {"=?UTF-8?Q?Gr=C3=BC=C3=9Fe?=", "Grüße"},
        {"=?utf-8?b?0J/RgNC40LLQtdGC?=", "Привет"},
        {"=?UTF-8?B?8J+YgA==?= =?UTF-8?Q?=E2=9C=93?=", "😀✓"},
        // Split in the middle of a character, and in the middle of a Base64 group.
        {"=?UTF-8?Q?Gr=C3?= =?utf-8?Q?=BC=C3=9Fe?=", "Grüße"},
        {"=?UTF-8?B?w?=\n\t=?UTF-8?B?w7w=?=", "ü"},
        {"=?GB2312?B?xOO6ww==?=", "你好"},
        {"=?KOI8-R?Q?=F0=D2=C9=D7=C5=D4?=", "Привет"},
        {"=?ISO-2022-JP?B?GyRCJDMkcyRLJEEkTxsoQg==?=", "こんにちは"},
        {"=?ISO-2022-JP?B?GyRCJDMkcxsoQg==?= =?ISO-2022-JP?B?GyRCJEskQSRPGyhC?=", "こんにちは"},
        {"=?Shift_JIS?B?grGC8YLJgr+CzQ==?=", "こんにちは"},
        {"=?euc-kr?B?vsiz58fPvLy/5A==?=", "안녕하세요"},
        {"=?big5?B?p0Gmbg==?=", "你好"},
        {"=?windows-1255?B?+ezl7Q==?=", "שלום"},
        {"=?iso-8859-7?Q?=C3=E5=E9=DC?=", "Γειά"},
        {"=?UTF-8*EN?Q?with_a_language?=", "with a language"},
        // Blanks between words go, those beside other text stay.
        {"a =?utf-8?q?b?=  =?utf-8?q?c?= d =?koi8-r?q?=C1?= =?utf-8?q?e?=", "a bc d аe"},
        // Broken, but to be read: blanks, "?" and "?=" in the text, no blank beside it.
        {"=?utf-8?Q?Is this it?"
         "?= Yes",
         "Is this it? Yes"},
        {"=?utf-8?Q?a?=3F_b?=", "a?? b"},
        {"(=?utf-8?Q?in?=)", "(in)"},
        // Not to be read: as it stands.
        {"=?x-nobody-knows?Q?=C3=BC?= and =?utf-8?x?a?=", "=?x-nobody-knows?Q?=C3=BC?= and =?utf-8?x?a?="},
        {"=?utf-8?Q?cut", "=?utf-8?Q?cut"},
        {"=??Q?a?= =?../../etc?Q?a?=", "=??Q?a?= =?../../etc?Q?a?="},
        {"=?utf-8?Q?=FC=C3=BC?=", "üü"},  // Latin 1 that calls itself UTF-8
        // Without words.
        {"Grüße", "Grüße"},
        {"Gr\xFC\xDF"
         "e \x80",
         "Grüße €"},
        {"\xF0\xD2\xC9\xD7\xC5\xD4", "Привет", "koi8-r"},
        {"Grüße", "Grüße", "koi8-r"},
        {"", ""},
    };
    for (const auto& test : CASES)
        EXPECT_EQ(HeaderWords(test.Value, test.Charset), test.Read) << test.Value;
}

TEST(ShownMail, TellsSenderAndSubjectOfTheServersHeader) {
    const struct {
        const char *Header, *Sender, *Subject;
    } CASES[] = {
        {"From: =?utf-8?q?J=C3=BCrgen?= <j@example.org>\nSubject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=\n", "Jürgen", "Grüße"},
        {"From: \"=?utf-8?q?M=C3=BCller=2C?= Jan\" <j@example.org>, b@example.org\nSubject:no blank\n", "Müller, Jan",
         "no blank"},
        // Folded with blanks, which the records do not join.
        {"Subject: =?utf-8?q?Gr=C3?=\n =?utf-8?q?=BC=C3=9Fe?=\n and more\nFrom:\n (nobody) <only@example.org>\n",
         "only@example.org", "Grüße and more"},
        // The whole header of an IMAP block, in which the block's own lines lack the subject.
        {"X-Transport: Received: x\\r\\nFROM: =?utf-8?q?J=C3=BC?= <a@b>\\r\\nSubject:\\r\\n "
         "=?utf-8?q?=E2=9C=93?=\\r\\n\n"
         "From: a@b\n",
         "Jü", "✓"},
        {"From: \xF0\xD2\xC9 <a@b>\nSubject: \xD7\xC5\xD4\nContent-Type: text/plain; charset=\"koi8-r\"\n", "При",
         "вет"},
        // Nothing that turns the writing, rings a bell or says that it could not be read.
        {"From: =?utf-8?q?=E2=80=AEevil=07?= <a@b>\nSubject: =?utf-8?q?a=00b=1B[2J=0D=0Ac=EF=BF=BD?= "
         "=?gb2312?q?d?=\n",
         "evil", "ab[2J cd"},
        {"From: =?UTF-8?q?M=C3=BCller,_(Jan);?= <j@x.org>\n", "Müller, (Jan);", ""},
        // A line by which a stranger would be somebody else, in a POP3 mail.
        {"X-Message-Id: 1|2\nX-Transport: From: Boss <b@x>\\r\\n\nFrom: Joe <j@x>\n", "Joe", ""},
        {"To: =?koi8-r?q?=D1?= <x@y>\n", "", ""},
    };
    for (const auto& test : CASES) {
        STRINGARRAY record;
        for (const char* key : {"From", "To", "Subject"})
            record.Set(key, "");
        record.Set("Header", STRING(test.Header));
        EXPECT_EQ(SHOWNMAIL::Header(record).Sender, test.Sender) << test.Header;
        EXPECT_EQ(SHOWNMAIL::Header(record).Subject, test.Subject) << test.Header;
        EXPECT_EQ(SHOWNMAIL::Header(record).Recipient, *test.Sender || *test.Subject ? "" : "я") << test.Header;
    }
}

}  // namespace
