#include "app/mailbox/mailhandling.h"

#include "app/mailbox/kinds.h"
#include "app/mailbox/mapistore.h"
#include "tests/app/mailbox/mailboxsupport.h"

namespace {

STRINGARRAY Item(int type, const std::string& server) {
    STRINGARRAY item;
    item.Set("Name", "box");
    item.SetNumber("Type", type);
    item.Set("Source", STRING(server + "|joe"));
    item.Set("Source2", "pw");
    item.Set("DownloadMailTexts", "0");
    item.Set("DoAltFolder", "0");
    item.Set("@Handle", "4711");
    item.Set("@InUpdate", "0");
    return item;
}

TEST(MailHandling, EveryTypeHasAnAnswer) {
    // The assertions are those of each call.
    const std::tuple<int, int, std::string, const char*, bool> cases[] = {
        {ITEMTYPE_MAPI, 0, "-ERR <2969>", "", false},
        {ITEMTYPE_POP3, 0, "-ERR No response", "Not supported!", false},
        {ITEMTYPE_IMAP, 0, "-ERR No response", "", false},
        // A log-in that fails counts as a deletion: the next check sees the mails again.
        {ITEMTYPE_HOTMAIL, 0, "-ERR 4096 No response", "", true},
        {4, 1, "-ERR Unknown Error", "", false},
        {-1, 1, "-ERR Unknown Error", "", false},
    };
    RECORDINGROW row;
    const std::string nobody = "127.0.0.1:" + std::to_string(ClosedPort());
    STRINGARRAY settings;
    settings.Set("DoHttpProxy", "1");
    settings.Set("HttpProxy", STRING(nobody));
    MAPISTORE store;
    store.SetLibrary("C:\\none\\mapi32.dll");
    store.Begin();
    MAILHANDLING mailboxes(row, row, settings);
    mailboxes.SetMapi(&store);
    for (const auto& [type, assertions, listing, moveError, deleted] : cases) {
        SCOPED_TRACE(type);
        EXPECT_ASSERTIONS(3 * assertions);
        STRINGARRAY item = Item(type, nobody);
        EXPECT_EQ(mailboxes.GetMailbox(item), listing);
        EXPECT_EQ(item.Get("@InUpdate"), "0");
        STRING error = "from before";
        EXPECT_EQ(mailboxes.DeleteMail(item, "1|1", error), deleted);
        EXPECT_NE(error, "from before");
        error = "from before";
        EXPECT_FALSE(mailboxes.MoveMail(item, "1|1", "folder", error));
        EXPECT_EQ(error, moveError);
    }
}

TEST(MailHandling, ListingComesWithoutItsPrefixAndReturns) {
    // Any number but 0 switches the bodies on. A listing is whole, whatever the mailbox says to the farewell.
    for (const char* quitReply : {"+OK\r\n", "-ERR\r\n"}) {
        SCRIPTEDSERVER server(ServerScript("+OK\r\n", {{"USER joe", "+OK\r\n"},
                                                       {"PASS pw", "+OK\r\n"},
                                                       {"STAT", "+OK 1 9\r\n"},
                                                       {"LIST 1", "+OK 1 9\r\n"},
                                                       {"TOP 1 100", "+OK\r\nA: \rb\r\r\n\r\n.\r\n"},
                                                       {"QUIT", quitReply}}));
        STRINGARRAY item = Item(ITEMTYPE_POP3, server.HostPort());
        item.Set("DownloadMailTexts", "7");
        RECORDINGROW row;
        EXPECT_EQ(MAILHANDLING(row, row, STRINGARRAY()).GetMailbox(item),
                  "1 msgs|1 ?unread|9 bytes\nX-Size: 9\nX-Message-Id: 1|9\nA: b\n\n.\n\1");
        EXPECT_EQ(item.Get("@InUpdate"), "0");
        EXPECT_EQ(row.Statuses, (std::vector<std::string>{"4711 <3001>" + server.HostPort(), "4711 <3000> 1/1"}));
    }
}

}  // namespace
