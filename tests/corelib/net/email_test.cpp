#include "corelib/net/email.h"

#include "tests/servers/scriptedserver.h"
#include "tests/support/testsupport.h"

using namespace PLAY;

namespace {

class Email : public testing::Test {
 protected:
    Email() { EmailTimes = {20000, 20000}; }
    ~Email() override { EmailTimes = {}; }

    // Sends to a server that says its lines without waiting, and gives "1: " or "0: " and the error. Since the client
    // takes a line for a reply to a command each time, the lines fall to the commands one by one.
    std::string Send(const std::string& replies, const STRING& message = "text", const char* sender = "a@b.example",
                     const char* receiver = "c@d.example", int errorSize = 256) {
        SCRIPTEDSERVER server({PLAY::Send(replies)});
        const EMAIL mail(sender, receiver, "subject", nullptr, (" " + server.HostPort() + "  ").c_str());
        char error[256] = "former";
        const bool sent = mail.SendMail(message, error, errorSize);
        EXPECT_TRUE(server.Wait(Calls));
        EXPECT_EQ(server.Connections(), Calls);
        Sent = server.Transcript();
        return std::to_string(sent) + ": " + error;
    }

    int Calls = 1;
    std::string Sent;
};

constexpr const char* COMMANDS[] = {"HELO tarnwick.local\r\n", "MAIL FROM:a@b.example\r\n", "RCPT TO:c@d.example\r\n",
                                    "DATA\r\n", "text\r\n.\r\nQUIT\r\n"};
const std::string ALL = "220 hi\r\n250 helo\r\n250 mail\r\n250 rcpt\r\n354 data\r\n250 queued\r\n221 bye\r\n";

TEST_F(Email, TakesEachReplyByItsNumber) {
    const std::string start = "554 not looked at\r\n200 helo\r\n299 mail\r\n251 rcpt\r\n";
    const struct {
        std::string Replies;
        const char* Result;
        size_t Steps;
    } CASES[] = {
        {ALL, "1: 250 queued", 5},
        {start + "250 data\r\n250 queued\r\n221 bye\r\n", "1: 250 queued", 5},
        {start + "399 data\r\n552 too big\r\n221 bye\r\n", "1: 552 too big", 5},
        {start + "450 later\r\n", "0: 450 later", 4},
        {"220 hi\r\n250 helo\r\n250 mail\r\n550 who?\r\n", "0: 550 who?", 3},
        {"220 hi\r\n250 helo\r\n354 mail\r\n", "0: 354 mail", 2},
        {"220 hi\r\n199 helo\r\n", "0: 199 helo", 1},
        {"220 hi\r\nhelo 250\r\n", "0: helo 250", 1},
        // Each line of a longer reply counts for one.
        {"220-hi\r\n" + ALL, "1: 354 data", 5},
        {"220 hi\r\n250-helo\r\n550-more\r\n250 helo\r\n", "0: 550-more", 2},
    };
    for (const auto& [replies, result, steps] : CASES) {
        EXPECT_EQ(Send(replies), result);
        std::string expected;
        for (size_t i = 0; i < steps; ++i)
            expected += COMMANDS[i];
        EXPECT_EQ(Sent, expected) << replies;
    }
    EXPECT_EQ(Send(ALL, "text", "a@b.example", "c@d.example", 8), "1: 250 que");
    EXPECT_EQ(Send(ALL, "text", "a@b.example", "c@d.example", 0), "1: former");
}

TEST_F(Email, WritesTheMessageLineByLine) {
    const std::pair<STRING, std::string> CASES[] = {
        {STRING(), "\r\n"},
        {"", "\r\n"},
        {"one", "one\r\n"},
        {"one\n", "one\r\n\r\n"},
        {"blanks  \r\n\r\n \ttab\t \r \n  \nlast ", "blanks\r\n\r\n \ttab\t\r\n\r\nlast\r\n"},
        {"a\rb\n\r\rc", "a\rb\r\n\rc\r\n"},
        {"..\n.\nNOOP\n", "..\r\n.\r\nNOOP\r\n\r\n"},
    };
    for (const auto& [message, wire] : CASES) {
        EXPECT_EQ(Send(ALL, message), "1: 250 queued");
        const size_t data = Sent.find("DATA\r\n");
        ASSERT_NE(data, Sent.npos);
        EXPECT_EQ(Sent.substr(data + 6), wire + ".\r\nQUIT\r\n");
    }
}

TEST_F(Email, NamesSenderAndReceiverOrRefusesThem) {
    const struct {
        const char* Sender;
        const char* Receiver;
        const char* Commands;  // null: refused, by the text
        const char* Refusal;
    } CASES[] = {
        {" a@b ", "  c@d", "MAIL FROM:a@b\r\nRCPT TO:c@d\r\n", ""},
        {"   ", "c@d", "MAIL FROM:anonymous\r\nRCPT TO:c@d\r\n", ""},
        {nullptr, nullptr, "MAIL FROM:anonymous\r\nRCPT TO:\r\n", ""},
        {"a@b\r\nRCPT TO:x@y", "c@d", nullptr, "0: The sender's address is not valid"},
        {"a@b", "c@d\nDATA", nullptr, "0: The receiver's address is not valid"},
        {"a\x7f@b", "c@d", nullptr, "0: The sender's address is not valid"},
    };
    for (const auto& [sender, receiver, commands, refusal] : CASES) {
        Calls = commands ? 1 : 0;
        EXPECT_EQ(Send(ALL, "text", sender, receiver), commands ? "1: 250 queued" : refusal);
        EXPECT_NE(Sent.find(commands ? commands : ""), Sent.npos) << Sent;
    }
}

TEST_F(Email, EndsWithServersThatFallSilentOrAreNotThere) {
    EmailTimes = {20, 20};
    EXPECT_EQ(Send(""), "0: ");
    EXPECT_EQ(Sent, COMMANDS[0]) << "a missing greeting is no reason to give up";

    EmailTimes = {20000, 400};
    SCRIPTEDSERVER server({PLAY::Send("220 hi\r\n"), ExpectPrefix("HELO"), PLAY::Send("250 ok\r\n"),
                           ExpectPrefix("MAIL"), PLAY::Send("250 ok\r\n"), ExpectPrefix("RCPT"),
                           PLAY::Send("250 ok\r\n"), ExpectPrefix("DATA"), PLAY::Send("354 go\r\n"),
                           ReadUntil("\r\n.\r\n"), Cut()});
    const std::pair<std::string, const char*> CASES[] = {
        {server.HostPort(), "1: "},  // handed over, whatever became of it
        {"127.0.0.1:" + std::to_string(ClosedPort()), "0: No response"},
        {"", "0: Host not found"},
    };
    for (const auto& [host, result] : CASES) {
        char error[64] = "former";
        const bool sent = EMAIL("a@b", "c@d", "", "", host.c_str()).SendMail("text", error, sizeof error);
        EXPECT_EQ(std::to_string(sent) + ": " + error, result) << host;
    }
}

}  // namespace
