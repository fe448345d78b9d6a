#include "app/filter/senderchecks.h"
#include "app/filter/smtpverify.h"
#include "tests/app/filter/filtertest.h"
#include "tests/servers/mailserver.h"
#include "tests/servers/nameserver.h"

namespace {

/// The name server's records, with every host led to the mail server.
class LOOPBACKLOOKUP : public MXLOOKUP {
 public:
    explicit LOOPBACKLOOKUP(const NAMESERVER& server) {
        STRING unused;
        Real.GetAddr(nullptr, unused, unused);
        server.Serves(Real.Client());
    }
    bool GetAddr(const char* name, STRING& bestmx, STRING& list) override {
        const bool found = Real.GetAddr(name, bestmx, list);
        if (found)
            bestmx = MailServer;
        return found;
    }
    STRING MailServer;

 private:
    SYSTEMMXLOOKUP Real;
};

class RealSender : public FILTERTEST {
 protected:
    const SMTPVERIFYTIMES Patient{10000, 10000, 10000, 10000};
};

TEST_F(RealSender, IsKnownToItsServerOrNot) {
    const MAILSERVER mail;
    if (!mail.Obstacle().empty())
        GTEST_SKIP() << mail.Obstacle();
    ASSERT_EQ(mail.Problem(), "");
    const NAMESERVER names({{"debian.org", "mail.debian.org", 10}, {"verified.example", "mail.verified.example", 10}},
                           {"plain.example"});
    ASSERT_EQ(names.Problem(), "");
    LOOPBACKLOOKUP mx(names);
    FRONTEND nobody;
    State.Set("SpamDoVerify", "1");
    const std::pair<const char*, const char*> CASES[] = {
        {"A B <real@verified.example>", "0/77 verified.example (mx ok): accepted sender"},
        {"A B <forged@verified.example>", "200/2 verified.example (mx ok) said mailbox unavailable"},
        {"A B <real@plain.example>", "200/0 plain.example (mx fail)"},
    };
    for (const STRING& server : {mail.HostPort(), mail.PlainHostPort()}) {
        mx.MailServer = server;
        for (const auto& [from, result] : CASES) {
            int significance = 77;
            STRING reason;
            MXMEMORY memory(mx);
            const int points =
                SpamFrom({State, Vars, Texts, nobody, memory, {}, Patient}, from, 100, significance, reason, 1, "");
            EXPECT_EQ(std::to_string(points) + "/" + std::to_string(significance) + " " + Std(reason), result)
                << mail.Log();
        }
    }
}

}  // namespace
