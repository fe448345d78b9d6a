#include "corelib/base/trace.h"
#include "corelib/net/email.h"
#include "corelib/net/tcpio.h"
#include "corelib/net/tcpline.h"
#include "corelib/net/webget.h"
#include "tests/servers/tlsserver.h"
#include "tests/support/stopsoon.h"
#include "tests/support/times.h"

using namespace TLSPLAY;

namespace {

constexpr int LONG_MS = 20000;

// Wine's TLS ends with version 1.2.
#ifdef _WIN32
constexpr const char* NEWEST = "1.2";
#else
constexpr const char* NEWEST = "1.3";
#endif

class Tls : public testing::Test {
 protected:
    ~Tls() override { SHRINKABLE::TcpTimes = {}; }
};

std::string Line(BASEIO& device) {
    char buffer[256];
    TCP::ReadLine(device, buffer, sizeof buffer, LONG_MS);
    return buffer;
}

// All that comes until the end.
std::string All(BASEIO& device) {
    std::string all;
    for (;;) {
        char buffer[8192];
        int length = sizeof buffer;
        if (!device.Read(buffer, &length, LONG_MS, nullptr))
            return all;
        all.append(buffer, static_cast<size_t>(length));
    }
}

std::string Error(BASEIO& device) {
    return Std(device.GetInfo("LASTERRORSTRING"));
}

std::string Counted(int bytes) {
    std::string text;
    while (text.size() < static_cast<size_t>(bytes))
        text += std::to_string(text.size()) + "\n";
    return text.substr(0, static_cast<size_t>(bytes));
}

// A greeting, one command and its reply, and the end with a notice.
std::vector<TLSSTEP> ShortTalk() {
    return {TLSPLAY::Tls(), Send("hello\r\n"), Expect("QUIT"), Send("bye\r\n"), Notify()};
}

}  // namespace

TEST_F(Tls, ACertificateIsTrustedOrToldWhyNot) {
    const struct {
        const char* Certificate;
        const char* ServerName;
        const char* Why;  // empty: it is good
    } cases[] = {
        {"good", "", ""},
        {"good", "localhost", ""},
        {"good", "LocalHost.", ""},
        {"good", "127.0.0.2", "other name"},
        {"good", "localhost.example", "other name"},
        {"ecdsa", "localhost", ""},
        {"chain", "localhost", ""},
        {"ip", "127.0.0.1", ""},
        {"ip", "localhost", "other name"},
        {"zero", "localhost", "other name"},
        {"wildcard", "mail.test.example", ""},
        {"wildcard", "test.example", "other name"},
        {"wildcard", "a.mail.test.example", "other name"},
        {"nochain", "localhost", "unknown issuer Tests Intermediate"},
        {"self", "localhost", "self-signed"},
        {"unknown", "localhost", "unknown issuer Nobody's Root"},
        {"expired", "localhost", "expired"},
        {"future", "localhost", "not yet valid"},
        {"other", "localhost", "other name"},
        {"bad", "localhost", "expired, other name, unknown issuer Nobody's Root"},
    };
    for (const auto& [certificate, name, why] : cases) {
        SCOPED_TRACE(std::string(certificate) + " for " + name);
        // As the user may accept it; and with another one accepted.
        for (const bool accepted : {false, true}) {
            TLSSERVER server(certificate, ShortTalk());
            TCPIPIO device("", "", "");
            ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
            const STRING another = server.Sha256().Left(63) || (server.Sha256()[63] == '0' ? "1" : "0");
            const bool good = device.StartTls({name, accepted ? server.Sha256() : another});
            const TLSREPORT report = device.TlsReport();
            EXPECT_EQ(Std(report.Why()), why);
            EXPECT_EQ(report.Sha256, server.Sha256());
            EXPECT_EQ(report.ValidFrom.Length(), 10);
            EXPECT_EQ(good, !*why || accepted);
            if (good) {
                EXPECT_EQ(Line(device), "hello");
                EXPECT_EQ(device.Write("QUIT\r\n", -1), 1);
                EXPECT_EQ(All(device), "bye\r\n");
                EXPECT_EQ(Error(device), "No Error");
            } else {
                EXPECT_EQ(Error(device),
                          "Certificate not trusted: " + std::string(why) + "; SHA-256 " + Std(server.Sha256()));
                EXPECT_EQ(device.GetInfo("LASTERROR"), "4107");
                EXPECT_EQ(device.GetInfo("ONLINE"), "0");
                EXPECT_EQ(device.Write("QUIT\r\n", -1), 0);
            }
            const TLSSERVER::OUTCOME outcome = server.Over();
            EXPECT_EQ(outcome.Received, good ? "QUIT\r\n" : "");
            printf("%-9s %-20s %-8s %s\n", certificate, name, accepted ? "accepted" : "", Std(report.Why()).c_str());
        }
    }
}

