#include "app/mailbox/hotmail.h"

#include "app/mailbox/hotmailpages.h"
#include "corelib/net/webget.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/support/times.h"

namespace {

const std::string NOT_FETCHED = "<" + std::to_string(TEXT_NOT_FETCHED) + ">";

TEST(WebSession, CookiesOfAnAnswerAndWhatGoesToAHost) {
    const char* const cases[][3] = {
        {"HTTP/1.0 200 OK\n\nSet-Cookie: a=b\n", "", ""},
        {"200\nSet-Cookie: a=b=c; path=/; Expires=Mon\nset-cookie:z=1;\tDomain=WEBMAIL.example\n\n",
         "a|=b\\x3dc\nz|WEBMAIL.example=1\n", "Cookie: a=b=c; z=1"},
        // The last one of a line holds. Half a pair is passed over.
        {"200\nSet-Cookie: a=1; b=2; secure; =3; c=\n", "b|=2\n", "Cookie: b=2"},
        {"200\nSet-Cookie: nothing\nSet-Cookie: domain=x\nSet-Cookie:\n", "", ""},
        // Another server's stay at home, with the separator in front of them.
        {"200\nSet-Cookie: a=1\nSet-Cookie: b=2;domain=other.example\n", "a|=1\nb|other.example=2\n", "Cookie: a=1; "},
        {"200\nSet-Cookie: a=1; domain=more.www.webmail.example\n", "a|more.www.webmail.example=1\n", "Cookie: "},
    };
    for (const auto& [answer, wantedJar, header] : cases) {
        STRINGARRAY jar;
        SetCookie(answer, jar);
        EXPECT_EQ(jar.AsText(), wantedJar) << answer;
        EXPECT_EQ(CookieHeader(jar, "www.webmail.example"), header) << answer;
    }
}

TEST(WebSession, ServersCannotFillTheJarWithoutEnd) {
    std::string answer = "200\n";
    for (int i = 0; i < 3 * WebLimits.Cookies; ++i)
        answer += "Set-Cookie: c" + std::to_string(i) + "=x\n";
    STRINGARRAY jar;
    SetCookie(STRING(answer), jar);
    EXPECT_EQ(jar.Count(), WebLimits.Cookies);
    SetCookie(STRING("200\nSet-Cookie: c0=y\nSet-Cookie: c1=" + std::string(WebLimits.CookieBytes, 'y') + "\n"), jar);
    EXPECT_EQ(jar.Get("c0|"), "y") << "what is there may change";
    EXPECT_EQ(jar.Get("c1|"), "x");
}

// The service as a proxy plays it: each request gets the next script.
class WebMail : public testing::Test {
 protected:
    void SetUp() override { SHRINKABLE::WebTimes.ReadMs = 20; }
    void TearDown() override { SHRINKABLE::WebTimes = WEBTIMES(); }

    void Play(const std::vector<std::string>& answers, const std::string& firstRequestsEnd = "\r\n\r\n") {
        std::vector<SCRIPT> scripts;
        for (const std::string& answer : answers)
            scripts.push_back(
                {PLAY::ReadUntil(scripts.empty() ? firstRequestsEnd : "\r\n\r\n"), PLAY::Send(answer), PLAY::Cut()});
        Server = std::make_unique<SCRIPTEDSERVER>(scripts);
        Settings.Set("DoHttpProxy", "1");
        Settings.Set("HttpProxy", STRING(Server->HostPort()));
    }
    // The lines of all requests that begin so.
    std::vector<std::string> Sent(std::string_view start) {
        std::vector<std::string> found;
        const STRING all(std::string_view(Server->Transcript()));
        WORDCURSOR lines(all, "\n");
        for (std::string_view line; lines.Next(line);)
            if (line.starts_with(start))
                found.emplace_back(line.substr(0, line.find('\r')));
        return found;
    }
    STRING Get(int security = SECURITY_NONE) {
        STRINGARRAY item;
        const PROGRESS progress = Row.Progress();
        const MAILBOXCALL call{item, progress, Settings, StopAsked, "", "jörg", "p&w日", {security, true, ""}};
        STRING result = "from before";
        const bool good = HotmailHandler.Get(call, result);
        EXPECT_EQ(good, !result.View().starts_with("-ERR ")) << Std(result);
        return result;
    }

