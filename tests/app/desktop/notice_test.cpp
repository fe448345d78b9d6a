#include "app/demo/mailstore.h"
#include "app/demo/pop3service.h"
#include "app/demo/samplemail.h"
#include "app/notify/traydisplay.h"
#include "corelib/base/trace.h"
#include "tests/app/desktop/desktopsupport.h"

namespace {

constexpr const char* THREE_MAILS = "[#0]\r\nName=a\r\nType=1\r\nUpdateSuspended=1\r\nLastRC=3|3\r\n\r\n";

/// The ways in which the window tells of mail: tray icon, timers, alert.
/// A mail program that is harmless, and seems to run already: the test itself.
constexpr const char* RUNNING_PROGRAM =
    "EmailCmdline=hostname.exe\r\nEmailDoWindowCheck=1\r\nEmailWindowTitle=Tarnwick 2\r\n";

class Notice : public DESKTOPTEST {
 protected:
    void Mouse(UINT message) {
        SendMessageW(Window->hWnd, WM__TASKBAR, 0, static_cast<LPARAM>(message));
        Pump();
    }
    /// The commands that come of it, as the trace log names them; not the one that each other gives first.
    std::string Done(const std::function<void()>& act) {
        const STRING log = Data.File("log");
        LogOption((STRING("/LOGIT:") || log).Text());
        act();
        LogOption("/LOGITCLOSE");
        const std::string text = ReadBytes(log), command = "TARNWICK::DoCommand ";
        std::string done;
        for (size_t at = 0; (at = text.find("TARNWICK::", at)) != std::string::npos; ++at) {
            if (text.compare(at, command.size(), command) == 0 &&
                text.compare(at + command.size(), 4, NUMBER(COMMAND_STOP_SOUND)) != 0)
                done += text.substr(at + command.size(), 4) + " ";
            else if (text.compare(at, 35, "TARNWICK::StartMailProgram cmdline=") == 0)
                done += "program ";
        }
        return done;
    }
    int Picture() { return Window->ShownIcon() ? Window->ShownIcon()->Number() - TRAY_RESOURCES : -1; }
    HWND Alert() { return Window->Alert() ? Window->Alert()->hWnd : nullptr; }
    /// Opens one, and waits until it is there.
    HWND Show(const ALERTREQUEST& request) {
        const HWND before = Alert();
        Window->PostAlert(request);
        EXPECT_TRUE(PumpUntil([&] { return Alert() && Alert() != before; }));
        return Alert();
    }
};

TEST_F(Notice, ClicksOnTheTrayIconDoWhatTheSettingsSay) {
    Open(TWO_ITEMS, RUNNING_PROGRAM);
    Engine->Items[0].Set("TrayCheck", "1");  // or the looks for mail would say that none takes part
    constexpr UINT DOWN = WM_LBUTTONDOWN, UP = WM_LBUTTONUP, TWICE = WM_LBUTTONDBLCLK;
    // With the keys that are held: Shift, Control.
    const std::tuple<UINT, const char*, const char*, const char*, const char*> clicks[] = {
        {DOWN, "", "DlgTaskbarClickReset", "1", NUMBER(COMMAND_RESET_COUNT) " "},
        {UP, "", "DlgTaskbarClickReset", "1", NUMBER(COMMAND_RESET_COUNT) " "},
        {TWICE, "", "DlgTaskbarClickReset", "1", NUMBER(COMMAND_RESET_COUNT) " program "},
        {WM_MOUSEMOVE, "", "DlgTaskbarClickReset", "1", ""},
        {DOWN, "SC", "DlgTaskbarClickReset", "0", ""},
        {UP, "S", "DlgShiftClickMode", "0", NUMBER(COMMAND_NEW_MAIL) " "},
        {UP, "S", "DlgShiftClickMode", "1", NUMBER(COMMAND_SHOW_LAST_POPUP) " "},
        {UP, "S", "DlgShiftClickMode", "2", NUMBER(COMMAND_CHECK_ALL) " "},
        {UP, "S", "DlgShiftClickMode", "3", NUMBER(COMMAND_CHECK_ALL_AS_NEW) " "},
        {UP, "S", "DlgShiftClickMode", "4", "program "},
        {UP, "S", "DlgShiftClickMode", "5", NUMBER(COMMAND_SHOW_WINDOW) " "},
        {UP, "C", "DlgCtrlClickMode", "4", "program "},
        {UP, "SC", "DlgCtrlClickMode", "4", NUMBER(COMMAND_SHOW_WINDOW) " "},
        {UP, "S", "DlgShiftClickMode", "-1", ""},
        {UP, "S", "DlgShiftClickMode", "6", ""},
        {TWICE, "", "DlgDblClickMode", "0", "program "},
        {TWICE, "S", "DlgDblClickMode", "1", NUMBER(COMMAND_SHOW_WINDOW) " "},
        {TWICE, "", "DlgDblClickMode", "2", NUMBER(COMMAND_SHOW_LAST_POPUP) " "},
        {TWICE, "", "DlgDblClickMode", "3", ""},
    };
    EXPECT_ASSERTIONS(1);  // by the sixth mode
    for (const auto& [message, keys, setting, value, done] : clicks) {
        const auto press = [&](DWORD flags) {
            for (const char* key = keys; *key; ++key)
                keybd_event(*key == 'S' ? VK_SHIFT : VK_CONTROL, 0, flags, 0);
        };
        press(0);
        Engine->pState.Set(setting, value);
        EXPECT_EQ(Done([&] { Mouse(message); }), done) << message << keys << " " << setting << value;
        press(KEYEVENTF_KEYUP);
    }
}

TEST_F(Notice, TheTrayIconComesLaterAndTheMailBlinksUntilSomebodyLooks) {
    Open(THREE_MAILS,
         "DlgTaskbarClickReset=0\r\nEmailDoBlink=1\r\nEmailDoScrollBlink=1\r\nEmailDoSound=1\r\nEmailDoSoundLoop="
         "1\r\nEmailSoundLoopRep=60\r\n");
    const auto light = [] { return GetKeyState(VK_SCROLL) & 1; };
    const auto running = [&] {
        return std::vector<bool>{HasTimer(TIMER_SOUND_LOOP), HasTimer(TIMER_SCROLL_LOCK), HasTimer(TIMER_BLINK)};
    };
    EXPECT_EQ(Picture(), -1);
    Window->Started();
    EXPECT_TRUE(PumpUntil([&] { return Picture() == 3; }));
    EXPECT_FALSE(HasTimer(TIMER_TRAY));

    TellNewMail();
    EXPECT_EQ(running(), (std::vector<bool>{true, true, true}));
    for (const int picture : {0, 3, 0}) {
        Tick(TIMER_BLINK);
        EXPECT_EQ(Picture(), picture);
    }
    const int before = light();
    Tick(TIMER_SCROLL_LOCK);
    EXPECT_TRUE(PumpUntil([&] { return light() != before; }));
    Tick(TIMER_SOUND_LOOP);
    Mouse(WM_LBUTTONDOWN);
    EXPECT_EQ(running(), (std::vector<bool>{true, false, false})) << "a look at the icon";
    EXPECT_EQ(Picture(), 3);
    EXPECT_TRUE(PumpUntil([&] { return light() == 0; }));
    Command(COMMAND_SHOW_WINDOW);
    EXPECT_EQ(running(), (std::vector<bool>{false, false, false})) << "a command";

    Engine->pState.Set("EmailDoBlink", "0");
    TellNewMail();
    Tick(TIMER_BLINK);
    EXPECT_EQ(Picture(), 3);
    Mouse(WM_MOUSEMOVE);
    EXPECT_FALSE(HasTimer(TIMER_BLINK)) << "the pointer has passed";
    Window->SetTitle("old");
    Tick(TIMER_TITLE);
    EXPECT_NE(Std(Window->Title()), "old");

    TellNewMail();
    Tick(TIMER_SCROLL_LOCK);
    EXPECT_TRUE(PumpUntil([&] { return light() == 1; }));
    Close();
    EXPECT_TRUE(PumpUntil([&] { return light() == 0; })) << "as it was before";
}

TEST_F(Notice, AMailOnTheServerComesToTheUser) {
    DEMOSTORE store;
    store.Deliver(SampleMail(0, 1772600000));
    POP3SERVICE server(store, "me", "x");
    ASSERT_TRUE(server.Start());
    Checks.TurnMs = 1;
    Open("[#0]\r\nName=a\r\nType=1\r\nTimingCyclic=600\r\nSource2=x\r\nSource=127.0.0.1:" +
             std::to_string(server.Port()) + "|me\r\n\r\n",
         "EmailDoPopup=1\r\nEmailDoBlink=1\r\nEmailDoSound=0\r\nEmailDoProgram=0\r\nSpamFilterDisabled=1\r\n");
    Engine->Start();
    Window->Started();
    EXPECT_TRUE(PumpUntil([&] { return Alert() && Picture() == 1; }));
    EXPECT_TRUE(PumpUntil([&] { return Rows().front() == "a|1 mail"; })) << Rows().front();
    EXPECT_TRUE(HasTimer(TIMER_BLINK));
    // What the popup's button for the window does: it shows the account.
    Window->Show(SW_MINIMIZE);
    Command(COMMAND_SHOW_ITEM);
    EXPECT_TRUE(Window->IsVisible());
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Handle("a")});
    EXPECT_FALSE(HasTimer(TIMER_BLINK));
}

