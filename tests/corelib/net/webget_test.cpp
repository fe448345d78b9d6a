#include "corelib/net/webget.h"

#include <gtest/gtest.h>

#include "corelib/net/httptext.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/testsupport.h"

namespace {

class WebGet : public testing::Test {
 protected:
    void SetUp() override { WebTimes.ReadMs = 20; }
    void TearDown() override { WebTimes = WEBTIMES(); }
};

const std::string HEADERS =
    "Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, text/*, */*\r\n"
    "Pragma: no-cache\r\n"
    "Connection: Close\r\n"
    "Accept-Encoding: gzip, deflate\r\n"
    "User-Agent: Mozilla/4.0 (compatible; MSIE 5.0; Windows NT; DigExt)\r\n";

SCRIPT Answer(const std::string& response) {
    return {PLAY::ReadUntil("\r\n\r\n"), PLAY::Send(response), PLAY::Cut()};
}

TEST_F(WebGet, TheHostsCredentialGoesOutWhenTheServerAsksAndIsRemembered) {
    SCRIPTEDSERVER server(
        {Answer("HTTP/1.0 401 No\r\n\r\n"), Answer("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\na\r\n")});
    WEBGET web(nullptr, nullptr);
    STRING result;
    web.AddLine("Cookie: a=b");
    EXPECT_EQ(web.Get(("me:secret@" + server.HostPort()).c_str(), "/x", result), 200);
    EXPECT_EQ(result, "HTTP/1.0 200 OK\nContent-Length: 3\n\na\n");
    ASSERT_TRUE(server.Wait(2));
    const std::string host = "Host: " + server.HostPort() + "\r\n";
    const std::string credential = "basic bWU6c2VjcmV0\r\n";
    EXPECT_EQ(server.Transcript(), "GET /x HTTP/1.0\r\n" + host + HEADERS + "Cookie: a=b\r\n\r\n" +
                                       "GET /x HTTP/1.0\r\n" + host + HEADERS + "Authorization: " + credential +
                                       "Cookie: a=b\r\n\r\n");
    EXPECT_EQ(HostCredentials().Get(server.HostPort().c_str()), "me:secret");
}

TEST_F(WebGet, AFormGoesThroughTheProxyWithItsCredentialAfterA407) {
    const SCRIPT ask = {PLAY::ReadUntil("\r\n\r\n"), PLAY::ReadUntil("\r\n"), PLAY::ReadUntil("\r\n"),
                        PLAY::Send("HTTP/1.0 407 Who?\r\n\r\n"), PLAY::Cut()};
    SCRIPT done = ask;
    done[3] = PLAY::Send("HTTP/1.0 302 There\r\n\r\n");
    SCRIPTEDSERVER server({ask, done});
    WEBGET web(nullptr, nullptr);
    web.SetProxy(true, STRING("p:q@") || server.HostPort().c_str());
    STRING result;
    EXPECT_EQ(web.Post("far.example", "/f", result, "a=1&b=2"), 302);
    ASSERT_TRUE(server.Wait(2));
    const std::string head = "POST http://far.example/f HTTP/1.0\r\nHost: far.example\r\n" + HEADERS;
    const std::string rest =
        "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 7\r\n\r\na=1&b=2\r\n\r\n";
    EXPECT_EQ(server.Transcript(), head + rest + head + "Proxy-Authorization: Basic cDpx\r\n" + rest);
}

TEST_F(WebGet, WhatEndsATransferStandsInItsFirstLine) {
    WEBGET web(nullptr, nullptr);
    STRING result;
    const STRING closed = STRING("127.0.0.1:") || std::to_string(ClosedPort()).c_str();
    EXPECT_EQ(web.Get(closed.Text(), "/", result), 4096);
    EXPECT_EQ(result.Left(11), "TCPIO 4096 ");

    WebTimes.AnswerMs = 60;
    SCRIPTEDSERVER silent({{PLAY::Silence()}, {PLAY::Send("HTTP/1.0 200 OK\r\n\r\nha"), PLAY::Silence()}});
    EXPECT_EQ(web.Get(silent.HostPort().c_str(), "/", result), 999);
    EXPECT_EQ(result.Left(34), "TCPIO 999 Timeout\nWEBGET 999 Read ");
    EXPECT_EQ(web.Get(silent.HostPort().c_str(), "/", result), 999);
    EXPECT_EQ(result, "TCPIO 999 Timeout\nHTTP/1.0 200 OK\n\nha");
    WebTimes.AnswerMs = 10000;

    SCRIPTEDSERVER endless({PLAY::Send("HTTP/1.0 200 OK\r\n" + std::string(5000, 'h')), PLAY::Silence()});
    WebTimes.ResponseBytes = 1000;
    EXPECT_EQ(web.Get(endless.HostPort().c_str(), "/", result), 998);
    WEBGET cancelled([](void*, int kind, int) { return kind == WEBGET::CANCEL ? 1 : 0; }, nullptr);
    WebTimes = WEBTIMES();
    EXPECT_EQ(cancelled.Get(endless.HostPort().c_str(), "/", result), 998);
    EXPECT_EQ(result, "TCPIO 998 Canceled\nHTTP/1.0 200 OK\n");
}

TEST(HttpText, LinksAreResolvedAgainstThePresentDocument) {
    static constexpr const char* CASES[][3] = {
        {"HTTP://other.example", "other.example", "/"},
        {"http://a:b@other.example/x?y", "other.example", "/x?y"},
        {"/abs/./x", "here.example", "/abs/x"},
        {"page", "here.example", "/dir/sub/page"},
        {"../page", "here.example", "/dir/page"},
        {"../../../../page", "here.example", "/page"},
        {"", "here.example", "/dir/sub/"},
    };
    for (const auto& [url, wantedHost, wantedDoc] : CASES) {
        STRING host = "here.example", doc = "/dir/sub/doc";
        UrlToHostDoc(url, host, doc);
        EXPECT_EQ(host, wantedHost) << url;
        EXPECT_EQ(doc, wantedDoc) << url;
    }
    EXPECT_EQ(HostCredentials().Get("other.example"), "a:b");
}

TEST(HttpText, MarkUpBecomesText) {
    static constexpr const char* TEXTS[][2] = {
        {"a<b title=\">\">c", "a c"},
        {"1 > 0", "1  0"},
        {"never <closed", "never  "},
        {"&uuml;&nbsp&nbsp;&Uuml;", "\xfc  \xdc"},
        {"x\xffy", "xy"},
        {"", ""},
    };
    for (const auto& [html, wanted] : TEXTS) {
        STRING text = html;
        HtmlToText(text, ' ');
        EXPECT_EQ(text, wanted) << html;
    }
    static constexpr const char* BLANKS[][2] = {
        {" a  b\t\r\n1 ", "a b 1"},
        {"a <b@c> d", "a<b@c>d"},
        {"1 -2 - 3 x -", "1 -2 -3 x-"},
        {"\n x \v", "x"},
        {"  ", ""},
    };
    for (const auto& [blanks, wanted] : BLANKS) {
        STRING text = blanks;
        CollapseBlanks(text);
        EXPECT_EQ(text, wanted) << blanks;
    }
    static constexpr const char* ATTRIBUTES[][2] = {
        {"<a HREF=\"x y\" z>", "x y"}, {"<a href='x'>", "x"}, {"<a href=xyz b>", "yz"},
        {"<a href=\"\" b>", "\" b>"},  {"<a href=", ""},      {"<a xhref=\"1\">", ""},
    };
    for (const auto& [html, wanted] : ATTRIBUTES)
        EXPECT_EQ(AttributeValue(html, "href"), wanted) << html;
}

}  // namespace
