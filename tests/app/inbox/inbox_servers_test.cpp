// What happens to mails on real servers: spam goes by itself; a person reads the others, throws some away, and sends
// one on to themselves.

#include "app/filter/smtpverify.h"
#include "app/inbox/inboxmails.h"
#include "app/inbox/mailview.h"
#include "app/inbox/trashmails.h"
#include "app/mailbox/account.h"
#include "app/mailbox/imap.h"
#include "tests/app/inbox/inboxtest.h"
#include "tests/servers/certificates.h"
#include "tests/servers/mailserver.h"
#include "tests/support/times.h"

namespace {

std::string Mail(int number, const char* more = "") {
    const std::string n = std::to_string(number);
    return "From: Sender <s" + n + "@sender.example>\nTo: joe@home.example\nMessage-Id: <" + n +
           "@sender.example>\nDate: Wed, 4 Mar 2026 05:06:07 +0000\n" + more + "\nText " + n + "\n";
}

constexpr const char* SPLIT =
    "Subject: =?UTF-8?Q?Gr=C3?=\n =?UTF-8?Q?=BC=C3=9Fe?=\nMIME-Version: 1.0\n"
    "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n";

class InboxOnServers : public INBOXTEST {
 protected:
    InboxOnServers() {
        SHRINKABLE::ImapTimes.PauseMs = 0;
        for (const char* key : {"InboxDeleteToTrash", "SpamDoDelete", "SpamDoTrash"})
            Application.pState.Set(key, "1");
        Application.pState.Set("SpamDoDomain", "0");
        Application.pState.Set("EmailDoPopup", "0");  // a check would wait for it
        WriteBytes(Application.pState.Get("SpamFilename"), "B|190/3|keepable\r\nB|590/3|terrible\r\n");
    }
    ~InboxOnServers() override { SHRINKABLE::ImapTimes = {}; }
    /// The rows of the item after a check of that mailbox.
    void Check(int type, const char* user, const STRING& server) {
        MAILACCOUNT::SetAddress(Item(), {type, user, server}, "secret");
        CHECKCYCLE::ForceRefresh(Item(), false);
        Application.Cycle().UpdateItem(Item());
        EXPECT_FALSE(MAILACCOUNT::Counts(Item()).Failed) << Std(Item().Get("LastValue"));
        Rows.Show(Handle());
    }
    static int Find(const MAILROWS& rows, const std::string& row) {
        for (int i = 0; i < rows.Count(); ++i)
            if (rows.RowText(i).starts_with(row))
                return i;
        ADD_FAILURE() << row;
        return 0;
    }

    INBOXMAILS Rows{Application};
};

TEST_F(InboxOnServers, LoseSpamAndWhatIsMarkedAndSendACopyOn) {
    DOVECOT boxes;
    ASSERT_EQ(boxes.Problem(), "");
    const CERTIFICATES certificates;
    const MAILSERVER server(&boxes, CERTIFICATES::ServerPem(certificates.Get("good")));
    if (server.Obstacle().empty()) {
        ASSERT_EQ(server.Problem(), "");
    }
    Application.pState.Set("SpamSmtpTrusted", STRING(CERTIFICATES::Sha256(certificates.Get("good").Own)));
    const std::tuple<int, STRING, const char*, const char*, int, STRING> KINDS[] = {
        {ITEMTYPE_POP3, boxes.PopServer(), "joe", "reader", SECURITY_STARTTLS, server.SubmissionServer()},
        {ITEMTYPE_IMAP, boxes.ImapServer(), "ann", "second", SECURITY_TLS, server.TlsServer()}};
    for (const auto& [type, host, user, receiver, security, sender] : KINDS) {
        const std::string stays1 = Mail(1, "Subject: one\n"), stays3 = Mail(3, "Subject: three\n");
        for (const std::string& mail :
             {stays1, Mail(2, "Subject: two\n"), stays3, Mail(4, SPLIT) + "=C3=84pfel\n..\n",
              Mail(5, "Subject: poor\n") + "keepable offer\n", Mail(6, "Subject: poorest\n") + "terrible offer\n"})
            boxes.Deliver(user, mail);
        Check(type, user, host);
        ASSERT_EQ(Rows.Count(), 6);
        Rows.Mark({Find(Rows, "Sender\tGrüße\t"), Find(Rows, "Sender\ttwo\t")}, true);
        EXPECT_EQ(Rows.Apply(), 0);
        EXPECT_EQ(boxes.Inbox(user).size(), 6U) << "they go at the next check";
        Check(type, user, host);
        EXPECT_EQ(boxes.Inbox(user), (std::vector<std::string>{stays1, stays3}));
        EXPECT_EQ(Rows.Count(), 2);

        TRASHMAILS trash(Application);
        trash.Load();
        EXPECT_EQ(trash.Count(), 3) << "a deletion wins over a copy";
        const int copy = Find(trash, "Sender\tGrüße\t");
        Find(trash, "Sender\ttwo\t");
        EXPECT_NE(Std(trash.Whole(Find(trash, "Sender\tpoor\t")).Get("Body")).find("keepable offer"),
                  std::string::npos);
        if (!server.Obstacle().empty()) {
            trash.Mark({0, 1, 2}, true);
            EXPECT_EQ(trash.Apply(), 0);
            continue;
        }
        Application.pState.Set("SpamSmtpTo", STRING(receiver) || "@delivered.example");
        Application.pState.Set("SpamSmtp", sender);
        Application.pState.SetNumber("SpamSmtpSecurity", security);
        for (const auto& [name, password, good] :
             {std::tuple("", "", false), {user, "wrong", false}, {user, "secret", true}}) {
            Application.pState.Set("SpamSmtpUser", name);
            Application.pState.Set("SpamSmtpPassword", password);
            STRING error;
            EXPECT_EQ(TRASHMAILS::SendOn(Application.Lessons(), trash.Whole(copy), Application.pState,
                                         Application.Texts(), {}, error),
                      good)
                << Std(error) << server.Log();
        }
        ASSERT_TRUE(Eventually([&, name = receiver] { return boxes.Inbox(name).size() == 1; })) << server.Log();
        // As the one who gets it reads it.
        Check(type, receiver, host);
        ASSERT_EQ(Rows.Count(), 1);
        EXPECT_EQ(Rows.RowText(0).substr(0, 26), "Sender\t[Tarnwick] Grüße\t");
        EXPECT_NE(ViewOf(Rows.Mail(0), Texts).Readable.Pos("\nText 4\r\nÄpfel\r\n..\r\n"), -1)
            << ViewOf(Rows.Mail(0), Texts).Readable.Text();
        trash.Mark({0, 1, 2}, true);
        EXPECT_EQ(trash.Apply(), 0);
        EXPECT_EQ(Copies(), 0U);
    }
    if (!server.Obstacle().empty())
        GTEST_SKIP() << "without sending on: " << server.Obstacle();
    for (const auto& [address, wanted] :
         {std::pair("reader@delivered.example", 250), {"nobody@delivered.example", 550}}) {
        int code = 0;
        EXPECT_TRUE(VerifySenderSmtp(server.HostPort(), address, code)) << server.Log();
        EXPECT_EQ(code, wanted) << address;
    }
}

}  // namespace
