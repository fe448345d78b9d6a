#include "app/filter/senderchecks.h"

#include "app/filter/smtpverify.h"
#include "tests/app/filter/fakemx.h"
#include "tests/app/filter/filtertest.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/stopsoon.h"

namespace {

using namespace PLAY;

class Sender : public FILTERTEST {
 protected:
    Sender() { State.Set("SpamDoVerify", "1"); }

    std::string Shape(const char* from) {
        int significance = -1;
        STRING reason;
        const int points = SpamFromFormatting(from, Vars, Texts, significance, reason);
        return std::to_string(points) + "/" + std::to_string(significance) + " " + Std(reason);
    }
    std::string Check(const char* from, int totalPoints = 100) {
        MXMEMORY memory(Mx);
        return CheckWith(memory, from, totalPoints);
    }
    std::string CheckWith(MXMEMORY& memory, const char* from, int totalPoints = 100) {
        int significance = 77;
        STRING reason;
        const int points = SpamFrom({State, Vars, Texts, FrontEnd, memory, StopAsked, Times}, from, totalPoints,
                                    significance, reason, 4711, "busy");
        return std::to_string(points) + "/" + std::to_string(significance) + " " + Std(reason);
    }

    ROWFRONTEND FrontEnd;
    FAKEMXLOOKUP Mx;
    STOPQUESTION StopAsked;
    SMTPVERIFYTIMES Times{2000, 2000, 2000, 100};
};

TEST_F(Sender, IsJudgedByItsShape) {
    const std::pair<const char*, const char*> CASES[] = {
        {"Ann Lee <ann@x.example>", "0/0 "},
        {"Ann <ann@x.example>", "15/0 <3038>"},
        {"ann@x.example", "30/0 <3038>"},
        {"", "30/0 <3038>"},
        {"A B <x12345678@x.example>", "80/1 <3039>"},
        {"A B <ab12cd@x.example>", "50/1 <3039>"},
        {"A B <a1b@x.example>", "0/0 "},
        {"A B <12345@x.example>", "100/1 <3039>"},
        {"A B <123a@x.example>", "0/0 "},
        {"A B <a1234@x.example>", "0/1 "},
        {"A B <a12345b@x.example>", "120/1 <3039>"},
        {"x12345678@x.example", "110/1 <3038>, <3039>"},
        {"\"Lee, Ann\" <ann@x.example>, x12345678@y.example", "0/0 "},
    };
    for (const auto& [from, result] : CASES)
        EXPECT_EQ(Shape(from), result) << from;
    for (const char* name : {"SenderAdddrDigits", "SenderAlphaAfterDigits", "SenderNoRealName"})
        Vars.Set(name, "2147483647 // a file says what it likes");
    EXPECT_EQ(Shape("a12345b@x.example"), "2147483647/1 <3038>, <3039>");
}

TEST_F(Sender, IsLookedUpOnlyWhereItMayBe) {
    State.Set("SpamDoVerify", "0");
    EXPECT_EQ(Check("a b <c@x.example>"), "0/77 x.example (mx ok)<3019>");
    EXPECT_EQ(Mx.Asked.size(), 2U) << "the probe comes first";
    EXPECT_EQ(Check("a b <c@nowhere.example>"), "200/0 nowhere.example (mx fail)");
    EXPECT_EQ(Check("a b <c@silent.example>"), "0/77 silent.example <3018>");
    EXPECT_EQ(Check("a b"), "0/77  ") << "no domain";
    State.Set("SpamDomainExceptions", "my.example; other.example");
    EXPECT_EQ(Check("a b <c@other.example>"), "0/77 <3017>");
    EXPECT_EQ(Check("a b <c@y.example>"), "0/77 <3017>") << "a tail of a domain in the list";
    EXPECT_EQ(Check("a b <c@OTHER.example>"), "0/77 OTHER.example (mx ok)<3019>");
    Mx.Online = false;
    EXPECT_EQ(Check("a b <c@x.example>"), "0/77 <3018>");
    State.Set("SpamDoDomain", "0");
    Mx.Asked.clear();
    EXPECT_EQ(Check("a b <c@x.example>"), "0/77 <3017>");
    EXPECT_TRUE(Mx.Asked.empty());
    EXPECT_TRUE(FrontEnd.Statuses.empty());
}

TEST_F(Sender, IsAskedForByTheRulesOfItsServer) {
    const std::tuple<std::string, const char*, const char*, const char*, const char*> CASES[] = {
        {"220 mx.example ESMTP\r\n", "MAIL FROM:<postmaster@mail.example.com>", "RCPT TO: <c@x.example>", "250 ok\r\n",
         "0/77 x.example (mx ok): accepted sender"},
        {"220-mx.example ESMTP\r\n220-no spam\r\n220 ready\r\n", "MAIL FROM:<postmaster@mail.example.com>",
         "RCPT TO: <c@x.example>", "550 unknown\r\n", "200/2 x.example (mx ok) said mailbox unavailable"},
        {"220 mx.example\r\n", "MAIL FROM: postmaster@mail.example.com", "RCPT TO:  c@x.example", "551 not here\r\n",
         "30/0 x.example (mx ok): error while trying to verify"},
    };
    for (const auto& [greeting, from, to, reply, result] : CASES) {
        SCRIPTEDSERVER server({Send(greeting), Expect("HELO mail.example.com"), Send("250 hello\r\n"), Expect(from),
                               Send("250 ok\r\n"), Expect(to), Send(reply), Expect("QUIT"), Send("221 bye\r\n")});
        Mx.Best = server.HostPort();
        EXPECT_EQ(Check("a b <c@x.example>"), result);
        EXPECT_TRUE(server.Wait());
        EXPECT_TRUE(server.Transcript().ends_with("\r\nQUIT\r\n")) << server.Transcript();
    }
    EXPECT_EQ(FrontEnd.Statuses.front(), "4711 busy ");
    State.Set("SpamVerifyPoints", "101");
    EXPECT_EQ(Check("a b <c@x.example>"), "0/77 x.example (mx ok)<3019>");
}

TEST_F(Sender, OfAServerThatRefusesOrGoesIsAnError) {
    const SCRIPT script = {Send("220 mx.example ESMTP\r\n"),
                           ExpectPrefix("HELO "),
                           Send("250 hello\r\n"),
                           ExpectPrefix("MAIL "),
                           Send("250 ok\r\n"),
                           ExpectPrefix("RCPT "),
                           Send("250 ok\r\n"),
                           ExpectPrefix("QUIT"),
                           Send("221 bye\r\n")};
    const int whole = ServerBytes(script);
    const int toRecipient = whole - static_cast<int>(std::string_view("250 ok\r\n221 bye\r\n").size());
    ForEveryCut(script, [&](SCRIPTEDSERVER& server, int sent, bool) {
        // A server that is gone is waited for as short as can be; only a slow machine needs the longer times.
        bool good = false;
        for (int ms = 20; ms <= 2000 && !good; ms *= 10) {
            Times = {ms, ms, ms, ms};
            int code = -1;
            const bool answered =
                VerifySenderSmtp(STRING(std::string_view(server.HostPort())), "c@x.example", code, {}, nullptr, Times);
            // A number counts from its third digit on, and after RCPT there is an answer, if only an empty one.
            good = answered == (sent >= toRecipient - 5) &&
                   (sent >= toRecipient + 3 ? code == 250 : sent > toRecipient || code == 0);
        }
        EXPECT_TRUE(good) << sent;
    });
    Times = {2000, 2000, 2000, 20};
    for (const char* greeting : {"554 go away\r\n", "hello\r\n", "421-x\r\n421 y\r\n"}) {
        SCRIPTEDSERVER server(SCRIPT{Send(greeting)});
        int code = -1;
        EXPECT_FALSE(
            VerifySenderSmtp(STRING(std::string_view(server.HostPort())), "c@x.example", code, {}, nullptr, Times))
            << greeting;
        EXPECT_EQ(code, 0);
        EXPECT_EQ(server.Transcript(), "");
    }
}

TEST_F(Sender, OfASilentServerCostsTheTimeOutsOnly) {
    Times = {30, 30, 30, 10};
    const SCRIPT SCRIPTS[] = {{Silence()},
                              {Send("220 x\r\n"), ExpectPrefix("HELO "), Send("250 x\r\n"), ExpectPrefix("MAIL "),
                               Send("250 x\r\n"), ExpectPrefix("RCPT "), Silence()}};
    for (const SCRIPT& script : SCRIPTS) {
        SCRIPTEDSERVER server(script);
        Mx.Best = server.HostPort();
        EXPECT_EQ(Check("a b <c@x.example>"), "30/0 x.example (mx ok): error while trying to verify");
    }
    // Many mails of such a sender cost them once.
    SCRIPTEDSERVER silent(SCRIPT{Silence()});
    Mx.Best = silent.HostPort();
    MXMEMORY memory(Mx);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(CheckWith(memory, "a b <c@x.example>"), "30/0 x.example (mx ok): error while trying to verify");
    EXPECT_EQ(silent.Connections(), 1);
}

TEST_F(Sender, OfAServerThatDripsIsLeftBehindTheTotalTimeOrAStop) {
    std::string greeting;
    for (int i = 0; i < 5000; ++i)
        greeting += "220-more\r\n";
    const SCRIPT SCRIPTS[] = {{Drip(greeting)}, {Silence()}, {Send("220 x\r\n"), ExpectPrefix("HELO "), Silence()}};
    for (const SCRIPT& script : SCRIPTS) {
        SCRIPTEDSERVER server(script);
        const STRING host{std::string_view(server.HostPort())};
        int code = -1;
        bool dead = false;
        Times = {60000, 60000, 60000, 60000, 50};
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(VerifySenderSmtp(host, "c@x.example", code, {}, &dead, Times));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
        EXPECT_TRUE(dead);
        Times.TotalMs = 60000;
        const STOPSOON stop;
        EXPECT_FALSE(VerifySenderSmtp(host, "c@x.example", code, stop.Question(), nullptr, Times));
        EXPECT_STOPPED(stop);
    }
    StopAsked = [] { return true; };
    Check("a b <c@x.example>");
    EXPECT_TRUE(Mx.Asked.empty()) << "nothing is begun any more";
}

TEST_F(Sender, OfAForgedKindWritesNoCommands) {
    SCRIPTEDSERVER server(SCRIPT{Send("220 x ESMTP\r\n"), ExpectPrefix("")});
    const std::string host = server.HostPort();
    for (const std::string& address :
         {std::string("a@x.example>\r\nDATA"), std::string("a b@x.example"), std::string("a@x.example>"),
          std::string("a\x7f@x.example"), std::string("\x1b[2J@x.example"), std::string(), std::string(300, 'a')}) {
        int code = -1;
        EXPECT_FALSE(VerifySenderSmtp(host.c_str(), STRING(std::string_view(address)), code)) << address;
        EXPECT_EQ(code, 0);
    }
    EXPECT_EQ(server.Connections(), 0);
}

}  // namespace
