#include "app/desktop/mainwindow.h"

#include <thread>

#include "app/notify/traydisplay.h"
#include "corelib/window/fontvalue.h"
#include "tests/app/desktop/desktopsupport.h"

namespace {

constexpr const char* TWO_ITEMS =
    "[#0]\r\nName=beta\r\nType=1\r\nUpdateSuspended=1\r\nLastValue=3 mails|x\r\nLastRC=3|1\r\n\r\n"
    "[#1]\r\nName=Alpha\r\nType=1\r\nUpdateSuspended=1\r\nLastRC=0E|0E\r\n\r\n";

class MainWindow : public DESKTOPTEST {};

TEST_F(MainWindow, TheListShowsTheItemsByNameAndTurnsRound) {
    Open(TWO_ITEMS);
    EXPECT_EQ(Rows(), (std::vector<std::string>{"Alpha|", "beta|3 mails"}));
    NMLISTVIEW click{};
    click.hdr = {Window->List().Handle(), 0, LVN_COLUMNCLICK};
    click.iItem = -1;
    SendMessageW(Window->hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(Rows(), (std::vector<std::string>{"beta|3 mails", "Alpha|"}));
    click.iSubItem = 1;
    SendMessageW(Window->hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(Rows().front(), "beta|3 mails");  // the other column keeps the order
}

TEST_F(MainWindow, ImagesFollowTheItemsState) {
    struct {
        const char* Key;
        const char* Value;
        ITEMIMAGE Image;
    } const steps[] = {{"LastRC", "0|0", ITEMIMAGE_EMPTY},     {"LastRC", "2|1", ITEMIMAGE_MAIL},
                       {"LastRC", "0E|0E", ITEMIMAGE_FAILED},  {"UpdateSuspended", "1", ITEMIMAGE_SUSPENDED},
                       {"@InUpdate", "1", ITEMIMAGE_CHECKING}, {"@Locked", "1", ITEMIMAGE_LOCKED}};
    Open("[#0]\r\nName=a\r\nType=1\r\n\r\n");
    STRINGARRAY& item = Engine->Items[0];
    for (const auto& step : steps) {
        item.Set(step.Key, step.Value);
        Window->RefreshRow(Handle("a"));
        Pump();
        LVITEMW row{};
        row.mask = LVIF_IMAGE;
        SendMessageW(Window->List().Handle(), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&row));
        EXPECT_EQ(row.iImage, step.Image - ITEMIMAGE_EMPTY) << step.Key;
    }
}

TEST_F(MainWindow, RowsFollowWhatTheWorkThreadWrites) {
    Open(TWO_ITEMS);
    const int handle = Handle("Alpha");
    std::thread worker([&] {
        for (int i = 1; i <= 5000; ++i)
            Window->SetItemStatus(handle, std::to_string(i).c_str());
        Window->SetItemStatus(999, "nobody's");
    });
    worker.join();
    Pump();
    EXPECT_EQ(Rows().front(), "Alpha|5000");
}

TEST_F(MainWindow, AFillWaitsForTheMutexWithoutHoldingTheWindow) {
    Open(TWO_ITEMS);
    std::atomic<bool> held = false, released = false;
    std::thread worker([&] {
        const MUTEXHOLD hold(Engine->listviewMutex);
        held = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        released = true;
    });
    while (!held)
        std::this_thread::yield();
    Engine->Items[Engine->FindName("Alpha")].Set("Name", "a new name");
    Window->List().FillListview();
    EXPECT_TRUE(PumpUntil([&] { return Cell(0, 0) == "a new name"; }));
    EXPECT_TRUE(released);
    worker.join();
}

TEST_F(MainWindow, TheSelectionOfTheLastRunComesBackOnceAndOtherwiseTheFirst) {
    Open(TWO_ITEMS, "LastSelectedRecord=1\r\n");
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Engine->Items[1].GetNumber("@Handle")});
    EXPECT_EQ(Engine->pState.Get("LastSelectedRecord"), "-1");
    Engine->pState.Set("LastSelectedRecord", "7");
    Window->List().FillListview();
    Pump();
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Engine->Items[0].GetNumber("@Handle")});
}

