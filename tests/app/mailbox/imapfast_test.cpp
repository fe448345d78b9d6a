// Checks of an IMAP folder that send their commands ahead and go on from what the last one has listed.

#include <algorithm>
#include <climits>
#include <map>

#include "app/mailbox/imap.h"
#include "app/mailbox/imapreply.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/support/stopsoon.h"

namespace {

constexpr const char* GREETING = "* OK hello\r\n";
const std::string DONE = "$OK done\r\n";

// A server with a folder of mails, which says things of its own to some commands.
struct FOLDERSERVER {
    struct MAIL {
        int Uid, Size = 100;
        bool Seen = false;
        int ModSeq = 0;
    };
    OUTCOME Get(STRINGARRAY& item) {
        Heard.clear();
        return ReadFast(
            item, GREETING, [this](const std::string& line) { return Answer(line); },
            [](BASEIO& device, const MAILBOXCALL& call, STRING& result) {
                return ImapRead(device, call, "", 0, result);
            });
    }
    static std::string Listing(const std::vector<MAIL>& mails) {
        const auto unread = std::count_if(mails.begin(), mails.end(), [](const MAIL& mail) { return !mail.Seen; });
        std::string text = std::to_string(mails.size()) + " msgs|" + std::to_string(unread) + " unread|0 bytes\n";
        for (auto mail = mails.rbegin(); mail != mails.rend(); ++mail)
            text += "X-Size: " + std::to_string(mail->Size) + "\nX-Transport: " + Text(*mail) +
                    "\nSubject: x\nMessage-Id: " + std::to_string(mail->Uid) + "\nSeen: " + (mail->Seen ? "1" : "0") +
                    "\n\n<2993>\n\1";
        return text;
    }
    std::string Reply(const std::string& command) const {
        if (command.starts_with("LOGIN"))
            return HasModSeq ? "$OK [CAPABILITY IMAP4rev1 CONDSTORE] in\r\n" : DONE;
        std::string reply;
        const auto last = std::max_element(Mails.begin(), Mails.end(), [](auto& a, auto& b) { return a.Uid < b.Uid; });
        if (command.starts_with("SELECT INBOX"))
            reply = "* " + std::to_string(Mails.size()) + " EXISTS\r\n* OK [UIDVALIDITY " + std::to_string(Validity) +
                    "] x\r\n* OK [UIDNEXT " + std::to_string(last->Uid + 1) + "] x\r\n";
        if (command == "SELECT INBOX (CONDSTORE)")
            reply += "* OK [HIGHESTMODSEQ " + std::to_string(ModSeq) + "] x\r\n";
        if (command == "SEARCH ALL")
            reply = "* SEARCH";
        const bool byUid = command.starts_with("UID FETCH "), isList = command.ends_with("(UID FLAGS RFC822.SIZE)");
        const size_t since = command.find("CHANGEDSINCE ");
        const int changedSince = since == command.npos ? INT_MAX : atoi(command.c_str() + since + 13);
        for (size_t i = 0; i < Mails.size(); ++i) {
            const MAIL& mail = Mails[i];
            const std::string number = std::to_string(i + 1), uid = std::to_string(mail.Uid),
                              set = "," + command.substr(0, command.find(" (")).substr(byUid ? 10 : 0) + ",";
            const auto wants = [&](const char* what) { return command.find(what) != command.npos; };
            if (command == "SEARCH ALL")
                reply += " " + number;
            if (!(byUid ? set.find("," + uid + ",") != set.npos
                        : isList || mail.ModSeq > changedSince || command.starts_with("FETCH " + number + " ")))
                continue;
            reply += "* " + number + " FETCH (X x";
            if (wants("UID"))
                reply += " UID " + uid;
            if (wants("SIZE"))
                reply += " RFC822.SIZE " + std::to_string(mail.Size);
            if (wants("FLAGS"))
                reply += mail.Seen ? " FLAGS (\\Seen)" : " FLAGS ()";
            if (wants("[HEADER]"))
                reply += " BODY[HEADER] \"" + Text(mail) + "\"";
            if (wants("HEADER.FIELDS"))
                reply += " BODY[HEADER.FIELDS (x)] {12}\r\nSubject: x\r\n";
            reply += ")\r\n";
        }
        return reply + (command == "SEARCH ALL" ? "\r\n" : "") + DONE;
    }

    std::string HeardAt(int index) const { return Std(STRING(Heard).Line(index)); }
    std::vector<MAIL> Mails;
    int Validity = 1;
    bool HasModSeq = false;
    int ModSeq = 5;
    std::map<std::string, std::string> Said;  // in the place of the reply; "%" stands for what would have been said
    std::string Heard;                        // commands after SELECT

