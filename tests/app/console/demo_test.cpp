#include "app/demo/demo.h"

#include <gmock/gmock.h>

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/check/trylogin.h"
#include "app/common/formats.h"
#include "app/core/tarnwick.h"
#include "app/demo/imapservice.h"
#include "app/demo/pop3service.h"
#include "app/demo/samplemail.h"
#include "app/demo/webmailservice.h"
#include "app/mailbox/account.h"
#include "app/mailbox/hotmail.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/recordarray.h"
#include "corelib/net/webget.h"
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

TEST(Demo, ServesWebMailToItsRealClientInAllEditions) {
    using WEBMAILPAGES::EDITION;
    FRONTEND frontEnd;
    const NUMBEREDTEXTS texts;
    const PROGRESS progress{frontEnd, texts, 0};
    const STOPQUESTION never = [] { return false; };
    STRINGARRAY item, settings;
    for (const EDITION edition : {EDITION::English, EDITION::German, EDITION::French}) {
        DEMOSTORE store;
        store.Deliver("From: Tom <tom@example.net>\r\nSubject: Hi & <you>\r\n\r\nline 1\r\n", "", true);
        store.Deliver("From: =?ISO-8859-1?Q?J=FCrgen_Wei=DF?= <j@example.com>\r\nSubject: \r\n\r\n");
        store.Deliver("From: bare@example.org\r\nSubject: =?UTF-8?B?R3LDvMOfZQ==?= 3\r\n\r\n");
        WEBMAILSERVICE service(store, "demo", "pw", edition);
        ASSERT_TRUE(service.Start());
        STRING proxy, page;
        proxy.Format("127.0.0.1:%d", service.Port());
        FillSettings(settings, {{"DoHttpProxy", "1"}, {"HttpProxy", proxy.Text()}});
        const auto call = [&](const char* password) {
            return MAILBOXCALL{item, progress, settings, never, "", "demo", password};
        };
        const auto get = [&](const char* password, bool fetchBody = false) {
            STRING result;
            (void)HotmailGet(call(password), "", fetchBody, result);
            return Std(result);
        };
        EXPECT_EQ(get("wrong"), "-ERR 999 No meta http-equiv found");
        EXPECT_THAT(
            get("pw"),
            testing::AllOf(testing::StartsWith("3 msgs|2 unread|0 bytes\n"),
                           testing::HasSubstr("\nFrom: J\xfcrgen Wei\xdf\nSubject: \nMessage-Id: MSG2\n"),
                           testing::HasSubstr("\nFrom: Tom\nSubject: Hi\xa0&amp;\xa0&lt;you&gt;\nMessage-Id: MSG1\n")));
        EXPECT_THAT(get("pw", true), testing::HasSubstr("\n\nline 1\n"));
        EXPECT_THAT(get("pw"), testing::StartsWith("3 msgs|0 unread|0 bytes\n"));
        EXPECT_EQ(HotmailDelete(call("wrong"), "MSG3"), 999);
        // Without its cookie nobody gets in.
        WEBSESSION(settings, never)
            .WebPost("www.webmail.example/cgi-bin/HoTMaiL", "_HMaction=delete&MSG3=on", "", "", page);
        EXPECT_EQ(HotmailDelete(call("pw"), "\nMSG2\nMSG99\nMSG1\n"), 200);
        ASSERT_EQ(store.Mails().size(), 1U);
        EXPECT_EQ(store.Mails()[0]->Number, 3);
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
