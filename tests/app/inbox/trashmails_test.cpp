#include "app/inbox/trashmails.h"

#include "app/check/mailrecords.h"
#include "corelib/base/files.h"
#include "corelib/net/email.h"
#include "tests/app/inbox/inboxtest.h"
#include "tests/servers/scriptedserver.h"

namespace {

class TrashMails : public INBOXTEST {
 protected:
    void Throw(const std::string& block) {
        RECORDARRAY mails(1, 1);
        BuildMailHash(STRING(std::string_view("1 msgs|\n" + block)), mails);
        ASSERT_TRUE(Application.Trash().SaveToTrash(mails[0]));
    }
    STRING File(const char* name) { return OSYS::FilePath(Application.Trash().Directory().Text(), name); }
};

TEST_F(TrashMails, AreMarkedAndGoButForThoseThatAreKept) {
    for (int i = 1; i <= 3; ++i)
        Throw(Block(i, "=?utf-8?q?=C3=BC?= " + std::to_string(i), 10 * i, i));
    TRASHMAILS rows(Application);
    rows.Load();
    ASSERT_EQ(rows.Count(), 3);
    EXPECT_EQ(rows.Find({rows.Name(2), rows.Name(0)}), (std::vector{2, 0}));
    EXPECT_EQ(Std(rows.Title()), "text 10004 $DIR - 3 text 3050 $DIR");
    const int second = rows.FindId("100000001");
    ASSERT_NE(second, -1);
    EXPECT_EQ(rows.RowText(second), "Sender 2\tü 2\t2 KB\t20");
    EXPECT_EQ(Std(rows.Whole(second)["Body"]), "Body 2\n");
    EXPECT_EQ(rows.Picture(second), PICTURE_MARKED);
    EXPECT_NE(Enabled(rows, {}).find('4'), std::string::npos);
    rows.Mark({second}, false);
    EXPECT_EQ(rows.Picture(second), PICTURE_PASSED_OVER);
    EXPECT_EQ(rows.Apply(), 0);
    ASSERT_EQ(rows.Count(), 1);
    EXPECT_EQ(Copies(), 2U);
    rows.Load();
    EXPECT_EQ(rows.FindId("100000001"), 0);
}

TEST_F(TrashMails, MayBeDamagedOrGone) {
    Throw(Block(1, "a", 0, 1));
    Throw(Block(2, "b", 0, 1));
    (void)FILES::Remove(File("100000000.txt").Text());
    ASSERT_TRUE(STRING("Subject=only\nX-TrashId=..\\\\..\\\\accounts\n").Save(File("hand.ini").Text(), "w"));
    TRASHMAILS rows(Application);
    rows.Load();
    ASSERT_EQ(rows.Count(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Std(rows.Whole(i)["Body"]), Std(rows.Mail(i)["X-TrashId"]) == "100000001" ? "Body 2\n" : "");
    (void)FILES::Remove(File("100000001.ini").Text());
    EXPECT_EQ(rows.Apply(), 0);
    EXPECT_EQ(rows.Count(), 0);
    EXPECT_EQ(Copies(), 0U);
    EXPECT_TRUE(OSYS::FileExists(Application.DataFile("accounts.ini").Text()));
}

TEST_F(TrashMails, AreSentOnWithTheirMark) {
    STRINGARRAY mail;
    const struct {
        const char *Header, *Body, *Sent;
    } CASES[] = {
        {"X-SpamReason: a\nX-SpamPoints: 5\nSUBJECT: x\n", "Body\n..two\n.\n.one\nSubject: in it",
         "X-Tarnwick: Keep\nX-SpamPoints: 5\nSUBJECT: [Tarnwick] x\n\n\nBody\n...two\n..\n..one\nSubject: [Tarnwick] "
         "in it\n"},
        // As a POP3 server has sent it.
        {"From: a\n", "..two\n.\n.one\n.\n", "From: a\n\n\n..two\n..\n..one\n"},
        // Nobody writes a line of one point by returns.
        {"From: a\n\r.\n", "\r.\r\n\r\r.\n", "From: a\n..\n\n\n..\n"},
        {"From: a\n", "", "From: a\n\n\n"},
        // Of an IMAP mail the server's whole header goes on, as its type is needed to read it.
        {"X-SpamReason: a\nX-Transport: From: a@b\\r\\nContent-Type: text/html\\r\\nSubject: x\\r\\n\nFrom: a@b\n",
         "<p>", "X-Tarnwick: Keep\nFrom: a@b\nContent-Type: text/html\nSubject: [Tarnwick] x\n\n\n<p>\n"},
        // The local message store has taken the text out of it.
        {"X-SpamReason: a\nMime: no\nX-Transport: From: a@b\\nMIME-version: 1.0\\nContent-Type: text/html\\nSubject: "
         "x\\ncontent-transfer-encoding: base64\\n\\nX: y\\n\n",
         "Grüße",
         "X-Tarnwick: Keep\nFrom: a@b\nSubject: [Tarnwick] x\nMime-Version: 1.0\nContent-Type: text/plain; "
         "charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n\nGrüße\n"},
    };
    for (const auto& test : CASES) {
        mail.Set("Header", test.Header);
        mail.Set("Body", test.Body);
        EXPECT_EQ(Std(MessageToSendOn(mail)), test.Sent);
    }
    Throw("X-Transport: From: a@b\\r\\nContent-Type: text/html\\r\\n\nFrom: a@b\n\n<p>\n");
    TRASHMAILS rows(Application);
    rows.Load();
    EXPECT_EQ(Std(MessageToSendOn(rows.Whole(0))), "From: a@b\nContent-Type: text/html\n\n\n<p>\n");

    mail.Set("FromEmail", "s@example.org");
    mail.Set("Subject", "x");
    Application.pState.Set("SpamSmtpTo", "me@example.org");
    STRING error;
    EXPECT_FALSE(TRASHMAILS::SendOn(Application.Lessons(), mail, Application.pState, Application.Texts(), {}, error));
    EXPECT_GT(error.Length(), 0);
    const auto newKeys = Application.pState.AllowNewKeys(true);
    Application.pState.Set("SpamSmtpPasswordSealed", "k1:of another machine");
    Application.pState.AllowNewKeys(!newKeys);
    EXPECT_FALSE(TRASHMAILS::SendOn(Application.Lessons(), mail, Application.pState, Application.Texts(), {}, error));
    EXPECT_EQ(Std(error), Std(Application.Texts().Get(TEXT_LOCKED_SENDING)));
}

}  // namespace
