#include "corelib/net/email.h"

#include "corelib/net/tcpio.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/stopsoon.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"

namespace {

// Sends to a server that says its lines without waiting, of which the client takes one for each reply. Gives "1: " or
// "0: " and the error; `written` gets what came.
std::string Send(const std::string& replies, std::string& written, const char* sender = "a@b",
                 const char* receiver = "c@d", const STRING& message = "text", int errorSize = 64,
                 const EMAILTIMES& times = {}) {
    SCRIPTEDSERVER server({PLAY::Send(replies)});
    const EMAIL mail(sender, receiver, "subject", nullptr, (" " + server.HostPort() + "  ").c_str(), times);
    char error[64] = "former";
    const bool sent = mail.SendMail(message, error, errorSize);
    server.Wait(0);
    written = server.Transcript();
    return std::to_string(sent) + ": " + error;
}

const std::string START = "554 not looked at\r\n200 helo\r\n299 mail\r\n251 rcpt\r\n";
const std::string ALL = START + "354 data\r\n250 queued\r\n221 bye\r\n";

TEST(Email, TakesEachReplyByItsNumber) {
    const std::string commands = "HELO tarnwick.local\r\nMAIL FROM:a@b\r\nRCPT TO:c@d\r\nDATA\r\ntext\r\n.\r\nQUIT\r\n";
    const std::tuple<std::string, const char*, const char*> CASES[] = {
        {START + "250 data\r\n250 queued\r\n221 bye\r\n", "1: 250 queued", "QUIT"},
        {START + "399 data\r\n552 too big\r\n221 bye\r\n", "1: 552 too big", "QUIT"},
        {START + "450 later\r\n", "0: 450 later", "DATA"},
        {"220 hi\r\n250 helo\r\n250 mail\r\n550 who?\r\n", "0: 550 who?", "RCPT"},
        {"220 hi\r\n199 helo\r\n", "0: 199 helo", "HELO"},
        // Each line of a longer reply counts for one.
        {"220-hi\r\n" + ALL, "0: 554 not looked at", "HELO"},
    };
    std::string written;
    for (const auto& [replies, result, last] : CASES) {
        EXPECT_EQ(Send(replies, written), result);
        EXPECT_EQ(written, commands.substr(0, commands.find("\r\n", commands.find(last)) + 2)) << replies;
    }
    EXPECT_EQ(Send(ALL, written, "a@b", "c@d", "text", 8), "1: 250 que");
    EXPECT_EQ(Send(ALL, written, "a@b", "c@d", "text", 0), "1: former");
    EXPECT_EQ(Send("", written, "a@b", "c@d", "text", 64, {20, 300}), "0: ");
    EXPECT_EQ(Send(START + "354 data\r\n", written, "a@b", "c@d", "text", 64, {60000, 300}), "1: ")
        << "handed over, whatever became of it";
    for (const auto& [host, result] : {std::pair{"127.0.0.1:" + std::to_string(ClosedPort()), "No response"},
                                       std::pair{std::string(), "Host not found"}}) {
        char error[64];
        EXPECT_FALSE(EMAIL("a@b", "c@d", "", "", host.c_str()).SendMail("text", error, sizeof error));
        EXPECT_STREQ(error, result);
    }
}

TEST(Email, AStopEndsItAndHandsOverNoHalfMessage) {
    const EMAILTIMES patient{60000, 60000};
    std::string lines;
    for (int i = 0; i < 300000; ++i)
        lines += "a line of a message that is long enough to fill what the system keeps for a peer\n";
    const STRING message{std::string_view(lines)};
    const SCRIPT SCRIPTS[] = {{PLAY::Silence()},
                              {PLAY::Send("220 hi\r\n"), PLAY::Expect("HELO tarnwick.local"), PLAY::Silence()},
                              {PLAY::Send(START + "354 data\r\n"), PLAY::Deafness()}};
    for (const SCRIPT& script : SCRIPTS) {
        SCRIPTEDSERVER server(script);
        EMAIL mail("a@b", "c@d", "", "", server.HostPort().c_str(), patient);
        const STOPSOON stop;
        mail.SetStopQuestion(stop.Question());
        char error[64];
        EXPECT_FALSE(mail.SendMail(message, error, sizeof error));
        EXPECT_STOPPED(stop);
    }
    SCRIPTEDSERVER server(SCRIPT{PLAY::Send(ALL)});
    EMAIL mail("a@b", "c@d", "", "", server.HostPort().c_str(), patient);
    int asked = 0;
    mail.SetStopQuestion([&asked] { return ++asked > 1000; });
    char error[64];
    EXPECT_FALSE(mail.SendMail(message, error, sizeof error));
    server.Wait(0);
    EXPECT_EQ(server.Transcript().find("\r\n.\r\n"), std::string::npos);
    SHRINKABLE::TcpTimes.QuickMs = SHRINKABLE::TcpTimes.SlowMs = SHRINKABLE::TcpTimes.StopLookMs = 20;
    SCRIPTEDSERVER deaf(SCRIPT{PLAY::Send(START + "354 data\r\n"), PLAY::Deafness()});
    EXPECT_FALSE(EMAIL("a@b", "c@d", "", "", deaf.HostPort().c_str(), patient).SendMail(message, error, sizeof error));
    EXPECT_STREQ(error, "Too slow");
    SHRINKABLE::TcpTimes = {};
}

TEST(Email, WritesAddressesAndLines) {
    // In the end what is written, or the error, with no connection made.
    const std::tuple<const char*, const char*, STRING, std::string> CASES[] = {
        {" a@b ", "  c@d", "one", "MAIL FROM:a@b\r\nRCPT TO:c@d\r\nDATA\r\none\r\n.\r\n"},
        {nullptr, nullptr, {}, "MAIL FROM:anonymous\r\nRCPT TO:\r\nDATA\r\n\r\n.\r\n"},
        {"", "", "a  \r\n\r\n \tb\t \r \nc\rd\n\r\re ", "DATA\r\na\r\n\r\n \tb\t\r\nc\rd\r\n\re\r\n.\r\n"},
        {"", "", "..\n.\nNOOP", "DATA\r\n..\r\n.\r\nNOOP\r\n.\r\n"},
        {"a@b\r\nRCPT TO:x@y", "c@d", "", "0: The sender's address is not valid"},
        {"a@b", "c@d\nDATA", "", "0: The receiver's address is not valid"},
    };
    for (const auto& [sender, receiver, message, expected] : CASES) {
        std::string written;
        const std::string result = Send(ALL, written, sender, receiver, message);
        EXPECT_TRUE(written.empty() ? result == expected : written.ends_with(expected + "QUIT\r\n"))
            << result << written;
    }
}

}  // namespace
