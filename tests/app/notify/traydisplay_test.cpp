#include "app/notify/traydisplay.h"

#include <climits>

#include "tests/app/check/fakes.h"

namespace {

TEST(TrayPictures, ShowTheCountOrWhatIsMoreUrgent) {
    const std::pair<TRAYSTATE, int> CASES[] = {
        {{.Count = 9}, 9},
        {{.Count = 19}, 10},
        {{.Count = 20}, 11},
        {{.Count = 39}, 12},
        {{.Count = 40}, 13},
        {{.Count = INT_MAX}, 13},
        {{.Count = -3}, 0},
        {{.Count = 25, .Acknowledged = true}, 0},
        {{.Count = 25, .Acknowledged = true, .Suspended = true}, 14},
        {{.Count = 25, .Failed = true, .Suspended = true}, 15},
        {{.Count = 25, .Updating = true, .Failed = true, .Suspended = true}, 16},
    };
    for (const auto& [state, picture] : CASES)
        EXPECT_EQ(TrayPicture(state), picture) << state.Count;
}

const TEXTTABLE TRAYTEXTS({{TEXT_TOOLTIP, "Mail"},
                           {TEXT_COUNTS, "no|mail|mails|new"},
                           {TEXT_UNREAD, "unread"},
                           {TEXT_CHECK_FAILED, "Error: "}});

TEST(Tooltip, TellsTheUnreadMailsWhereTheyAreNotAll) {
    const std::tuple<int, int, const char*, const char*> CASES[] = {
        {5, 2, "", "Mail: 5 mails (2 unread mails)"},
        {5, 1, "", "Mail: 5 mails (1 unread mail)"},
        {1, 0, "", "Mail: 1 mail (no unread mails)"},
        {5, 5, "", "Mail: 5 mails "},
        {0, 0, "", "Mail: no mails "},
        {5, 5, "Home, b", "Mail: 5 mails \nError: Home, b"},
        // 63 bytes, and no half letters.
        {5, 2, "123456789 123456789 12345", "Mail: 5 mails (2 unread mails)\nError: 123456789 123456789 12345"},
        {5, 2, "123456789 123456789 12\xc3\xbc, b", "Mail: 5 mails (2 unread mails)\nError: 123456789 123456789 12..."},
    };
    for (const auto& [total, unread, failed, text] : CASES)
        EXPECT_EQ(Std(TooltipText(TRAYTEXTS, total, unread, failed)), text);
}

class Tray : public CYCLETEST {};

TEST_F(Tray, FollowsTheProgram) {
    STRINGARRAY& item = AddItem("a", 0);
    item.Set("LastRC", "40|3");
    EXPECT_EQ(TrayPicture(Cycle, State), 0) << "acknowledged";
    State.Set("ResetCounter", "0");
    EXPECT_EQ(TrayPicture(Cycle, State), 3);
    State.Set("EmailTaskbarUnread", "0");
    EXPECT_EQ(TrayPicture(Cycle, State), 13);
    EXPECT_EQ(Std(TooltipText(TRAYTEXTS, Cycle)), "Mail: 40 mails (3 unread mails)");
    Cycle.SetSuspended(true);
    EXPECT_EQ(TrayPicture(Cycle, State), TRAY_SUSPENDED);
    item.Set("LastRC", FAILED_COUNTS);
    EXPECT_EQ(TrayPicture(Cycle, State), TRAY_FAILED);

    int meanwhile = 0;
    Mailboxes.DuringCheck = [&] { meanwhile = TrayPicture(Cycle, State); };
    CHECKCYCLE::ForceRefresh(item, false);
    Cycle.UpdateItem(item);
    EXPECT_EQ(meanwhile, TRAY_UPDATING);
    EXPECT_EQ(TrayPicture(Cycle, State), TRAY_SUSPENDED) << "no longer failed";
}

}  // namespace
