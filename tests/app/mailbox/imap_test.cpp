#include "app/mailbox/imap.h"

#include "tests/app/mailbox/mailboxsupport.h"
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
        reply = WithTag(reply, tag);
    }
    return exchanges;
}

// The conversation as it goes if the server says something else at one place and goes on at another.
std::vector<EXCHANGE> Deviating(PLACE place, const std::string& reply, PLACE next) {
    std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + place);
    exchanges.emplace_back(WHOLE[place].first, reply);
    exchanges.insert(exchanges.end(), WHOLE.begin() + next, WHOLE.end());
    return exchanges;
}

OUTCOME Get(const SCRIPTEDSERVER& server, const char* user = "joe", const char* password = " pw ",
            bool isModern = false, const char* folder = "", std::string* validity = nullptr) {
    RECORDINGROW row;
    MAILBOXCALL call = row.Call(STRING(server.HostPort()), user, password);
    call.Security.IsModern = isModern;
    STRING result = "from before";
    bool ok = ImapGet(call, folder, IMAP_BODY_BYTES, result);
    EXPECT_EQ(row.Item.Exists("@UidValidity"), ok) << "a failed check tells nothing";
    if (validity && ok)
        *validity = Std(row.Item.Get("@UidValidity"));
    return {ok, Std(result)};
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
    std::string manyNone;
    for (int i = 0; i < 5000; ++i)
        manyNone += " 0";
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
        {"a list longer than any line buffer", SEARCH, "* SEARCH 7" + manyNone + "\r\n" + DONE, SIZE, "msgs", "msgs"},
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
        {"the UID of the mail after it", UID, "* 3 EXPUNGE\r\n* 7 FETCH (UID 43)\r\n" + DONE, END, "",
         "-ERR IMAP99 BAD UID (not found)"},
        {"the body of the mail after it", BODY, "* 7 EXPUNGE\r\n" + bodyReply(literal("x\r\n")), END, "",
         "-ERR IMAP99 BAD UID (not found)"},
        {"a later mail has gone", BODY, "* 8 EXPUNGE\r\n" + bodyReply(literal("x\r\n")), LOGOUT, "line\n .\n\n",
         "x\n\n"},
        {"a UID, though refused", UID, "* 7 FETCH (FLAGS () uid 42\r\n$NO\r\n", BODY, "msgs", "msgs"},
        {"a body refused", BODY, "$NO\r\n", LOGOUT, "line\n .\n\n", "<2993>\n"},
        {"a body that looks like the contract's marks", BODY,
         bodyReply(literal("*\r\n\1\r\n..\r\n * \r\n.\r\r\nIMAPCMD_7 OK x\r\n* 7 FETCH (UID 9)\r\n")), LOGOUT,
         "line\n .\n\n", " *\n \n..\n * \n .\nIMAPCMD_7 OK x\n* 7 FETCH (UID 9)\n\n"},
        {"farewell refused", LOGOUT, "$NO stay\r\n", END, "", "-ERR IMAPCMD_8 NO stay"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        const std::vector<EXCHANGE> untagged = Deviating(c.Place, c.Reply, c.Next), exchanges = Tagged(untagged);
        const OUTCOME expected = c.From.empty() ? OUTCOME{false, c.To} : OUTCOME{true, Replaced(LISTED, c.From, c.To)};
        Patiently(IsSilent(exchanges) || c.Late, [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            OUTCOME outcome = Get(server);
            return Problem(server, exchanges, outcome, expected);
        });
        ExpectImapTheSameFast(untagged, expected, IsSilent(exchanges) || c.Late);
    }
}