TEST(TlsText, ShowsNothingOfACertificateThatWouldChangeWhatStandsAroundIt) {
    const std::pair<const char*, const char*> cases[] = {{"M\u00fcller CA\n\x1b[1m", "M\u00fcller CA[1m"},
                                                         {"a\u202egro.live\u2066b\u2029", "agro.liveb"},
                                                         {"\xff", "?"}};
    for (const auto& [text, shown] : cases)
        EXPECT_EQ(Std(TLS::ShownText(text)), shown);
}

TEST_F(Tls, CarriesMegabytesBothWaysInEachVersionWhateverTheServerDoesMeanwhile) {
    constexpr int BYTES = 1 << 20;
    const struct {
        const char* Version;
        TLSSTEP Meanwhile;
    } cases[] = {
        {"1.2", Drip(0)},
        {NEWEST, Drip(0)},
        {NEWEST, STRING(NEWEST) == "1.3" ? UpdateKeys() : Drip(0)},
    };
    for (const auto& [version, meanwhile] : cases) {
        SCOPED_TRACE(std::string(version) + " " + meanwhile.first);
        TLSSERVER server("good", {Lowest(version), Highest(version), TLSPLAY::Tls(), meanwhile, SendBig(BYTES),
                                  meanwhile, Sink(BYTES), Expect("QUIT"), Notify()});
        TCPIPIO device("", "", "");
        ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
        ASSERT_TRUE(device.StartTls({})) << Error(device);
        EXPECT_EQ(Std(device.TlsReport().Protocol), "TLSv" + std::string(version));
        const std::string sent = Counted(BYTES);
        std::string come(BYTES, '?');
        int length = BYTES;
        EXPECT_TRUE(device.Read(come.data(), &length, LONG_MS, nullptr));
        EXPECT_TRUE(come == sent) << length;
        EXPECT_EQ(device.Write(sent.data(), BYTES), 1);
        EXPECT_EQ(device.Write("QUIT\r\n", -1), 1);
        EXPECT_EQ(All(device), "");
        EXPECT_EQ(Error(device), "No Error");
        const TLSSERVER::OUTCOME outcome = server.Over();
        EXPECT_TRUE(outcome.Received == sent + "QUIT\r\n") << outcome.Received.size() << " " << outcome.Problem;
    }
}

TEST_F(Tls, WhatCameAheadOfTheHandshakeIsThrownAway) {
    TLSSERVER server("good", {Send("+OK\r\n"), Expect("STLS"), Send("+OK go on\r\n+OK injected\r\n"), TLSPLAY::Tls(),
                              Send("+OK real\r\n"), Notify()});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
    EXPECT_EQ(Line(device), "+OK");
    EXPECT_EQ(device.Write("STLS\r\n", -1), 1);
    EXPECT_EQ(Line(device), "+OK go on");
    ASSERT_TRUE(device.StartTls({})) << Error(device);
    EXPECT_EQ(All(device), "+OK real\r\n");
}