 private:
    static std::string Text(const MAIL& mail) { return "Text: " + std::to_string(mail.Uid + mail.Size); }
    std::string Answer(const std::string& line) {
        const size_t blank = line.find(' ') + 1;
        const std::string command = line.substr(blank);
        if (!command.starts_with("LOGIN") && !command.starts_with("SELECT INBOX"))
            Heard += command + "\n";
        std::string reply = Said.contains(command) ? Said[command] : "%";
        if (const size_t at = reply.find('%'); at != reply.npos)
            reply.replace(at, 1, Reply(command));
        return WithTag(reply, line.substr(0, blank));
    }
};

TEST(ImapFast, WhatIsKnownIsNotAskedFor) {
    using MAILS = std::vector<FOLDERSERVER::MAIL>;
    const MAILS before = {{4}, {6, 100, true}, {8}};
    const auto list = [](int count) { return "FETCH 1:" + std::to_string(count) + " (UID FLAGS RFC822.SIZE)"; };
    const auto texts = [](const std::string& uids) {
        return "UID FETCH " + uids +
               " (UID BODY.PEEK[HEADER] BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)])";
    };
    const auto alone = [](const std::string& number) {
        const std::string fetch = "FETCH " + number + " (";
        return fetch + "RFC822.SIZE)\n" + fetch + "BODY.PEEK[HEADER])\n" + fetch +
               "BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)] FLAGS)\n" + fetch + "UID)\n";
    };
    const std::string plain = "SEARCH ALL\n" + alone("3") + alone("2") + alone("1");
    const std::string plain3 = list(3) + "\n" + plain, alone4 = list(4) + "\n" + texts("9") + "\n" + alone("4");
    const auto changes = [&](int count) { return list(count) + " (CHANGEDSINCE 5)"; };
    const std::string listed = changes(3) + "\n" + list(3);
    const MAILS changedAndCome = {{4, 100, true, 6}, {6, 100, true}, {8}, {9, 100, true, 6}},
                goneAndCome = {{4}, {8}, {9, 100, false, 6}};
    const MAILS fourth = {{4}, {6, 100, true}, {8}, {9}};
    const struct {
        const char* What;
        MAILS Mails;
        std::string Asked;                    // between SELECT and LOGOUT
        std::string Command = {}, Said = {};  // what is said to it
        MAILS Listed = {};                    // those above if there are none
        int Validity = 1;
        bool HasModSeq = false;
        int ModSeq = 5;
        int FormerModSeq = 4;  // when the first of the mails had come
    } cases[] = {
        {"nothing new", before, list(3) + "\n"},
        {"other flags", {{4, 100, true}, {6}, {8}}, list(3) + "\n"},
        {"one new, one gone", {{4}, {8}, {9}, {11}}, list(4) + "\n" + texts("9,11") + "\n"},
        {"a UID that has come back with another mail", {{4}, {6, 101, true}, {8}}, list(3) + "\n" + texts("6") + "\n"},
        {"other UIDs", before, list(3) + "\n" + texts("4,6,8") + "\n", {}, {}, {}, 2},
        {"a server that says nothing of UIDs", before, list(3) + "\n" + texts("4,6,8") + "\n", {}, {}, {}, 0},
        {"nothing has changed", before, "", {}, {}, {}, 1, true},
        {"something has changed", {{4}, {6, 100, false, 6}, {8}}, changes(3) + "\n", {}, {}, {}, 1, true, 6},
        {"one has changed, one come", changedAndCome, changes(4) + "\n" + texts("9") + "\n", {}, {}, {}, 1, true, 6},
        {"one has gone, one come", goneAndCome, listed + "\n" + texts("9") + "\n", {}, {}, {}, 1, true, 6},
        {"one goes meanwhile", before, listed + "\n", changes(3), "* 3 EXPUNGE\r\n%", {}, 1, true, 6},
        {"changes not told",
         changedAndCome,
         changes(4) + "\n" + list(4) + "\n" + texts("9") + "\n",
         changes(4),
         "$BAD\r\n",
         {},
         1,
         true,
         6},
        {"a new one not told",
         changedAndCome,
         changes(4) + "\n" + list(4) + "\n" + texts("9") + "\n",
         changes(4),
         "$OK\r\n",
         {},
         1,
         true,
         6},
        {"two have gone", {{8}}, list(1) + "\n", {}, {}, {}, 1, true, 6},
        {"a number of changes that stands still", {{4}, {6}, {8}}, list(3) + "\n", {}, {}, {}, 1, true, 5, 5},
        {"a UID twice", {{4}, {6, 100, true}, {6}}, plain3},
        {"UIDs that fall", before, plain3, list(3), "* 1 FETCH (UID 7)\r\n%"},
        {"a mail that was not listed", before, plain3, list(3), DONE},
        {"others listed, and another order", before, plain3, list(3),
         "* 4000000000 FETCH (UID 5)\r\n* 3 FETCH (FLAGS ())\r\n%"},
        {"a list refused", before, plain3, list(3), "$NO\r\n"},
        {"one gone during the list", before, plain3, list(3), "* 9 EXPUNGE\r\n%"},
        {"texts refused", fourth, alone4, texts("9"), "$NO\r\n"},
        {"texts of others", fourth, alone4, texts("9"),
         "* 4 FETCH (UID 8 BODY[HEADER] \"\" BODY[HEADER.FIELDS (x)] \"\")\r\n* 5 EXISTS\r\n$OK x\r\n"},
        {"half the texts", fourth, alone4, texts("9"), "* 4 FETCH (UID 9 BODY[HEADER] \"\")\r\n$OK x\r\n"},
        {"one gone during the texts, and one come",
         fourth,
         list(4) + "\n" + texts("9") + "\n",
         texts("9"),
         "* 2 EXPUNGE\r\n* 9 EXPUNGE\r\n* 4 EXISTS\r\n%",
         {{4}, {8}, {9}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        SHORTTIMES times(8000);
        FOLDERSERVER server;
        server.HasModSeq = c.HasModSeq;
        STRINGARRAY item;
        for (const auto& [mails, modSeq] : {std::pair{MAILS{{4}}, c.FormerModSeq}, {before, 5}}) {
            server.Mails = mails;
            server.ModSeq = modSeq;
            EXPECT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(mails)}));
            StoreListing(item, FOLDERSERVER::Listing(mails));
        }
        server.Mails = c.Mails;
        server.Validity = c.Validity;
        server.ModSeq = c.ModSeq;
        server.Said[c.Command] = c.Said;
        EXPECT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(c.Listed.empty() ? c.Mails : c.Listed)}));
        EXPECT_EQ(server.Heard, c.Asked + "LOGOUT\n");
    }
}

