#include "app/mailbox/imap.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "app/mailbox/imapreply.h"
#include "app/mailbox/listing.h"
#include "tests/app/mailbox/mailboxsupport.h"
#include "tests/servers/answeringdevice.h"
#include "tests/support/times.h"

namespace {

constexpr const char* GREETING = "* OK hello\r\n";
const std::string DONE = "$OK done\r\n";  // "$": the command's tag and a blank

// A whole conversation without its tags, and the places in it.
enum PLACE { LOGIN, SELECT, SEARCH, SIZE, HEADER, FIELDS, UID, BODY, LOGOUT, END };
const std::vector<EXCHANGE> WHOLE = {
    {"LOGIN joe pw", DONE},
    {"SELECT INBOX", "* 1 EXISTS\r\n" + DONE},
    {"SEARCH ALL", "* SEARCH 7\r\n" + DONE},
    {"FETCH 7 (RFC822.SIZE)", "* 7 FETCH (RFC822.SIZE 120)\r\n" + DONE},
    {"FETCH 7 (BODY.PEEK[HEADER])", "* 7 FETCH (BODY[HEADER] {18}\r\nFrom: a\r\nTo: b\r\n\r\n)\r\n" + DONE},
    {"FETCH 7 (BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)] FLAGS)",
     "* 7 FETCH (FLAGS (\\Seen) BODY[...] {18}\r\nTo: b\r\nFrom: a\r\n\r\n)\r\n" + DONE},
    {"FETCH 7 (UID)", "* 7 FETCH (UID 42)\r\n" + DONE},
    {"FETCH 7 (BODY.PEEK[1]<0.4096>)", "* 7 FETCH (BODY[1]<0> {9}\r\nline\r\n.\r\n)\r\n" + DONE},
    {"LOGOUT", "* BYE\r\n" + DONE},
};
const std::string LISTED =
    "1 msgs|0 unread|0 bytes\nX-Size: 120\nX-Transport: From: a\\r\\nTo: b\\r\\n\\r\\n\nFrom: a\nTo: b\n"
    "Message-Id: 42\nSeen: 1\n\nline\n .\n\n\1";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, text.npos) << from;
    return text.replace(at, from.size(), to);
}

std::vector<EXCHANGE> Tagged(std::vector<EXCHANGE> exchanges) {
    for (size_t i = 0; i < exchanges.size(); ++i) {
        auto& [command, reply] = exchanges[i];
        const std::string tag = "IMAPCMD_" + std::to_string(i) + " ";
        command = tag + command;
        if (const size_t at = reply.find('$'); at != reply.npos)
            reply.replace(at, 1, tag);
    }
    return exchanges;
}

// The conversation as it goes if the server says something else at one place and goes on at another.
std::vector<EXCHANGE> Untagged(PLACE place, const std::string& reply, PLACE next) {
    std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + place);
    exchanges.emplace_back(WHOLE[place].first, reply);
    exchanges.insert(exchanges.end(), WHOLE.begin() + next, WHOLE.end());
    return exchanges;
}

std::vector<EXCHANGE> Deviating(PLACE place, const std::string& reply, PLACE next) {
    return Tagged(Untagged(place, reply, next));
}

OUTCOME Get(const SCRIPTEDSERVER& server, int bytes = IMAP_BODY_BYTES, const char* folder = "") {
    RECORDINGROW row;
    STRING result = "from before";
    bool ok = ImapGet(row.Call(STRING(server.HostPort()), "joe", " pw "), folder, bytes, result);
    EXPECT_EQ(row.Item.Exists("@UidValidity"), ok) << "a failed check tells nothing";
    return {ok, Std(result)};
}

// A server that says to each command what it says in these exchanges, of mail 7, which is its only one and has another
// number here, and whatever follows from that.
class MODEL {
 public:
    explicit MODEL(const std::vector<EXCHANGE>& untagged) {
        for (const auto& [command, reply] : untagged)
            Replies[Renumbered(command)] = Renumbered(reply);
        for (const PLACE place : {SIZE, HEADER, FIELDS, UID, BODY})
            Learn(Replies[Renumbered(WHOLE[place].first)]);
    }
    static std::string Renumbered(std::string text) {
        for (const char* seven : {"FETCH 7 ", "* 7 FETCH", "SEARCH 7", "search 7"})
            for (size_t at = 0; (at = text.find(seven, at)) != text.npos;)
                text[text.find('7', at)] = '1';
        return text;
    }
    OUTCOME Get(STRINGARRAY& item) {
        Heard.clear();
        ANSWERINGDEVICE device(GREETING, [this](const std::string& line) { return Answer(line); });
        RECORDINGROW row;
        row.Item = item;
        row.Item.Set("FastCheck", "1");
        STRING result = "from before";
        const bool ok = ImapRead(device, row.Call("server", "joe", " pw "), "", IMAP_BODY_BYTES, result);
        item = row.Item;
        return {ok, Std(result)};
    }
    std::string Heard;  // without tags