TEST_F(Tls, ThereAreNoNewHandshakesInAConversation) {
    TLSSERVER server("good", {Highest("1.2"), TLSPLAY::Tls(), Expect("NEXT"), Renegotiate(), Silence()});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
    ASSERT_TRUE(device.StartTls({})) << Error(device);
    // The refusal goes out with something else. Some servers go on after it, this one does not.
    EXPECT_TRUE(Eventually([&] { return device.Write("NEXT\r\n", -1) != 1; }));
    EXPECT_NE(Error(device), "No Error");
    EXPECT_NE(server.Over().Problem, "");
}

TEST_F(Tls, AnEndWithoutNoticeIsAnError) {
    TLSSERVER server("good", {TLSPLAY::Tls(), Send("half a li")});
    TCPIPIO device("", "", "");
    ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
    ASSERT_TRUE(device.StartTls({})) << Error(device);
    EXPECT_EQ(All(device), "half a li");
    EXPECT_EQ(Error(device), "Connection cut off");
    // A new call knows nothing of it.
    TLSSERVER next("good", ShortTalk());
    ASSERT_TRUE(device.MakeCall(next.HostPort().Text()));
    EXPECT_EQ(Error(device), "No Error");
    ASSERT_TRUE(device.StartTls({})) << Error(device);
    EXPECT_EQ(Line(device), "hello");
}

TEST_F(Tls, WhatIsCutOrDamagedAnywhereNeverPassesForWhatTheServerSaid) {
    SHRINKABLE::TcpTimes = {.HandshakeMs = 200, .StopLookMs = 2};
    constexpr int SIGNATURE_VARIES = 8;
    const std::string whole = "hello\r\n" + Counted(40);
    for (const char* version : {"1.2", NEWEST}) {
        const std::vector<TLSSTEP> talk = {Highest(version), TLSPLAY::Tls(), Send("hello\r\n"), SendBig(40), Notify()};
        // What was read, and whether it passes for all that there was.
        const auto read = [&](const std::vector<TLSSTEP>& script, std::vector<int>* records) {
            TLSSERVER server("ecdsa", script);
            TCPIPIO device("", "", "");
            EXPECT_TRUE(device.MakeCall(server.HostPort().Text()));
            const std::string text = device.StartTls({}) ? All(device) : "";
            const bool passes = Error(device) == "No Error";
            device.DropCall();
            const TLSSERVER::OUTCOME outcome = server.Over();
            if (records)
                *records = outcome.Records;
            EXPECT_TRUE(whole.starts_with(text)) << text;
            EXPECT_TRUE(!passes || text == whole) << text;
            return passes;
        };
        std::vector<int> records;
        ASSERT_TRUE(read(talk, &records));
        std::set<int> places;
        for (const int end : records)
            places.insert({end - 1, end, end + 1, end + 3});
        for (int place = 0; place < records.back(); place += 31)
            places.insert(place);
        for (const int place : places) {
            SCOPED_TRACE(std::string(version) + " byte " + std::to_string(place));
            std::vector<TLSSTEP> script = talk;
            script.insert(script.begin(), CutAfter(place));
            // A signature is some bytes longer or shorter each time.
            const bool passes = read(script, nullptr);
            EXPECT_TRUE(!passes || place + SIGNATURE_VARIES >= records.back());
            script.front() = Damage(place);
            read(script, nullptr);
        }
    }
}

