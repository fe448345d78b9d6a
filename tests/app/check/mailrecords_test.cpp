#include "app/check/mailrecords.h"

#include "app/common/formats.h"
#include "tests/support/testsupport.h"

namespace {

TEST(HeaderBlock, SplitsAndReads) {
    const std::string_view text = "First: 1\r\nsecond:\t two \r\nSecond: again\r\nSecondary: no\r\n\r\nFirst: body\r\n";
    EXPECT_EQ(HeaderBlock(text), "First: 1\r\nsecond:\t two \r\nSecond: again\r\nSecondary: no\r\n");
    EXPECT_EQ(BodyBlock(text), "First: body\r\n");
    EXPECT_EQ(Std(ReadHeaderField(text, "FIRST")), "1");
    EXPECT_EQ(Std(ReadHeaderField(text, "Second")), "two ");
    EXPECT_EQ(Std(ReadHeaderField(text, "Second", 1)), "again");
    EXPECT_FALSE(ReadHeaderField(text, "Second", 2).NotNull());
    EXPECT_FALSE(ReadHeaderField(text, "First", 1).NotNull()) << "the body is not searched";
    EXPECT_TRUE(ReadHeaderField("Empty:\nX: 1\n", "Empty").NotNull());

    EXPECT_EQ(HeaderBlock("no end"), "no end");
    EXPECT_EQ(BodyBlock("no end"), "");
    EXPECT_EQ(HeaderBlock("\nbody"), "");
    EXPECT_EQ(BodyBlock("\nbody"), "body");
}

class MailRecords : public testing::Test {
 protected:
    int Build(std::string_view listing) { return BuildMailHash(STRING(listing), Hash); }
    RECORDARRAY Hash{MAILHASH_SLOTS, MAILHASH_SLOTS};
};

TEST_F(MailRecords, HasEveryField) {
    ASSERT_EQ(Build("1 msgs|0 unread|0 bytes\n"
                    "X-Size: 1048575\nX-Message-Id: 1|1048575\nX-SpamPoints: 25\nX-SpamReason: words\n"
                    "to: =?ISO-8859-1?Q?J=F6rg?= <j@example.org>\nFROM: \"A, B\" <ab@example.org>, c@example.org\n"
                    "Subject: =?ISO-8859-1?Q?hello_?=\t \nMESSAGE-ID: <id@example.org>\nSeen: yes\n"
                    "Content-Type: text/plain;\n\tcharset=x\nDate: Wed, 4 Mar 2026 05:06:07 +0100\n"
                    "\nbody\n\nmore\n.\n\1"),
              1);
    const std::pair<const char*, const char*> FIELDS[] = {
        {"To", "J\xF6rg"},
        {"From", "A, B"},
        {"FromEmail", "ab@example.org"},
        {"Subject", "hello"},
        {"MessageId", "<id@example.org>"},
        {"X-Message-Id", "1|1048575"},
        {"Content-Type", "text/plain; charset=x"},
        {"X-Ignore", "0"},
        {"Seen", "1"},
        {"Body", "body\n\nmore\n.\n"},
        {"X-Datetime", "Wed, 4 Mar 2026 05:06:07 +0100"},
        {"X-SpamPoints", "25"},
        {"X-SpamReason", "words"},
        {"X-Size", FormatSize(1048575).Ptr()},
    };
    for (const auto& [key, value] : FIELDS)
        EXPECT_EQ(Std(Hash[0].Get(key)), value) << key;
    EXPECT_TRUE(Std(Hash[0].Get("Header")).ends_with("text/plain; charset=x\nDate: Wed, 4 Mar 2026 05:06:07 +0100\n"));
}

TEST_F(MailRecords, GivesEveryMailAnIdentity) {
    // Of the same sender and subject, so that both get the same number; the third differs in its subject.
    ASSERT_EQ(Build("4\nFrom: A <a@b>\nTo: t@b\nSubject: s\n\n1\1"
                    "From: A <x@y>\nTo: t@b\nSubject: s\nMessage-Id:\n <folded@b>\n\n2\1"
                    "From: A <a@b>\nTo: t@b\nSubject: other\n\n3\1"
                    "Message-Id: <m@b>\nSubject: s\n\n4\1"),
              4);
    STRING expected;
    expected.Format("%lu", static_cast<unsigned long>(STRING("t@bAs").Crc()));
    EXPECT_EQ(Hash[0].Get("MessageId"), expected);
    EXPECT_EQ(Hash[1].Get("MessageId"), expected) << "a field folded with a blank reads as empty";
    EXPECT_NE(Std(Hash[2].Get("MessageId")), Std(expected));
    EXPECT_EQ(Hash[0].Get("X-Message-Id"), expected);
    EXPECT_EQ(Std(Hash[3].Get("X-Message-Id")), "<m@b>");
}

TEST_F(MailRecords, OnlyATabContinuesAField) {
    ASSERT_EQ(Build("1\r\nSubject: one\r\n\ttwo\r\n three\r\nTo: a@b\r\n\r\nbody\r\n\1"), 1);
    EXPECT_EQ(Std(Hash[0].Get("Subject")), "one two");
    EXPECT_EQ(Std(Hash[0].Get("To")), "a@b");
    EXPECT_EQ(Std(Hash[0].Get("Header")), "Subject: one two\n three\nTo: a@b\n");
    EXPECT_EQ(Std(Hash[0].Get("Body")), "body\r\n");
}

TEST_F(MailRecords, ABriefOneHasWhatTheOthersHaveOfTheSame) {
    const std::string
        folded = "From: A <a@x.example>\nMessage-Id:\n\t<1>\nX-Size: 2048\n\nTo: b\n",
        plain =
            "X-SpamReason: why\nX-SpamPoints: 0\nX-Message-Id: 1|5\nToo: c\nSeen: yes\nmessage-ID: \t<a>\n"
            "Message-Id: <b>\n\nSeen: 0\n",
        imap = "X-SpamPoints: 0\nMessage-Id: 7\nSeen: 0\n\n";
    const std::pair<std::string, bool> mails[] = {{folded, false},
                                                  {plain, true},
                                                  {imap, true},
                                                  {"From: nobody\n\n", false},
                                                  {"Message-Id: <1>\r\n\n", false},
                                                  {"Message-Id:\n <1>\n\n", false}};
    for (const auto& [mail, isBrief] : mails) {
        const STRING listing(std::string_view("1 msgs\n" + mail));
        MAILRECORDS whole, brief;
        whole.Read(listing, {});
        ASSERT_EQ(brief.Read(listing, {}, [](int, std::string_view) { return true; }), 1);
        EXPECT_EQ(brief.IsBrief(0), isBrief) << mail;
        EXPECT_FALSE(whole.IsBrief(0));
        EXPECT_EQ(brief.MessageId(0), whole.MessageId(0)) << mail;
        EXPECT_EQ(brief.DisposalId(0), whole.DisposalId(0)) << mail;
        EXPECT_EQ(brief.IsSeen(0), whole.IsSeen(0)) << mail;
        brief.Complete(listing, {0});
        EXPECT_FALSE(brief.IsBrief(0));
        EXPECT_EQ(brief[0].AsText(), whole[0].AsText()) << mail;
    }
}

}  // namespace
