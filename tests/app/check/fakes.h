#pragma once

#include "app/check/checkcycle.h"
#include "app/check/dialup.h"
#include "app/check/trashstore.h"
#include "app/filter/spamfilter.h"
#include "corelib/system/osys.h"
#include "tests/app/apptest.h"
#include "tests/app/filter/fakemx.h"

inline const TEXTTABLE FAKETEXTS({{TEXT_COUNTS, "No|mail|mails|new"},
                                  {TEXT_DIAL_FAILED, "Cannot dial"},
                                  {TEXT_DIAL_STATES, "Dialling |Connected to |Hanging up "},
                                  {TEXT_UNREAD, "unread"},
                                  {TEXT_SCORING, "Checking for spam"},
                                  {TEXT_CHECK_FAILED, "Error: "},
                                  {TEXT_TITLE, "Title"},
                                  {TEXT_NO_ANSWER, "silent"},
                                  {TEXT_UNREACHABLE, "no way to $1"},
                                  {TEXT_UNKNOWN_FAULT, "nobody knows"},
                                  {TEXT_UNCOPIED, " - $HOWMANY not copied"}});

/// Answers each check with Listing, and each disposal with success unless Refusal is set.
class FAKEMAILBOXES : public MAILBOXES {
 public:
    explicit FAKEMAILBOXES(JOURNAL& journal) : Journal(journal) {}
    STRING GetMailbox(STRINGARRAY& item) override {
        Journal.Add("get " + Std(item.Get("Name")));
        if (DuringCheck)
            DuringCheck();
        return Listing;
    }
    STRING GetSummary(STRINGARRAY& item) override { return GetMailbox(item); }
    bool DeleteMail(STRINGARRAY& item, const STRING& ids, STRING& error) override {
        Journal.Add("delete " + Std(ids));
        if (QueuedMeanwhile.NotNull())
            item.Set("@DeleteMessageId", QueuedMeanwhile);
        return Answer(error);
    }
    bool MoveMail(STRINGARRAY& /*item*/, const STRING& ids, const STRING& folder, STRING& error) override {
        Journal.Add("move " + Std(ids) + " to " + Std(folder));
        return Answer(error);
    }

    STRING Listing = "0 msgs|0 unread|0 bytes\n";
    STRING Refusal;  // null: disposal works
    std::function<void()> DuringCheck;
    STRING QueuedMeanwhile;  // what the user deletes while a deletion runs

 private:
    bool Answer(STRING& error) const {
        error = Refusal.NotNull() ? Refusal : STRING("");
        return !Refusal.NotNull();
    }
    JOURNAL& Journal;
};

class FAKEDIALUP : public DIALUP {
 public:
    explicit FAKEDIALUP(JOURNAL& journal) : Journal(journal) {}
    STRING EnumEntries() override { return "home|office"; }
    bool Dial(const STRING& entry, STRING& error) override {
        Journal.Add("dial " + Std(entry));
        Connected = CanDial;
        if (!CanDial)
            error = "busy";
        return CanDial;
    }
    bool IsConnected(const STRING& entry) override {
        return Connected && (entry.Length() == 0 || entry.View() == "home");
    }
    bool HangUp(const STRING& entry) override {
        Journal.Add("hang up " + Std(entry));
        Connected = false;
        return true;
    }

    bool Connected = false;
    bool CanDial = true;

 private:
    JOURNAL& Journal;
};

/// Notes what it is told; `Popup` is its answer.
class RECORDINGNOTIFIER : public NOTIFIER {
 public:
    bool NewMail(STRINGARRAY& /*item*/, const CHECKREPORT& report) override {
        if (OnCall)
            OnCall();
        Calls.push_back("new " + Std(report.Status) + Std(report.NewText) + " last " +
                        std::to_string(report.NewMails.back()) + (report.ShowAll ? " all" : "") +
                        (report.Unknown ? " unknown" : ""));
        LastBody = Std(report.Records[report.NewMails.back()]["Body"]);
        return Popup;
    }
    bool NothingNew(STRINGARRAY& /*item*/, const CHECKREPORT& /*report*/) override {
        if (OnCall)
            OnCall();
        Calls.push_back("nothing new");
        return Popup;
    }
    void SpamSentAway(const STRINGARRAY& /*item*/, const RECORDARRAY& records, const SENTAWAY& mails) override {
        std::string call = "gone";
        for (const auto& [name, indexes] :
             {std::pair{" trashed", &mails.Trashed}, {" deleted", &mails.Deleted}, {" moved", &mails.Moved}})
            for (const int index : *indexes)
                call += name + (" " + Std(records[index].Get("MessageId")));
        Calls.push_back(call);
    }
    void StopSoundLoop() override { Calls.push_back("sound stops"); }
    std::vector<std::string> TakeCalls() { return std::exchange(Calls, {}); }

    bool Popup = false;
    std::string LastBody;  // of the last new mail
    std::function<void()> OnCall;

 private:
    std::vector<std::string> Calls;
};

/// The names of the files in the trash of a data directory.
inline std::set<std::string> TrashFiles(const TEMPDIR& dir) {
    DYNARRAY<STRING> files(8, 8);
    OSYS::CollectFiles(dir.File(TRASH_FOLDER).Text(), "*.*", &files, false);
    std::set<std::string> names;
    for (int i = 0; i < files.Count(); ++i)
        names.insert(Std(files[i]).substr(Std(files[i]).find_last_of('\\') + 1));
    return names;
}

/// Settings and items as the program has them, around a check cycle whose clock stands still.
class CYCLETEST : public testing::Test {
 protected:
    CYCLETEST() {
        FillSettings(State, {{"ConnectionType", "0"},
                             {"EntryToMonitor", "home"},
                             {"ResetCounter", "1"},
                             {"SpamFilterDisabled", "1"},
                             {"SpamDoIgnore", "0"},
                             {"PopupBackgroundColor", "111"},
                             {"PopupTextColor", "222"}});
    }

    /// Adds an item with the given period in seconds, not checked so far.
    STRINGARRAY& AddItem(const char* name, int period) {
        STRINGARRAY item;
        FixItem(item, State, NextHandle);
        item.Set("Name", name);
        item.SetNumber("TimingCyclic", period);
        Items.Add(item);
        return Items[Items.Count() - 1];
    }

    FAKECLOCK Clock;
    JOURNAL Journal;
    const TEXTS& Texts = FAKETEXTS;
    STRINGARRAY State;
    RECORDARRAY Items{8, 8};
    JOURNALFRONTEND FrontEnd{Journal};
    FAKEMAILBOXES Mailboxes{Journal};
    FAKEMXLOOKUP Mx;
    SPAMFILTER Filter{State, Texts, FrontEnd, Mx};
    TRASHSTORE Trash;
    RECORDINGNOTIFIER Notifier;
    FAKEDIALUP Dialup{Journal};
    int NextHandle = FIRST_ITEM_HANDLE;
    CHECKCYCLE Cycle{CHECKPARTS{State, Items, FrontEnd, Texts, Mailboxes, Filter, Trash, Notifier, Dialup}};
};