TEST_F(Tls, AHandshakeThatComesToNothingEndsWithAReason) {
    // Empty ones, which a client that shakes hands passes over.
    std::string helloRequests;
    while (helloRequests.size() < 300000)
        helloRequests += std::string("\x16\3\3\0\4\0\0\0\0", 9);
    const std::string unfinished = "the server did not finish the handshake", clear = "the server speaks without TLS";
    const std::string tooMuch = "the server says too much before the line is protected";
    const struct {
        std::vector<TLSSTEP> Script;
        bool Asked;  // the handshake, after which the server says more than what the device has room for
        std::string Error;
    } cases[] = {
        {{Send("+OK who speaks first\r\n"), Silence()}, false, clear},
        {{}, false, "the server hung up"},
        {{Raw("HTTP/1.0 400 no\r\n\r\n"), Silence()}, false, clear},
        {{Silence()}, false, unfinished},
        {{Drip(20000), TLSPLAY::Tls()}, false, unfinished},
        {{Expect("STLS"), SendBig(200000), TLSPLAY::Tls()}, true, clear},
#ifndef _WIN32
        // The other library ends it at the first of them.
        {{Highest("1.2"), Raw(helloRequests), Silence()}, false, tooMuch},
#endif
    };
    for (const auto& [script, asked, error] : cases) {
        SHRINKABLE::TcpTimes = {.HandshakeMs = error == unfinished ? 60 : 3000, .StopLookMs = 10};
        TLSSERVER server("good", script);
        TCPIPIO device("", "", "");
        ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
        if (asked) {
            EXPECT_EQ(device.Write("STLS\r\n", -1), 1);
            EXPECT_TRUE(Eventually([&] { return device.NumAvail() > 57000; }));
        }
        EXPECT_FALSE(device.StartTls({}));
        EXPECT_EQ(Error(device), "TLS failed: " + error);
        EXPECT_EQ(device.GetInfo("ONLINE"), "0");
        device.DropCall();
        server.Over();
    }
}

TEST_F(Tls, AStopEndsAHandshake) {
    const STOPSOON stop;
    TLSSERVER server("good", {Silence()});
    TCPIPIO device("", "", "");
    device.SetStopQuestion(stop.Question());
    ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
    EXPECT_FALSE(device.StartTls({}));
    EXPECT_STOPPED(stop);
}

TEST_F(Tls, ASessionIsResumedForTheSameTrustOnly) {
    for (const char* version : {"1.2", NEWEST}) {
        std::vector<TLSSTEP> script = ShortTalk();
        script.insert(script.begin(), Highest(version));
        TLSSERVER server("self", script, 4);
        std::string resumed;
        const STRING none("");
        for (const STRING& trusted : {server.Sha256(), server.Sha256(), none, server.Sha256()}) {
            TCPIPIO device("", "", "");
            ASSERT_TRUE(device.MakeCall(server.HostPort().Text()));
            EXPECT_EQ(device.StartTls({"localhost", trusted}), trusted.Length() > 0);
            const TLSREPORT report = device.TlsReport();
            EXPECT_EQ(report.Sha256, server.Sha256());
            resumed += report.Resumed ? '1' : '0';
            EXPECT_EQ(Line(device), trusted.Length() > 0 ? "hello" : "");
            device.Write("QUIT\r\n", -1);
            All(device);
        }
#ifndef _WIN32
        // Windows judges the certificate anew each time, and Wine resumes nothing.
        EXPECT_EQ(resumed, "0101") << version;
#endif
    }
}

