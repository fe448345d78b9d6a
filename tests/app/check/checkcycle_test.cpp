#include "app/check/checkcycle.h"

#include <climits>

#include "app/check/newmail.h"
#include "tests/app/check/fakes.h"

namespace {

using LIST = std::vector<std::string>;

constexpr const char* ONE_MAIL = "1 msgs|1 unread|0 bytes\nMessage-Id: a\n\nbody\n\1";
// The filter, which is off, puts its field on top, and no end after the last mail.
constexpr const char* ONE_MAIL_STORED = "1 msgs|1 unread|0 bytes\nX-SpamPoints: 0\nMessage-Id: a\n\nbody\n";

/// The checks and disposals among what was noted.
LIST Checks(const LIST& journal) {
    LIST checks;
    for (const std::string& entry : journal) {
        if (entry.starts_with("get ") || entry.starts_with("delete ") || entry.starts_with("move "))
            checks.push_back(entry);
    }
    return checks;
}

class Items : public CYCLETEST {};

TEST_F(Items, AreDueByTheirPeriodAndByRequest) {
    STRINGARRAY& item = AddItem("a", 600);
    EXPECT_TRUE(CHECKCYCLE::NeedsRefresh(item)) << "never checked";
    CHECKCYCLE::Refreshed(item);
    EXPECT_EQ(atoi64(item.Get("LastRefresh")), CLOCK::Seconds());
    EXPECT_TRUE(Std(item.Get("LastRefreshString")).find(" / ") != std::string::npos);
    Clock.Advance(599000);
    EXPECT_FALSE(CHECKCYCLE::NeedsRefresh(item));
    Clock.Advance(1000);
    EXPECT_TRUE(CHECKCYCLE::NeedsRefresh(item));
    Clock.Advance(-3600000);
    EXPECT_FALSE(CHECKCYCLE::NeedsRefresh(item)) << "the clock is set back";
    EXPECT_EQ(atoi64(item.Get("LastRefresh")), CLOCK::Seconds());
    Clock.Advance(600000);
    EXPECT_TRUE(CHECKCYCLE::NeedsRefresh(item));

    item.SetNumber("TimingCyclic", 0);
    EXPECT_FALSE(CHECKCYCLE::NeedsRefresh(item));
    item.Set("@MoveMessageId", "1\n");
    EXPECT_FALSE(CHECKCYCLE::NeedsRefresh(item)) << "a move alone waits";
    item.Set("@DeleteMessageId", "1\n");
    EXPECT_TRUE(CHECKCYCLE::NeedsRefresh(item));
    item.Set("@DeleteMessageId", "");
    CHECKCYCLE::ForceRefresh(item, true);
    CHECKCYCLE::ForceRefresh(item, false);
    EXPECT_EQ(item.GetNumber("@ForcePopup"), 0);
    EXPECT_TRUE(CHECKCYCLE::NeedsRefresh(item));
    item.Set("UpdateSuspended", "1");
    EXPECT_FALSE(CHECKCYCLE::NeedsRefresh(item)) << "suspension beats everything";
    item.Set("UpdateSuspended", "");
    for (int left = 1; left >= 0; --left) {
        CHECKCYCLE::Refreshed(item);
        EXPECT_EQ(item.GetNumber("@ForceRefresh"), left);
    }
    CHECKCYCLE::Refreshed(item);
    EXPECT_EQ(item.GetNumber("@ForceRefresh"), 0) << "not below 0";
}

TEST_F(Items, AreCheckedOrEditedButNotBoth) {
    STRINGARRAY& item = AddItem("a", 600);
    EXPECT_TRUE(Cycle.SetItemState(item, ITEMSTATE_LOCKED, 1));
    EXPECT_FALSE(Cycle.SetItemState(item, ITEMSTATE_INUPDATE, 1));
    EXPECT_FALSE(Cycle.SetItemState(item, ITEMSTATE_LOCKED, ITEMSTATE_ASK));
    Cycle.Turn();
    EXPECT_EQ(Checks(Journal.Take()), LIST{}) << "a locked item is skipped";
    EXPECT_TRUE(Cycle.SetItemState(item, ITEMSTATE_LOCKED, 0));
    EXPECT_TRUE(Cycle.SetItemState(item, ITEMSTATE_INUPDATE, 1));
    EXPECT_FALSE(Cycle.SetItemState(item, ITEMSTATE_LOCKED, 1));
    EXPECT_TRUE(Cycle.SetItemState(item, ITEMSTATE_LOCKED, ITEMSTATE_ASK));
    EXPECT_FALSE(Cycle.RemoveItem(0));
    EXPECT_TRUE(Cycle.SetItemState(item, ITEMSTATE_INUPDATE, 0));
    EXPECT_FALSE(Cycle.RemoveItem(1));
    EXPECT_TRUE(Cycle.RemoveItem(0));
    EXPECT_EQ(CYCLETEST::Items.Count(), 0);

    EXPECT_ASSERTIONS(1);
    STRINGARRAY& other = AddItem("b", 600);
    EXPECT_FALSE(Cycle.SetItemState(other, 3, 1));
}

class Check : public CYCLETEST {
 protected:
    std::string Value(const char* key) { return Std(Items[0].Get(key)); }
    /// Adds an IMAP item all of whose mails go to the trash.
    void TrashEverything(const TEMPDIR& dir) {
        Trash.SetDirectory(dir.Path());
        State.Set("SpamDoTrash", "1");
        State.Set("SpamTrashPoints", "0");
        AddItem("a", 600).Set("Type", "2");
    }
};

TEST_F(Check, RunsInOrder) {
    STRINGARRAY& item = AddItem("a", 600);
    Mailboxes.Listing = ONE_MAIL;
    Cycle.UpdateItem(item);
    EXPECT_EQ(Journal.Take(),
              (LIST{"row 4096", "icon", "get a", "listing", "cell 1 1 mail (1 unread)", "row 4096", "icon", "title"}));
    EXPECT_EQ(Value("@FileStore"), ONE_MAIL_STORED);
    EXPECT_EQ(Value("LastValue"), "1 mail (1 unread)");
    EXPECT_EQ(Value("@InUpdate"), "0");
    EXPECT_EQ(Std(State.Get("ResetCounter")), "0");
    Cycle.UpdateItem(item);
    EXPECT_EQ(Journal.Take(), LIST{}) << "not due";

    // One that fails keeps what was seen.
    Mailboxes.Listing = "-err No response\nsecond line\n";
    CHECKCYCLE::ForceRefresh(item, true);
    Cycle.UpdateItem(item);
    EXPECT_EQ(Journal.Take()[3], "cell 1 Error: no way to ");
    EXPECT_EQ(Value("LastValue"), "Error: No response\nsecond line\n");
    EXPECT_EQ(Value("LastRC"), "0E|0E");
    EXPECT_EQ(Value("LastSeenIds"), "a");
    EXPECT_EQ(Value("@FileStore"), ONE_MAIL_STORED);
    EXPECT_EQ(Value("@ForceRefresh"), "0") << "a failed check counts as a check";
}

TEST_F(Check, AnswersTheFirstOfTwoRequests) {
    STRINGARRAY& item = AddItem("a", 0);
    CHECKCYCLE::ForceRefresh(item, true);
    CHECKCYCLE::ForceRefresh(item, true);
    Cycle.SetSuspended(true);
    Cycle.Turn();
    EXPECT_EQ(Journal.Take(), LIST{}) << "all checks are suspended";
    Cycle.SetSuspended(false);
    for (int i = 0; i < 3; ++i)
        Cycle.Turn();
    EXPECT_EQ(Checks(Journal.Take()), (LIST{"get a", "get a"}));
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"nothing new"});
}

