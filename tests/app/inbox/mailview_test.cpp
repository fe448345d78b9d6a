#include "app/inbox/mailview.h"

#include "app/check/mailrecords.h"
#include "tests/app/inbox/inboxtest.h"

namespace {

STRINGARRAY Record(const char* block) {
    RECORDARRAY mails(1, 1);
    BuildMailHash(STRING("1 msgs|\n") || block, mails);
    return mails[0];
}

TEST(MailView, ShowsHeaderBodyAndWhatAPersonReads) {
    const NUMBEREDTEXTS texts;
    const MAILVIEW plain = ViewOf(Record("X-SpamReason: a\fb\nX-Size: 5\nSeen: 1\nseen: kept\nFrom: a@b\nSubject: x\n"
                                         "Content-Transfer-Encoding: quoted-printable\n\n=41\nline\n"),
                                  texts);
    EXPECT_EQ(Std(plain.Header),
              "seen: kept\r\nFrom: a@b\r\nSubject: x\r\nContent-Transfer-Encoding: quoted-printable\r\n");
    EXPECT_EQ(Std(plain.Body), "=41\r\nline\r\n");
    EXPECT_EQ(Std(plain.Readable), "A\r\nline\r\n");

    // As a POP3 server has sent it.
    EXPECT_EQ(Std(ViewOf(Record("From: a@b\n\n..one\n.two\n.\n"), texts).Readable), ".one\r\n.two\r\n");

    // The local message store has read it; a stranger cannot say that of a mail of a server.
    const std::string encoded = "X-Transport: Content-Transfer-Encoding: quoted-printable\\n\nMime: no\n\n=41 Grüße\n";
    EXPECT_EQ(Std(ViewOf(Record(encoded.c_str()), texts).Readable), "=41 Grüße\r\n");
    EXPECT_EQ(Std(ViewOf(Record("X-Message-Id: 1|2\nMime: no\nX-Transport: x\nContent-Transfer-Encoding: "
                                "quoted-printable\n\n=41\n"),
                         texts)
                      .Readable),
              "A\r\n");

    const MAILVIEW whole = ViewOf(Record("X-Transport: Received: y\\r\\nSubject: y\\r\\n\nFrom: a@b\n\nx\n"), texts);
    EXPECT_EQ(Std(whole.Header), "Received: y\r\nSubject: y\r\n");
    EXPECT_EQ(Std(whole.Subject), "y");
    EXPECT_EQ(Std(whole.Body), "text 2993 $DIR") << "too short to have been fetched";
}

TEST(MailView, AnswersTheSender) {
    STRINGARRAY mail = Record("From: A <a@b.org>\nSubject: re: \"x\" & y%1\n\n");
    EXPECT_EQ(Std(AnswerAddress(mail)), "mailto:a@b.org?subject=re%3A%20%22x%22%20%26%20y%251");
    mail = Record(
        "From: <a\\\" -attach C:\\secret@b>\nSubject: Gr\xC3\xBC\xC3\x9F"
        "e\n\n");
    EXPECT_EQ(Std(AnswerAddress(mail)),
              "mailto:a%22%20-attach%20Csecret@b?subject=RE:%20Gr%C3%BC%C3%9F"
              "e");
}

}  // namespace