// A server may work on several commands at once, and be over with the second first.
TEST(ImapFast, RepliesMayComeInAnyOrder) {
    FOLDERSERVER server;
    for (int uid = 1; uid <= 100; ++uid)
        server.Mails.push_back({uid, 100, uid % 2 == 0});
    SHORTTIMES times(8000);
    STRINGARRAY item;
    ASSERT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(server.Mails)}));
    const std::string plain = server.Heard;
    const std::string newer = server.HeardAt(1), older = server.HeardAt(2);
    // The tags are those of this very conversation: log-on, SELECT and the list come first.
    const std::string first = server.Reply(newer), second = server.Reply(older);
    server.Said[newer] = WithTag(second, "IMAPCMD_4 ") + WithTag(first, "IMAPCMD_3 ");
    server.Said[older] = "* OK\r\n";
    STRINGARRAY other;
    EXPECT_EQ(server.Get(other), (OUTCOME{true, FOLDERSERVER::Listing(server.Mails)}));
    EXPECT_EQ(server.Heard, plain);
}

// Many commands are on their way at once; what ends them ends the check, and the next one is plain.
TEST(ImapFast, AnEndInAWindowIsADoubt) {
    FOLDERSERVER server;
    for (int uid = 1; uid <= 600; ++uid)
        server.Mails.push_back({uid, 100, uid % 2 == 0});
    // What is told of mails before they are asked for is not kept: it may be more than there is room for.
    for (const char* said : {"", "* 1 FETCH (UID 1 BODY[HEADER] \"x\" BODY[HEADER.FIELDS (x)] \"x\")\r\n"}) {
        SHORTTIMES times(8000);
        STRINGARRAY item;
        if (*said)
            server.Said[server.HeardAt(1)] = said + server.Reply(server.HeardAt(1));
        EXPECT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(server.Mails)}));
        EXPECT_EQ(std::ranges::count(server.Heard, '\n'), 14) << "12 commands for 50 mails each, a list, a farewell";
    }
    server.Said[server.HeardAt(4)] = "* 2 FETCH (UID 2 BODY[HEADER] {9}\r\nx";
    Patiently(true, [&] {
        STRINGARRAY item;
        item.Set("@PlainChecks", "0");
        const OUTCOME outcome = server.Get(item);
        return outcome.Ok || item.GetNumber("@PlainChecks") != 1 ? testing::PrintToString(outcome) : "";
    });
}

