#include "tests/app/check/fakes.h"

namespace {

using LIST = std::vector<std::string>;

class Dialling : public CYCLETEST {
 protected:
    Dialling() { State.Set("ConnectionType", "1"); }
    /// One turn of the loop, half a second later; true if the item was checked in it.
    bool TurnChecks() {
        Clock.Advance(500);
        CHECKCYCLE::ForceRefresh(Item, false);
        Cycle.Turn();
        for (const std::string& entry : Journal.Take()) {
            if (entry.starts_with("get "))
                return true;
        }
        return false;
    }
    STRINGARRAY& Item = AddItem("a", 600);
};

TEST_F(Dialling, OnlineByTheSettings) {
    const std::tuple<const char*, const char*, const char*, bool, bool> CASES[] = {
        {"0", "0", "", false, true},      {"-1", "0", "home", true, false},   {"2", "0", "home", true, false},
        {"1", "0", "home", false, false}, {"1", "0", "home", true, true},     {"1", "0", "office", true, false},
        {"1", "1", "office", true, true}, {"1", "1", "office", false, false},
    };
    for (const auto& [type, any, entry, connected, online] : CASES) {
        State.Set("ConnectionType", type);
        State.Set("ConnectionDunAny", any);
        State.Set("EntryToMonitor", entry);
        Dialup.Connected = connected;
        EXPECT_EQ(Cycle.IsOnline(), online) << type << any << entry << connected;
    }
}

TEST_F(Dialling, ForeignConnectionSettlesFirst) {
    EXPECT_FALSE(TurnChecks());
    Dialup.Connected = true;
    EXPECT_FALSE(TurnChecks());
    for (int halfSeconds = 1; halfSeconds < 12; ++halfSeconds)
        EXPECT_FALSE(TurnChecks()) << halfSeconds;
    EXPECT_TRUE(TurnChecks());
    EXPECT_TRUE(TurnChecks());
    Dialup.Connected = false;
    EXPECT_FALSE(TurnChecks());
    Dialup.Connected = true;
    EXPECT_FALSE(TurnChecks()) << "settles anew";
}

TEST_F(Dialling, DialsForOnePass) {
    State.Set("ConnectionDunDial", "1");
    // It hangs up what it dialled, whatever the settings name by then.
    Mailboxes.DuringCheck = [&] { State.Set("EntryToMonitor", "office"); };
    Cycle.Turn();
    EXPECT_EQ(Journal.Take(),
              (LIST{"line Dialling home", "line shown", "arrange", "dial home", "line Connected to home", "row 4096",
                    "icon", "get a", "listing", "cell 1 No mails", "row 4096", "icon", "title", "line Hanging up home",
                    "hang up home", "line hidden", "arrange", "icon", "tooltip"}));
    Cycle.Turn();
    EXPECT_EQ(Journal.Take(), LIST{}) << "nothing is due";
}

TEST_F(Dialling, FailureIsShownOncePerPeriod) {
    State.Set("ConnectionDunDial", "1");
    Dialup.CanDial = false;
    Cycle.Turn();
    EXPECT_EQ(Journal.Take(), (LIST{"line Dialling home", "line shown", "arrange", "dial home",
                                    "Title: Cannot dial (busy)", "line hidden", "arrange", "icon", "tooltip"}));
    Clock.Advance(599000);
    Cycle.Turn();
    EXPECT_EQ(Journal.Take(), LIST{});
    Clock.Advance(1000);
    Cycle.Turn();
    EXPECT_EQ(Journal.Take()[3], "dial home");
}

}  // namespace
