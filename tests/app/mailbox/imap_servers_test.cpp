// IMAP against real servers, with a look at their disks.

#include "app/mailbox/imap.h"
#include "app/mailbox/kinds.h"
#include "app/mailbox/mailhandling.h"
#include "tests/app/apptest.h"
#include "tests/servers/dovecot.h"
#include "tests/servers/imap4d.h"
#include "tests/support/times.h"

namespace {

/// The user of each test on a Dovecot.
class DOVECOTUSER : public DOVECOT {
 public:
    static constexpr const char* USER = "Γιώργος@日本.example";
    MAILDIR Mailbox(const std::string& folder = "INBOX") const {
        return DOVECOT::Mailbox(USER, folder == "INBOX" ? "" : folder);
    }
};

constexpr const char* FIRST = "From: A <a@x.example>\nTo: b@x.example\nSubject: one\n\nbody\n.\n";
constexpr const char* SECOND = "From: A <a@x.example>\nSubject: two\nX: \xfc\n\ntext\n";
constexpr const char* THIRD =
    "Subject: three\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n"
    "--b\nContent-Type: text/plain\n\npart 1\n--b\nContent-Type: text/plain\n\npart 2\n--b--\n";

template <class SERVER>
class ImapServers : public testing::Test {
 protected:
    ImapServers() : Mailboxes(Nobody, Texts, Settings) {
        Item.Set("Name", "real");
        Item.SetNumber("Type", ITEMTYPE_IMAP);
        Item.Set("Source", Server.ImapServer() || "|" || SERVER::USER);
        Item.Set("Source2", "secret");
        for (const char* key : {"DownloadMailTexts", "DoAltFolder", "AltFolder", "@Handle", "@InUpdate"})
            Item.Set(key, "0");
        Item.Set("UidValidity", "");
        SHRINKABLE::ImapTimes.PauseMs = 0;
    }
    ~ImapServers() override { SHRINKABLE::ImapTimes = {}; }
    void SetUp() override {
        ASSERT_EQ(Server.Problem(), "");
        Server.Mailbox().Deliver(FIRST, "S");
        Server.Mailbox().Deliver(SECOND, "FR");
        Server.Mailbox().Deliver(THIRD);
        Server.Mailbox("spam").Create();
    }
    std::string Get() { return Std(Mailboxes.GetMailbox(Item)); }
    /// The ids of a listing, newest first, one a line.
    static std::vector<std::string> Ids(const std::string& listing) {
        std::vector<std::string> ids;
        constexpr std::string_view HEADER = "\nMessage-Id: ";
        for (size_t at = 0; (at = listing.find(HEADER, at)) != listing.npos;) {
            at += HEADER.size();
            ids.push_back(listing.substr(at, listing.find('\n', at) - at));
        }
        return ids;
    }

    SERVER Server;
    STRINGARRAY Item, Settings;
    FRONTEND Nobody;
    NUMBERTEXTS Texts;
    MAILHANDLING Mailboxes;
};

using SERVERS = testing::Types<DOVECOTUSER, IMAP4D>;
TYPED_TEST_SUITE(ImapServers, SERVERS);

TYPED_TEST(ImapServers, ListsFoldersAndLeavesThemAsTheyAre) {
    this->Item.Set("DownloadMailTexts", "1");
    const std::string listing = this->Get();
    const std::vector<std::string> ids = this->Ids(listing);
    ASSERT_EQ(ids.size(), 3U) << listing;
    EXPECT_EQ(listing.substr(0, listing.find('\n')), "3 msgs|2 unread|0 bytes");
    // A server may give the names of fields in the form in which they were asked for.
    STRING text(listing);
    text.ToLower();
    for (const char* part :
         {"\nx-transport: from: a <a@x.example>\\r\\nsubject: two\\r\\nx: \\xfc\\r\\n\\r\\n\n",
          "from: a <a@x.example>\nto: b@x.example\nsubject: one\nmessage-id: ", "\n\nbody\n .\n\n\1", "\n\npart 1\n"})
        EXPECT_NE(text.Pos(part), -1) << part << " in\n" << listing;
    EXPECT_EQ(text.Pos("x-size: 0"), -1) << listing;
    EXPECT_LT(text.Pos("subject: three\nm"), text.Pos("subject: two\nm")) << "newest first";
    EXPECT_EQ(this->Server.Mailbox().Flags(), (std::vector<std::string>{"S", "FR", ""}));
    EXPECT_EQ(this->Server.Mailbox().Texts(), (std::vector<std::string>{FIRST, SECOND, THIRD}));
    EXPECT_EQ(this->Ids(this->Get()), ids) << "they last";

    this->Item.Set("DoAltFolder", "1");
    this->Item.Set("AltFolder", "spam");
    EXPECT_EQ(this->Get(), "0 msgs|? unread|0 bytes\n");
    this->Server.Mailbox("spam").Deliver(SECOND, "S");
    this->Item.Set("DownloadMailTexts", "0");
    const std::string spam = this->Get();
    EXPECT_TRUE(spam.starts_with("1 msgs|0 unread|0 bytes\n") && spam.ends_with("\nSeen: 1\n\n<2993>\n\1")) << spam;
    this->Item.Set("AltFolder", "nowhere");
    EXPECT_TRUE(this->Get().starts_with("-ERR IMAPCMD_1 NO ")) << this->Get();
    this->Item.Set("Source2", "wrong");
    EXPECT_TRUE(this->Get().starts_with("-ERR IMAPCMD_0 NO ")) << this->Get();
}

TYPED_TEST(ImapServers, DeletesAndMovesWhatItIsToldAndNothingElse) {
    const std::vector<std::string> ids = this->Ids(this->Get());
    ASSERT_EQ(ids.size(), 3U);
    this->Item.Set("UidValidity", this->Item.Get("@UidValidity"));
    STRING error;
    EXPECT_FALSE(this->Mailboxes.MoveMail(this->Item, STRING(ids[0]), "nowhere", error));
    EXPECT_GT(error.Length(), 0);
    EXPECT_TRUE(this->Mailboxes.MoveMail(this->Item, STRING(ids[2]), "spam", error)) << Std(error);
    EXPECT_EQ(this->Server.Mailbox().Texts(), (std::vector<std::string>{SECOND, THIRD}));
    EXPECT_EQ(this->Server.Mailbox("spam").Texts(), (std::vector<std::string>{FIRST}));
    // One that has gone, one that never was: no error.
    EXPECT_TRUE(this->Mailboxes.DeleteMail(this->Item, STRING(ids[2] + "\n9999\n" + ids[0]), error)) << Std(error);
    EXPECT_EQ(error, "OK");
    EXPECT_EQ(this->Server.Mailbox().Texts(), (std::vector<std::string>{SECOND}));
    EXPECT_EQ(this->Server.Mailbox().Flags(), (std::vector<std::string>{"FR"}));
    // Listed when the same id was that of another mail.
    this->Item.Set("UidValidity", this->Item.Get("UidValidity") || "1");
    EXPECT_TRUE(this->Mailboxes.DeleteMail(this->Item, STRING(ids[1]), error)) << Std(error);
    EXPECT_EQ(this->Server.Mailbox().Texts(), (std::vector<std::string>{SECOND}));
}

}  // namespace