TEST_F(MainWindow, CommandsDependOnTheSelection) {
    Open(TWO_ITEMS);
    struct {
        int Command;
        bool None, One, Two;
    } const commands[] = {{COMMAND_EDIT_ITEM, false, true, false},    {COMMAND_SHOW_ITEMS_MAILS, false, true, false},
                          {COMMAND_DELETE_ITEMS, false, true, true},  {COMMAND_CHECK_ITEMS, false, true, true},
                          {COMMAND_SUSPEND_ITEMS, false, true, true}, {COMMAND_STOP_SOUND, false, false, false},
                          {COMMAND_CHECK_ALL, true, true, true},      {COMMAND_ADD_ITEM, true, true, true}};
    for (int rows = 0; rows <= 2; ++rows) {
        Select(0, rows >= 1);
        Select(1, rows >= 2);
        for (const auto& command : commands) {
            const bool wanted = rows == 0 ? command.None : rows == 1 ? command.One : command.Two;
            EXPECT_EQ(IsEnabled(command.Command), wanted) << command.Command << " with " << rows;
        }
        EXPECT_EQ(IsChecked(COMMAND_SUSPEND_ITEMS), rows == 1);
    }
    EXPECT_FALSE(IsChecked(COMMAND_SUSPEND));
    SendMessageW(Window->hWnd, WM_COMMAND, COMMAND_SUSPEND, 0);
    SendMessageW(Window->hWnd, WM_COMMAND, COMMAND_SPAM_FILTER_OFF, 0);
    Pump();
    EXPECT_TRUE(IsChecked(COMMAND_SUSPEND));
    EXPECT_TRUE(IsChecked(COMMAND_SPAM_FILTER_OFF));
    EXPECT_TRUE(Engine->Cycle().IsSuspended());
    EXPECT_NE(Std(Window->Title()).find("(checks suspended)"), std::string::npos);
}

TEST_F(MainWindow, CommandsOnRowsTakeTheSelectionOff) {
    Open(TWO_ITEMS);
    Select(0);
    SendMessageW(Window->hWnd, WM_COMMAND, COMMAND_CHECK_ITEMS, 0);
    Pump();
    EXPECT_TRUE(Window->SelectedItems().empty());
    EXPECT_EQ(Engine->Items[Engine->FindName("Alpha")].GetNumber("@ForceRefresh"), 1);
    Select(1);
    SendMessageW(Window->hWnd, WM_COMMAND, COMMAND_SUSPEND_ITEMS, 0);
    Pump();
    EXPECT_EQ(Rows().back(), "beta|-");
}

TEST_F(MainWindow, TimersDoTheirWorkAndUnknownOnesAreAFault) {
    Open(TWO_ITEMS);
    Window->PostAlert({.Text = "one\ntwo", .DurationMs = 1});
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    EXPECT_TRUE(PumpUntil([&] { return Window->Alert() == nullptr; }));
    for (const UINT_PTR timer : {TIMER_TITLE, TIMER_TRAY, UINT_PTR{TIMER_SOUND_LOOP}, UINT_PTR{TIMER_BLINK}})
        SendMessageW(Window->hWnd, WM_TIMER, timer, 0);
    Pump();
    WriteBytes("lastpopup.txt", "seen before\nthis");
    SendMessageW(Window->hWnd, WM_TIMER, TIMER_LATER, 0);
    EXPECT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    EXPECT_ASSERTIONS(1);
    SendMessageW(Window->hWnd, WM_TIMER, 77, 0);
}

