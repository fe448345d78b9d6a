#include "corelib/net/webget.h"

#include <cstring>

#include "corelib/net/httptext.h"
#include "corelib/net/tcpio.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/stopsoon.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"

namespace {

class WebGet : public testing::Test {
 protected:
    void SetUp() override { SHRINKABLE::WebTimes.ReadMs = 20; }
    void TearDown() override { SHRINKABLE::WebTimes = WEBTIMES(); }
};

const std::string HEADERS =
    "Accept: image/gif, image/x-xbitmap, image/jpeg, image/pjpeg, text/*, */*\r\n"
    "Pragma: no-cache\r\n"
    "Connection: Close\r\n"
    "Accept-Encoding: gzip, deflate\r\n"
    "User-Agent: Mozilla/4.0 (compatible; MSIE 5.0; Windows NT; DigExt)\r\n";

// "hello" and CR LF, three times.
const std::string GZIP("\x1f\x8b\x08\0\0\0\0\0\2\3\xcb\x48\xcd\xc9\xc9\xe7\xe5\xca\x40\xa1\0\xd7\xc8\x0b\xe8\x15\0\0\0",
                       29);

SCRIPT Answer(const std::string& response) {
    return {PLAY::ReadUntil("\r\n\r\n"), PLAY::Send(response), PLAY::Cut()};
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

TEST_F(WebGet, WhateverAServerSaysIsAResultWithANumber) {
    const std::string ok = "HTTP/1.0 200 OK\r\n";
    const std::string head = ok + "Content-Encoding: GZIP\r\n", length = "Content-Length: 29\r\n";
    const std::string seen = "HTTP/1.0 200 OK\nContent-Encoding: GZIP\n", told = "Content-Length: 29\n";
    const std::string hello = "hello\nhello\nhello\n";
    const std::tuple<std::string, int, std::string> cases[] = {
        {"HTTP/1.0 204 None\r\n", 204, "HTTP/1.0 204 None\n"},
        {"\r\nHTTP/1.0 200 late", 999, "WEBGET 999 Read Timeout\nHTTP/1.0 200 late"},
        {std::string(3000, 'x') + " 5\r\n\r\n", 999, std::string(2047, 'x') + "\n" + std::string(953, 'x') + " 5\n\n"},
        {ok + "Content-Length: 90\r\n\r\nshort", 200, "HTTP/1.0 200 OK\nContent-Length: 90\n\nshort"},
        {ok + "CONTENT-LENGTH: 1\r\n\r\nlonger", 200, "HTTP/1.0 200 OK\nCONTENT-LENGTH: 1\n\nlonger"},
        {ok + "Content-Length: 99999999999\r\n\r\nx", 200, "HTTP/1.0 200 OK\nContent-Length: 99999999999\n\nx"},
        {"HTTP/1.0 200 OK\nContent-Length: 1\n\nxyz", 200, "HTTP/1.0 200 OK\nContent-Length: 1\n\nxyz"},
        {ok + std::string("\r\n\0\r\n", 5), 200, std::string("HTTP/1.0 200 OK\n\n\0\n", 19)},
        {ok + "Content-Type: Image/gif;x\r\n\r\n\r\n", 200, "HTTP/1.0 200 OK\nContent-Type: Image/gif;x\r\n\r\n\r\n"},
        {head + "\r\n" + GZIP, 200, seen + "\n" + hello},
        {head + length + "\r\n" + GZIP, 200, seen + told + "\n" + hello},
        {ok + "Encoding-Type: gzip\r\n\r\n" + GZIP, 200, "HTTP/1.0 200 OK\nEncoding-Type: gzip\n\n" + hello},
        {head + length + "\r\n" + GZIP.substr(0, 28), 200, seen + told + "\n<incomplete gzip data length 28/29>"},
        {head + "\r\n" + GZIP.substr(0, 16), 200, seen + "\nhello"},
        {head + "\r\n" + GZIP + GZIP + "tail", 200, seen + "\n" + hello + hello},
        {head + "\r\nnot compressed", 200, seen + "\nnot compressed"},
    };
    std::vector<SCRIPT> scripts;
    for (const auto& c : cases)
        scripts.push_back(Answer(std::get<0>(c)));
    SCRIPTEDSERVER server(std::move(scripts));
    for (const auto& [response, status, wanted] : cases) {
        STRING result;
        EXPECT_EQ(WEBGET(nullptr, nullptr).Get(server.HostPort().c_str(), "/", result), status) << response;
        EXPECT_EQ(Std(result), wanted) << response;
    }
}

TEST_F(WebGet, APageThatIsCutAnywhereIsKeptAsFarAsItCame) {
    const std::string status = "H 200\r\n", rest = "Content-Length: 5\r\n\r\n1\r\n2\n";
    ForEveryCut(Answer(status + rest), [&](SCRIPTEDSERVER& server, int sent, bool) {
        // Only a status line that does not end takes that long.
        const auto come = static_cast<size_t>(sent);
        SHRINKABLE::WebTimes.AnswerMs = come < status.size() ? 250 : 20000;
        std::string wanted = status.substr(0, std::min(come, status.find('\r')));
        if (wanted.empty())
            wanted = "WEBGET 999 Read Timeout";
        wanted += "\n" + rest.substr(0, come - std::min(come, status.size()));
        for (size_t at; (at = wanted.find("\r\n")) != wanted.npos;)
            wanted.erase(at, 1);
        STRING result;
        constexpr int NUMBERS[] = {999, 999, 0, 2, 20, 200};
        EXPECT_EQ(WEBGET(nullptr, nullptr).Get(server.HostPort().c_str(), "/", result), NUMBERS[std::min(sent, 5)]);
        EXPECT_EQ(Std(result), wanted);
    });
}

TEST_F(WebGet, TimeAndBoundsEndATransfer) {
    STRING result;
    WEBGET web(nullptr, nullptr);
    const STRING closed = STRING("127.0.0.1:") || std::to_string(ClosedPort()).c_str();
    EXPECT_EQ(web.Get(closed.Text(), "/", result), 4096);
    EXPECT_EQ(result.Left(11), "TCPIO 4096 ");

    const std::string head = "HTTP/1.0 200 OK\r\n", flood = std::string(100000, 'h');
    const std::tuple<SCRIPT, int, int, int, const char*> cases[] = {
        {{PLAY::Silence()}, 400, 1000, 999, "WEBGET 999 Read Timeout\n"},
        {{PLAY::Send(head + "\r\nha"), PLAY::Silence()}, 250, 1000, 999, "TCPIO 999 Timeout\nHTTP/1.0 200 OK\n\nha"},
        {{PLAY::Drip(head + flood)}, 250, 1 << 20, 999, "TCPIO 999 Timeout\nHTTP/1.0 200 OK\nhh"},
        {{PLAY::Send(head + flood)}, 20000, 1000, 998, "TCPIO 998 Canceled\nHTTP/1.0 200 OK\nhh"},
    };
    for (const auto& [script, answerMs, responseBytes, status, wantedStart] : cases) {
        SCRIPTEDSERVER server(script);
        SHRINKABLE::WebTimes.AnswerMs = answerMs;
        SHRINKABLE::WebTimes.ResponseBytes = responseBytes;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(web.Get(server.HostPort().c_str(), "/", result), status);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_TRUE(answerMs != 400 || took < std::chrono::milliseconds(790)) << "more than one time-out";
        EXPECT_EQ(Std(result).substr(0, strlen(wantedStart)), wantedStart);
        EXPECT_LT(result.Length(), 1 << 16);
    }
    // A bomb: of what it would become only the beginning.
    SHRINKABLE::WebTimes = WEBTIMES();
    SHRINKABLE::WebTimes.DecodedBytes = 5;
    result = "HTTP/1.0 200 OK\r\nContent-Encoding: gzip\r\n\r\n";
    result.AppendBytes(GZIP.data(), static_cast<int>(GZIP.size()));
    WEBGET::Beautify(result);
    EXPECT_EQ(result, "HTTP/1.0 200 OK\nContent-Encoding: gzip\n\nhello");
}

TEST_F(WebGet, AStopEndsItWhateverTheServerDoes) {
    const std::string head = "HTTP/1.0 200 OK\r\n";
    const SCRIPT SCRIPTS[] = {{PLAY::Silence()},
                              {PLAY::Drip(std::string(100000, 's'))},
                              {PLAY::Send(head), PLAY::Silence()},
                              {PLAY::Send(head + "\r\nbody"), PLAY::Silence()},
                              {PLAY::Send(head + "\r\n"), PLAY::Drip(std::string(100000, 'b'))}};
    SHRINKABLE::WebTimes.AnswerMs = 20000;
    for (const SCRIPT& script : SCRIPTS) {
        SCRIPTEDSERVER server(script);
        const STOPSOON stop;
        WEBGET web(nullptr, nullptr);
        web.SetStopQuestion(stop.Question());
        STRING result;
        EXPECT_EQ(web.Get(server.HostPort().c_str(), "/", result), 998);
        EXPECT_STOPPED(stop);
        EXPECT_EQ(result.Line(0), "TCPIO 998 Canceled");
        EXPECT_EQ(web.Get(server.HostPort().c_str(), "/", result), 998) << "and the next one does not begin";
        EXPECT_EQ(result, "TCPIO 998 Canceled");
    }
    // At full speed.
    SCRIPTEDSERVER server(SCRIPT{PLAY::Send(head + "\r\n" + std::string(1000000, 'b'))});
    int asked = 0;
    WEBGET web(nullptr, nullptr);
    web.SetStopQuestion([&asked] { return ++asked > 1000; });
    STRING result;
    EXPECT_EQ(web.Get(server.HostPort().c_str(), "/", result), 998);
    EXPECT_LT(result.Length(), 500000);
}

TEST_F(WebGet, AServerThatIsTooSlowIsATimeOut) {
    SHRINKABLE::TcpTimes = {.SlowMs = 50, .SlowBytesPerSecond = 1 << 20, .QuickMs = 0};
    SHRINKABLE::WebTimes.AnswerMs = 20000;
    SCRIPTEDSERVER server(SCRIPT{PLAY::Send("HTTP/1.0 200 OK\r\n\r\n"), PLAY::Drip(std::string(100000, 'b'))});
    STRING result;
    EXPECT_EQ(WEBGET(nullptr, nullptr).Get(server.HostPort().c_str(), "/", result), 999);
    EXPECT_EQ(result.Line(0), "TCPIO 999 Timeout");
    SHRINKABLE::TcpTimes = {};
}

TEST_F(WebGet, TheCallbackIsToldOfThePageAndMayCancelIt) {
    struct WATCHER {
        int CancelAfter;
        std::string Told;
        static int Call(void* self, int kind, int value) {
            auto& watcher = *static_cast<WATCHER*>(self);
            if (kind != WEBGET::CANCEL)
                watcher.Told += std::to_string(kind) + ":" + std::to_string(value) + " ";
            return kind == WEBGET::CANCEL && static_cast<int>(watcher.Told.size()) >= watcher.CancelAfter;
        }
    };
    constexpr int NEVER = 1000;
    const std::tuple<std::string, int, int, std::string> cases[] = {
        {"", NEVER, 200, "2:1024 2:2048 "},
        {"Content-Length: 2999", NEVER, 200,
         "1:2999 2:150 2:300 2:450 2:600 2:750 2:900 2:1050 2:1200 2:1350 2:1500 2:1650 2:1800 2:1950 2:2100 2:2250 "
         "2:2400 2:2550 2:2700 2:2850 2:3000 "},
        {"Content-Length: 3000", 1, 998, "1:3000 "},
        {"", 1, 998, "2:1024 "},
    };
    for (const auto& [header, cancelAfter, status, told] : cases) {
        SCRIPTEDSERVER server(Answer("HTTP/1.0 200 OK\r\n" + header + "\r\n\r\n" + std::string(2999, 'b')));
        WATCHER watcher{cancelAfter, ""};
        STRING result;
        EXPECT_EQ(WEBGET(WATCHER::Call, &watcher).Get(server.HostPort().c_str(), "/", result), status) << header;
        EXPECT_EQ(watcher.Told, told);
        EXPECT_EQ(Std(result).starts_with("TCPIO 998 Canceled\nHTTP/1.0 200 OK\n"), status == 998);
        // Nothing is read any more once it is cancelled.
        EXPECT_LT(status == 998 ? result.Length() : 0, 1300);
    }
}

TEST(HttpText, LinksAreResolvedAgainstThePresentDocument) {
    static constexpr const char* CASES[][3] = {
        {"HTTP://other.example", "other.example", "/"},
        {"http://a:b@other.example/x?y", "other.example", "/x?y"},
        {"https://a:b@other.example/x", "https://other.example", "/x"},
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
    EXPECT_EQ(HostCredentials().Get("https://other.example"), "a:b");
}

TEST(HttpText, MarkUpBecomesText) {
    static constexpr const char* TEXTS[][2] = {
        {"a<b title=\">\">c", "a c"},
        {"1 > 0", "1  0"},
        {"&uuml;&nbsp&nbsp;&Uuml;", "\xfc  \xdc"},
        {"x\xffy", "xy"},
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