TEST_F(Notice, AnAlertEndsByItsTimeAndComesBackWhenTheUserWants) {
    Open(THREE_MAILS, "PopupLaterDelay=0\r\nPopupDuration=3600\r\n");
    Show({.Text = "one\ntwo", .DurationMs = 1});
    EXPECT_TRUE(PumpUntil([&] { return !Alert(); }));
    EXPECT_FALSE(HasTimer(TIMER_ALERT));
    for (const int stays : {0, -1}) {
        Show({.Text = "one", .DurationMs = stays});
        EXPECT_FALSE(HasTimer(TIMER_ALERT));
    }
    // The present one goes at once, and the last real one comes after the delay.
    WriteBytes(Engine->DataFile(LAST_POPUP_FILE), "seen before\nthis");
    const HWND before = Alert();
    Command(COMMAND_REMIND_LATER);
    EXPECT_TRUE(PumpUntil([&] { return Alert() != before; }));
    EXPECT_FALSE(HasTimer(TIMER_LATER));
    EXPECT_TRUE(HasTimer(TIMER_ALERT));
    Tick(TIMER_ALERT);
    EXPECT_EQ(Alert(), nullptr);
}

TEST_F(Notice, AnAlertIsReplacedClickedAndGivesCommands) {
    Open(TWO_ITEMS, RUNNING_PROGRAM);
    const HWND first = Show({.Text = "first\nline"});
    EXPECT_TRUE(IsWindowVisible(first));
    EXPECT_NE(GetForegroundWindow(), first);
    EXPECT_EQ(GetWindow(first, GW_OWNER), nullptr) << "it would be hidden with the minimised window";
    // By the line: the button is at the left of the second one.
    const std::tuple<UINT, int, const char*> clicks[] = {{WM_LBUTTONDOWN, 0, ""},
                                                         {WM_LBUTTONDOWN, 1, NUMBER(COMMAND_SUSPEND) " "},
                                                         {WM_RBUTTONDOWN, 0, "program "},
                                                         {WM_RBUTTONDOWN, 1, "program "}};
    for (const auto& [message, line, done] : clicks) {
        const HWND alert =
            Show({.Text = "text\n\x1b[*=" NUMBER(COMMAND_SUSPEND) "]Suspend", .Handle = Handle("Alpha")});
        EXPECT_FALSE(IsWindow(first));
        RECT client;
        GetClientRect(alert, &client);
        const LPARAM place = MAKELPARAM(client.right / 4, client.bottom * (1 + 2 * line) / 4);
        EXPECT_EQ(Done([&] {
                      SendMessageW(alert, WM_MOUSEMOVE, 0, place);
                      SendMessageW(alert, message, 0, place);
                      EXPECT_EQ(IsWindowVisible(alert) != 0, message == WM_RBUTTONDOWN);
                      EXPECT_TRUE(PumpUntil([&] { return !Alert(); }));
                  }),
                  done)
            << message << " " << line;
    }
    // What stands may be read a little longer, while the window goes on.
    const HWND read = Show({.Text = "read", .DurationMs = 3600000});
    for (const char* text : {"second", "third"})
        Window->PostAlert({.Text = text, .DurationMs = 3600000});
    SendMessageW(Window->hWnd, WM__ALERTWIN, 0, 0);
    EXPECT_EQ(Alert(), read);
    EXPECT_FALSE(HasTimer(TIMER_ALERT));
    EXPECT_TRUE(HasTimer(TIMER_NEXT_ALERT));
    Pump();
    EXPECT_EQ(Alert(), read);
    SendMessageW(Window->hWnd, WM_TIMER, TIMER_NEXT_ALERT, 0);
    const HWND second = Alert();
    EXPECT_NE(second, read);
    EXPECT_TRUE(PumpUntil([&] { return Alert() != second; }));
    EXPECT_FALSE(HasTimer(TIMER_NEXT_ALERT));
    EXPECT_TRUE(HasTimer(TIMER_ALERT));
    // A click does not end the next one, which was on its way before.
    for (const UINT button : {WM_LBUTTONDOWN, WM_RBUTTONDOWN}) {
        const HWND clicked = Show({.Text = "clicked"});
        Window->PostAlert({.Text = "next"});
        SendMessageW(clicked, button, 0, 0);
        EXPECT_TRUE(PumpUntil([&] { return Alert() && Alert() != clicked; }));
        EXPECT_FALSE(HasTimer(TIMER_ALERT));
    }
}