 private:
    // What a reply tells of the mail, each literal in its place.
    void Learn(const std::string& reply) {
        for (std::string_view rest = reply; !rest.empty();) {
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
        const std::string command = line.substr(blank), tag = line.substr(0, blank);
        Heard += command + "\n";
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
        if (const size_t at = reply.find('$'); at != reply.npos)
            reply.replace(at, 1, tag);
        return reply;
    }
    std::map<std::string, std::string> Replies;
    IMAPREPLY::FETCHED Mail;
};

// The fast way comes to the same, from nothing and with a listing to go on from.
void ExpectTheSameFast(const std::vector<EXCHANGE>& untagged, OUTCOME expected, bool isSilent) {
    expected.Result = MODEL::Renumbered(expected.Result);
    Patiently(isSilent, [&] {
        MODEL server(untagged);
        STRINGARRAY item;
        for (const char* check : {"first", "later"}) {
            const OUTCOME outcome = server.Get(item);
            if (outcome.Ok != expected.Ok || (outcome.Ok && outcome != expected))
                return std::string(check) + " check: " + testing::PrintToString(outcome) + " after " + server.Heard;
            StoreListing(item, outcome.Ok ? outcome.Result : "");
        }
        return std::string();
    });
}

TEST(ImapGet, OutcomeOfWhatAServerMaySay) {
    const std::string longLine(5000, 'x'), header = "From: a\\r\\nTo: b\\r\\n\\r\\n",
                                           none = "1 msgs|? unread|0 bytes\n",
                                           transport = "X-Transport: " + header + "\n";
    constexpr const char *NO_COUNT = "-ERR IMAP99 BAD 'EXISTS' not found",
                         *NO_END = "-ERR IMAP99 BAD reply without end";
    const auto literal = [](const std::string& text) { return "{" + std::to_string(text.size()) + "}\r\n" + text; };
    const auto headerReply = [](const std::string& value) {
        return "* 7 FETCH (BODY[HEADER] " + value + ")\r\n" + DONE;
    };
    const auto fieldsReply = [&](const std::string& text, const char* flags = "") {
        return "* 7 FETCH (body[header.fields (\"DATE\" TO)] " + literal(text) + flags + ")\r\n" + DONE;
    };
    const auto bodyReply = [](const std::string& value) { return "* 7 FETCH (BODY[1]<0> " + value + ")\r\n" + DONE; };
    const std::string longText =
        "A: " + longLine.substr(0, 4091) + "\r\nB: " + longLine.substr(0, 1200) + "\r\n" + longLine.substr(0, 4500);
    const struct {
        const char* What;
        PLACE Place;
        std::string Reply;
        PLACE Next;  // END: the client gives up
        // Listed, with From replaced by To; or the error if there is no From.
        std::string From, To;
        bool Late = false;  // silent, though it has said something
    } cases[] = {
        {"all well", LOGOUT, DONE, END, "1 msgs", "1 msgs"},
        {"a short word of agreement", LOGIN, "$OK\r\n", SELECT, "1 msgs", "1 msgs"},
        {"one in small letters", LOGIN, "$ok in\r\n", SELECT, "1 msgs", "1 msgs"},
        {"one that is none", LOGIN, "$OKAY\r\n", END, "", "-ERR IMAPCMD_0 OKAY"},
        {"log-on refused", LOGIN, "$NO who\r\n", END, "", "-ERR IMAPCMD_0 NO who"},
        {"a refusal that speaks of OK", LOGIN, "$NO it was OK once\r\n", END, "", "-ERR IMAPCMD_0 NO it was OK once"},
        {"an encrypted port", LOGIN, "\x15\x03\x01", END, "", "-ERR 999 TLS only", true},
        {"log-on silent", LOGIN, "", END, "", "-ERR "},
        {"a tag in another case is none", SELECT, "* 1 EXISTS\r\nimapcmd_1 OK x\r\n", END, "", "-ERR ", true},
        {"an earlier tag is none", SELECT, "* 1 EXISTS\r\nIMAPCMD_0 OK x\r\n" + DONE, SEARCH, "1 msgs", "1 msgs"},
        {"no count", SELECT, DONE, END, "", NO_COUNT},
        {"a count past all numbers", SELECT, "* 4294967297 EXISTS\r\n" + DONE, END, "", NO_COUNT},
        {"count in odd company", SELECT,
         "* OK 5\r\n* 0 RECENT\r\n* OK [ALERT] 5 EXISTS {3}\r\n* X \"open {9}\r\n* 5 EXISTS x\r\n* 1 exists\r\n* 9 "
         "EXISTS\r\n" +
             DONE,
         SEARCH, "msgs", "msgs"},
        {"names in literals", SELECT,
         "* LIST () \"{9}\" " + literal("IMAPCMD_1 NO\r\n* 5 EXISTS") + "\r\n* X {2}\r\nab {13}\r\n\r\n* 5 EXISTS\r\n" +
             "\r\n* 1 EXISTS\r\n" + DONE,
         SEARCH, "msgs", "msgs"},
        {"nothing there", SELECT, "* 0 EXISTS\r\n" + DONE, LOGOUT, LISTED, "0 msgs|? unread|0 bytes\n"},
        {"the server leaves", SEARCH, "* BYE too busy\r\n", END, "", "-ERR ", true},
        {"no search result", SEARCH, DONE, END, "", "-ERR IMAP99 BAD SEARCH result error"},
        {"nothing found", SEARCH, "* SEARCH\r\n" + DONE, LOGOUT, LISTED, none},
        {"found in several lines", SEARCH, "* SEARCH \r\n* 2 EXISTS\r\n* SEARCHES 8\r\n* search 7 -3 0\r\n" + DONE,
         SIZE, "msgs", "msgs"},
        {"size refused", SIZE, "$NO gone\r\n", END, "", "-ERR IMAPCMD_3 NO gone"},
        {"no size", SIZE, "* 7 FETCH ()\r\n" + DONE, HEADER, "X-Size: 120\n", ""},
        {"sizes of others", SIZE,
         "* 17 FETCH (RFC822.SIZE 1)\r\n* 7 FETCH (FLAGS ())\r\n* 7 FETCH (X (RFC822.SIZE 2) RFC822.SIZE 3)\r\n"
         "* 70 FETCH (RFC822.SIZE 4)\r\n" +
             DONE,
         HEADER, "120", "3"},
        {"a size below none", SIZE, "* 7 FETCH (RFC822.SIZE -1)\r\n" + DONE, END, "",
         "-ERR IMAP99 BAD SIZE result error"},
        {"a header of five digits", HEADER, headerReply(literal(std::string(12000, 'x'))), FIELDS, transport, ""},
        {"a header that is nil", HEADER, headerReply("nil"), FIELDS, transport, ""},
        {"a header in quotes", HEADER, headerReply("\"a \\\"b\\\\ {3}\""), FIELDS, header, "a \"b\\\\ {3}"},
        {"a header that ends the reply", HEADER,
         headerReply(literal("A: b\r\nIMAPCMD_4 NO\r\n* 7 FETCH (BODY[] \"\")\r\n")), FIELDS, header,
         "A: b\\r\\nIMAPCMD_4 NO\\r\\n* 7 FETCH (BODY[] \"\")\\r\\n"},
        {"a header longer than all", HEADER, headerReply("{9999}\r\nFrom: a\r\n"), END, "", "-ERR ", true},
        {"a header larger than memory", HEADER, headerReply("{1073741824}\r\n"), END, "", NO_END},
        {"a header larger than all numbers", HEADER, headerReply("{99999999999999999999}\r\n"), END, "", NO_END},
        {"lines longer than the buffer, of every length near it", HEADER, headerReply(literal(longText)), FIELDS,
         header,
         "A: " + longLine.substr(0, 4091) + "\\r\\nB: " + longLine.substr(0, 1200) + "\\r\\n" +
             longLine.substr(0, 4500)},
        {"no flags, a folded line, a line twice, in another case", FIELDS,
         fieldsReply("date: d\r\nSUBJECT: s\r\n t\r\nFrom: a\r\nfrom: b\r\nTo:\r\n\r\n"), UID,
         "0 unread|0 bytes\nX-Size: 120\nX-Transport: " + header + "\nFrom: a\nTo: b\nMessage-Id: 42\nSeen: 1",
         "? unread|0 bytes\nX-Size: 120\nX-Transport: " + header +
             "\nFrom: a\nSUBJECT: s\ndate: d\nMessage-Id: 42\nSeen: 0"},
        {"flags after the text, of others, and in a subject", FIELDS,
         "* 3 FETCH (FLAGS ())\r\n" + fieldsReply("From: a\r\nTo: b\r\nSubject: FLAGS ()\r\n", " flags (x \\SEEN)"),
         UID, "To: b\nMe", "To: b\nSubject: FLAGS ()\nMe"},
        {"a field does not end the block", FIELDS,
         fieldsReply(std::string("From: \1b\0c\r\nTo: b\r\n", 19), " FLAGS (\\Seen)"), UID, "From: a\nTo",
         "From:  b c\nTo"},
        {"a UID that is no number", UID, "* 7 FETCH (UID 4|2)\r\n" + DONE, END, "", "-ERR IMAP99 BAD UID (not found)"},
        {"a UID, though refused", UID, "* 7 FETCH (FLAGS () uid 42\r\n$NO\r\n", BODY, "msgs", "msgs"},
        {"a body refused", BODY, "$NO\r\n", LOGOUT, "line\n .\n\n", "<2993>\n"},
        {"a body that looks like the contract's marks", BODY, bodyReply(literal("*\r\n\1\r\n..\r\n * \r\n.\r\r\n")),
         LOGOUT, "line\n .\n\n", " *\n \n..\n * \n .\n\n"},
        {"farewell refused", LOGOUT, "$NO stay\r\n", END, "", "-ERR IMAPCMD_8 NO stay"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        const std::vector<EXCHANGE> exchanges = Deviating(c.Place, c.Reply, c.Next);
        const OUTCOME expected = c.From.empty() ? OUTCOME{false, c.To} : OUTCOME{true, Replaced(LISTED, c.From, c.To)};
        Patiently(IsSilent(exchanges) || c.Late, [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            OUTCOME outcome = Get(server);
            return Problem(server, exchanges, outcome, expected);
        });
        ExpectTheSameFast(Untagged(c.Place, c.Reply, c.Next), expected, IsSilent(exchanges) || c.Late);
    }
}

// A server with a folder of mails, which says things of its own to some commands.
struct FOLDERSERVER {
    struct MAIL {
        int Uid, Size = 100;
        bool Seen = false;
    };
    OUTCOME Get(STRINGARRAY& item) {
        Heard.clear();
        ANSWERINGDEVICE device(GREETING, [this](const std::string& line) { return Answer(line); });
        RECORDINGROW row;
        row.Item = item;
        row.Item.Set("FastCheck", "1");
        STRING result;
        const bool ok = ImapRead(device, row.Call("server"), "", 0, result);
        item = row.Item;
        return {ok, Std(result)};
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
    std::string ReplyTo(const std::string& command) const { return Reply(command); }
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
        const std::string command = line.substr(blank), tag = line.substr(0, blank);
        if (!command.starts_with("LOGIN") && !command.starts_with("SELECT INBOX"))
            Heard += command + "\n";
        std::string reply = Reply(command);
        if (const auto said = Said.find(command); said != Said.end()) {
            std::string other = said->second;
            if (const size_t at = other.find('%'); at != other.npos)
                other.replace(at, 1, reply);
            reply = other;
        }
        if (const size_t at = reply.find('$'); at != reply.npos)
            reply.replace(at, 1, tag);
        return reply;
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
        for (size_t i = 0; i < Mails.size(); ++i) {
            const MAIL& mail = Mails[i];
            const std::string number = std::to_string(i + 1), uid = std::to_string(mail.Uid),
                              set = "," + command.substr(0, command.find(" (")).substr(byUid ? 10 : 0) + ",";
            const auto wants = [&](const char* what) { return command.find(what) != command.npos; };
            if (command == "SEARCH ALL")
                reply += " " + number;
            if (!(byUid ? set.find("," + uid + ",") != set.npos
                        : isList || command.starts_with("FETCH " + number + " ")))
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
    const MAILS fourth = {{4}, {6, 100, true}, {8}, {9}};
    const struct {
        const char* What;
        MAILS Mails;
        std::string Asked;  // between SELECT and LOGOUT
        std::map<std::string, std::string> Said = {};
        int Validity = 1;
        bool HasModSeq = false;
        int ModSeq = 5;
        MAILS Listed = {};  // those above if there are none
    } cases[] = {
        {"nothing new", before, list(3) + "\n"},
        {"other flags", {{4, 100, true}, {6}, {8}}, list(3) + "\n"},
        {"one new, one gone", {{4}, {8}, {9}, {11}}, list(4) + "\n" + texts("9,11") + "\n"},
        {"a UID that has come back with another mail", {{4}, {6, 101, true}, {8}}, list(3) + "\n" + texts("6") + "\n"},
        {"other UIDs", before, list(3) + "\n" + texts("4,6,8") + "\n", {}, 2},
        {"a server that says nothing of UIDs", before, list(3) + "\n" + texts("4,6,8") + "\n", {}, 0},
        {"nothing has changed", before, "", {}, 1, true},
        {"something has changed", {{4}, {6}, {8}}, list(3) + "\n", {}, 1, true, 6},
        {"a UID twice", {{4}, {6, 100, true}, {6}}, list(3) + "\n" + plain},
        {"UIDs that fall", before, list(3) + "\n" + plain, {{list(3), "* 1 FETCH (UID 7)\r\n%"}}},
        {"a mail that was not listed", before, list(3) + "\n" + plain, {{list(3), DONE}}},
        {"others listed, and another order",
         before,
         list(3) + "\n" + plain,
         {{list(3), "* 4000000000 FETCH (UID 5)\r\n* 3 FETCH (FLAGS ())\r\n%"}}},
        {"a list refused", before, list(3) + "\n" + plain, {{list(3), "$NO\r\n"}}},
        {"one gone during the list", before, list(3) + "\n" + plain, {{list(3), "* 9 EXPUNGE\r\n%"}}},
        {"texts refused", fourth, list(4) + "\n" + texts("9") + "\n" + alone("4"), {{texts("9"), "$NO\r\n"}}},
        {"texts of others",
         fourth,
         list(4) + "\n" + texts("9") + "\n" + alone("4"),
         {{texts("9"), "* 4 FETCH (UID 8 BODY[HEADER] \"\" BODY[HEADER.FIELDS (x)] \"\")\r\n* 5 EXISTS\r\n$OK x\r\n"}}},
        {"half the texts",
         fourth,
         list(4) + "\n" + texts("9") + "\n" + alone("4"),
         {{texts("9"), "* 4 FETCH (UID 9 BODY[HEADER] \"\")\r\n$OK x\r\n"}}},
        {"one gone during the texts, and one come",
         fourth,
         list(4) + "\n" + texts("9") + "\n",
         {{texts("9"), "* 2 EXPUNGE\r\n* 9 EXPUNGE\r\n* 4 EXISTS\r\n%"}},
         1,
         false,
         5,
         {{4}, {8}, {9}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        SHORTTIMES times(8000);
        FOLDERSERVER server;
        server.Mails = before;
        server.HasModSeq = c.HasModSeq;
        STRINGARRAY item;
        EXPECT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(before)}));
        StoreListing(item, FOLDERSERVER::Listing(before));
        server.Mails = c.Mails;
        server.Validity = c.Validity;
        server.ModSeq = c.ModSeq;
        server.Said = c.Said;
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
    std::istringstream commands(plain);
    std::string list, newer, older;
    for (std::string* command : {&list, &newer, &older})
        std::getline(commands, *command);
    // The tags are those of this very conversation: log-on, SELECT and the list come first.
    const std::string first = server.ReplyTo(newer), second = server.ReplyTo(older);
    const auto tagged = [](const std::string& reply, const char* tag) { return Replaced(reply, "$", tag); };
    server.Said[newer] = tagged(second, "IMAPCMD_4 ") + tagged(first, "IMAPCMD_3 ");
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
    {
        SHORTTIMES times(8000);
        STRINGARRAY item;
        EXPECT_EQ(server.Get(item), (OUTCOME{true, FOLDERSERVER::Listing(server.Mails)}));
        EXPECT_EQ(std::ranges::count(server.Heard, '\n'), 14) << "12 commands for 50 mails each, a list, a farewell";
    }
    std::istringstream commands(server.Heard);
    std::string fourth;
    for (int i = 0; i < 5; ++i)
        std::getline(commands, fourth);
    server.Said[fourth] = "* 2 FETCH (UID 2 BODY[HEADER] {9}\r\nx";
    Patiently(true, [&] {
        STRINGARRAY item;
        const OUTCOME outcome = server.Get(item);
        return outcome.Ok || item.GetNumber("@PlainChecks") != 1 ? testing::PrintToString(outcome) : "";
    });
}

// What one turn for each mail says; a list of mails longer than any line buffer is one list.
TEST(ImapGet, NewestFirstWithoutBodies) {
    constexpr int MAILS = 1100;
    std::string list = "* SEARCH", expected = "1100 msgs|1 unread|0 bytes\n";
    std::vector<EXCHANGE> exchanges = {{"LOGIN joe pw", DONE}, {"SELECT spam", "* 1100 EXISTS\r\n" + DONE}};
    for (int i = 1; i <= MAILS; ++i)
        list += " " + std::to_string(i);
    exchanges.emplace_back("SEARCH ALL", list + "\r\n" + DONE);
    for (int i = MAILS; i >= 1; --i) {
        const std::string fetch = "FETCH " + std::to_string(i), uid = std::to_string(5000 + i);
        const std::string reply = "* " + std::to_string(i) + " FETCH (";
        for (const char* what : {" (RFC822.SIZE)", " (BODY.PEEK[HEADER])"})
            exchanges.emplace_back(fetch + what, DONE);
        exchanges.emplace_back(fetch + WHOLE[FIELDS].first.substr(7),
                               reply + (i == 1 ? "FLAGS ())\r\n" : "FLAGS (\\Seen))\r\n") + DONE);
        exchanges.emplace_back(fetch + " (UID)", reply + "UID " + uid + ")\r\n" + DONE);
        expected += "Message-Id: " + uid + "\nSeen: " + (i == 1 ? "0" : "1") + "\n\n<2993>\n\1";
    }
    exchanges.emplace_back("LOGOUT", DONE);
    exchanges = Tagged(exchanges);
    SHORTTIMES times(8000);
    SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
    OUTCOME outcome = Get(server, 0, "spam");
    EXPECT_EQ(Problem(server, exchanges, outcome, {true, expected}), "");
}

TEST(ImapGet, GreetingAndNamesOnTheWire) {
    const char* const cases[][4] = {
        {"* BYE busy", "", "", nullptr},
        {"* BYE I was OK once", "", "", nullptr},
        {"* PREAUTH you are OK to me", "", "", nullptr},
        {"hello", "", "", nullptr},
        {"* OK hello", "Joe7", "  p w\"", "LOGIN Joe7 p w\""},
        {"* OK hello", "joe@example.org", "pw", "LOGIN \"joe@example.org\" pw"},
        {"* OK hello", "Γιώργος\\日\t", "パスワード ü", "LOGIN \"Γιώργος\\\\日\" \"パスワード ü\""},
        {"* OK hello", "a\" b", "p\r\nIMAPCMD_1 DELETE x\x7f", "LOGIN \"a\\\" b\" pIMAPCMD_1 DELETE x"},
    };
    for (const auto& [greeting, user, password, line] : cases) {
        std::vector<EXCHANGE> exchanges;
        if (line)
            exchanges = Tagged({{line, "$NO\r\n"}});
        SCRIPTEDSERVER server(ServerScript(std::string(greeting) + "\r\n", exchanges));
        RECORDINGROW row;
        STRING result;
        bool ok = ImapGet(row.Call(STRING(server.HostPort()), user, password), "", 0, result);
        const OUTCOME expected{false, line ? "-ERR IMAPCMD_0 NO" : std::string("-ERR ") + greeting};
        EXPECT_EQ(Problem(server, exchanges, {ok, Std(result)}, expected), "");
    }
}

TEST(ImapLogin, TheBestWayThatAServerTakes) {
    const auto can = [](const std::string& words) {
        return EXCHANGE{"CAPABILITY", "* CAPABILITY IMAP4rev1 " + words + "\r\n" + DONE};
    };
    const auto greeted = [](const std::string& words) { return "* OK [CAPABILITY IMAP4rev1 " + words + "] hello\r\n"; };
    const std::string bare = GREETING, idle = greeted("IDLE"),
                      plain = greeted("AUTH=LOGIN auth=plain SASL-IR LOGINDISABLED"), literals = greeted("LITERAL+");
    const EXCHANGE logIn{"LOGIN \"joe\" \"pw\"", DONE};
    const std::string atOnce = "AUTHENTICATE PLAIN AGpvZQBwdw==";
    const struct {
        const char* What;
        std::string Greeting;
        const char* User;
        const char* Password;
        std::vector<EXCHANGE> Asked, LogIn;
        std::string Error = {};  // none: it works
    } cases[] = {
        {"told by the greeting", idle, "joe", "pw", {}, {logIn}},
        {"told when asked", bare, "joe", "pw", {can("IDLE")}, {logIn}},
        {"not told", bare, "joe", "pw", {{"CAPABILITY", "$BAD what\r\n"}}, {logIn}},
        {"one message, at once", plain, "joe", "pw", {}, {{atOnce, DONE}}},
        {"one message, when asked",
         bare,
         "joe",
         "pw",
         {can("AUTH=PLAIN")},
         {{"AUTHENTICATE PLAIN", "+\r\n"}, {">AGpvZQBwdw==", DONE}}},
        {"two messages",
         bare,
         "joe",
         "pw",
         {can("AUTH=LOGIN")},
         {{"AUTHENTICATE LOGIN", "+ VXNlcm5hbWU6\r\n"}, {">am9l", "+ UGFzc3dvcmQ6\r\n"}, {">cHc=", DONE}}},
        {"no login in the clear",
         bare,
         "joe",
         "pw",
         {can("LOGINDISABLED AUTH=GSSAPI")},
         {},
         "-ERR 999 No login method"},
        {"quotes", idle, "a\"b", "p\\ w{9}", {}, {{"LOGIN \"a\\\"b\" \"p\\\\ w{9}\"", DONE}}},
        {"other bytes, when asked",
         idle,
         "jö",
         "p\x01ä",
         {},
         {{"LOGIN {3}", "+ go\r\n"}, {">jö {4}", "+ on\r\n"}, {">p\x01ä", DONE}}},
        {"a literal is refused", idle, "jö", "ä", {}, {{"LOGIN {3}", "$NO letters\r\n"}}, "-ERR IMAPCMD_0 NO letters"},
        {"other bytes, at once", literals, "jö", "ä", {}, {{"LOGIN {3+}", ""}, {">jö {2+}", ""}, {">ä", DONE}}},
        {"asked for more than there is", plain, "joe", "pw", {}, {{atOnce, "+\r\n$NO no\r\n"}}, "-ERR IMAPCMD_0 NO no"},
        {"refused",
         idle,
         "joe",
         "pw",
         {},
         {{logIn.first, "$NO [AUTHENTICATIONFAILED] wrong\r\n"}},
         "-ERR IMAPCMD_0 NO [AUTHENTICATIONFAILED] wrong"},
        {"what it wants said",
         idle,
         "joe",
         "pw",
         {},
         {{logIn.first,
           "* OK [CAPABILITY X]\r\n* NO [WEBALERT https://x.example/?a=1] Web login required.\r\n$NO [ALERT] Go "
           "there\r\n"}},
         "-ERR IMAPCMD_0 NO [ALERT] Go there Web login required."},
        {"it leaves",
         idle,
         "joe",
         "pw",
         {},
         {{logIn.first, "* BYE [UNAVAILABLE] later\r\n"}},
         "-ERR * BYE [UNAVAILABLE] later"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::vector<EXCHANGE> rest = c.LogIn, exchanges = c.Asked;
        if (c.Error.empty())
            rest.insert(rest.end(), {{"SELECT INBOX", "* 0 EXISTS\r\n" + DONE}, {"LOGOUT", DONE}});
        // Tags count from the login on; what is asked before it has others.
        for (auto& [command, reply] : exchanges) {
            command = "IMAPPRE_0 " + command;
            reply = reply.find('$') == reply.npos ? reply : Replaced(reply, "$", "IMAPPRE_0 ");
        }
        int number = -1;
        for (auto& [command, reply] : rest) {
            const bool goesOn = command.starts_with('>');
            const std::string tag = "IMAPCMD_" + std::to_string(goesOn ? number : ++number) + " ";
            command = goesOn ? command.substr(1) : tag + command;
            reply = reply.find('$') == reply.npos ? reply : Replaced(reply, "$", tag);
            exchanges.emplace_back(command, reply);
        }
        SCRIPT script = ServerScript(c.Greeting, exchanges);
        if (std::string_view(c.What) == "it leaves")
            script.push_back(PLAY::Cut());
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(script);
        RECORDINGROW row;
        MAILBOXCALL call = row.Call(STRING(server.HostPort()), c.User, c.Password);
        call.Security.IsModern = true;
        STRING result;
        const bool ok = ImapGet(call, "", 0, result);
        const std::string listed = "0 msgs|? unread|0 bytes\n";
        EXPECT_EQ(Problem(server, exchanges, {ok, Std(result)}, {c.Error.empty(), c.Error.empty() ? listed : c.Error}),
                  "");
    }
}

TEST(ImapGet, FoldersOnTheWireAndUnderWhatTheirUidsAreValid) {
    const std::string validity = "* OK [UIDVALIDITY 4294967295] ok\r\n* 0 EXISTS\r\n" + DONE;
    const std::tuple<const char*, const char*, std::string, const char*> cases[] = {
        {"", "INBOX", validity, "4294967295"},
        {"inbox", "inbox", validity, "4294967295"},
        {"", "INBOX", "* 0 EXISTS\r\n* OK [UIDVALIDITY 4294967296]\r\n* OK UIDVALIDITY 3\r\n" + DONE, ""},
        {"[x].&AOQ-/a", "[x].&AOQ-/a", validity, "4294967295|[x].&AOQ-/a"},
        {"my spam", "\"my spam\"", validity, "4294967295|my spam"},
        {"Entwürfe/日本語 & 😀ÿ", "\"Entw&APw-rfe/&ZeVnLIqe- &- &2D3eAAD,-\"", validity,
         "4294967295|Entwürfe/日本語 & 😀ÿ"},
        {"\"my spam\"", "\"my spam\"", validity, "4294967295|\"my spam\""},
        {"\"a\" b\"", "\"\\\"a\\\" b\\\"\"", validity, "4294967295|\"a\" b\""},
        {"a{9}\r\nx DELETE y\\", "\"a{9}x DELETE y\\\\\"", "$NO\r\n", nullptr},
    };
    for (const auto& [folder, argument, reply, wantedValidity] : cases) {
        std::vector<EXCHANGE> exchanges = {WHOLE[LOGIN], {std::string("SELECT ") + argument, reply}};
        if (wantedValidity)
            exchanges.push_back(WHOLE[LOGOUT]);
        exchanges = Tagged(exchanges);
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
        RECORDINGROW row;
        STRING result;
        const bool ok = ImapGet(row.Call(STRING(server.HostPort())), folder, 0, result);
        const OUTCOME expected =
            wantedValidity ? OUTCOME{true, "0 msgs|? unread|0 bytes\n"} : OUTCOME{false, "-ERR IMAPCMD_1 NO"};
        EXPECT_EQ(Problem(server, exchanges, {ok, Std(result)}, expected), "");
        if (wantedValidity) {
            EXPECT_EQ(Std(row.Item.Get("@UidValidity")), wantedValidity);
        }
    }
}

TEST(ImapGet, ACutAfterAnyByteIsAnErrorAndNeverHalfAListing) {
    const SCRIPT script = ServerScript(GREETING, Tagged(WHOLE));
    // After the last word on the last mail nothing is missing.
    const int total = ServerBytes(script),
              listed = total - static_cast<int>(strlen("done\r\n* BYE\r\nIMAPCMD_8 OK done\r\n"));
    for (int sent = 0; sent < total && !HasFailure(); ++sent) {
        SCOPED_TRACE("cut after byte " + std::to_string(sent));
        Patiently(true, [&] {
            SCRIPTEDSERVER server(script);
            server.CutAfter(sent);
            const OUTCOME outcome = Get(server);
            const bool right = sent >= listed ? outcome == OUTCOME{true, LISTED}
                                              : !outcome.Ok && (outcome.Result == "-ERR Remote disconnected" ||
                                                                outcome.Result.starts_with("-ERR IMAPCMD_") ||
                                                                outcome.Result.starts_with("-ERR *"));
            return right ? server.Mismatch() : testing::PrintToString(outcome);
        });
    }
}

TEST(ImapGet, AServerWithoutEndIsNotHeardToItsEnd) {
    std::string flood;
    for (int i = 0; i < 5000; ++i)
        flood += "* OK and so on\r\n";
    const std::vector<EXCHANGE> exchanges = Deviating(SELECT, flood, END);
    for (bool bytes : {true, false}) {
        SHORTTIMES times(8000);
        if (bytes)
            SHRINKABLE::ImapTimes.ReplyBytes = 1000;
        else
            SHRINKABLE::ImapTimes.ReplySeconds = -1;
        SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
        const OUTCOME outcome = Get(server);
        EXPECT_EQ(outcome, (OUTCOME{false, "-ERR IMAP99 BAD reply without end"})) << bytes;
        server.Mismatch();
    }
}

TEST(ImapGet, AMailOfAnySizeCostsNoMoreThanItsBeginning) {
    SHORTTIMES times(8000);
    SHRINKABLE::ImapTimes.LiteralBytes = 12000;
    SHRINKABLE::ImapTimes.ReplyBytes = 15000;
    const std::string header = "* 7 FETCH (BODY[HEADER] {500000}\r\n" + std::string(500000, 'x') + ")\r\n" + DONE;
    const auto exchanges = Deviating(HEADER, header, FIELDS);
    SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
    const std::string transport = "X-Transport: From: a\\r\\nTo: b\\r\\n\\r\\n\n";
    EXPECT_EQ(Problem(server, exchanges, Get(server), {true, Replaced(LISTED, transport, "")}), "");
}

// The whole conversation of a disposal after its greeting: what the server can do, and the folder, come first. Mails
// are deleted where no folder is given; it works where the error is "OK".
void Dispose(const char* what, const char* ids, const char* folder, const std::vector<EXCHANGE>& untagged,
             const std::string& error, const char* validity = "", const char* altFolder = "",
             const char* greeting = GREETING) {
    SCOPED_TRACE(what);
    const std::vector<EXCHANGE> exchanges = Tagged(untagged);
    Patiently(IsSilent(exchanges), [&] {
        SCRIPTEDSERVER server(ServerScript(greeting, exchanges));
        RECORDINGROW row;
        row.Item.Set("DoAltFolder", *altFolder ? "1" : "0");
        row.Item.Set("AltFolder", altFolder);
        row.Item.Set("UidValidity", validity);
        const MAILBOXCALL call = row.Call(STRING(server.HostPort()));
        STRING said;
        const bool ok = folder ? ImapMove(call, ids, folder, said) : ImapDelete(call, ids, said);
        return Problem(server, exchanges, {ok, Std(said)}, {error == "OK", error});
    });
}

TEST(ImapDisposal, WhatGoesAndWhatIsSaid) {
    const EXCHANGE logIn = WHOLE[LOGIN], ask{"CAPABILITY", "* CAPABILITY IMAP4rev1\r\n" + DONE},
                   select{"SELECT INBOX", "* 9 EXISTS\r\n* OK [UIDVALIDITY 77] ok\r\n" + DONE},
                   find5{"UID FETCH 5 (UID)", "* 3 FETCH (UID 5)\r\n" + DONE}, gone6{"UID FETCH 6 (UID)", DONE},
                   mark5{"UID STORE 5 +FLAGS (\\Deleted)", "* 3 FETCH (FLAGS (\\Deleted))\r\n" + DONE},
                   expunge{"EXPUNGE", "* 3 EXPUNGE\r\n" + DONE}, leave{"LOGOUT", "$NO\r\n"};
    const EXCHANGE mayNameThem{"LOGIN joe pw", "$OK [capability IMAP4rev1 uidplus] in\r\n"},
        others{"SELECT INBOX", "* OK [UIDVALIDITY 78] ok\r\n" + DONE}, nothing{"SELECT INBOX", DONE};
    Dispose("one is there, one has gone", "5\n\n6\n", nullptr,
            {logIn, ask, select, find5, mark5, gone6, expunge, leave}, "OK");
    const EXCHANGE othersFound{find5.first,
                               "* 5 FETCH (UID 55 FLAGS (UID 5))\r\n* OK (UID 5)\r\n* 5 EXISTS\r\n" + DONE};
    Dispose("what was found is other mails", "5", nullptr, {logIn, ask, select, othersFound, expunge, leave}, "OK");
    Dispose("what is no number is no id", "1:*\n-5\n5 6\n\r\n0\n4294967296\n5\r\n005", nullptr,
            {logIn, ask, select, find5, mark5, expunge, leave}, "OK");
    Dispose("refused", "5", nullptr, {logIn, ask, select, {find5.first, "$BAD no such thing\r\n"}},
            "BAD no such thing");
    Dispose("a refusal that speaks of OK", "5\n6", nullptr,
            {logIn, ask, select, find5, {mark5.first, "$NO r/o, OK ?\r\n"}}, "NO r/o, OK ?");
    Dispose("silent", "", nullptr, {logIn, ask, select, {"EXPUNGE", ""}}, "");
    const EXCHANGE quoted{"UID COPY 5 \"my \\\"spam\\\"\"", DONE}, noFolder{"UID COPY 5 x", "$NO [TRYCREATE] no x\r\n"};
    Dispose("moved", "5", "my \"spam\"", {logIn, ask, select, find5, quoted, mark5, expunge, leave}, "OK");
    Dispose("no folder", "5", "x\r\n", {logIn, ask, select, find5, noFolder}, "[TRYCREATE] no x");
    Dispose("log-on refused", "5", nullptr, {{"LOGIN joe pw", "$NO [AUTH] no\r\n"}}, "NO [AUTH] no");
    const EXCHANGE find7{"UID FETCH 7 (UID)", "* 1 FETCH (FLAGS ())\r\n* 4 FETCH (FLAGS () uid 7)\r\n" + DONE},
        mark7{"UID STORE 7 +FLAGS (\\Deleted)", DONE}, expunge5{"UID EXPUNGE 5", DONE};
    Dispose("only ours are expunged", "5\n6\n7", nullptr,
            {mayNameThem, select, find5, mark5, gone6, find7, mark7, {"UID EXPUNGE 5,7", DONE}, leave}, "OK");
    Dispose("the greeting tells what it can do", "5", nullptr,
            {logIn, select, find5, mark5, {expunge5.first, "$NO not\r\n"}}, "NO not", "", "",
            "* OK [CAPABILITY UIDPLUS] hello\r\n");
    Dispose("a server that does not tell what it can do", "5", nullptr,
            {logIn, {"CAPABILITY", "* CAPABILITY XUIDPLUS\r\n$BAD\r\n"}, select, find5, mark5, expunge, leave}, "OK");
    Dispose("valid as they were", "5", nullptr, {mayNameThem, select, find5, mark5, expunge5, leave}, "OK", "77");
    Dispose("the UIDs are others now", "5", nullptr, {mayNameThem, others, leave}, "OK", "77");
    Dispose("the UIDs may be others now", "5", "spam", {mayNameThem, nothing, leave}, "OK", "77");
    Dispose("another folder was listed", "5", nullptr, {mayNameThem, select, leave}, "OK", "77|spam");
    const EXCHANGE selectSpam{"SELECT spam", select.second}, copy{noFolder.first, DONE};
    Dispose("the folder that was listed", "5", "x", {mayNameThem, selectSpam, find5, copy, mark5, expunge5, leave},
            "OK", "77|spam", "spam");
}

TEST(ImapDisposal, ManyAreExpungedInSeveralCommands) {
    std::vector<EXCHANGE> exchanges = {{"LOGIN joe pw", "$OK [CAPABILITY UIDPLUS]\r\n"}, {"SELECT INBOX", DONE}};
    std::string ids, set;
    for (int i = 0; i < 150; ++i) {
        const std::string id = std::to_string(1000000000 + i);
        ids += id + "\n";
        set += (i == 0 || i == 82 ? "" : ",") + id;
        if (i == 81)
            set += "\n";
        exchanges.emplace_back("UID FETCH " + id + " (UID)", "* 9 FETCH (UID " + id + ")\r\n" + DONE);
        exchanges.emplace_back("UID STORE " + id + " +FLAGS (\\Deleted)", DONE);
    }
    exchanges.emplace_back("UID EXPUNGE " + set.substr(0, set.find('\n')), DONE);
    exchanges.emplace_back("UID EXPUNGE " + set.substr(set.find('\n') + 1), DONE);
    exchanges.emplace_back("LOGOUT", DONE);
    Dispose("many", ids.c_str(), nullptr, exchanges, "OK");
}

TEST(ImapDisposal, MailsInTheirFolderStayThere) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "INBOX"}, {"Inbox", "Inbox"}, {"spam", "spam"}, {"Entwürfe", "Entw&APw-rfe"}};
    for (const auto& [folder, target] : cases) {
        RECORDINGROW row;
        row.Item.Set("DoAltFolder", *folder ? "1" : "0");
        row.Item.Set("AltFolder", folder);
        STRING error;
        EXPECT_TRUE(
            ImapMove(row.Call(STRING("127.0.0.1:") || std::to_string(ClosedPort()).c_str()), "1", target, error))
            << folder;
    }
}

}  // namespace
