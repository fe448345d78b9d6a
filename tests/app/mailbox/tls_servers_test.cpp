// Logins to a real server with TLS.

#include <cstdlib>
#include <fstream>

#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/certificates.h"
#include "tests/servers/dovecot.h"

namespace {

class TlsDovecot : public testing::Test {
 protected:
    TlsDovecot() {
        std::ofstream(Directory.Native("root.pem")) << CERTIFICATES::Pem(Certificates.Root());
        setenv("SSL_CERT_FILE", Directory.Native("root.pem").c_str(), 1);
    }
    std::string Pem(const char* name) const { return CERTIFICATES::ServerPem(Certificates.Get(name)); }

    // What comes of a check; "listed" if it is one of the one mail.
    static std::string Check(int type, int security, STRING server, const char* password = "secret",
                             const STRING& trusted = "") {
        RECORDINGROW row;
        server.Replace("127.0.0.1", "127.0.0.2");  // another address than the client's: it is no machine's own talk
        MAILBOXCALL call = row.Call(server, "joe", password);
        call.Security = {security, true, trusted};
        SHORTTIMES times(8000);
        STRING result;
        const bool ok = type == ITEMTYPE_POP3 ? PopGet(call, 0, result) : ImapGet(call, "", 0, result);
        return ok && result.View().starts_with("1 msgs") ? "listed" : Std(result.Line(0));
    }

    const CERTIFICATES Certificates;
    TEMPDIR Directory;
};

std::string FirstWords(const std::string& text) {
    return text.substr(0, text.find("; SHA-256"));
}

}  // namespace

TEST_F(TlsDovecot, TakesTheLoginsThatItWants) {
    const std::string trusted = CERTIFICATES::Sha256(Certificates.Get("good").Own);
    const struct {
        const char* Mechanisms;
        bool ClearToo;
    } kinds[] = {{"plain login", true}, {"plain", false}, {"login", false}};
    for (const auto& kind : kinds) {
        DOVECOT server({Pem("good"), kind.ClearToo, kind.Mechanisms});
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
            const std::string said = Check(type, security, address, "secret", STRING(trusted));
            EXPECT_EQ(said == "listed", good) << said << server.Log();
            if (good) {
                const std::string wrong = Check(type, security, address, "w\xc3\xb6rong", STRING(trusted));
                EXPECT_NE(wrong.find("AUTH"), std::string::npos) << wrong;
            }
        }
    }
}

TEST_F(TlsDovecot, IsTrustedByItsCertificateAlone) {
    for (const auto& [name, outcome] :
         {std::pair{"good", "listed"}, {"expired", "-ERR Certificate not trusted: expired"}}) {
        DOVECOT server({Pem(name)});
        ASSERT_EQ(server.Problem(), "");
        server.Deliver("joe", "Subject: one\n\ntext\n");
        STRING address = server.ImapTlsServer();
        address.Replace("127.0.0.1", "localhost");
        EXPECT_EQ(FirstWords(Check(ITEMTYPE_IMAP, SECURITY_TLS, address)), outcome);
        const STRING trusted(CERTIFICATES::Sha256(Certificates.Get(name).Own));
        EXPECT_EQ(Check(ITEMTYPE_IMAP, SECURITY_TLS, address, "secret", trusted), "listed");
    }
}