TEST(ImapLogin, TheBestWayThatAServerTakes) {
    const auto can = [](const std::string& words) {
        return EXCHANGE{"CAPABILITY", "* CAPABILITY IMAP4rev1 " + words + "\r\n" + DONE};
    };
    const auto greeted = [](const std::string& words) { return "* OK [CAPABILITY IMAP4rev1 " + words + "] hello\r\n"; };
    const std::string no = "-ERR IMAPCMD_0 NO", bare = GREETING, idle = greeted("IDLE"),
                      plain = greeted("AUTH=LOGIN auth=plain SASL-IR LOGINDISABLED"), literals = greeted("LITERAL+");
    const EXCHANGE logIn{"LOGIN \"joe\" \"pw\"", DONE};
    const std::string atOnce = "AUTHENTICATE PLAIN AGpvZQBwdw==";
    const struct {
        const char* What;
        std::string Greeting;
        std::vector<EXCHANGE> Asked, LogIn;
        std::string Error = {};  // none: it works
        const char *User = "joe", *Password = "pw";
        bool IsModern = true;
    } cases[] = {
        {"busy", "* BYE I was OK once\r\n", {}, {}, "-ERR * BYE I was OK once"},
        {"logged in already", "* PREAUTH you are OK to me\r\n", {}, {}, "-ERR * PREAUTH you are OK to me"},
        {"no IMAP", "hello\r\n", {}, {}, "-ERR hello"},
        {"as ever", bare, {}, {{"LOGIN Joe7 p w\"", "$NO\r\n"}}, no, "Joe7", "  p w\"", false},
        {"a name in quotes", bare, {}, {{"LOGIN \"j@x.example\" pw", "$NO\r\n"}}, no, "j@x.example", "pw", false},
        {"other letters, as ever",
         bare,
         {},
         {{"LOGIN \"Γιώ\\\\日\" \"パス ü\"", "$NO\r\n"}},
         no,
         "Γιώ\\日\t",
         "パス ü",
         false},
        {"no second line",
         bare,
         {},
         {{"LOGIN \"a\\\" b\" pIMAPCMD_1 DELETE x", "$NO\r\n"}},
         no,
         "a\" b",
         "p\r\nIMAPCMD_1 DELETE x\x7f",
         false},
        {"told by the greeting", idle, {}, {logIn}},
        {"told when asked", bare, {can("IDLE")}, {logIn}},
        {"not told", bare, {{"CAPABILITY", "$BAD what\r\n"}}, {logIn}},
        {"one message, at once", plain, {}, {{atOnce, DONE}}},
        {"one message, when asked",
         bare,
         {can("AUTH=PLAIN")},
         {{"AUTHENTICATE PLAIN", "+\r\n"}, {">AGpvZQBwdw==", DONE}}},
        {"two messages",
         bare,
         {can("AUTH=LOGIN")},
         {{"AUTHENTICATE LOGIN", "+ VXNlcm5hbWU6\r\n"}, {">am9l", "+ UGFzc3dvcmQ6\r\n"}, {">cHc=", DONE}}},
        {"listed, and not known", greeted("AUTH=PLAIN SASL-IR"), {}, {{atOnce, "$BAD what\r\n"}, logIn}},
        {"listed, not known, and nothing else",
         bare,
         {can("AUTH=LOGIN LOGINDISABLED")},
         {{"AUTHENTICATE LOGIN", "$BAD what\r\n"}},
         "-ERR IMAPCMD_0 BAD what"},
        {"no login in the clear", bare, {can("LOGINDISABLED AUTH=GSSAPI")}, {}, "-ERR 999 No login method"},
        {"quotes", idle, {}, {{"LOGIN \"a\\\"b\" \"p\\\\ w{9}\"", DONE}}, "", "a\"b", "p\\ w{9}"},
        {"other bytes, when asked",
         idle,
         {},
         {{"LOGIN {3}", "+ go\r\n"}, {">jö {4}", "+ on\r\n"}, {">p\x01ä", DONE}},
         "",
         "jö",
         "p\x01ä"},
        {"a literal is refused", idle, {}, {{"LOGIN {3}", "$NO letters\r\n"}}, "-ERR IMAPCMD_0 NO letters", "jö", "ä"},
        {"other bytes, at once", literals, {}, {{"LOGIN {3+}", ""}, {">jö {2+}", ""}, {">ä", DONE}}, "", "jö", "ä"},
        {"asked for more than there is", plain, {}, {{atOnce, "+\r\n$NO no\r\n"}}, "-ERR IMAPCMD_0 NO no"},
        {"refused",
         idle,
         {},
         {{logIn.first, "$NO [AUTHENTICATIONFAILED] wrong\r\n"}},
         "-ERR IMAPCMD_0 NO [AUTHENTICATIONFAILED] wrong"},
        {"what it wants said",
         idle,
         {},
         {{logIn.first,
           "* OK [CAPABILITY X]\r\n* NO [WEBALERT https://x.example/?a=1] Web login required.\r\n$NO [ALERT] Go "
           "there\r\n"}},
         "-ERR IMAPCMD_0 NO [ALERT] Go there Web login required."},
        {"it leaves", idle, {}, {{logIn.first, "* BYE [UNAVAILABLE] later\r\n"}}, "-ERR * BYE [UNAVAILABLE] later"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::vector<EXCHANGE> rest = c.LogIn, exchanges = c.Asked;
        if (c.Error.empty())
            rest.insert(rest.end(), {{"SELECT INBOX", "* 0 EXISTS\r\n" + DONE}, {"LOGOUT", DONE}});
        // Tags count from the login on; what is asked before it has others.
        for (auto& [command, reply] : exchanges) {
            command = "IMAPPRE_0 " + command;
            reply = WithTag(reply, "IMAPPRE_0 ");
        }
        int number = -1;
        for (auto& [command, reply] : rest) {
            const bool goesOn = command.starts_with('>');
            const std::string tag = "IMAPCMD_" + std::to_string(goesOn ? number : ++number) + " ";
            exchanges.emplace_back(goesOn ? command.substr(1) : tag + command, WithTag(reply, tag));
        }
        SCRIPT script = ServerScript(c.Greeting, exchanges);
        if (std::string_view(c.What) == "it leaves")
            script.push_back(PLAY::Cut());
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(script);
        const OUTCOME expected{c.Error.empty(), c.Error.empty() ? "0 msgs|? unread|0 bytes\n" : c.Error};
        EXPECT_EQ(Problem(server, exchanges, Get(server, c.User, c.Password, c.IsModern), expected), "");
    }
}

TEST(ImapGet, FoldersOnTheWireAndUnderWhatTheirUidsAreValid) {
    const std::string valid = "* OK [UIDVALIDITY 4294967295] ok\r\n* 0 EXISTS\r\n" + DONE;
    const std::tuple<const char*, const char*, std::string, const char*> cases[] = {
        {"", "INBOX", valid, "4294967295"},
        {"inbox", "inbox", valid, "4294967295"},
        {"", "INBOX", "* 0 EXISTS\r\n* OK [UIDVALIDITY 4294967296]\r\n* OK UIDVALIDITY 3\r\n" + DONE, ""},
        {"[x].&AOQ-/a", "[x].&AOQ-/a", valid, "4294967295|[x].&AOQ-/a"},
        {"my spam", "\"my spam\"", valid, "4294967295|my spam"},
        {"Entwürfe/日本語 & 😀ÿ", "\"Entw&APw-rfe/&ZeVnLIqe- &- &2D3eAAD,-\"", valid,
         "4294967295|Entwürfe/日本語 & 😀ÿ"},
        {"\"my spam\"", "\"my spam\"", valid, "4294967295|\"my spam\""},
        {"\"a\" b\"", "\"\\\"a\\\" b\\\"\"", valid, "4294967295|\"a\" b\""},
        {"a{9}\r\nx DELETE y\\", "\"a{9}x DELETE y\\\\\"", "$NO\r\n", nullptr},
    };
    for (const auto& [folder, argument, reply, wantedValidity] : cases) {
        std::vector<EXCHANGE> exchanges = {WHOLE[LOGIN], {std::string("SELECT ") + argument, reply}};
        if (wantedValidity)
            exchanges.push_back(WHOLE[LOGOUT]);
        exchanges = Tagged(exchanges);
        SHORTTIMES times(8000);
        SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
        std::string validity = "none";
        const OUTCOME outcome = Get(server, "joe", "pw", false, folder, &validity),
                      expected = wantedValidity ? OUTCOME{true, "0 msgs|? unread|0 bytes\n"}
                                                : OUTCOME{false, "-ERR IMAPCMD_1 NO"};
        EXPECT_EQ(Problem(server, exchanges, outcome, expected), "");
        EXPECT_EQ(validity, wantedValidity ? wantedValidity : "none");
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
    const std::vector<EXCHANGE> exchanges = Tagged(Deviating(SELECT, flood, END));
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
    const auto exchanges = Tagged(Deviating(HEADER, header, FIELDS));
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