TEST_F(Tls, MailIsSentOnProtectedAndWithALogin) {
    const TLSSTEP greeting = Send("220-hi\r\n220 there\r\n"), hello = Expect("EHLO tarnwick.local");
    const TLSSTEP plain = Send("250-here\r\n250-AUTH LOGIN PLAIN\r\n250 SIZE\r\n"), turn = TLSPLAY::Tls();
    // What the client sends begins with the first of a pair, and gets the second.
    using TALK = std::vector<std::pair<const char*, const char*>>;
    const auto script = [](std::vector<TLSSTEP> all, std::initializer_list<TALK> talks) {
        for (const TALK& talk : talks)
            for (const auto& [said, reply] : talk)
                all.insert(all.end(), {Expect(said), *reply ? Send(reply) : Drip(0)});
        all.push_back(Notify());
        return all;
    };
    const TALK mail = {
        {"MAIL FROM:<a@b>", "250 go\r\n"}, {"RCPT TO:<c@d>", "250 go\r\n"}, {"DATA", "354 go\r\n"}, {"text", ""},
        {".", "250-queued\r\n250 so\r\n"}, {"QUIT", "221 bye\r\n"}};
    // "\0me\0secret", "me", "secret"
    const TALK inPlain = {{"AUTH PLAIN AG1lAHNlY3JldA==\r", "235 in\r\n"}};
    const TALK inTurn = {
        {"AUTH LOGIN\r", "334 VXNlcg==\r\n"}, {"bWU=\r", "334 UGFzcw==\r\n"}, {"c2VjcmV0\r", "235 in\r\n"}};
    const TLSSTEP offer = Send("250-here\r\n250 starttls\r\n"), start = Expect("STARTTLS");
    const struct {
        int Security;
        const char* User;
        std::vector<TLSSTEP> Script;
        const char* Result;
    } cases[] = {
        {SMTPACCESS::TLS, "me", script({turn, greeting, hello, plain}, {inPlain, mail}), "1 250 so"},
        {SMTPACCESS::TLS, "", script({turn, greeting, hello, plain}, {mail}), "1 250 so"},
        {SMTPACCESS::TLS, "me", script({turn, greeting, hello, Send("250-here\r\n250 AUTH=LOGIN\r\n")}, {inTurn, mail}),
         "1 250 so"},
        {SMTPACCESS::CLEAR, "me", script({greeting, hello, plain}, {inPlain, mail}), "1 250 so"},
        {SMTPACCESS::STARTTLS, "me",
         script(
             {greeting, hello, offer, start, Send("220 go\r\n250-AUTH PLAIN\r\n250 injected\r\n"), turn, hello, plain},
             {inPlain, mail}),
         "1 250 so"},
        // Whoever is in between takes the offer out: nothing is told in clear.
        {SMTPACCESS::STARTTLS, "me", {greeting, hello, plain, Silence()}, "0 The server does not offer STARTTLS"},
        {SMTPACCESS::STARTTLS,
         "me",
         {greeting, hello, offer, start, Send("454 not now\r\n"), Silence()},
         "0 454 not now"},
        {SMTPACCESS::TLS,
         "me",
         {turn, greeting, hello, Send("250 nothing\r\n"), Silence()},
         "0 The server knows no login that could be used"},
        {SMTPACCESS::TLS, "me", script({turn, greeting, hello, plain}, {{{"AUTH PLAIN", "535 no\r\n"}}}), "0 535 no"},
        {SMTPACCESS::TLS, "me", {greeting, Silence()}, "0 TLS failed: the server speaks without TLS"},
    };
    for (const auto& [security, user, steps, result] : cases) {
        SCOPED_TRACE(std::to_string(security) + " " + user + " " + result);
        TLSSERVER server("good", steps);
        EMAIL email("a@b", "c@d", "", "", server.HostPort().Text());
        email.SetAccess({static_cast<SMTPACCESS::SECURITY>(security), user, "secret", ""});
        char error[128];
        const bool sent = email.SendMail("text", error, sizeof error);
        EXPECT_EQ(std::to_string(sent) + " " + error, result);
        const TLSSERVER::OUTCOME outcome = server.Over();
        if (sent)
            EXPECT_EQ(outcome.Problem, "");
        else
            EXPECT_EQ(outcome.Received.find("MAIL"), std::string::npos);
    }
}

