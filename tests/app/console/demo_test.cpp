#include "app/demo/demo.h"

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/check/trylogin.h"
#include "app/common/formats.h"
#include "app/core/tarnwick.h"
#include "app/demo/imapservice.h"
#include "app/demo/pop3service.h"
#include "app/demo/samplemail.h"
#include "app/mailbox/account.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/recordarray.h"
#include "tests/app/apptest.h"
#include "tests/app/core/coresupport.h"

namespace {

/// Counts the new mails that it is told of.
class COUNTINGNOTIFIER : public NOTIFIER {
 public:
    bool NewMail(STRINGARRAY& /*item*/, const CHECKREPORT& report) override {
        ++Reports;
        Mails += static_cast<int>(report.NewMails.size());
        return false;
    }
    bool NothingNew(STRINGARRAY& /*item*/, const CHECKREPORT& /*report*/) override { return false; }
    std::atomic<int> Reports = 0, Mails = 0;
};

}  // namespace

// What our own clients do not say.
TEST(Demo, SpeaksToOtherClients) {
    DEMOSTORE store;
    store.Deliver("Subject: one\r\nTo: a,\r\n b\r\nX: y\r\n\r\nline 1\r\n.line 2\r\n");
    store.Deliver("Subject: two\r\n\r\n", "", true);
    store.Deliver("Subject: three\r\n\r\n");
    POP3SESSION pop(store, "demo", "pass word");
    IMAPSESSION imap(store, "demo", "pass word");
    // Lines are split by "|".
    constexpr const char* DIALOGUE[][2] = {
        {"STAT", "-ERR unknown command|"},
        {"PASS pass word", "-ERR invalid user or password|"},
        {"user demo", "+OK|"},
        {"PASS pass word", "+OK logged in|"},
        {"UIDL 2", "+OK 2 demo2|"},
        {"RETR 1", "+OK|Subject: one|To: a,| b|X: y||line 1|..line 2|.|"},
        {"DELE 1", "+OK deleted|"},
        {"TOP 1 9", "-ERR no such message|"},
        {"LIST", "+OK|2 16|3 18|.|"},
        {"RSET", "+OK|"},
        {"QUIT", "+OK bye|"},
        {"a SELECT INBOX", "a BAD unknown command or arguments|"},
        {"a login \"demo\" \"pass word\"", "a OK logged in|"},
        {"a EXAMINE other", "a NO no such folder|"},
        {"a SELECT INBOX",
         "* FLAGS (\\Seen \\Deleted)|* OK [PERMANENTFLAGS (\\Seen \\Deleted)]|* 3 EXISTS|* 0 RECENT|"
         "* OK [UIDVALIDITY 1]|a OK [READ-WRITE] selected|"},
        {"a SEARCH 2:* UNSEEN", "* SEARCH 3|a OK done|"},
        {"a FETCH 1 (BODY[HEADER.FIELDS (to CC)] FLAGS)",
         "* 1 FETCH (BODY[HEADER.FIELDS (TO CC)] {14}|To: a,| b|| FLAGS (\\Seen))|a OK done|"},
        {"a COPY 1 nowhere", "a NO [TRYCREATE] no such folder|"},
        {"a STORE 1 +FLAGS (\\deleted)", "* 1 FETCH (FLAGS (\\Seen \\Deleted))|a OK done|"},
        {"a STORE 3 FLAGS.SILENT \\Deleted", "a OK done|"},
        {"a EXPUNGE", "* 3 EXPUNGE|* 1 EXPUNGE|a OK done|"},
    };
    for (const auto& [command, wanted] : DIALOGUE) {
        std::string reply = command[1] == ' ' ? imap.Reply(command) : pop.Reply(command);
        for (size_t at; (at = reply.find("\r\n")) != reply.npos;)
            reply.replace(at, 2, "|");
        EXPECT_EQ(reply, wanted) << command;
    }
    EXPECT_TRUE(pop.Ended());
    EXPECT_EQ(store.Mails().size(), 1U);
}

