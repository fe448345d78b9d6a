// News as a real server tells of them.

#include <filesystem>

#include "app/check/items.h"
#include "app/check/pushwatch.h"
#include "app/mailbox/imap.h"
#include "app/mailbox/mailhandling.h"
#include "tests/app/apptest.h"
#include "tests/servers/dovecot.h"
#include "tests/support/times.h"

namespace {

constexpr const char* MAIL = "Subject: news\n\ntext\n";

class PushServers : public testing::Test {
 protected:
    PushServers() { SHRINKABLE::ImapTimes.PauseMs = 0; }
    ~PushServers() override {
        Watch.End();
        SHRINKABLE::ImapTimes = {};
    }
    static PUSHTARGET Target(const STRING& server, int handle, const char* user, const char* password = "secret") {
        return {handle, {ITEMTYPE_IMAP, user, server}, password, {SECURITY_NONE, true, ""}, ""};
    }
    bool Comes(int news) {
        return Eventually([&] { return News >= news; });
    }

    /// The account that checks look at.
    void SetUpAccount(const STRING& server) {
        FillSettings(Settings, {{"PopupBackgroundColor", "1"}, {"PopupTextColor", "2"}});
        int handle = 1;
        FixItem(Item, Settings, handle, true);
        MAILACCOUNT::SetAddress(Item, {ITEMTYPE_IMAP, "anna", server}, "secret");
        MAILACCOUNT::SetSecurity(Item, SECURITY_NONE);
    }

    FRONTEND Nobody;
    NUMBERTEXTS Texts;
    STRINGARRAY Settings, Item;
    MAILHANDLING Mailboxes{Nobody, Texts, Settings};
    std::atomic<int> News = 0, Active = 0;
    PUSHWATCH Watch{[this](int) { ++News; }, [this](int, bool active) { Active += active ? 1 : -1; }};
};

TEST_F(PushServers, DovecotTellsOfDeliveriesAndMarksAndIsCalledAnewWithAnotherPassword) {
    DOVECOT server;
    ASSERT_EQ(server.Problem(), "");
    server.Deliver("anna", MAIL);
    Watch.Watch({Target(server.ImapServer(), 1, "anna", "wrong")});
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(Active, 0);
    Watch.Watch({Target(server.ImapServer(), 1, "anna")});
    ASSERT_TRUE(Comes(1)) << server.Log();
    // Nothing happens, nothing is told; a check by somebody else is nothing.
    SetUpAccount(server.ImapServer());
    EXPECT_TRUE(Mailboxes.GetMailbox(Item).View().starts_with("1 msgs"));
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    EXPECT_EQ(News, 1) << server.Log();
    CLOCK::STOPWATCH watch;
    server.Deliver("anna", MAIL);
    EXPECT_TRUE(Comes(2)) << server.Log();
    EXPECT_LT(watch.Passed(), 2000);
    // Seen elsewhere: by its name on the disk.
    for (const auto& file : std::filesystem::directory_iterator(server.Boxes() + "/anna/cur"))
        if (file.path().string().ends_with(":2,"))
            std::filesystem::rename(file.path(), file.path().string() + "S");
    EXPECT_TRUE(Comes(3)) << server.Log();
}

TEST_F(PushServers, ChecksGoOnWhereDovecotHasConnectionsEnough) {
    DOVECOT server;
    ASSERT_EQ(server.Problem(), "");
    // Of one user, as which it allows ten.
    std::vector<PUSHTARGET> targets;
    for (int i = 1; i <= 14; ++i)
        targets.push_back(Target(server.ImapServer(), i, "anna"));
    Watch.Watch(targets);
    ASSERT_TRUE(Eventually([&] { return Active >= 10; })) << Active << server.Log();
    SetUpAccount(server.ImapServer());
    const std::string refused = Std(Mailboxes.GetMailbox(Item));
    EXPECT_TRUE(refused.starts_with("-ERR")) << refused;
    Mailboxes.SetRoomMaker(
        [&](const STRINGARRAY& its) { return Watch.MakeRoom(its.GetNumber("@Handle"), MAILACCOUNT::Address(its)); });
    for (int check = 0; check < 2; ++check) {
        const std::string listing = Std(Mailboxes.GetMailbox(Item));
        EXPECT_TRUE(listing.starts_with("0 msgs")) << refused << listing << server.Log();
    }
    EXPECT_TRUE(Eventually([&] { return Active < 10; }));
}

}  // namespace
