// Logins to a real server with TLS.

#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/certificates.h"
#include "tests/servers/dovecot.h"

namespace {

// What comes of a check; "listed" if it is one of the one mail.
std::string Check(int type, int security, STRING server, const char* password, const std::string& trusted) {
    RECORDINGROW row;
    server.Replace("127.0.0.1", "127.0.0.2");  // another address than the client's: it is no machine's own talk
    MAILBOXCALL call = row.Call(server, "joe", password);
    call.Security = {security, true, STRING(trusted)};
    SHORTTIMES times(8000);
    STRING result;
    const bool ok = type == ITEMTYPE_POP3 ? PopGet(call, 0, result) : ImapGet(call, "", 0, result);
    return ok && result.View().starts_with("1 msgs") ? "listed" : Std(result.Line(0));
}

}  // namespace

TEST(TlsDovecot, TakesTheLoginsThatItWants) {
    const CERTIFICATES certificates;
    const std::string trusted = CERTIFICATES::Sha256(certificates.Get("good").Own);
    const struct {
        const char* Mechanisms;
        bool ClearToo;
    } kinds[] = {{"plain login", true}, {"plain", false}, {"login", false}};
    for (const auto& kind : kinds) {
        DOVECOT server({CERTIFICATES::ServerPem(certificates.Get("good")), kind.ClearToo, kind.Mechanisms});
        ASSERT_EQ(server.Problem(), "");
        server.Deliver("joe", "Subject: one\n\ntext\n");
        SCOPED_TRACE(std::string(kind.Mechanisms) + (kind.ClearToo ? " in clear, too" : " over TLS alone"));
        const std::tuple<int, int, STRING> ways[] = {{ITEMTYPE_POP3, SECURITY_NONE, server.PopServer()},
                                                     {ITEMTYPE_IMAP, SECURITY_NONE, server.ImapServer()},
                                                     {ITEMTYPE_POP3, SECURITY_STARTTLS, server.PopServer()},
                                                     {ITEMTYPE_IMAP, SECURITY_STARTTLS, server.ImapServer()},
                                                     {ITEMTYPE_POP3, SECURITY_TLS, server.PopTlsServer()},
                                                     {ITEMTYPE_IMAP, SECURITY_TLS, server.ImapTlsServer()}};
        for (const auto& [type, security, address] : ways) {
            SCOPED_TRACE(std::to_string(type) + " " + std::to_string(security));
            const bool good = security != SECURITY_NONE || kind.ClearToo;
            const std::string said = Check(type, security, address, "secret", trusted);
            EXPECT_EQ(said == "listed", good) << said << server.Log();
            if (good) {
                const std::string wrong = Check(type, security, address, "w\xc3\xb6rong", trusted);
                EXPECT_NE(wrong.find("AUTH"), std::string::npos) << wrong;
            }
        }
    }
}
