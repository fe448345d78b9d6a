#include "app/core/redaction.h"

#include <chrono>
#include <gtest/gtest.h>

#include "app/core/tracelines.h"

namespace {

REDACTION Made() {
    REDACTION redaction;
    redaction.Hide("Work mail", REDACTION::ACCOUNT);
    redaction.Hide("anna.b", REDACTION::USER);
    redaction.Hide("jo", REDACTION::USER);
    redaction.Hide("Me@Own.example", REDACTION::USER);
    redaction.Hide("carla.k@web.de", REDACTION::USER);
    redaction.Hide("s\"e \\cret", REDACTION::PASSWORD);
    redaction.Hide("gr\xc3\xbc\xc3\x9f@e", REDACTION::PASSWORD);
    redaction.HideServer("nas:143");
    redaction.HideServer("imap.gmail.com:993");
    return redaction;
}

// "Me@Own.example" with one, two and three bytes in front, as logins by Base64 have them.
const char* const BASE64[] = {"eE1lQE93bi5leGFtcGxl", "eHhNZUBPd24uZXhhbXBsZQ==", "AE1lQE93bi5leGFtcGxlAHBhc3M="};

}  // namespace

TEST(Redaction, LeavesNothingPrivateAndAllElse) {
    const std::pair<const char*, const char*> CASES[] = {
        // What is nobody's stays.
        {"17 mails, 5 unread (2 new) at 12:34:56 on 2026-11-22",
         "17 mails, 5 unread (2 new) at 12:34:56 on 2026-11-22"},
        {"rc=4096, timeout=4000, TLS_AES_256_GCM_SHA384 2.02", "rc=4096, timeout=4000, TLS_AES_256_GCM_SHA384 2.02"},
        {"imap.gmail.com:993 127.0.0.1:110 localhost accounts.ini",
         "imap.gmail.com:993 127.0.0.1:110 localhost accounts.ini"},
        {"Error in LOGIN command: AUTH is disabled", "Error in LOGIN command: AUTH is disabled"},
        // Addresses, in all their clothes; the same one has one number. The user's own was the first.
        {"<x@a.example> X%40A.example x=40a.example me@own.example.",
         "<<address 3>> <address 3> <address 3> <address 1>"},
        {"mailto:\"x y\"@a.example, x@[10.0.0.1] j\xc3\xb6rg@m\xc3\xbcller.example",
         "<address 3>, <address 4> <address 5>"},
        {"rc=4096=40x, %40x%40a.example", "rc=4096=40x, <address 3>"},
        {"x&#64;a.example b@ <@list.example>", "<address 3> <address 4> <@<server 2>>"},
        // Logins of web addresses and commands, known or not.
        {"http://u:p@h.example/x imap://u%40d.example:p/w@h.example", "http:<login>/x <login>"},
        {"-ERR what is PASS geheim", "-ERR what is PASS <login>"},
        {"PASS", "PASS"},
        {"?user=x&password=p%20q&y=1", "?user=x&password=<login>&y=1"},
        // What is known of this user, in every form.
        {"ANNA.B on Work Mail, jo but no job", "<user 1> on <account 1>, <user 2> but no job"},
        {"-ERR no Carla.K here", "-ERR no <user 4> here"},
        {"no s\"e \\cret, s\\\"e \\\\cret, s%22e%20%5cCRET", "no <password>, <password>, <password>"},
        {"gr\xfc\xdf@e xgr%c3%bc%c3%9f%40ex", "<password> x<password>x"},
        {BASE64[0], "<address 1>"},
        {BASE64[1], "<address 1>"},
        {BASE64[2], "<address 1>"},
        // Machines and folders of users.
        {"NAS has mx.some.example at 10.1.2.3, fe80::1:2 and 2.0.1",
         "<server 1> has <server 2> at <server 3>, <server 4> and 2.0.1"},
        {"C:\\Users\\Ann Example\\x.ini /home/ann/y.ini", "C:\\Users\\<user>\\x.ini /home/<user>/y.ini"},
        {"0123456789abcdef0 B64b64B64b64B64/+=", "<code 1> <code 2>"},
        {"a\x1b[31mb\r\n", "a [31mb  "},
        {"", ""}};
    for (const auto& [line, expected] : CASES)
        EXPECT_EQ(Made().Clean(line), expected) << line;
}

