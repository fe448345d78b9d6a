#pragma once

#include "app/mailbox/imap.h"
#include "app/mailbox/listing.h"
#include "app/mailbox/pop3.h"
#include "corelib/net/tcpio.h"
#include "tests/app/apptest.h"
#include "tests/servers/answeringdevice.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/times.h"

/// A line of the client, without its line break, and what the server says to it. An empty reply is silence.
using EXCHANGE = std::pair<std::string, std::string>;

/// The server's side of a conversation: its greeting, then the exchanges.
inline SCRIPT ServerScript(const std::string& greeting, const std::vector<EXCHANGE>& exchanges) {
    SCRIPT script{PLAY::Send(greeting)};
    for (const auto& [command, reply] : exchanges) {
        script.push_back(PLAY::Expect(command));
        script.push_back(PLAY::Send(reply));
    }
    return script;
}

/// What a client sends that holds all of these exchanges and no more.
inline std::string Commands(const std::vector<EXCHANGE>& exchanges) {
    std::string text;
    for (const auto& exchange : exchanges)
        text += exchange.first + "\r\n";
    return text;
}

/// Time-outs of this length, in ms, and no pauses, as long as the object lives.
class SHORTTIMES {
 public:
    explicit SHORTTIMES(int ms) {
        SHRINKABLE::PopTimes.GreetingMs = SHRINKABLE::PopTimes.ReplyMs = SHRINKABLE::ImapTimes.LineMs =
            SHRINKABLE::TcpTimes.ReadFailedMs = ms;
        SHRINKABLE::ImapTimes.PauseMs = 0;
    }
    ~SHORTTIMES() {
        SHRINKABLE::PopTimes = FormerPop;
        SHRINKABLE::ImapTimes = FormerImap;
        SHRINKABLE::TcpTimes = FormerTcp;
    }
    SHORTTIMES(const SHORTTIMES&) = delete;
    SHORTTIMES& operator=(const SHORTTIMES&) = delete;

 private:
    POPTIMES FormerPop = SHRINKABLE::PopTimes;
    IMAPTIMES FormerImap = SHRINKABLE::ImapTimes;
    TCPTIMES FormerTcp = SHRINKABLE::TcpTimes;
};

/// Texts that show their numbers, and a row that keeps what it was told.
class RECORDINGROW : public ROWFRONTEND, public NUMBERTEXTS {
 public:
    PROGRESS Progress() { return {*this, *this, 4096}; }
    /// A call that reports here and asks StopAsked. For as long as this object lives.
    MAILBOXCALL Call(const STRING& server, const STRING& user = "joe", const STRING& password = "pw") {
        return {Item, OwnProgress, NoKeys, StopAsked, server, user, password};
    }
    STOPQUESTION StopAsked;
    STRINGARRAY Item;

 private:
    const PROGRESS OwnProgress{*this, *this, 4096};
    const STRINGARRAY NoKeys;
};

/// What came of a call: its truth value, and the listing or the error text.
struct OUTCOME {
    bool Ok;
    std::string Result;
    bool operator==(const OUTCOME&) const = default;
};

inline void PrintTo(const OUTCOME& outcome, std::ostream* out) {
    *out << (outcome.Ok ? "true, " : "false, ") << testing::PrintToString(outcome.Result);
}

/// A server that falls silent is waited for as short as can be. Only on a machine that is too slow for that its outcome
/// is another one, and gets more time. `run` gives what is wrong, or an empty text.
template <class RUN>
void Patiently(bool silent, RUN run) {
    std::string problem;
    for (int ms : {5, 50, 500, 8000}) {
        if (!silent && ms < 8000)
            continue;
        SHORTTIMES times(ms);
        problem = run();
        if (problem.empty())
            return;
    }
    ADD_FAILURE() << problem;
}

/// What is wrong with a conversation that should have had this outcome, and these exchanges and no others.
inline std::string Problem(SCRIPTEDSERVER& server, const std::vector<EXCHANGE>& exchanges, const OUTCOME& outcome,
                           const OUTCOME& expected) {
    bool over = server.Wait();
    std::string mismatch = server.Mismatch(), sent = server.Transcript();
    if (over && mismatch.empty() && sent == Commands(exchanges) && outcome == expected)
        return "";
    return testing::PrintToString(outcome) + "\ninstead of\n" + testing::PrintToString(expected) +
           "\nthe client sent " + testing::PrintToString(sent) + "\n" + mismatch;
}

inline bool IsSilent(const std::vector<EXCHANGE>& exchanges) {
    return std::any_of(exchanges.begin(), exchanges.end(), [](const EXCHANGE& e) { return e.second.empty(); });
}

/// Makes a listing the item's last one, as a check does that has filtered it.
inline void StoreListing(STRINGARRAY& item, const std::string& listing) {
    const STRING text{std::string_view(listing)};
    std::string stored = listing.substr(0, listing.find('\n') + 1);
    LISTING::BLOCKCURSOR blocks(text);
    const char* separator = "";
    for (std::string_view block; blocks.Next(block); separator = "\1")
        stored.append(separator).append("X-SpamReason: y\fz\nX-SpamPoints: 7\n").append(block);
    item.Set("@FileStore", STRING(std::string_view(stored)));
    item.Set("@KnownMails", item.Exists("@ListedMails") ? item.Get("@ListedMails") : STRING(""));
}

/// A check of a server that is asked ahead and answers each line. The item keeps what is learnt.
template <class READ>
OUTCOME ReadFast(STRINGARRAY& item, const std::string& greeting, ANSWERINGDEVICE::ANSWER answer, READ read) {
    ANSWERINGDEVICE device(greeting, std::move(answer));
    RECORDINGROW row;
    row.Item = item;
    row.Item.Set("FastCheck", "1");
    STRING result = "from before";
    const bool ok = read(device, row.Call("server"), result);
    item = row.Item;
    return {ok, Std(result)};
}

/// The first "$" of a reply of an IMAP server is its command's tag and a blank.
inline std::string WithTag(std::string reply, const std::string& tag) {
    const size_t at = reply.find('$');
    return at == reply.npos ? reply : reply.replace(at, 1, tag);
}

/// Expects that checks of such a server by the fast way, from nothing and with a listing to go on from, come to this.
template <class MAKESERVER>
void ExpectTheSameFast(MAKESERVER makeServer, const OUTCOME& expected, bool isSilent) {
    Patiently(isSilent, [&] {
        auto server = makeServer();
        STRINGARRAY item;
        for (int check = 0; check < 2; ++check) {
            const OUTCOME outcome = server.Get(item);
            if (outcome.Ok != expected.Ok || (outcome.Ok && outcome != expected))
                return testing::PrintToString(outcome);
            StoreListing(item, outcome.Ok ? outcome.Result : "");
        }
        return std::string();
    });
}

/// Expect that the fast way to read a mailbox comes to the same, where a server says this to the commands for its POP3
/// mails 1 and 2, or for its IMAP mail 7; without tags.
void ExpectPopTheSameFast(const std::vector<EXCHANGE>& exchanges, const OUTCOME& expected, bool isSilent);
void ExpectImapTheSameFast(const std::vector<EXCHANGE>& exchanges, const OUTCOME& expected, bool isSilent);