TEST(Demo, ServesTheRealClientsAndTellsATrialLoginTheCountAlone) {
    struct : FRONTEND {
        void SetItemStatus(int /*handle*/, const STRING& text) override { Read += text.Pos("3000") != -1; }
        int Read = 0;
    } frontEnd;
    const NUMBEREDTEXTS texts;
    STRINGARRAY settings;
    FillSettings(settings, {{"PopupBackgroundColor", "1"}, {"PopupTextColor", "2"}});
    MAILHANDLING mailboxes(frontEnd, texts, settings);
    DEMOSTORE store;
    for (const char* mail :
         {"Subject: one\r\n\r\nline 1\r\nline 2\r\n", "Subject: two\r\n\r\n.\r\n..dots\r\n", "Subject: three\r\n\r\n"})
        store.Deliver(mail);
    POP3SERVICE pop(store, "demo", "pw");
    IMAPSERVICE imap(store, "demo", "pw");
    for (const auto& [type, service] : {std::pair<int, DEMOSERVICE*>{ITEMTYPE_POP3, &pop}, {ITEMTYPE_IMAP, &imap}}) {
        ASSERT_TRUE(service->Start());
        STRING server, outcome, certificate;
        server.Format("127.0.0.1:%d", service->Port());
        STRINGARRAY item;
        int handle = FIRST_ITEM_HANDLE;
        FixItem(item, settings, handle);
        MAILACCOUNT::SetAddress(item, {type, "demo", server}, "pw");
        frontEnd.Read = 0;
        EXPECT_TRUE(TryLogin(item, mailboxes, texts, outcome, certificate)) << Std(outcome);
        EXPECT_EQ(Std(outcome), Std(FormatMailCount(texts, 3)));
        EXPECT_EQ(frontEnd.Read, 0);
        EXPECT_EQ(item.Get("@UidValidity"), "");
        const STRING listing = mailboxes.GetMailbox(item);
        RECORDARRAY records(64, 64);
        ASSERT_EQ(BuildMailHash(listing, records), 3) << Std(listing);
        EXPECT_EQ(records[0]["Subject"], "three");
        if (type == ITEMTYPE_IMAP) {
            EXPECT_EQ(listing.Line(0), "3 msgs|3 unread|0 bytes");
            EXPECT_EQ(records[2]["Body"], "line 1\nline 2\n\n");
            item.Set("UidValidity", item.Get("@UidValidity"));
            EXPECT_TRUE(mailboxes.MoveMail(item, records[1]["X-Message-Id"], "spam", outcome)) << Std(outcome);
            EXPECT_TRUE(mailboxes.DeleteMail(item, records[0]["X-Message-Id"], outcome)) << Std(outcome);
            ASSERT_EQ(store.Mails().size(), 1U);
            EXPECT_EQ(store.Mails()[0]->Number, 1);
            EXPECT_EQ(store.Mails("spam").size(), 1U);
        }
        MAILACCOUNT::SetPassword(item, "wrong");
        EXPECT_FALSE(TryLogin(item, mailboxes, texts, outcome, certificate));
        EXPECT_EQ(item.Get("LastRC"), "");
    }
}

TEST(Demo, BringsMailToTheApplication) {
    const TEMPDIR dir;
    const std::string workDir = std::string("/WORKDIR:") + dir.Path();
    const char* words[] = {"tarnwickc", workDir.c_str()};
    const ARGUMENTS arguments(2, words);
    RECORDER frontEnd;
    COUNTINGNOTIFIER notifier;
    NUMBEREDTEXTS texts;
    DEMO demo(1);
    ASSERT_TRUE(demo.Start());
    TARNWICK application(frontEnd, notifier, arguments, texts, {.TurnMs = 1, .PopupPauseMs = 1});
    ASSERT_TRUE(application.Open());
    ASSERT_TRUE(demo.AddAccounts(application));
    ASSERT_TRUE(demo.AddAccounts(application));
    ASSERT_EQ(application.Items.Count(), 3);
    EXPECT_EQ(application.pState.Get("HttpProxy"), "") << "the proxy is for the demo alone";
    demo.StartArrivals(application);
    application.Start();
    // The mails that were there, and at least one that came between two checks.
    EXPECT_TRUE(Eventually([&] {
        application.ForceRefreshAll(false);
        return notifier.Reports > 1 && notifier.Mails > SampleMailCount();
    }));
}
