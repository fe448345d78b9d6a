#include "app/mailbox/imap.h"

#include "app/mailbox/listing.h"
#include "tests/app/mailbox/mailboxsupport.h"

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
    "+OK 1 msgs|0 unread|0 bytes\nX-Size: 120\nX-Transport: From: a\\r\\nTo: b\\r\\n\\r\\n\nFrom: a\nTo: b\n"
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
std::vector<EXCHANGE> Deviating(PLACE place, const std::string& reply, PLACE next) {
    std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + place);
    exchanges.emplace_back(WHOLE[place].first, reply);
    exchanges.insert(exchanges.end(), WHOLE.begin() + next, WHOLE.end());
    return Tagged(exchanges);
}

OUTCOME Get(const SCRIPTEDSERVER& server, int bytes = IMAP_BODY_BYTES, const char* folder = "") {
    RECORDINGROW row;
    STRING result = "from before";
    bool ok = ImapGet(row.Progress(), STRING(server.HostPort()), "joe", " pw ", folder, bytes, result);
    return {ok, Std(result)};
}

TEST(ImapGet, OutcomeOfWhatAServerMaySay) {
    const std::string longLine(5000, 'x'), header = "From: a\\r\\nTo: b\\r\\n\\r\\n",
                                           none = "1 msgs|? unread|0 bytes\n";
    const auto headerReply = [](const char* length) {
        return "* 7 FETCH (BODY[HEADER] {" + std::string(length) + "}\r\nFrom: a\r\nTo: b\r\n\r\n)\r\n" + DONE;
    };
    const auto fieldsReply = [](const std::string& text) { return "* 7 FETCH (BODY[...] {9}\r\n" + text + DONE; };
    const struct {
        const char* What;
        PLACE Place;
        std::string Reply;
        PLACE Next;  // END: the client gives up
        // Listed, with From replaced by To; or the error if there is no From.
        std::string From, To;
        bool Late = false;  // silent, though it has said something
    } cases[] = {
        {"all well", LOGOUT, DONE, END, "+OK", "+OK"},
        {"log-on refused", LOGIN, "$NO who\r\n", END, "", "-ERR IMAPCMD_0 NO who"},
        {"OK without a blank", LOGIN, "$OK\r\n", END, "", "-ERR IMAPCMD_0 OK"},
        {"log-on silent", LOGIN, "", END, "", "-ERR "},
        {"a tag in another case is none", SELECT, "* 1 EXISTS\r\nimapcmd_1 OK x\r\n", END, "", "-ERR ", true},
        {"an earlier tag is none", SELECT, "* 1 EXISTS\r\nIMAPCMD_0 OK x\r\n" + DONE, SEARCH, "+OK", "+OK"},
        {"no count", SELECT, DONE, END, "", "-ERR IMAP99 BAD 'EXISTS' not found"},
        {"count in odd company", SELECT, "* OK 5\r\n* 0 RECENT\r\n* 1 exists\r\n* 9 EXISTS\r\n" + DONE, SEARCH, "+",
         "+"},
        {"nothing there", SELECT, "* 0 EXISTS\r\n" + DONE, LOGOUT, LISTED.substr(4), "0 msgs|? unread|0 bytes\n"},
        {"the server leaves", SEARCH, "* BYE too busy\r\n", END, "", "-ERR ", true},
        {"no search result", SEARCH, DONE, END, "", "-ERR IMAP99 BAD SEARCH result error"},
        {"nothing found", SEARCH, "* SEARCH\r\n" + DONE, LOGOUT, LISTED.substr(4), none},
        {"size refused", SIZE, "$NO gone\r\n", END, "", "-ERR IMAPCMD_3 NO gone"},
        {"no size", SIZE, "* 7 FETCH ()\r\n" + DONE, HEADER, "X-Size: 120\n", ""},
        {"a size past all numbers", SIZE, "* X.SIZE 99999999999\r\n" + DONE, HEADER, "120", "2147483647"},
        {"a header of five digits", HEADER, headerReply("12000"), FIELDS, "X-Transport: " + header + "\n", ""},
        {"a header of none", HEADER, headerReply(""), FIELDS, header, ""},
        {"a header shorter than it is", HEADER, headerReply("4"), FIELDS, header, "From"},
        {"a header longer than all", HEADER, headerReply("9999"), FIELDS, header,
         header + ")\\r\\nIMAPCMD_4 OK done\\n"},
        {"lines longer than the buffer, of every length near it", HEADER,
         "{7000}\r\nA: " + longLine.substr(0, 4091) + "\r\nB: " + longLine.substr(0, 1200) + "\r\n" + longLine +
             "\r\n" + DONE,
         FIELDS, header,
         "A: " + longLine.substr(0, 4091) + "\\r\\nB: " + longLine.substr(0, 1200) + "\\r\\n" +
             longLine.substr(0, 1699)},
        {"no flags, a folded line, a line twice, in another case", FIELDS,
         fieldsReply("date: d\r\nSUBJECT: s\r\n t\r\nFrom: a\r\nfrom: b\r\nTo:\r\n"), UID,
         "0 unread|0 bytes\nX-Size: 120\nX-Transport: " + header + "\nFrom: a\nTo: b\nMessage-Id: 42\nSeen: 1",
         "? unread|0 bytes\nX-Size: 120\nX-Transport: " + header +
             "\nFrom: a\nSUBJECT: s\ndate: d\nMessage-Id: 42\nSeen: 0"},
        {"the first flags count, be they of another mail", FIELDS,
         "* 3 FETCH (flags (\\SEEN))\r\n* 7 FETCH (FLAGS ())\r\nFrom: a\r\nTo: b\r\n" + DONE, UID, "+", "+"},
        {"a field does not end the block", FIELDS, fieldsReply("From: \1b\r\nTo: b\r\nFLAGS (\\Seen)\r\n"), UID,
         "From: a\nTo", "From:  b\nTo"},
        {"no UID", UID, DONE, END, "", "-ERR IMAP99 BAD UID (not found)"},
        {"a UID, though refused", UID, "* 7 FETCH (FLAGS () uid 42\r\n$NO\r\n", BODY, "+", "+"},
        {"a body as a short text", BODY, "* 7 FETCH (BODY[1]<0> \"line\")\r\n" + DONE, LOGOUT, "line\n .\n\n",
         "<2993>\n"},
        {"a body that looks like the contract's marks", BODY, "{15}\r\n*\r\n\1\r\n..\r\n * \r\n" + DONE, LOGOUT,
         "line\n .\n\n", " *\n \n..\n * \n\n"},
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
    }
}