TEST_F(Tls, PagesComeProtectedAlsoThroughAProxy) {
    const std::string ok = "HTTP/1.0 200 OK\r\n", cutOff = "TCPIO 4108 Connection cut off\nHTTP/1.0 200 OK\n";
    const TLSSTEP up = TLSPLAY::Tls(), head = TakeHead(), request = Expect("GET /page HTTP/1.0"),
                  page = Send(ok + "\r\nhello");
    const TLSSTEP connect = Expect("CONNECT localhost:443 HTTP/1.0"), done = Send("HTTP/1.0 200 Done\r\nA: b\r\n\r\n");
    const struct {
        bool Proxy;
        std::vector<TLSSTEP> Script;
        std::string Result;
    } cases[] = {
        {false, {up, request, head, page, Notify()}, "HTTP/1.0 200 OK\n\nhello"},
        {false, {up, request, head, page}, cutOff + "\nhello"},
        {false,
         {up, request, head, Send(ok + "Content-Length: 5\r\n\r\nhello")},
         "HTTP/1.0 200 OK\nContent-Length: 5\n\nhello"},
        {false,
         {up, request, head, Send(ok + "Content-Length: -1\r\n\r\nhello")},
         cutOff + "Content-Length: -1\n\nhello"},
        {false, {Raw(ok + "\r\nin clear"), Silence()}, "TCPIO 4106 TLS failed: the server speaks without TLS"},
        {true, {connect, head, done, up, request, head, page, Notify()}, "HTTP/1.0 200 OK\n\nhello"},
        {true, {connect, head, Send("HTTP/1.0 403 No\r\n\r\n")}, "HTTP/1.0 403 No\n"},
    };
    SHRINKABLE::WebTimes.ReadMs = 20;
    SHRINKABLE::WebTimes.AnswerMs = 5000;
    for (const auto& [proxy, script, wanted] : cases) {
        SCOPED_TRACE(wanted);
        TLSSERVER server("good", script);
        WEBGET web(nullptr, nullptr);
        web.SetProxy(proxy, server.HostPort());
        STRING result;
        web.Get((STRING("https://") || (proxy ? STRING("localhost") : server.HostPort("localhost"))).Text(), "/page",
                result);
        EXPECT_EQ(Std(result), wanted);
        server.Over();
    }
    SHRINKABLE::WebTimes = {};
}

TEST_F(Tls, TheTraceOfAProtectedPageHoldsNoSecret) {
    const TEMPDIR directory;
    SHRINKABLE::WebTimes.ReadMs = 20;
    ASSERT_TRUE(LogOption((STRING("/logit:") || directory.File("log")).Text()));
    // Each asks who it is, and gets no other answer than the first.
    const std::vector<TLSSTEP> host = {TLSPLAY::Tls(),          Expect("POST /f?login=Secret HTTP/1.0"), TakeHead(),
                                       Expect("passwd=Secret"), Send("HTTP/1.0 401 Who?\r\n\r\n"),       Notify()};
    const std::vector<TLSSTEP> proxy = {Expect("CONNECT"), TakeHead(), Send("HTTP/1.0 407 Who?\r\n\r\n")};
    for (const bool viaProxy : {false, true}) {
        TLSSERVER server("good", viaProxy ? proxy : host, 2);
        WEBGET web(nullptr, nullptr);
        web.SetProxy(viaProxy, STRING("me:Secret@") || server.HostPort());
        web.AddLine("Cookie: session=Secret");
        STRING result;
        EXPECT_EQ(web.Post((STRING("https://me:Secret@") || server.HostPort("localhost")).Text(), "/f?login=Secret",
                           result, "passwd=Secret"),
                  viaProxy ? 407 : 401);
        EXPECT_EQ(server.Over().Problem, "");
    }
    LogOption("/LOGITCLOSE");
    SHRINKABLE::WebTimes = {};
    const std::string log = ReadBytes(directory.File("log"));
    for (const char* part : {"'/f', <output>", "before POST /f...", "hostauth=...", "proxyauth=..."})
        EXPECT_NE(log.find(part), std::string::npos) << part;
    for (const char* part : {"Secret", "bWU6U2VjcmV0"})
        EXPECT_EQ(log.find(part), std::string::npos) << log;
}