TEST_F(Notice, TheAlertIsReachedByTheKeyboard) {
    Open(TWO_ITEMS);
    const std::tuple<std::vector<WPARAM>, bool, const char*> table[] = {
        {{VK_TAB}, true, ""},
        {{VK_SPACE}, false, NUMBER(COMMAND_SUSPEND) " "},
        {{VK_TAB, VK_RETURN}, false, NUMBER(COMMAND_RESET_COUNT) " "},
        {{VK_LEFT, VK_RETURN}, false, NUMBER(COMMAND_RESET_COUNT) " "},
        {{VK_RIGHT, VK_DOWN, VK_SPACE}, false, NUMBER(COMMAND_SUSPEND) " "},
        {{VK_ESCAPE}, false, ""},
        {{VK_DELETE, VK_F6}, true, ""},
    };
    for (const auto& [keys, open, done] : table) {
        const HWND alert = Show({.Text = "text\n\x1b[*=" NUMBER(COMMAND_SUSPEND) "]Suspend\x1b[n] or \x1b[*=" NUMBER(
                                     COMMAND_RESET_COUNT) "]reset"});
        Window->List().Focus();
        const HWND list = GetFocus();
        EXPECT_EQ(Done([&] {
                      PostMessageW(list, WM_KEYDOWN, VK_F6, 1);
                      for (const WPARAM key : keys)
                          PostMessageW(alert, WM_KEYDOWN, key, 1);
                      PostQuitMessage(0);
                      Window->MainDispatchLoop(KEY_TABLE);
                  }),
                  done);
        EXPECT_EQ(Alert() != nullptr, open);
        EXPECT_EQ(GetFocus(), keys.back() == VK_TAB ? alert : list);
    }
    EXPECT_EQ(Engine->Items.Count(), 2);
}

TEST_F(Notice, OpeningAlertsLeavesNoHandlesBehind) {
    Open(TWO_ITEMS);
    ALERTSETUP setup;
    setup.Parent = Window->hWnd;
    ExpectNoHandleGrowth([&] { SEMITOOLTIP("one\n\x1b[b]two \x1b[*=1]three", setup); });
    // A click that was meant for the one before it.
    for (const int deafMs : {3600000, 0}) {
        setup.DeafMs = deafMs;
        const SEMITOOLTIP alert("one", setup);
        SendMessageW(alert.hWnd, WM_LBUTTONDOWN, 0, 0);
        EXPECT_EQ(alert.IsVisible(), deafMs != 0);
    }
}

}  // namespace