TEST_F(MainWindow, AnAlertIsReplacedClickedAndGivesCommands) {
    Open(TWO_ITEMS);
    Window->PostAlert({.Text = "first\nline"});
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    const HWND first = Window->Alert()->hWnd;
    EXPECT_TRUE(IsWindowVisible(first));
    EXPECT_NE(GetForegroundWindow(), first);
    EXPECT_EQ(GetWindow(first, GW_OWNER), nullptr) << "it would be hidden with the minimised window";
    Window->PostAlert({.Text = "second\n\x1b[*=2118]Suspend"});
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr && Window->Alert()->hWnd != first; }));
    const HWND alert = Window->Alert()->hWnd;
    RECT client;
    GetClientRect(alert, &client);
    // The button is at the left of the second line.
    SendMessageW(alert, WM_MOUSEMOVE, 0, MAKELPARAM(client.right / 4, client.bottom * 3 / 4));
    SendMessageW(alert, WM_LBUTTONDOWN, 0, MAKELPARAM(client.right / 4, client.bottom * 3 / 4));
    EXPECT_TRUE(PumpUntil([&] { return Window->Alert() == nullptr; }));
    EXPECT_TRUE(Engine->Cycle().IsSuspended());

    Engine->pState.Set("EmailCmdline", "");
    Window->PostAlert({.Text = "third\n\x1b[*=2118]Suspend", .Handle = Handle("Alpha")});
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    SendMessageW(Window->Alert()->hWnd, WM_RBUTTONDOWN, 0, MAKELPARAM(client.right / 4, client.bottom * 3 / 4));
    EXPECT_TRUE(PumpUntil([&] { return Window->Alert() == nullptr; }));
    EXPECT_TRUE(Engine->Cycle().IsSuspended());  // the right button gives no command
}

TEST_F(MainWindow, ClicksOnTheTrayIconDoWhatTheSettingsSay) {
    Open(TWO_ITEMS, "DlgTaskbarClickReset=1\r\nDlgDblClickMode=1\r\n");
    Engine->pState.Set("ResetCounter", "0");
    SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_LBUTTONDOWN);
    Pump();
    EXPECT_EQ(Engine->pState.Get("ResetCounter"), "1");
    Window->StartTimer(TIMER_BLINK, 100000);
    Pump();
    SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_MOUSEMOVE);
    EXPECT_FALSE(KillTimer(Window->hWnd, TIMER_BLINK)) << "the pointer has passed";
    Window->Show(SW_MINIMIZE);
    Pump();
    EXPECT_FALSE(Window->IsVisible());  // it lives in the tray
    SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_LBUTTONDBLCLK);
    Pump();
    EXPECT_TRUE(Window->IsVisible());
    EXPECT_FALSE(IsIconic(Window->hWnd));
}

TEST_F(MainWindow, StaysInReachWhileTheShellIsGoneAndComesBackToIt) {
    Open(TWO_ITEMS);
    Window->MakeTaskbarIcon();
    Pump();
    NOTIFYICONDATAW icon{};
    icon.cbSize = sizeof icon;
    icon.hWnd = Window->hWnd;
    const auto isThere = [&] {
        for (icon.uID = TRAY_RESOURCES; icon.uID < TRAY_RESOURCES + 17; ++icon.uID)
            if (Shell_NotifyIconW(NIM_MODIFY, &icon))
                return true;
        return false;
    };
    ASSERT_TRUE(isThere());
    Shell_NotifyIconW(NIM_DELETE, &icon);
    Window->MakeNewTooltip();
    Pump();
    Window->Show(SW_MINIMIZE);
    EXPECT_TRUE(Window->IsVisible());
    SendMessageW(Window->hWnd, RegisterWindowMessageW(L"TaskbarCreated"), 0, 0);
    Pump();
    EXPECT_TRUE(isThere());
}

TEST_F(MainWindow, WorksWithoutMenusAndDialogs) {
    const int failed = AssertCount();
    ResourceFile = L"ntdll.dll";
    Open(TWO_ITEMS);
    Window->Started();
    EXPECT_EQ(Rows().front(), "Alpha|");
    Select(0);
    Window->DoCommand(COMMAND_ADD_ITEM);
    SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_RBUTTONDOWN);
    SendMessageW(Window->hWnd, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(Window->List().Handle()), -1);
    Pump();
    EXPECT_EQ(Engine->Items.Count(), 2);
    // At least the window's menu and the dialog were missed.
    EXPECT_GE(AssertCount() - failed, 2);
    EXPECT_ASSERTIONS(AssertCount() - failed);
}

