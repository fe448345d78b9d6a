// Passwords on their way to servers, by every kind of login there is.

#include "app/mailbox/kinds.h"
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
std::string Plain(const std::string& user) {
    return Base64(std::string(1, '\0') + user + std::string(1, '\0') + PASSWORD);
}

std::vector<WAY> MailboxWays() {
    const std::string capa = "+OK\r\nSASL ", no = " sorry, " + PASSWORD + "\r\n", coded = Base64(PASSWORD) + "\r\n";
    const char* const user = FOREIGN.c_str();
    return {
        {"POP3 of old", {"+OK\r\n", "+OK\r\n", "-ERR unknown command: PASS" + no}, ITEMTYPE_POP3, false},
        {"POP3", {"+OK\r\n", "+OK\r\n", "-ERR what is PASS" + no, "-ERR\r\n"}},
        {"APOP", {"+OK <1@x>\r\n", "-ERR [SYS/PERM] no\r\n"}},
        {"AUTH PLAIN",
         {"+OK\r\n", capa + "PLAIN\r\n.\r\n", "-ERR " + Plain(FOREIGN) + "\r\n"},
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
        {"SASL-IR",
         {"* OK [CAPABILITY SASL-IR AUTH=PLAIN]\r\n", "IMAPCMD_0 NO " + Plain("joe") + "\r\n"},
         ITEMTYPE_IMAP},
        {"AUTH=PLAIN",
         {"* OK [CAPABILITY AUTH=PLAIN]\r\n", "+\r\n", "IMAPCMD_0 NO " + Plain("joe") + "\r\n"},
         ITEMTYPE_IMAP},
        {"AUTH=LOGIN", {"* OK [CAPABILITY AUTH=LOGIN]\r\n", "+\r\n", "+\r\n", "IMAPCMD_0 NO " + coded}, ITEMTYPE_IMAP},
    };
}

std::string LogIn(const WAY& way, const std::string& server) {
    RECORDINGROW row;
    for (const char* key : {"DownloadMailTexts", "DoAltFolder", "AltFolder"})
        row.Item.Set(key, "");
    MAILBOXCALL call = row.Call(STRING(server), STRING(way.User), STRING(PASSWORD));
    call.Security.IsModern = way.IsModern;
    STRING said;
    EXPECT_FALSE(KindOf(way.Type).Handler->Get(call, said));
    return Std(said);
}

std::string SendMail(const std::string& server) {
    EMAIL mail("a@b", "c@d", "", "", server.c_str());
    mail.SetAccess({SMTPACCESS::CLEAR, "joe", STRING(PASSWORD), ""});
    char said[200];
    EXPECT_FALSE(mail.SendMail("text", said, sizeof said));
    return said;
}

std::string LogInToThePage(const std::string& proxy) {
    RECORDINGROW row;
    STRINGARRAY settings;
    settings.Set("DoHttpProxy", "1");
    settings.Set("HttpProxy", STRING("joe:" + PASSWORD + "@" + proxy));
    MAILBOXCALL call{row.Item, row.Progress(), settings, row.StopAsked, "", "joe", STRING(PASSWORD)};
    STRING said;
    EXPECT_FALSE(KindOf(ITEMTYPE_HOTMAIL).Handler->Get(call, said));
    return Std(said);
}

std::string AskForAPage(const std::string& server) {
    STRING page;
    WEBGET web(nullptr, nullptr);
    EXPECT_EQ(web.Get(("joe:" + PASSWORD + "@" + server).c_str(), ("/in?pw=" + PASSWORD).c_str(), page), 401);
    EXPECT_EQ(web.Post(server.c_str(), "/", page, STRING("pw=" + PASSWORD)), 401);
    return "";
}

struct CONVERSATION {
    std::string Name;
    std::vector<SCRIPT> Scripts;
    std::function<std::string(const std::string& server)> Hold;
};

std::vector<CONVERSATION> Conversations() {
    std::vector<CONVERSATION> all;
    const auto add = [&](const std::string& name, const std::vector<std::string>& replies, const auto& hold) {
        SCRIPT script{PLAY::Send(replies[0])};
        for (size_t i = 1; i < replies.size(); ++i) {
            script.push_back(PLAY::ExpectPrefix());
            script.push_back(PLAY::Send(replies[i]));
        }
        all.push_back({name, {script}, hold});
    };
    for (const WAY& way : MailboxWays())
        add(way.Name, way.Replies, [way](const std::string& server) { return LogIn(way, server); });
    add("SMTP PLAIN", {"220\r\n", "250-a\r\n250 AUTH PLAIN\r\n", "535 " + Plain("joe") + "\r\n"}, SendMail);
    add("SMTP LOGIN", {"220\r\n", "250 AUTH LOGIN\r\n", "334\r\n", "334\r\n", "535 " + Base64(PASSWORD) + "\r\n"},
        SendMail);
    const auto refusing = [](int number) {
        return std::vector<SCRIPT>{
            {PLAY::ReadUntil("\r\n\r\n"),
             PLAY::Send("HTTP/1.0 " + std::to_string(number) + " no\r\nContent-Length: 0\r\n\r\n"), PLAY::Cut()}};
    };
    all.push_back({"web mail by a proxy", refusing(407), LogInToThePage});
    all.push_back({"a page", refusing(401), AskForAPage});
    return all;
}

TEST(Passwords, StandInNoTraceAndNoErrorText) {
    const SHORTTIMES times(500);
    SHRINKABLE::WebTimes.ReadMs = 20;
    for (const CONVERSATION& conversation : Conversations()) {
        SCOPED_TRACE(conversation.Name);
        TEMPDIR dir;
        LogOption((STRING("/LOGIT:") || dir.File("log")).Text());
        LogOption("/LOG:4");
        SCRIPTEDSERVER server(conversation.Scripts);
        const std::string said = conversation.Hold(server.HostPort());
        LogOption("/LOGITCLOSE");
        server.Stop();
        const std::string sent = server.Transcript(), log = ReadBytes(dir.File("log"));
        const std::string secrets[] = {PASSWORD, Base64(PASSWORD), Plain("joe"), Plain(FOREIGN),
                                       Base64("joe:" + PASSWORD)};
        EXPECT_TRUE(
            conversation.Name == "APOP" ||
            std::ranges::any_of(secrets, [&](const std::string& secret) { return sent.find(secret) != sent.npos; }))
            << sent;
        EXPECT_NE(log, "");
        for (const std::string& secret : secrets)
            EXPECT_EQ((log + said).find(secret), std::string::npos) << said << "\n" << log;
    }
    SHRINKABLE::WebTimes = {};
}

}  // namespace
