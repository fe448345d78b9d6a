#include "app/mailbox/protection.h"

#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/tlsserver.h"

using namespace TLSPLAY;

namespace {

constexpr const char *POP_EMPTY = "0 msgs|0 ?unread|0 bytes\n", *IMAP_EMPTY = "0 msgs|? unread|0 bytes\n";

using STEPS = std::vector<TLSSTEP>;

STEPS operator+(STEPS first, const STEPS& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

STEPS Answer(const std::string& command, const std::string& reply) {
    return {Expect(command + "\r\n"), Send(reply)};
}

// Over a line that is protected by then.
const STEPS POP_MAILBOX = Answer("USER joe", "+OK\r\n") + Answer("PASS pw", "+OK\r\n") + Answer("STAT", "+OK 0 0\r\n") +
                          Answer("QUIT", "+OK\r\n");
STEPS ImapMailbox(int asked) {
    return Answer("IMAPPRE_" + std::to_string(asked) + " CAPABILITY",
                  "* CAPABILITY SASL-IR AUTH=PLAIN\r\nIMAPPRE_" + std::to_string(asked) + " OK\r\n") +
           Answer("IMAPCMD_0 AUTHENTICATE PLAIN AGpvZQBwdw==", "IMAPCMD_0 OK\r\n") +
           Answer("IMAPCMD_1 SELECT INBOX", "* 0 EXISTS\r\nIMAPCMD_1 OK\r\n") +
           Answer("IMAPCMD_2 LOGOUT", "* BYE\r\nIMAPCMD_2 OK\r\n");
}

}  // namespace

TEST(Protection, NoPasswordLeavesBeforeTheLineIsAsSafeAsItHasToBe) {
    const STEPS popGreeting = {Send("+OK <1@x>\r\n")},
                imapGreeting = {Send("* OK [CAPABILITY STARTTLS AUTH=LOGIN] hi\r\n")};
    const std::string untrusted = "-ERR Certificate not trusted: self-signed; SHA-256 ";
    const struct {
        const char* What;
        int Type, Security;
        const char* Certificate;
        STEPS Script;
        std::string Result;
        bool Trusted = false;
    } cases[] = {
        {"POP3S", ITEMTYPE_POP3, SECURITY_TLS, "good", STEPS{Tls()} + popGreeting + POP_MAILBOX, POP_EMPTY},
        {"IMAPS", ITEMTYPE_IMAP, SECURITY_TLS, "good", STEPS{Tls(), Send("* OK hi\r\n")} + ImapMailbox(0), IMAP_EMPTY},
        {"STLS", ITEMTYPE_POP3, SECURITY_STARTTLS, "good",
         popGreeting + Answer("STLS", "+OK\r\n") + STEPS{Tls()} + POP_MAILBOX, POP_EMPTY},
        {"STARTTLS, with lies told before it", ITEMTYPE_IMAP, SECURITY_STARTTLS, "good",
         imapGreeting +
             Answer("IMAPPRE_0 STARTTLS", "IMAPPRE_0 OK\r\n* CAPABILITY LOGINDISABLED\r\nIMAPPRE_1 NO injected\r\n") +
             STEPS{Tls()} + ImapMailbox(1),
         IMAP_EMPTY},
        {"STLS refused", ITEMTYPE_POP3, SECURITY_STARTTLS, "good",
         popGreeting + Answer("STLS", "-ERR unknown\r\n") + STEPS{Silence()}, "-ERR 999 No STARTTLS"},
        {"STARTTLS refused", ITEMTYPE_IMAP, SECURITY_STARTTLS, "good",
         imapGreeting + Answer("IMAPPRE_0 STARTTLS", "IMAPPRE_0 BAD unknown\r\n") + STEPS{Silence()},
         "-ERR 999 No STARTTLS"},
        {"nothing proves it", ITEMTYPE_POP3, SECURITY_TLS, "self", {Tls()}, untrusted},
        {"nothing proves it after STARTTLS", ITEMTYPE_IMAP, SECURITY_STARTTLS, "self",
         imapGreeting + Answer("IMAPPRE_0 STARTTLS", "IMAPPRE_0 OK\r\n") + STEPS{Tls()}, untrusted},
        {"the user trusts it", ITEMTYPE_POP3, SECURITY_TLS, "self", STEPS{Tls()} + popGreeting + POP_MAILBOX, POP_EMPTY,
         true},
        {"the user trusts another one",
         ITEMTYPE_IMAP,
         SECURITY_TLS,
         "expired",
         {Tls()},
         "-ERR Certificate not trusted: expired; SHA-256 ",
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        SHORTTIMES times(8000);
        const TLSSERVER server(c.Certificate, c.Script);
        RECORDINGROW row;
        MAILBOXCALL call = row.Call(server.HostPort("localhost"));
        call.Security = {c.Security, true, c.Trusted ? server.Sha256() : STRING("")};
        const bool another = c.Trusted && c.Result.ends_with("SHA-256 ");
        if (another)
            call.Security.TrustedCertificate = STRING(std::string(64, '0'));
        STRING result;
        const bool ok = c.Type == ITEMTYPE_POP3 ? PopGet(call, 0, result) : ImapGet(call, "", 0, result);
        const TLSSERVER::OUTCOME outcome = server.Over();
        EXPECT_EQ(ok, !c.Result.starts_with("-ERR"));
        const std::string refused = c.Result.ends_with("SHA-256 ") ? Std(server.Sha256()) : "";
        EXPECT_EQ(Std(result), c.Result + refused) << outcome.Problem;
        EXPECT_EQ(Std(call.Item.Get(REFUSED_CERTIFICATE)), refused);
        if (!ok) {
            EXPECT_EQ(outcome.Received.find("pw"), std::string::npos) << outcome.Received;
            EXPECT_EQ(outcome.Received.find("AGpv"), std::string::npos) << outcome.Received;
        }
    }
}

TEST(Protection, AMailThatIsCutOffIsNoneThoughTheLineWasProtected) {
    const STEPS pop = STEPS{Tls(), Send("+OK\r\n")} + Answer("USER joe", "+OK\r\n") + Answer("PASS pw", "+OK\r\n") +
                      Answer("STAT", "+OK 1 40\r\n") + Answer("LIST 1", "+OK 1 40\r\n") +
                      STEPS{Expect("TOP 1 0"), Send("+OK\r\nSubject: a\r\n")};
    const STEPS imap = STEPS{Tls(), Send("* OK [CAPABILITY AUTH=PLAIN SASL-IR] hi\r\n")} +
                       STEPS{Expect("AUTHENTICATE"), Send("IMAPCMD_0 OK\r\n"), Expect("SELECT")} +
                       STEPS{Send("* 1 EXISTS\r\nIMAPCMD_1 OK\r\n"), Expect("IMAPCMD_2 "), Send("* 1 FETCH (UID 7 ")};
    for (const int type : {ITEMTYPE_POP3, ITEMTYPE_IMAP}) {
        SHORTTIMES times(8000);
        const TLSSERVER server("good", type == ITEMTYPE_POP3 ? pop : imap);
        RECORDINGROW row;
        MAILBOXCALL call = row.Call(server.HostPort("localhost"));
        call.Security = {SECURITY_TLS, true, ""};
        STRING result;
        EXPECT_FALSE(type == ITEMTYPE_POP3 ? PopGet(call, 0, result) : ImapGet(call, "", 0, result));
        const TLSSERVER::OUTCOME outcome = server.Over();
        EXPECT_EQ(Std(result), "-ERR Remote disconnected") << outcome.Received << outcome.Problem;
    }
}
