// A mail's way through a real SMTP server into a mailbox, and back by POP3.

#include <gmock/gmock.h>

#include "app/mailbox/pop3.h"
#include "corelib/net/email.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/mailserver.h"

namespace {

// "1: " or "0: " and the server's last line.
std::string Send(const MAILSERVER& server, const char* receiver, const std::string& text) {
    char error[128];
    const EMAIL mail("someone@sender.example", receiver, "kept", nullptr, server.HostPort().Text());
    const bool sent = mail.SendMail(STRING(text), error, sizeof error);
    return std::to_string(sent) + ": " + error;
}

// The one mail that came for the user, without the lines that the servers have put on top.
std::string Arrived(const DOVECOT& boxes, const char* user) {
    std::vector<std::string> mails;
    const auto come = [&] { return (mails = boxes.Inbox(user)).size() == 1; };
    return Eventually(come) ? mails[0].substr(mails[0].find("Message-Id:")) : "nothing";
}

TEST(SentMail, ArrivesAsItIsAndCanBeSentOnAsItWasRead) {
    const DOVECOT boxes;
    ASSERT_EQ(boxes.Problem(), "");
    const MAILSERVER server(&boxes);
    if (!server.Obstacle().empty())
        GTEST_SKIP() << server.Obstacle();
    ASSERT_EQ(server.Problem(), "");

    EXPECT_THAT(Send(server, "nobody@delivered.example", "text"), testing::StartsWith("0: 550 5.1.1 <nobody@"));

    const std::string head =
        "Message-Id: <1@sender.example>\nDate: Wed, 4 Mar 2026 05:06:07 +0000\nFrom: A B <a@sender.example>\n"
        "To: c@receiver.example\nSubject: [Tarnwick] k\xe4se\nX-Tarnwick: Keep\n\n";
    const std::string longLine(900, 'l');
    const std::string arrived = head + "body \xfc\n.dot\n\n" + longLine + "\nend\n";
    EXPECT_THAT(Send(server, "reader@delivered.example", head + "body \xfc  \r\n..dot\n\n" + longLine + "\nend"),
                testing::StartsWith("1: 250 "));
    EXPECT_EQ(Arrived(boxes, "reader"), arrived) << server.Log();

    RECORDINGROW row;
    STRING listing;
    EXPECT_TRUE(PopGet(row.Call(boxes.PopServer(), "reader", "secret"), POP_BODY_LINES, listing));
    const std::string read = Std(listing.Mid(listing.Pos("\nMessage-Id:") + 1).Word(0, "\1"));
    EXPECT_EQ(read, head + "body \xfc\n..dot\n\n" + longLine + "\nend\n.\n") << "with the dots of the wire";
    EXPECT_THAT(Send(server, "second@delivered.example", read), testing::StartsWith("1: 250 "));
    EXPECT_EQ(Arrived(boxes, "second"), arrived) << server.Log();
}

}  // namespace
