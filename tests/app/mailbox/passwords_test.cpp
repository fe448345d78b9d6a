// Passwords on their way to servers, by every kind of login there is.

#include <fstream>
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "app/mailbox/kinds.h"
#include "corelib/base/wipe.h"
#include "corelib/net/email.h"
#include "corelib/net/webget.h"
#include "tests/app/mailbox/mailboxsupport.h"

namespace {

/// A login that a server refuses, with what it was told in its answer, as some do.
struct WAY {
    std::string Name;
    std::vector<std::string> Replies;  // to the connection, and to each line of the client
    int Type = ITEMTYPE_POP3;
    bool IsModern = true;
    const char* User = "joe";
};

const std::string PASSWORD = "sesame-open-thyself", FOREIGN = "j\xc3\xb6rg";

std::string Base64(std::string_view text) {
    return Std(STRING(text).ToBase64());
}
std::string Plain(const std::string& user, const std::string& password) {
    return Base64(std::string(1, '\0') + user + std::string(1, '\0') + password);
}

std::vector<WAY> MailboxWays(const std::string& echo) {
    const std::string capa = "+OK\r\nSASL ", no = " sorry, " + echo + "\r\n", coded = Base64(echo) + "\r\n",
                      plain = Plain("joe", echo) + "\r\n";
    const char* const user = FOREIGN.c_str();
    return {
        {"POP3 of old", {"+OK\r\n", "+OK\r\n", "-ERR unknown command: PASS" + no}, ITEMTYPE_POP3, false},
        {"POP3", {"+OK\r\n", "+OK\r\n", "-ERR what is PASS" + no, "-ERR\r\n"}},
        {"APOP", {"+OK <1@x>\r\n", "-ERR [SYS/PERM] no\r\n"}},
        {"AUTH PLAIN",
         {"+OK\r\n", capa + "PLAIN\r\n.\r\n", "-ERR " + Plain(FOREIGN, echo) + "\r\n"},
         ITEMTYPE_POP3,
         true,
         user},
        {"AUTH LOGIN",
         {"+OK\r\n", capa + "LOGIN\r\n.\r\n", "+ \r\n", "+ \r\n", "-ERR " + coded},
         ITEMTYPE_POP3,
         true,
         user},
        {"IMAP of old", {"* OK\r\n", "IMAPCMD_0 NO LOGIN joe" + no}, ITEMTYPE_IMAP, false},
        {"LOGIN", {"* OK [CAPABILITY IMAP4rev1]\r\n", "IMAPCMD_0 BAD LOGIN \"joe\"" + no}, ITEMTYPE_IMAP},
        {"a literal",
         {"* OK [CAPABILITY IMAP4rev1]\r\n", "+ go on\r\n", "IMAPCMD_0 NO" + no},
         ITEMTYPE_IMAP,
         true,
         user},
        {"a literal at once", {"* OK [CAPABILITY LITERAL+]\r\n", "", "IMAPCMD_0 NO" + no}, ITEMTYPE_IMAP, true, user},
        {"SASL-IR", {"* OK [CAPABILITY SASL-IR AUTH=PLAIN]\r\n", "IMAPCMD_0 NO " + plain}, ITEMTYPE_IMAP},
        {"AUTH=PLAIN", {"* OK [CAPABILITY AUTH=PLAIN]\r\n", "+\r\n", "IMAPCMD_0 NO " + plain}, ITEMTYPE_IMAP},
        {"AUTH=LOGIN", {"* OK [CAPABILITY AUTH=LOGIN]\r\n", "+\r\n", "+\r\n", "IMAPCMD_0 NO " + coded}, ITEMTYPE_IMAP},
    };
}

std::string LogIn(const WAY& way, const std::string& server, const STRING& password) {
    RECORDINGROW row;
    for (const char* key : {"DownloadMailTexts", "DoAltFolder", "AltFolder"})
        row.Item.Set(key, "");
    MAILACCOUNT::SetAddress(row.Item, {way.Type, STRING(way.User), STRING(server)}, password);
    MAILBOXCALL call = row.Call(STRING(server), STRING(way.User), MAILACCOUNT::Password(row.Item));
    call.Security.IsModern = way.IsModern;
    STRING said;
    EXPECT_FALSE(KindOf(way.Type).Handler->Get(call, said));
    return Std(said);
}

std::string SendMail(const std::string& server, const STRING& password) {
    EMAIL mail("a@b", "c@d", "", "", server.c_str());
    mail.SetAccess({SMTPACCESS::CLEAR, "joe", password, ""});
    char said[200];
    EXPECT_FALSE(mail.SendMail("text", said, sizeof said));
    return said;
}

std::string LogInToThePage(const std::string& proxy, const STRING& password) {
    RECORDINGROW row;
    STRINGARRAY settings;
    settings.Set("DoHttpProxy", "1");
    settings.Set("HttpProxy", STRING("joe:") || password || "@" || proxy.c_str());
    MAILBOXCALL call{row.Item, row.Progress(), settings, row.StopAsked, "", "joe", password};
    STRING said;
    EXPECT_FALSE(KindOf(ITEMTYPE_HOTMAIL).Handler->Get(call, said));
    return Std(said);
}

std::string AskForAPage(const std::string& server, const STRING& password) {
    STRING page;
    WEBGET web(nullptr, nullptr);
    const STRING host = STRING("joe:") || password || "@" || server.c_str();
    EXPECT_EQ(web.Get(host.Text(), (STRING("/in?pw=") || password).Text(), page), 401);
    return "";
}

std::string SendAForm(const std::string& server, const STRING& password) {
    STRING page;
    EXPECT_EQ(WEBGET(nullptr, nullptr).Post(server.c_str(), "/", page, STRING("pw=") || password), 401);
    return "";
}

struct CONVERSATION {
    std::string Name;
    SCRIPT Script;
    std::function<std::string(const std::string& server, const STRING& password)> Hold;
};

/// echo: the password, for a server that repeats it.
std::vector<CONVERSATION> Conversations(const std::string& echo) {
    std::vector<CONVERSATION> all;
    const auto add = [&](const std::string& name, const std::vector<std::string>& replies, const auto& hold) {
        SCRIPT script{PLAY::Send(replies[0])};
        for (size_t i = 1; i < replies.size(); ++i) {
            script.push_back(PLAY::ExpectPrefix());
            script.push_back(PLAY::Send(replies[i]));
        }
        all.push_back({name, script, hold});
    };
    for (const WAY& way : MailboxWays(echo))
        add(way.Name, way.Replies,
            [way](const std::string& server, const STRING& password) { return LogIn(way, server, password); });
    add("SMTP PLAIN", {"220\r\n", "250-a\r\n250 AUTH PLAIN\r\n", "535 " + Plain("joe", echo) + "\r\n"}, SendMail);
    add("SMTP LOGIN", {"220\r\n", "250 AUTH LOGIN\r\n", "334\r\n", "334\r\n", "535 " + Base64(echo) + "\r\n"},
        SendMail);
    const auto refusing = [](int number) {
        return SCRIPT{PLAY::ReadUntil("\r\n\r\n"),
                      PLAY::Send("HTTP/1.0 " + std::to_string(number) + " no\r\nContent-Length: 0\r\n\r\n"),
                      PLAY::Cut()};
    };
    all.push_back({"web mail by a proxy", refusing(407), LogInToThePage});
    all.push_back({"a page", refusing(401), AskForAPage});
    all.push_back({"a form", refusing(401), SendAForm});
    all.back().Script.insert(all.back().Script.begin(), PLAY::ReadUntil("\r\n\r\n"));
    return all;
}

TEST(Passwords, StandInNoTraceAndNoErrorText) {
    const SHORTTIMES times(500);
    SHRINKABLE::WebTimes.ReadMs = 20;
    for (const CONVERSATION& conversation : Conversations(PASSWORD)) {
        SCOPED_TRACE(conversation.Name);
        TEMPDIR dir;
        LogOption((STRING("/LOGIT:") || dir.File("log")).Text());
        LogOption("/LOG:4");
        SCRIPTEDSERVER server(conversation.Script);
        const std::string said = conversation.Hold(server.HostPort(), STRING(PASSWORD));
        LogOption("/LOGITCLOSE");
        server.Stop();
        const std::string sent = server.Transcript(), log = ReadBytes(dir.File("log"));
        const std::string secrets[] = {PASSWORD, Base64(PASSWORD), Plain("joe", PASSWORD), Plain(FOREIGN, PASSWORD),
                                       Base64("joe:" + PASSWORD)};
        const bool isSent =
            std::ranges::any_of(secrets, [&](const std::string& secret) { return sent.find(secret) != sent.npos; });
        EXPECT_TRUE(isSent || conversation.Name == "APOP") << sent;
        EXPECT_NE(log, "");
        for (const std::string& secret : secrets)
            EXPECT_EQ((log + said).find(secret), std::string::npos) << said << "\n" << log;
    }
    SHRINKABLE::WebTimes = {};
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

/// A password of letters, which stands nowhere unless somebody makes it.
constexpr size_t LETTERS = 24;
char Letter(size_t i) {
    return static_cast<char>('a' + (7 * i * i + 5 * i + 3) % 26);
}

STRING Letters() {
    STRING password = Secret("");
    for (size_t i = 0; i < LETTERS; ++i) {
        const char letter = Letter(i);
        password.AppendBytes(&letter, 1);
    }
    return password;
}

/// Where in its own memory that may be written this program has those letters, in clear or in Base64.
std::string WhereLeft() {
    std::string hidden;
    {
        const STRING coded = Letters().ToBase64();
        for (const char c : coded.View())
            hidden += static_cast<char>(c ^ 0x55);
    }
    std::ifstream maps("/proc/self/maps");
    std::string found;
    for (std::string line; std::getline(maps, line);) {
        uintptr_t begin = 0, end = 0;
        char how[5] = "";
        if (sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, how) != 3 || how[0] != 'r' || how[1] != 'w' ||
            end - begin > (256U << 20U))
            continue;
        const std::string_view memory(reinterpret_cast<const char*>(begin), end - begin);
        const auto look = [&](size_t length, const auto& letter) {
            for (size_t at = 0; (at = memory.find(letter(0), at)) != memory.npos; ++at) {
                size_t same = 1;
                while (same < length && at + same < memory.size() && memory[at + same] == letter(same))
                    ++same;
                if (same == length)
                    found += line + "\n";
            }
        };
        look(LETTERS, Letter);
        look(hidden.size(), [&](size_t i) { return static_cast<char>(hidden[i] ^ 0x55); });
    }
    return found;
}

TEST(Passwords, AreWipedOnceTheyHaveBeenSaid) {
    const SHORTTIMES times(500);
    SHRINKABLE::WebTimes.ReadMs = 20;
    for (const CONVERSATION& conversation : Conversations("")) {
        // A page's is kept for the next one.
        if (conversation.Name == "a page")
            continue;
        SCOPED_TRACE(conversation.Name);
        int ports[2], life[2];
        ASSERT_EQ(pipe(ports) + pipe(life), 0);
        const pid_t process = fork();
        if (process == 0) {
            close(life[1]);
            SCRIPTEDSERVER server(conversation.Script);
            const uint16_t port = server.Port();
            char end;
            _exit(write(ports[1], &port, sizeof port) == sizeof port && read(life[0], &end, 1) == 0 ? 0 : 1);
        }
        uint16_t port = 0;
        EXPECT_EQ(read(ports[0], &port, sizeof port), static_cast<ssize_t>(sizeof port));
        {
            const STRING password = Letters();
            EXPECT_TRUE(conversation.Name != "APOP" || WhereLeft() != "") << "here it is";
            conversation.Hold("127.0.0.1:" + std::to_string(port), password);
        }
        EXPECT_EQ(WhereLeft(), "");
        for (const int end : {ports[0], ports[1], life[0], life[1]})
            close(end);
        EXPECT_EQ(waitpid(process, nullptr, 0), process);
    }
    SHRINKABLE::WebTimes = {};
}

#endif

}  // namespace