    RECORDINGROW Row;
    STRINGARRAY Settings;
    STOPQUESTION StopAsked = [] { return false; };
    std::unique_ptr<SCRIPTEDSERVER> Server;
};

TEST_F(WebMail, RedirectsAreFollowedToTheLetter) {
    const char* const cases[][2] = {
        {"http://other.example/a?b", "GET http://other.example/a?b HTTP/1.0"},
        {"http%3A//other.example%3a81/x", "GET http://other.example:81/x HTTP/1.0"},
        {"next?q=1", "GET http://here.example/dir/next?q=1 HTTP/1.0"},
    };
    for (const auto& [location, request] : cases) {
        Play({std::string("HTTP/1.0 302 Go\r\nSet-Cookie: a=1\r\nLocation: ") + location + "\r\n\r\n",
              "HTTP/1.0 200 OK\r\n\r\nthere"});
        WEBSESSION session(Settings, StopAsked);
        STRING result;
        EXPECT_EQ(session.WebFetch("here.example", "/dir/doc", result), 200);
        ASSERT_TRUE(Server->Wait(2));
        EXPECT_EQ(Sent("GET ").back(), request);
        EXPECT_EQ(Sent("Cookie: "), std::vector<std::string>{"Cookie: a=1"});
    }
}

TEST_F(WebMail, WithSecurityTheProxySeesNoRequest) {
    Play({"HTTP/1.0 502 not there\r\n\r\n"});
    EXPECT_EQ(Get(SECURITY_TLS), "-ERR 502 not there");
    ASSERT_TRUE(Server->Wait());
    EXPECT_TRUE(Server->Transcript().starts_with("CONNECT login.webmail.example:443 HTTP/1.")) << Server->Transcript();
    EXPECT_TRUE(Sent("GET ").empty());
}

TEST_F(WebMail, AFormIsFilledInAndItsRedirectFollowed) {
    Play({"HTTP/1.0 301 Go\r\nLocation: b\r\n\r\n", "HTTP/1.0 200 OK\r\n\r\n"}, "\r\n\r\nu=$(joe)&p=pw\r\n");
    WEBSESSION session(Settings, StopAsked);
    STRING result;
    EXPECT_EQ(session.WebPost("here.example/dir/a", "u=$($(USER))&p=$(PASS)", "joe", "pw", result), 200);
    ASSERT_TRUE(Server->Wait(2));
    EXPECT_EQ(Sent("POST "), std::vector<std::string>{"POST http://here.example/dir/a HTTP/1.0"});
    EXPECT_EQ(Sent("GET "), std::vector<std::string>{"GET http://here.example/dir/b HTTP/1.0"});
    EXPECT_EQ(Sent("Accept-Language: "), std::vector<std::string>{"Accept-Language: en-us"});
    EXPECT_EQ(Sent("Accept-Encoding: ").size(), 3U) << "twice in the form's head";
}

TEST_F(WebMail, RowsOfTheTable) {
    const auto block = [](const std::string& from, const std::string& subject, const std::string& id, int seen) {
        return "To: joe@webmail.example\nFrom: " + from + "\nSubject: " + subject + "\nMessage-Id: " + id +
               "\nX-Message-Id: " + id + "\nSeen: " + std::to_string(seen) + "\n\n" + NOT_FETCHED + "\n\1";
    };
    const auto row = [](const std::string& cells) {
        return "<tr><input type=\"checkbox\" name=\"" + cells + "</tr>\n";
    };
    const std::string whole = row("7\"><td>Tom<td>Hi");
    const std::pair<std::string, std::string> cases[] = {
        {"no table\n" + whole, "-ERR 999 Mail table not found"},
        {"Subject\n", "0 msgs|0 unread|0 bytes\n"},
        // The last row comes first; new mail is unread; markup goes, entities and blanks become text.
        {"Objet\n" + whole +
             "<TR class=x>\n<td><INPUT type=\"CHECKBOX\" NAME=\"8\"></td>\n<TD><img src=\"i/NewMail.gif\"></td>\n<td>"
             "<a href=\"m\">J&uuml;rgen\n  Wei&szlig;</a></td><td>\1Re: 5 &nbsp; -2 <b>x</b></td><td>1k\n</tr>\n",
         "2 msgs|1 unread|0 bytes\n" + block("J\xFCrgen Wei\xDF", "Re:5 -2 x", "8", 0) + block("Tom", "Hi", "7", 1)},
        // What is after a row without a check box is no mail any more.
        {"Subject\n" + whole + "<tr><td>end</tr>\n" + whole, "1 msgs|0 unread|0 bytes\n" + block("Tom", "Hi", "7", 1)},
        // No subject, no cell at all, no id: no mail, and none counted.
        {"Subject\n" + row("9\"><td>Tom") + row("9\">") + "<tr><td>checkbox<td>Hi</tr>\n" + whole,
         "1 msgs|0 unread|0 bytes\n" + block("Tom", "Hi", "7", 1)},
        // A row that begins inside a line is none; one that never closes goes on to the end of the page.
        {"Subject\n " + whole + "<tr><input type=\"checkbox\" name=\"5\"><td>A<td>B\n<tr>",
         "1 msgs|0 unread|0 bytes\n" + block("A", "B", "5", 1)},
    };
    WEBSESSION session(Settings, StopAsked);
    for (const auto& [html, listing] : cases) {
        STRING page(html), result;
        (void)HotmailListing(session, Row.Progress(), "joe", 0, page, result);
        EXPECT_EQ(Std(result), listing) << html;
    }
}

TEST_F(WebMail, FailuresKeepTheirWords) {
    const std::string refresh = "HTTP/1.0 200 OK\r\n\r\n<meta http-equiv=refresh content=\"0;url=go\">\r\n";
    const std::string home =
        "HTTP/1.0 200 OK\r\n\r\n<title>Hotmail Accueil<\r\n<a href=\"http://w.example/in\">Boîte de réception</a>\r\n";
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"HTTP/1.0 404 Not Found\r\n\r\n"}, "-ERR 404 Not Found"},
        {{"nothing\r\n"}, "-ERR HTTP-Error 999"},
        {{"\r\n"}, "-ERR 999 Read Timeout"},
        {{"HTTP/1.0 200 OK\r\n\r\nWrong password!\r\n"}, "-ERR 999 No meta http-equiv found"},
        {{refresh, "HTTP/1.0 500 Sorry\r\n\r\n"}, "-ERR 500 Sorry"},
        {{refresh, home, "HTTP/1.0 503 Later\r\n\r\n"}, "-ERR 999 Mail table not found"},
        {{refresh, home, "HTTP/1.0 200 OK\r\n\r\nSubject\r\n"}, "0 msgs|0 unread|0 bytes\n"},
    };
    for (const auto& [answers, result] : cases) {
        Play(answers);
        EXPECT_EQ(Get(), result);
        ASSERT_TRUE(Server->Wait(static_cast<int>(answers.size())));
        EXPECT_EQ(Sent("GET ").front(),
                  "GET http://login.webmail.example/cgi-bin/dologin?login=jörg&passwd=p&w日&frames=no&curmbox=ACTIVE "
                  "HTTP/1.0");
        if (answers.size() > 1) {
            EXPECT_EQ(Sent("GET ")[1], "GET http://login.webmail.example/cgi-bin/go HTTP/1.0");
        }
        if (answers.size() > 2) {
            EXPECT_EQ(Sent("GET ")[2], "GET http://w.example/in HTTP/1.0");
        }
    }
    EXPECT_EQ(Row.Statuses.back(), "4096 <3001>www.webmail.example");
    Settings.Set("HttpProxy", STRING("127.0.0.1:" + std::to_string(ClosedPort())));
    EXPECT_EQ(Get(), "-ERR 4096 No response");
    Settings.Set("HttpProxy", "");
    Settings.Set("HttpProxySealed", "k1:of another machine");
    EXPECT_EQ(Get(), "-ERR 999 No proxy password") << "and never without the proxy";
}

}  // namespace