TEST_F(Check, PausesBehindAPopup) {
    STRINGARRAY& item = AddItem("a", 600);
    Notifier.Popup = true;
    Mailboxes.Listing = ONE_MAIL;
    const int64_t before = Clock.UnixMilliSeconds();
    Cycle.UpdateItem(item);
    EXPECT_EQ(Clock.UnixMilliSeconds() - before, CHECKTIMES().PopupPauseMs);
    CHECKCYCLE::ForceRefresh(item, true);
    Notifier.OnCall = [this] { Cycle.Stop(); };
    Cycle.UpdateItem(item);
    EXPECT_EQ(Notifier.TakeCalls().size(), 2U);
    EXPECT_EQ(Clock.UnixMilliSeconds() - before, CHECKTIMES().PopupPauseMs) << "a program that ends does not wait";
}

TEST_F(Check, NothingButAWholeListingForgetsMails) {
    const std::string block = "Message-Id: b\n\nbody\n\1";
    const std::pair<std::string, bool> CASES[] = {
        {"", false},
        {"\n" + block, false},
        {"msgs|1 unread|0 bytes\n" + block, false},
        {"-1 msgs|1 unread|0 bytes\n" + block, false},
        {"1 msgs|1 unread|0 bytes\n", false},
        {"1 msgs", false},
        {"1 msgs|1 unread|0 bytes\n\1" + block, false},  // an empty block ends it
        {"+OK ", false},
        {"+OK 2 msgs|2 unread|0 bytes\n" + block, false},
        {"+OK 1 msgs|1 unread|0 bytes\n" + block, false},
        {"0 msgs|? unread|0 bytes\n", true}};
    STRINGARRAY& item = AddItem("a", 0);
    EXPECT_ASSERTIONS(1);  // the empty text
    for (const auto& [listing, good] : CASES) {
        item.Set("LastSeenIds", "old");
        item.Set("@FileStore", "stored");
        item.Set("@DisposedMails", "");
        item.Set("TrashedMails", "");
        Mailboxes.Listing = STRING(std::string_view(listing));
        CHECKCYCLE::ForceRefresh(item, false);
        Cycle.UpdateItem(item);
        EXPECT_EQ(Value("LastSeenIds") == "old" && Value("@FileStore") == "stored", !good) << listing;
        EXPECT_EQ(Value("LastRC") == "0E|0E" && Value("LastValue") == "Error: Unknown Error", !good) << listing;
    }
}

