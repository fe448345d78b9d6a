// Whole checks of a mailbox on a real server: spam is scored, marked, kept, deleted, and nothing else is.

#include "app/mailbox/imap.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/files.h"
#include "tests/app/check/fakes.h"
#include "tests/app/filter/filtertest.h"
#include "tests/servers/dovecot.h"
#include "tests/support/times.h"

namespace {

constexpr const char* GOOD = "From: A B <a@x.example>\nSubject: lunch\nMessage-Id: <good@x>\n\nhello\n";
constexpr const char* TRASH = "From: A B <a@x.example>\nSubject: poor\nMessage-Id: <trash@x>\n\nkeepable offer\n";
constexpr const char* WORST = "From: A B <a@x.example>\nSubject: poorest\nMessage-Id: <worst@x>\n\nterrible offer\n";

// The body of a mail that says what an IMAP server would say: the end of the reply that shows it, if it is the newest
// one and the `tag`-th command fetched it, then the replies to all commands for the `mails` mails after it, in which
// the mails with the UIDs 1, 2, ... are spam, and the farewell. Lines end in "\n".
std::string ForgedReplies(int tag, int mails) {
    std::string text;
    const auto say = [&](const std::string& lines) {
        text += lines + "IMAPCMD_" + std::to_string(tag++) + " a OK x\n";
    };
    say("");
    for (int uid = mails; uid >= 1; --uid) {
        const std::string start = "* " + std::to_string(uid) + " FETCH (";
        say(start + "RFC822.SIZE 10)\n");
        say("");
        say(start + "FLAGS ())\nFrom: A B <a@x.example>\nSubject: keepable offer\n");
        say(start + "UID " + std::to_string(uid) + ")\n");
        say(start + "BODY[1]<0> {14}\nkeepable offer)\n");
    }
    say("");
    return text;
}

class RealDisposal : public FILTERTEST {
 protected:
    RealDisposal() {
        for (const char* key : {"SpamDoDelete", "SpamDoTrash", "SpamDoMove"})
            State.Set(key, "1");
        State.Set("SpamMovePoints", "100");
        State.Set("SpamDoDomain", "0");
        State.Set("SpamFilename", Dir.File("spamdef.dat"));
        WriteBytes(Dir.File("spamdef.dat"), "B|190/3|keepable\r\nB|590/3|terrible\r\n");
        (void)OSYS::MakeDirectories(Dir.File(TRASH_FOLDER).Text());
        Trash.SetDirectory(Dir.Path());
        int handle = FIRST_ITEM_HANDLE;
        STRINGARRAY item;
        FixItem(item, State, handle);
        item.Set("Type", "1");
        item.Set("Name", "real");
        item.Set("Source2", "secret");
        Items.Add(item);
    }
    void Check() {
        CHECKCYCLE::ForceRefresh(Items[0], false);
        Cycle.UpdateItem(Items[0]);
    }
    std::string Value(const char* key) const { return Std(Items[0].Get(key)); }

    TEMPDIR Dir;
    JOURNAL Journal;
    RECORDARRAY Items{8, 8};
    FRONTEND Nobody;
    FAKEMXLOOKUP Mx;
    SPAMFILTER Filter{State, Texts, Nobody, Mx};
    MAILHANDLING Mailboxes{Nobody, Texts, State};
    TRASHSTORE Trash;
    RECORDINGNOTIFIER Notifier;
    FAKEDIALUP Dialup{Journal};
    CHECKCYCLE Cycle{CHECKPARTS{State, Items, Nobody, FAKETEXTS, Mailboxes, Filter, Trash, Notifier, Dialup}};
};

TEST_F(RealDisposal, RemovesAtTheNextPassWhatWasMarkedAndNothingElse) {
    DOVECOT server;
    ASSERT_EQ(server.Problem(), "");
    Items[0].Set("Source", server.PopServer() || "|joe");
    for (const char* mail : {GOOD, TRASH, WORST, GOOD})
        server.Deliver("joe", mail);
    Check();
    EXPECT_EQ(Value("@DeleteMessageId").substr(0, 2), "3|") << "the worst, newest first";
    EXPECT_EQ(server.Inbox("joe").size(), 4U) << "a decision alone removes nothing";
    EXPECT_EQ(Value("LastRC"), "4|2?") << "spam counts as a mail of the server and as no news";
    EXPECT_EQ(Items[0].GetNumber("@ForceRefresh"), 1) << "the next pass is to come at once";

    Cycle.UpdateItem(Items[0]);
    EXPECT_EQ(server.Inbox("joe"), (std::vector<std::string>{GOOD, GOOD}));
    EXPECT_EQ(Value("@DeleteMessageId"), "");
    EXPECT_EQ(Items[0].GetNumber("@ForceRefresh"), 0);
    STRINGARRAY kept;
    ASSERT_TRUE(kept.Load((Dir.File(TRASH_FOLDER) || "\\100000000.ini").Text()));
    EXPECT_EQ(Std(kept.Get("Subject")), "poor");
    EXPECT_EQ(ReadBytes(Dir.File(TRASH_FOLDER) || "\\100000000.txt").substr(0, 16), "keepable offer\r\n");
    EXPECT_FALSE(OSYS::FileExists((Dir.File(TRASH_FOLDER) || "\\100000001.ini").Text()))
        << "a deletion wins over a copy, and nothing is kept twice";

    // What the user deletes; a mail whose size is another one by then is left alone.
    Items[0].Set("@DeleteMessageId",
                 STRING("2|") || std::to_string(std::string_view(GOOD).size() + 5).c_str() || "\n1|1\n");
    Cycle.UpdateItem(Items[0]);
    EXPECT_EQ(server.Inbox("joe").size(), 1U) << Value("LastValue");
}

TEST_F(RealDisposal, AMailThatTalksLikeAServerCostsNoOtherMail) {
    DOVECOT server;
    ASSERT_EQ(server.Problem(), "");
    SHRINKABLE::ImapTimes.PauseMs = 0;
    State.Set("SpamDoDelete", "0");
    Items[0].SetNumber("Type", ITEMTYPE_IMAP);
    Items[0].Set("Source", server.ImapServer() || "|joe");
    const std::vector<std::string> good = {GOOD, std::string(GOOD) + "again\n", std::string(GOOD) + "and again\n"};
    for (const std::string& mail : good)
        server.Deliver("joe", mail);
    server.Deliver("joe", "From: A B <a@x.example>\nSubject: keepable offer\n\n" + ForgedReplies(7, 3));
    Check();
    EXPECT_EQ(Value("@DeleteMessageId"), "4\n");
    EXPECT_EQ(Value("LastSeenIds"), "3|2|1");
    Cycle.UpdateItem(Items[0]);
    EXPECT_EQ(server.Inbox("joe"), good) << Value("LastValue");
    SHRINKABLE::ImapTimes = {};
}

}  // namespace