TEST(Redaction, LooksThroughWhatAServerFillsALineWith) {
    const auto begin = std::chrono::steady_clock::now();
    for (const char* piece : {"://", "x%40x.aa", "pass=", "%40", "=40", "@[", "\"@", "&#64;a.bc", "users", "PASS "}) {
        std::string line;
        while (line.size() < 100000)
            line += piece;
        EXPECT_NE(Made().Clean(line + " joe@a.example"), line) << piece;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
}

TEST(Redaction, ShowsOfATraceWhatIsKnownToBeHarmless) {
    const std::string log =
        "half a line of x@a.example\r\n"
        "[0000.00:abc] APP::WinMain instance=00000000 parm=/ADD:imap://secret\r\n"
        "[0000.00:abc] GetArgValue(\"ADD\", 0) returned imap://secret\r\n"
        "[0000.01:abc] MUTEXSEM::MUTEXSEM obtained 00000001 rc= 0\r\n"
        "[0000.01:abc] TCP::WriteCommand before IMAPCMD_0 LOGIN \"joe\" \"pw returned x\"\r\n"
        "[0000.02:abc] TCP::WriteCommand before PASS secret\r\n"
        "[0000.02:abc] TCP::WriteCommand before AGpvZQBwdw\r\n"
        "[0000.02:abc] TCP::WriteCommand before IMAPsecret_1 LOGIN x\r\n"
        "[0000.02:abc] TCP::WriteCommand IMAPCMD_0 LOGIN returned IMAPCMD_0 OK Anna logged in\r\n"
        "[0000.02:abc] TCP::WriteCommand IMAPCMD_0 LOGIN returned IMAPCMD_0 NO who is x@a.example\r\n"
        "[0000.03:abc] TCP::WriteCommand IMAPCMD_1 SELECT \"Secret\" returned * FLAGS (\\Seen $Secret)\r\n"
        "[0000.03:abc] TCP::WriteCommand IMAPCMD_2 FETCH 1:17 (UID FLAGS RFC822.SIZE) returned * 1 FETCH (UID 1 FLAGS "
        "(\\Seen) RFC822.SIZE 32 ENVELOPE (\"A SUBJECT\" NIL\r\n"
        "[0000.03:abc] TCP::WriteCommand STAT returned +OK 49 853056\r\n"
        "[0000.03:abc] TCP::WriteCommand STAT returned -ERR [IN-USE] wait 5 minutes\r\n"
        "[0000.03:abc] TCP::WriteCommand RCPT TO:<x@a.example> returned 550 no x@a.example here\r\n"
        "[0000.03:abc] TCP::WriteCommand EHLO me returned 250-mail.some.example\r\n"
        "[0000.03:abc] TALK::Send TOP 1 0\nTOP 2 0\n\r\n"
        "[0000.03:abc] TCPIPIO::RECV : \r\n"
        "[0000.03:abc]     53 65 63 72 65 74 \r\n"
        "[0000.04:abc] TARNWICK::SpamFilter 'x'/0x0704 found in Subject: secret\r\n folded secret\r\n"
        "[0000.04:abc] TARNWICK::NewOne rc= 5, who= secret\r\n"
        "[0000.04:abc] LISTVIEW::InsertRecord LVM_SETITEM  1 2 Your code is 482913 returns 1\r\n"
        "[0000.04:abc] TARNWCIK::SpamFrom Ann 482913 <x@a.example>\r\n"
        "[0000.04:abc] TARNWICK::StartMailProgram cmdline= mail 482913\r\n"
        "[0000.04:abc] OSYS::Long " +
        std::string(20000, '5') +
        "\r\n"
        "[0000.04:abc] a secret without a class 7 x/y?id=8 n=9\r\n"
        "[0000.05:abc] TARNWICK::HandleNewMail mails= 17 mails (5 unread)\r\n";
    REDACTION redaction = Made();
    const std::string expected =
        "[0000.00:abc] APP::WinMain instance=00000000 <left out>\n"
        "[0000.01:abc] TCP::WriteCommand before IMAPCMD_0 LOGIN <left out> returned <left out>\n"
        "[0000.02:abc] TCP::WriteCommand before PASS <left out>\n"
        "[0000.02:abc] TCP::WriteCommand before <left out>\n"
        "[0000.02:abc] TCP::WriteCommand before <left out>\n"
        "[0000.02:abc] TCP::WriteCommand IMAPCMD_0 LOGIN returned IMAPCMD_0 OK <left out>\n"
        "[0000.02:abc] TCP::WriteCommand IMAPCMD_0 LOGIN returned IMAPCMD_0 NO who is <address 3>\n"
        "[0000.03:abc] TCP::WriteCommand IMAPCMD_1 SELECT <left out> returned * FLAGS (\\Seen <left out>\n"
        "[0000.03:abc] TCP::WriteCommand IMAPCMD_2 FETCH 1:17 (UID FLAGS RFC822.SIZE) returned * 1 FETCH (UID 1 FLAGS "
        "(\\Seen) RFC822.SIZE 32 <left out> (\n"
        "[0000.03:abc] TCP::WriteCommand STAT returned +OK 49 853056\n"
        "[0000.03:abc] TCP::WriteCommand STAT returned -ERR [IN-USE] wait 5 minutes\n"
        "[0000.03:abc] TCP::WriteCommand RCPT <left out> returned 550 no <address 3> here\n"
        "[0000.03:abc] TCP::WriteCommand EHLO <left out> returned 250 <left out>\n"
        "[0000.03:abc] TALK::Send TOP 1 0\n"
        "[0000.04:abc] TARNWICK::SpamFilter '<left out>\n"
        "[0000.04:abc] TARNWICK::NewOne rc= 5, who= <left out>\n"
        "[0000.04:abc] TARNWCIK::SpamFrom <left out>\n"
        "[0000.04:abc] TARNWICK::StartMailProgram <left out>\n"
        "[0000.04:abc] <left out> 7 <left out> n=9\n"
        "[0000.05:abc] TARNWICK::HandleNewMail mails= 17 mails (5 unread)\n";
    EXPECT_EQ(ShownTrace(log, redaction, 100), expected);
    EXPECT_EQ(ShownTrace(log, redaction, 1), expected.substr(expected.rfind("[0000.05")));
}

TEST(Redaction, ShowsTheLastFaultWithoutWhatItWasAbout) {
    const std::string first = "--- Tarnwick 2.02 --- 11/22/26 20:54:40 ---\r\n\r\n    Condition: old\r\n\r\n\r\n";
    const std::string assertion =
        "--- Tarnwick 2.02 --- 11/22/26 20:54:40 ---\r\n\r\n    Condition: rcidx!=-1\r\n    Location : x.cpp line 5\r\n"
        "    Last Err.: 0L\r\n    Add. Info: secret\r\n        secret line 0x\r\nsecret\r\n\r\n\r\n";
    const std::string crash =
        "--- Tarnwick 2.02 --- 2026-11-22 20:54:40 UTC ---\r\n\r\n    Fault: bad address (0xb) at 0x10\r\n    "
        "Stack:\r\n"
        "        tarnwickc+0x12ab34cd56\r\n        0x7fff\r\n";
    REDACTION redaction = Made();
    EXPECT_EQ(ShownFault(first + assertion, redaction),
              "--- Tarnwick 2.02 --- 11/22/26 20:54:40 ---\n    Condition: rcidx!=-1\n    Location : x.cpp line 5\n"
              "    Last Err.: 0L\n    Add. Info: <left out>\n");
    EXPECT_EQ(ShownFault(assertion + crash, redaction),
              "--- Tarnwick 2.02 --- 2026-11-22 20:54:40 UTC ---\n    Fault: bad address (0xb) at 0x10\n    Stack:\n"
              "        tarnwickc+0x12ab34cd56\n        0x7fff\n");
    EXPECT_EQ(ShownFault("", redaction), "");
}