TEST_F(Check, AServerThatKeepsItsMailsMakesNoLoop) {
    const TEMPDIR dir;
    TrashEverything(dir);
    Mailboxes.Listing = ONE_MAIL;
    // Each period tries again, and no more.
    const LIST PERIODS[] = {{"get a", "delete a", "get a"}, {"delete a", "get a"}, {"delete a", "get a"}};
    for (const LIST& checks : PERIODS) {
        for (int turn = 0; turn < 10; ++turn)
            Cycle.Turn();
        EXPECT_EQ(Checks(Journal.Take()), checks);
        Clock.Advance(600000);
    }
    EXPECT_EQ(TrashFiles(dir).size(), 2U);
    EXPECT_EQ(Notifier.TakeCalls(), LIST{"gone trashed a"});

    // One that refuses says so in each row, but fills no disk.
    Items[0].Set("@DisposedMails", "");
    Items[0].Set("TrashedMails", "");
    Mailboxes.Refusal = "no";
    for (int period = 0; period < 3; ++period, Clock.Advance(600000)) {
        for (int turn = 0; turn < 10; ++turn)
            Cycle.Turn();
        // A second try is refused without a word, as it is no reason to fail.
        LIST checks = {"get a", "delete a"};
        if (period == 0)
            checks.insert(checks.begin(), "delete a");
        EXPECT_EQ(Checks(Journal.Take()), checks) << period;
    }
    EXPECT_EQ(TrashFiles(dir).size(), 4U);
}

TEST_F(Check, TheEndOfTheProgramLeavesTheItemAsItWas) {
    const TEMPDIR dir;
    TrashEverything(dir);
    Mailboxes.Listing = "2 msgs|2 unread|0 bytes\nMessage-Id: a\n\nbody\n\1Message-Id: b\n\nbody\n\1";
    Items[0].Set("LastSeenIds", "old");
    CHECKCYCLE::ForceRefresh(Items[0], true);
    const std::string before = Std(Items[0].AsText());
    // The end comes at each place where the check asks for it.
    std::set<size_t> copies;  // that a check made before it was cut short
    for (int questions = 0;; ++questions) {
        const size_t former = TrashFiles(dir).size();
        int left = questions;
        Cycle.SetStopQuestion([&left] { return --left < 0; });
        Cycle.UpdateItem(Items[0]);
        if (Std(Items[0].AsText()) != before)
            break;
        copies.insert((TrashFiles(dir).size() - former) / 2);
    }
    EXPECT_EQ(copies, (std::set<size_t>{0, 1})) << "a check ends between two copies";
    EXPECT_EQ(Value("@DeleteMessageId"), "a\nb\n");
    EXPECT_EQ(Value("@InUpdate"), "0");

    // What is not carried out stays queued, whether the server answers or not.
    Items[0].Set("@MoveMessageId", "3");
    for (const char* refusal : {"cut short", static_cast<const char*>(nullptr)}) {
        Mailboxes.Refusal = refusal;
        int asked = 0;
        Cycle.SetStopQuestion([&asked] { return ++asked > 1; });
        Cycle.UpdateItem(Items[0]);
        EXPECT_EQ(Value("@DeleteMessageId"), refusal ? "a\nb\n" : "");
        EXPECT_EQ(Value("@MoveMessageId"), "3");
        EXPECT_NE(Value("LastRC"), "0E|0E");
    }
}