TEST(ImapFast, AWindowEndsWithTheProgram) {
    std::string list;
    for (int uid = 1; uid <= 600; ++uid)
        list += "* " + std::to_string(uid) + " FETCH (UID " + std::to_string(uid) + " FLAGS () RFC822.SIZE 9)\r\n";
    SCRIPT script = ServerScript(
        GREETING, {{"IMAPCMD_0 LOGIN joe pw", "IMAPCMD_0 OK\r\n"},
                   {"IMAPCMD_1 SELECT INBOX", "* 600 EXISTS\r\n* OK [UIDVALIDITY 1] x\r\nIMAPCMD_1 OK\r\n"},
                   {"IMAPCMD_2 FETCH 1:600 (UID FLAGS RFC822.SIZE)", list + "IMAPCMD_2 OK\r\n"}});
    script.push_back(PLAY::ReadUntil("IMAPCMD_10 UID FETCH"));
    script.push_back(PLAY::Send("* 600 FETCH (UID 600 BODY[HEADER] {50}\r\nx"));
    SHORTTIMES times(8000);
    SCRIPTEDSERVER server(script);
    RECORDINGROW row;
    const STOPSOON stop;
    row.StopAsked = stop.Question();
    row.Item.Set("FastCheck", "1");
    STRING result;
    EXPECT_FALSE(ImapGet(row.Call(STRING(server.HostPort())), "", 0, result));
    EXPECT_STOPPED(stop);
    EXPECT_FALSE(row.Item.Exists("@PlainChecks")) << "an end of ours is no doubt";
}

// A server that says to each command what it says in these exchanges, of mail 7, which is its only one and has another
// number here, and whatever follows from that.
class MODEL {
 public:
    explicit MODEL(const std::vector<EXCHANGE>& exchanges) {
        for (const auto& [command, reply] : exchanges) {
            Replies[Renumbered(command)] = Renumbered(reply);
            if (command.starts_with("FETCH "))
                Learn(Renumbered(reply));
        }
    }
    static std::string Renumbered(std::string text) {
        for (const char* seven : {"FETCH 7 ", "* 7 FETCH", "SEARCH 7", "search 7"})
            for (size_t at = 0; (at = text.find(seven, at)) != text.npos;)
                text[text.find('7', at)] = '1';
        return text;
    }
    OUTCOME Get(STRINGARRAY& item) {
        return ReadFast(
            item, GREETING, [this](const std::string& line) { return Answer(line); },
            [](BASEIO& device, const MAILBOXCALL& call, STRING& result) {
                return ImapRead(device, call, "", IMAP_BODY_BYTES, result);
            });
    }

 private:
    // What a reply tells of the mail, each literal in its place.
    void Learn(std::string_view rest) {
        while (!rest.empty()) {
            std::string line;
            for (int64_t literal = 0; literal >= 0 && !rest.empty();) {
                const size_t from = line.size(), end = rest.find("\r\n");
                line += rest.substr(0, end);
                rest.remove_prefix(std::min(end == rest.npos ? end : end + 2, rest.size()));
                literal = IMAPREPLY::LiteralAhead(line, from);
                if (literal > static_cast<int64_t>(rest.size()))
                    return;
                if (literal >= 0)
                    line.append("\r\n").append(rest.substr(0, static_cast<size_t>(literal)));
                rest.remove_prefix(static_cast<size_t>(std::max<int64_t>(literal, 0)));
            }
            IMAPREPLY::TakeFetch(line, 1, Mail);
        }
    }
    std::string Answer(const std::string& line) {
        const size_t blank = line.find(' ') + 1;
        const std::string command = line.substr(blank);
        std::string reply = "$BAD\r\n", items;
        if (Replies.contains(command)) {
            reply = Replies[command];
        } else if (command == "FETCH 1:1 (UID FLAGS RFC822.SIZE)") {
            if (Mail.Uid)
                items = " UID " + std::to_string(Mail.Uid);
            if (Mail.Size && !Mail.BadSize)
                items += " RFC822.SIZE " + std::to_string(*Mail.Size);
            if (Mail.FlagsKnown)
                items += Mail.Seen ? " FLAGS (\\Seen x)" : " FLAGS ()";
            const bool found = Replies["SEARCH ALL"].find('1') != std::string::npos;
            reply = (found ? "* 1 FETCH (" + items + ")\r\n" : "") + DONE;
        } else if (command.starts_with("UID FETCH 42 ")) {
            for (const auto& [name, text] : Mail.Sections)
                items += " " + name + (text ? " {" + std::to_string(text->size()) + "}\r\n" + *text : " NIL");
            reply = "* 1 FETCH (UID 42" + items + ")\r\n" + DONE;
        }
        return WithTag(reply, line.substr(0, blank));
    }
    std::map<std::string, std::string> Replies;
    IMAPREPLY::FETCHED Mail;
};

}  // namespace

void ExpectImapTheSameFast(const std::vector<EXCHANGE>& exchanges, const OUTCOME& expected, bool isSilent) {
    ExpectTheSameFast([&] { return MODEL(exchanges); }, {expected.Ok, MODEL::Renumbered(expected.Result)}, isSilent);
}
