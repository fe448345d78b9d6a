#include "app/demo/webmailservice.h"

#include "app/mailbox/hotmail.h"
#include "corelib/net/webget.h"
#include "tests/app/core/coresupport.h"

using WEBMAILPAGES::EDITION;

namespace {

class WebMailService : public testing::Test {
 protected:
    WebMailService() {
        Store.Deliver("From: Tom <tom@example.net>\r\nSubject: Hi & <you>\r\n\r\nline 1\r\n", "", true);
        Store.Deliver("From: =?ISO-8859-1?Q?J=FCrgen_Wei=DF?= <j@example.com>\r\nSubject: \r\n\r\n");
        Store.Deliver("From: bare@example.org\r\nSubject: =?UTF-8?B?R3LDvMOfZQ==?= 3\r\n\r\n");
    }
    void Serve(EDITION edition) {
        Service = std::make_unique<WEBMAILSERVICE>(Store, "demo", "pw", edition);
        ASSERT_TRUE(Service->Start());
        STRING proxy;
        proxy.Format("127.0.0.1:%d", Service->Port());
        Settings.Set("DoHttpProxy", "1");
        Settings.Set("HttpProxy", proxy);
    }
    STRING Get(const char* password, bool fetchBody = false) {
        STRING result;
        (void)HotmailGet({Item, Progress, Settings, Never, "", "demo", password}, "", fetchBody, result);
        return result;
    }

    DEMOSTORE Store;
    std::unique_ptr<WEBMAILSERVICE> Service;
    FRONTEND FrontEnd;
    NUMBEREDTEXTS Texts;
    PROGRESS Progress{FrontEnd, Texts, 0};
    STRINGARRAY Item, Settings;
    STOPQUESTION Never = [] { return false; };
};

TEST_F(WebMailService, ShowsItsInboxToTheRealClientInAllEditions) {
    for (EDITION edition : {EDITION::English, EDITION::German, EDITION::French}) {
        Serve(edition);
        EXPECT_EQ(Get("wrong"), "-ERR 999 No meta http-equiv found");
        const STRING listing = Get("pw");
        EXPECT_EQ(listing.Line(0), "3 msgs|2 unread|0 bytes");
        EXPECT_NE(listing.Pos("\nFrom: J\xfcrgen Wei\xdf\nSubject: \nMessage-Id: MSG2\n"), -1) << Std(listing);
        EXPECT_NE(listing.Pos("\nFrom: Tom\nSubject: Hi\xa0&amp;\xa0&lt;you&gt;\nMessage-Id: MSG1\n"), -1)
            << Std(listing);
    }
}

TEST_F(WebMailService, DeletesAndRemembersWhatWasRead) {
    Serve(EDITION::German);
    EXPECT_NE(Get("pw", true).Pos("\n\nline 1\n"), -1);
    EXPECT_EQ(Get("pw").Line(0), "3 msgs|0 unread|0 bytes");
    EXPECT_EQ(HotmailDelete({Item, Progress, Settings, Never, "", "demo", "pw"}, "\nMSG2\nMSG99\nMSG1\n"), 200);
    ASSERT_EQ(Store.Mails().size(), 1U);
    EXPECT_EQ(Store.Mails()[0]->Number, 3);
    EXPECT_EQ(HotmailDelete({Item, Progress, Settings, Never, "", "demo", "wrong"}, "MSG3"), 999);
    EXPECT_EQ(Store.Mails().size(), 1U);
    // Without its cookie nobody gets in.
    WEBSESSION stranger(Settings, Never);
    STRING page;
    stranger.WebPost("www.webmail.example/cgi-bin/HoTMaiL", "_HMaction=delete&MSG3=on", "", "", page);
    EXPECT_EQ(Store.Mails().size(), 1U);
}

}  // namespace