TEST_F(Check, FailedDisposalIsAFailedCheck) {
    STRINGARRAY& item = AddItem("a", 0);
    item.Set("@DeleteMessageId", "1\n");
    item.Set("@MoveMessageId", "3\n");
    Mailboxes.Refusal = "no such mail";
    Cycle.UpdateItem(item);
    EXPECT_EQ(Checks(Journal.Take()), LIST{"delete 1"});
    EXPECT_EQ(Value("@DeleteMessageId"), "");
    EXPECT_EQ(Value("@MoveMessageId"), "3") << "moves wait";
    EXPECT_EQ(Value("LastValue"), "Error: no such mail");
    EXPECT_EQ(Value("LastRC"), "0E|0E");

    Mailboxes.Refusal = "";
    CHECKCYCLE::ForceRefresh(item, false);
    Cycle.UpdateItem(item);
    EXPECT_EQ(Checks(Journal.Take()), LIST{"move 3 to spam"});
    EXPECT_EQ(Value("@MoveMessageId"), "");
    EXPECT_EQ(Value("LastValue"), "Error: ");

    // What the user deletes meanwhile stays queued; the filter would fill the list anew.
    Mailboxes.Refusal = STRING();
    item.Set("DoSpamFilter", "0");
    item.Set("@DeleteMessageId", "1\n");
    Mailboxes.QueuedMeanwhile = "2\n";
    Cycle.UpdateItem(item);
    EXPECT_EQ(Value("@DeleteMessageId"), "2\n");
}

/// A mail without a subject and a text, by its Message-Id.
MAILNAME Named(const MAILNAME& name) {
    STRINGARRAY record;
    for (const char* key : {"Subject", "Body", "X-Datetime"})
        record.Set(key, "");
    record.Set("MessageId", name.Identity.c_str());
    record.Set("X-Message-Id", name.Id.c_str());
    return NameOf(record);
}

// Between the listing and the verdicts on its mails, by ids of the listing before.
TEST_F(Check, DeletesAtTheNextCheckWhatTheUserQueuedMeanwhile) {
    const auto mail = [](const char* id, const char* messageId, const char* points) {
        return std::string("X-SpamPoints: ") + points + "\nX-Message-Id: " + id + "\nMessage-Id: " + messageId +
               "\n\n\1";
    };
    const struct {
        MAILNAME Queued;
        const char *WithFilter, *Without;
    } CASES[] = {
        {{"2|5", "<b>"}, "3|9\n2|5\n", "2|5\n"},  // the same mail as before
        {{"4|7", "<a>"}, "3|9\n1|7\n", "1|7\n"},  // others before it have gone
        {{"2|5", "<x>"}, "3|9\n", ""},            // it has gone itself, and its id is another's
        {{"3|9", "<spam>"}, "3|9\n", "3|9\n"},    // the filter thinks so, too
    };
    State.Set("SpamDoDelete", "1");
    const STRING listing(std::string_view("3 msgs|3 unread|9 bytes\n" + mail("3|9", "<spam>", "900") +
                                          mail("2|5", "<b>", "0") + mail("1|7", "<a>", "0")));
    for (const auto& test : CASES) {
        for (const bool filter : {true, false}) {
            STRINGARRAY& item = AddItem("a", 0);
            item.Set("Type", "1");
            item.Set("DoSpamFilter", filter ? "1" : "0");
            QueueDeletion(item, {Named(test.Queued)});
            bool popup = false;
            HandleNewMail(item, listing, "", false, {State, Texts, Trash, Notifier}, popup);
            const std::string ids = filter ? test.WithFilter : test.Without;
            EXPECT_EQ(Std(item.Get("@DeleteMessageId")), ids) << test.Queued.Identity;
            Cycle.UpdateItem(item);
            const LIST checks = Checks(Journal.Take());
            EXPECT_EQ(checks.empty() ? "" : checks[0], ids.empty() ? "" : "delete " + ids.substr(0, ids.size() - 1));
            EXPECT_EQ(Std(item.Get("@QueuedByUser")), "");
            EXPECT_EQ(Std(item.Get("@DeleteMessageId")), "");
        }
    }
}