// What one turn for each mail says; a list of mails longer than any line buffer is one list.
TEST(ImapGet, NewestFirstWithoutBodies) {
    constexpr int MAILS = 1100;
    std::string list = "* SEARCH", expected = "+OK 1100 msgs|1 unread|0 bytes\n";
    std::vector<EXCHANGE> exchanges = {{"LOGIN joe pw", DONE}, {"SELECT spam", "* 1100 EXISTS\r\n" + DONE}};
    for (int i = 1; i <= MAILS; ++i)
        list += " " + std::to_string(i);
    exchanges.emplace_back("SEARCH ALL", list + "\r\n" + DONE);
    for (int i = MAILS; i >= 1; --i) {
        const std::string fetch = "FETCH " + std::to_string(i), uid = std::to_string(5000 + i);
        for (const char* what : {" (RFC822.SIZE)", " (BODY.PEEK[HEADER])"})
            exchanges.emplace_back(fetch + what, DONE);
        exchanges.emplace_back(fetch + WHOLE[FIELDS].first.substr(7),
                               (i == 1 ? "FLAGS\r\n" : "FLAGS \\Seen\r\n") + DONE);
        exchanges.emplace_back(fetch + " (UID)", "UID " + uid + ")\r\n" + DONE);
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
    const struct {
        const char* User;
        const char* Password;
        const char* Line;  // null: the greeting is a refusal already
    } cases[] = {
        {"", "", nullptr},
        {"Joe7", "  p w\"", "LOGIN Joe7 p w\""},
        {"joe@example.org", "pw", "LOGIN \"joe@example.org\" pw"},
        {"\xfc", "pw", "LOGIN \"\\xfc\" pw"},
    };
    for (const auto& c : cases) {
        std::vector<EXCHANGE> exchanges;
        if (c.Line)
            exchanges = Tagged({{c.Line, "$NO\r\n"}});
        SCRIPTEDSERVER server(ServerScript(c.Line ? GREETING : "* BYE busy\r\n", exchanges));
        RECORDINGROW row;
        STRING result;
        bool ok = ImapGet(row.Progress(), STRING(server.HostPort()), c.User, c.Password, "", 0, result);
        const OUTCOME expected{false, c.Line ? "-ERR IMAPCMD_0 NO" : "-ERR * BYE busy"};
        EXPECT_EQ(Problem(server, exchanges, {ok, Std(result)}, expected), "");
    }
}

TEST(ImapGet, ACutAfterAnyByteIsAnErrorAndNeverHalfAListing) {
    const SCRIPT script = ServerScript(GREETING, Tagged(WHOLE));
    const int total = ServerBytes(script), confirmed = total - static_cast<int>(strlen("done\r\n"));
    for (int sent = 0; sent < total && !HasFailure(); ++sent) {
        SCOPED_TRACE("cut behind byte " + std::to_string(sent));
        Patiently(true, [&] {
            SCRIPTEDSERVER server(script);
            server.CutAfter(sent);
            const OUTCOME outcome = Get(server);
            const bool right = sent >= confirmed ? outcome == OUTCOME{true, LISTED}
                                                 : !outcome.Ok && outcome.Result.starts_with("-ERR ");
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
            ImapTimes.ReplyBytes = 1000;
        else
            ImapTimes.ReplySeconds = -1;
        SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
        const OUTCOME outcome = Get(server);
        EXPECT_EQ(outcome, (OUTCOME{false, "-ERR IMAP99 BAD reply without end"})) << bytes;
        server.Mismatch();
    }
}

TEST(ImapDisposal, WhatGoesAndWhatIsSaid) {
    const EXCHANGE find5{"SEARCH (UID 5)", "* SEARCH 3\r\n" + DONE}, gone6{"SEARCH (UID 6)", "* SEARCH\r\n" + DONE},
        mark3{"STORE 3 +FLAGS \\deleted", DONE}, expunge{"EXPUNGE", "* 3 EXPUNGE\r\n" + DONE},
        leave{"LOGOUT", "$NO\r\n"};
    const struct {
        const char* What;
        const char* Ids;
        const char* Folder;  // null: they are deleted
        std::vector<EXCHANGE> Exchanges;
        bool Ok;
        std::string Error;
        PLACE From = SEARCH;
    } cases[] = {
        {"one is there, one has gone", "5\n\n6\n", nullptr, {find5, mark3, gone6, expunge, leave}, true, "OK"},
        {"the search's line is not the first: cut as it always was",
         "5",
         nullptr,
         {{"SEARCH (UID 5)", "* 4 EXISTS\r\n* 1 RECENT\r\n* search 1234\r\n" + DONE},
          {"STORE 34 +FLAGS \\deleted", DONE},
          expunge,
          leave},
         true,
         "OK"},
        {"refused", "5", nullptr, {{"SEARCH (UID 5)", "$BAD no such thing\r\n"}}, false, "BAD no such thing"},
        {"not marked", "5\n6", nullptr, {find5, {mark3.first, "$NO r/o\r\n"}}, false, "NO r/o"},
        {"silent", "", nullptr, {{"EXPUNGE", ""}}, false, ""},
        {"moved", "5", "my spam", {find5, {"COPY 3 my spam", DONE}, mark3, expunge, leave}, true, "OK"},
        {"no folder", "5", "x", {find5, {"COPY 3 x", "$NO [TRYCREATE] no x\r\n"}}, false, "[TRYCREATE] no x"},
        {"log-on refused", "5", nullptr, {{"LOGIN joe pw", "$NO [AUTH] no\r\n"}}, false, "NO [AUTH] no", LOGIN},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::vector<EXCHANGE> exchanges(WHOLE.begin(), WHOLE.begin() + c.From);
        exchanges.insert(exchanges.end(), c.Exchanges.begin(), c.Exchanges.end());
        exchanges = Tagged(exchanges);
        Patiently(IsSilent(exchanges), [&] {
            SCRIPTEDSERVER server(ServerScript(GREETING, exchanges));
            RECORDINGROW row;
            const STRING host(server.HostPort());
            STRING error;
            bool ok = c.Folder ? ImapMove(row.Progress(), host, "joe", "pw", c.Ids, c.Folder, error)
                               : ImapDelete(row.Progress(), host, "joe", "pw", c.Ids, error);
            return Problem(server, exchanges, {ok, Std(error)}, {c.Ok, c.Error});
        });
    }
}

}  // namespace
