// POP3 against a real server.

#include "app/mailbox/pop3.h"
#include "tests/servers/dovecot.h"

namespace {

class NOTEXTS : public TEXTS {
    STRING Get(int) const override { return ""; }
};

class Pop3Dovecot : public testing::Test {
 protected:
    static void SetUpTestSuite() { Server = new DOVECOT; }
    static void TearDownTestSuite() {
        delete Server;
        Server = nullptr;
    }
    void SetUp() override { ASSERT_EQ(Server->Problem(), ""); }

    std::string Get(const char* user, int lines, const char* password = "secret") {
        STRING result;
        bool ok = PopGet(Progress, Server->PopServer(), user, password, lines, result);
        EXPECT_EQ(ok, !result.View().starts_with("-ERR"));
        return Std(result);
    }
    bool Delete(const char* user, const char* ids) {
        return PopDelete(Progress, Server->PopServer(), user, "secret", ids);
    }

    static DOVECOT* Server;
    FRONTEND Nobody;
    NOTEXTS Texts;
    PROGRESS Progress{Nobody, Texts, 1};
};

DOVECOT* Pop3Dovecot::Server;

// 22 and 29 bytes on the wire.
constexpr const char* FIRST = "Subject: one\n\nbody\n";
constexpr const char* SECOND = "Subject: two\n\n.\n.dot\n..\n";

TEST_F(Pop3Dovecot, ListsTheMailboxNewestFirst) {
    Server->Deliver("lister", FIRST);
    Server->Deliver("lister", SECOND);
    EXPECT_EQ(Get("lister", POP_BODY_LINES),
              "+OK 2 msgs|2 ?unread|51 bytes\n"
              "X-Size: 29\nX-Message-Id: 2|29\nSubject: two\n\n..\n..dot\n...\n.\n\1"
              "X-Size: 22\nX-Message-Id: 1|22\nSubject: one\n\nbody\n.\n\1");
    EXPECT_EQ(Get("lister", 0),
              "+OK 2 msgs|2 ?unread|51 bytes\n"
              "X-Size: 29\nX-Message-Id: 2|29\nSubject: two\n\n.\n\1"
              "X-Size: 22\nX-Message-Id: 1|22\nSubject: one\n\n.\n\1");
    EXPECT_EQ(Server->Inbox("lister"), (std::vector<std::string>{FIRST, SECOND})) << "reading changes nothing";
    EXPECT_EQ(Get("empty", 0), "+OK 0 msgs|0 ?unread|0 bytes\n");
}

TEST_F(Pop3Dovecot, RefusesAWrongPasswordInItsOwnWords) {
    EXPECT_EQ(Get("lister", 0, "wrong"), "-ERR [AUTH] Authentication failed.");
}

TEST_F(Pop3Dovecot, DeletesAllOrNothing) {
    Server->Deliver("deleter", FIRST);
    Server->Deliver("deleter", SECOND);
    Server->Deliver("deleter", FIRST);
    EXPECT_FALSE(Delete("deleter", "1|22\n99|22"));
    EXPECT_EQ(Server->Inbox("deleter").size(), 3U) << "without QUIT nothing goes";
    EXPECT_TRUE(Delete("deleter", "2|28\n3|22"));
    EXPECT_EQ(Server->Inbox("deleter"), (std::vector<std::string>{FIRST, SECOND})) << "another size is another mail";
}

}  // namespace