// After the listing, by the ids of the one before, which was still in sight.
TEST_F(Check, DeletesUnderItsPresentIdWhatTheUserQueuedLate) {
    STRINGARRAY& item = AddItem("a", 0);
    item.Set("DoSpamFilter", "0");
    item.Set("@FileStore", "2 msgs|\nX-Message-Id: 1|5\nMessage-Id: <b>\n\n\1X-Message-Id: 2|5\nMessage-Id: <c>\n\n\1");
    QueueDeletion(item, {Named({"1|5", "<gone>"}), Named({"3|5", "<c>"})});
    Cycle.UpdateItem(item);
    EXPECT_EQ(Checks(Journal.Take()).at(0), "delete 2|5");
}

class Counts : public CYCLETEST {};

TEST_F(Counts, AreSummedUp) {
    bool allUnknown = false;
    bool failed = true;
    EXPECT_EQ(Cycle.CountMails(-1, &allUnknown, &failed), 0);
    EXPECT_TRUE(allUnknown) << "no item knows anything";
    EXPECT_FALSE(failed);

    AddItem("a", 0).Set("LastRC", "5|2?");
    EXPECT_EQ(Cycle.CountMails(0, &allUnknown, nullptr), 5);
    EXPECT_TRUE(allUnknown);
    AddItem("b", 0).Set("LastRC", "10|3");
    AddItem("c", 0).Set("LastRC", "0E|0E");
    AddItem("d", 0);
    EXPECT_EQ(Cycle.CountMails(-1, &allUnknown, &failed), 5);
    EXPECT_FALSE(allUnknown);
    EXPECT_TRUE(failed);
    State.Set("EmailTaskbarUnread", "0");
    EXPECT_EQ(Cycle.CountMails(-1, nullptr, nullptr), 15);
    AddItem("e", 0).Set("LastRC", "2147483647|2147483647?");
    EXPECT_EQ(Cycle.CountMails(0, nullptr, nullptr), INT_MAX) << "a server may claim anything";
}

TEST_F(Counts, AreShownWhenTheyChange) {
    STRINGARRAY& item = AddItem("a", 0);
    const LIST DRAWN = {"icon", "tooltip"};
    const LIST DRAWN_AND_QUIET = {"icon", "tooltip", "blinking stops"};
    const std::pair<const char*, LIST> STEPS[] = {{"", DRAWN},
                                                  {"", {}},
                                                  {"9|3", DRAWN},
                                                  {"8|3", {}},
                                                  {"9|4", DRAWN},
                                                  {"9|2", DRAWN_AND_QUIET},
                                                  {"0E|0E", DRAWN_AND_QUIET},
                                                  {"0|0", DRAWN}};
    for (const auto& [lastRc, journal] : STEPS) {
        item.Set("LastRC", lastRc);
        Cycle.Turn();
        EXPECT_EQ(Journal.Take(), journal) << lastRc;
        EXPECT_EQ(Notifier.TakeCalls(), journal == DRAWN_AND_QUIET ? LIST{"sound stops"} : LIST{}) << lastRc;
    }
    // A second failure changes neither count nor picture, and the tooltip names it.
    STRINGARRAY& other = AddItem("b", 0);
    for (STRINGARRAY* const failing : {&item, &other}) {
        failing->Set("LastRC", "0E|0E");
        Cycle.Turn();
        EXPECT_EQ(Journal.Take(), DRAWN);
    }
    EXPECT_EQ(Std(Cycle.FailedItems()), "a, b");
}

class WorkThread : public CYCLETEST {};

TEST_F(WorkThread, ChecksUntilItIsStopped) {
    STRINGARRAY& item = AddItem("a", 1);
    Mailboxes.Listing = ONE_MAIL;
    Cycle.Start();
    LIST seen;
    EXPECT_TRUE(Eventually([&] {
        // What the user's thread does meanwhile.
        CHECKCYCLE::ForceRefresh(item, false);
        Cycle.CountMails(-1, nullptr, nullptr);
        Cycle.RemoveItem(1);
        AddItem("b", 1);
        for (std::string& entry : Journal.Take())
            seen.push_back(std::move(entry));
        return Checks(seen).size() >= 20 && Items[0].Get("@FileStore").Pos("X-SpamPoints: 0\nMessage-Id: a\n") != -1;
    }));
    EXPECT_TRUE(Cycle.IsRunning());
    Cycle.Stop();
    EXPECT_TRUE(Cycle.Wait(10000));
    EXPECT_FALSE(Cycle.IsRunning());
    const LIST rest = Journal.Take();
    EXPECT_FALSE(rest.empty() || rest.back() != "quit");
}

}  // namespace