TEST_F(MainWindow, ThePositionComesBack) {
    Open(TWO_ITEMS);
    Window->Move(120, 90, 500, 300);
    Pump();
    Close();
    Open(TWO_ITEMS);
    const RECT rect = Window->Rect();
    EXPECT_EQ(rect.left, 120);
    EXPECT_EQ(rect.right, 620);
    EXPECT_EQ(rect.bottom, 390);
}

TEST_F(MainWindow, ClosingWhileTheThreadRunsEndsTheLoopAndSaves) {
    CheckTimes.TurnMs = 1;
    Open(TWO_ITEMS, "DlgCloseMinimize=0\r\n");
    Engine->Start();
    Window->Started();
    PostMessageW(Window->hWnd, WM_CLOSE, 0, 0);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    EXPECT_TRUE(Engine->Cycle().IsStopRequested());
    Engine->pState.Set("PopupDuration", "77");
    Close();
    EXPECT_NE(ReadBytes(Data.File("tarnwick.ini")).find("PopupDuration=77"), std::string::npos);
}

TEST_F(MainWindow, TheEndOfTheSessionSavesAtOnce) {
    CheckTimes.TurnMs = 1;
    Open(TWO_ITEMS);
    Engine->Start();
    EXPECT_EQ(SendMessageW(Window->hWnd, WM_QUERYENDSESSION, 0, 0), 1);
    Engine->pState.Set("PopupDuration", "78");
    SendMessageW(Window->hWnd, WM_ENDSESSION, 1, 0);
    EXPECT_FALSE(Engine->Cycle().IsRunning());
    EXPECT_NE(ReadBytes(Data.File("tarnwick.ini")).find("PopupDuration=78"), std::string::npos);
    MSG message;
    EXPECT_TRUE(PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

TEST_F(MainWindow, TheAlertsFontIsOneThatItCanShow) {
    // As a file has it: 60 bytes, height -20, weight 700.
    LOGFONTW font{};
    font.lfHeight = -20;
    font.lfWeight = FW_BOLD;
    const struct {
        const wchar_t *Face, *Shown;
        STRING Value;
    } cases[] = {{L"System", L"Arial", {}}, {L"Tahoma", L"Tahoma", {}}, {L"", nullptr, ""}, {L"", nullptr, "short"}};
    LOGFONTW icons{};
    SystemParametersInfoW(SPI_GETICONTITLELOGFONT, sizeof icons, &icons, 0);
    for (const auto& c : cases) {
        STRINGARRAY state;
        wcscpy(font.lfFaceName, c.Face);
        state.Set("PopupFont", c.Value.NotNull() ? c.Value : FontValue(font));
        CheckPopupFont(state);
        LOGFONTW shown{};
        ASSERT_TRUE(FontFromValue(state.Get("PopupFont"), shown));
        EXPECT_STREQ(shown.lfFaceName, c.Shown ? c.Shown : icons.lfFaceName);
        EXPECT_EQ(shown.lfHeight, c.Shown ? -20 : icons.lfHeight);
        EXPECT_EQ(shown.lfWeight, FW_NORMAL);
    }
    Open(TWO_ITEMS);
    EXPECT_EQ(Engine->pState.Get("PopupFont").Length(), FONTVALUE_LENGTH);
}

TEST_F(MainWindow, OpeningAlertsLeavesNoHandlesBehind) {
    Open(TWO_ITEMS);
    ALERTSETUP setup;
    setup.Parent = Window->hWnd;
    ExpectNoHandleGrowth([&] { SEMITOOLTIP("one\n\x1b[b]two \x1b[*=1]three", setup); });
}

}  // namespace
