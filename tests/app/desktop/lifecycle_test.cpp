#include "app/mailbox/pop3.h"
#include "app/notify/traydisplay.h"
#include "corelib/system/registry.h"
#include "tests/app/desktop/desktopsupport.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/times.h"

namespace {

/// How the program begins, goes on in the background, and ends.
class Lifecycle : public DESKTOPTEST {
 protected:
    ~Lifecycle() override {
        Close();
        SHRINKABLE::PopTimes = POPTIMES();
    }
    /// Opens with an account whose server does not answer, and waits until its check has begun.
    void OpenChecking(const std::string& settings = {}) {
        Checks.TurnMs = 1;
        SHRINKABLE::PopTimes.GreetingMs = 400;
        Server = std::make_unique<SCRIPTEDSERVER>(SCRIPT{PLAY::Silence()});
        Open("[#0]\r\nName=a\r\nType=1\r\nTimingCyclic=600\r\nSource=" + Server->HostPort() + "|me\r\n\r\n", settings);
        Engine->Start();
        Window->Started();
        ASSERT_TRUE(PumpUntil([&] { return Server->Connections() == 1; }));
        ASSERT_EQ(Engine->Items[0].GetNumber("@InUpdate"), 1);
    }
    /// The main loop, until it ends; false if it does so only as it is made to.
    bool RunLoop() {
        static bool tooLong;
        tooLong = false;
        const UINT_PTR limit = SetTimer(nullptr, 0, 10000, [](HWND, UINT, UINT_PTR, DWORD) {
            tooLong = true;
            PostQuitMessage(0);
        });
        Window->MainDispatchLoop(KEY_TABLE);
        KillTimer(nullptr, limit);
        return !tooLong;
    }
    static STRING ProgramFile() {
        return OSYS::FilePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Text(), "tarnwick.exe");
    }
    /// Starts the program itself over another directory.
    static PROCESS_INFORMATION StartProgramOver(const STRING& directory, const char* switches = "",
                                                const STRING& program = ProgramFile()) {
        std::wstring line = WideText("\"" || program || "\" \"/WORKDIR:" || directory || "\" " || switches);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &process));
        return process;
    }
    /// Its exit code, or -1 if it does not end.
    static int WaitForEnd(const PROCESS_INFORMATION& process) {
        DWORD code = STILL_ACTIVE;
        if (!PumpUntil([&] { return GetExitCodeProcess(process.hProcess, &code) && code != STILL_ACTIVE; }))
            TerminateProcess(process.hProcess, 1);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return code == STILL_ACTIVE ? -1 : static_cast<int>(code);
    }
    std::unique_ptr<SCRIPTEDSERVER> Server;
};

TEST_F(Lifecycle, WithoutAnyLanguageTheStartSaysWhatIsMissing) {
    const TEMPDIR alone;
    WriteBytes(alone.File("tarnwick.exe"), ReadBytes(ProgramFile()));
    const PROCESS_INFORMATION process = StartProgramOver(alone.Path(), "/LANG:GER", alone.File("tarnwick.exe"));
    HWND box = nullptr;
    EXPECT_TRUE(PumpUntil([&] { return (box = FindWindowW(L"#32770", L"Velmora Application")) != nullptr; }));
    wchar_t text[300] = L"";
    GetDlgItemTextW(box, 0xFFFF, text, 300);
    EXPECT_EQ(Std(FromWide(text)), "DLL not found:\r" + alone.Native("english.dll"));
    PostMessageW(box, WM_COMMAND, IDOK, 0);
    EXPECT_EQ(WaitForEnd(process), 99);
}

TEST_F(Lifecycle, ASecondStartRaisesTheFirst) {
    WINDOW other(WS_OVERLAPPEDWINDOW, "other", 0, 0, 1000, 800, nullptr, 0, "OtherOfTest");
    other.Show();
    const auto raise = [&](const char* state, HWND wanted) {
        SetForegroundWindow(other.hWnd);
        EXPECT_NE(GetForegroundWindow(), wanted) << state;
        const TEMPDIR untouched;
        EXPECT_EQ(WaitForEnd(StartProgramOver(untouched.Path())), 0) << state;
        EXPECT_TRUE(PumpUntil([&] { return GetForegroundWindow() == wanted; })) << state;
        EXPECT_TRUE(Window->IsVisible() && !IsIconic(Window->hWnd)) << state;
        EXPECT_TRUE(RemoveDirectoryA(untouched.Path())) << "it is not empty any more";
    };
    for (const bool minimized : {true, false}) {
        Open(TWO_ITEMS, minimized ? "DlgStartMinimized=1\r\n" : "");
        raise(minimized ? "in the tray since its start" : "behind another window", Window->hWnd);
        Window->Show(SW_MINIMIZE);
        raise("gone into the tray", Window->hWnd);
        Later([&] {
            const HWND dialog = GetActiveWindow();
            raise("with a dialog", dialog);
            Later([&] {
                EXPECT_EQ(GetForegroundWindow(), dialog) << "the tray icon's menu leaves it the keyboard";
                EndMenu();
            });
            SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_RBUTTONDOWN);
            SetForegroundWindow(other.hWnd);
            Command(COMMAND_SHOW_WINDOW);
            EXPECT_EQ(GetForegroundWindow(), dialog) << "by the tray icon";
            SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        Command(COMMAND_ADD_ITEM);
        Close();
    }
}

TEST_F(Lifecycle, TheProgramBeginsAndEndsAsAWhole) {
    const std::tuple<const char*, const char*, bool> runs[] = {
        {"/MIN", TWO_ITEMS, false}, {"/LANG:GER", TWO_ITEMS, true}, {"", "", true}};
    for (const auto& [switches, accounts, isVisible] : runs) {
        const TEMPDIR data;
        const STRING folder = data.File("Πόστα 日"), itemFile = folder || "\\accounts.ini";
        ASSERT_TRUE(OSYS::MakeDirectory(folder.Text()));
        WriteBytes(folder || "\\tarnwick.ini", "DlgCloseMinimize=0\r\nConnectionType=0\r\nVersion=2.02\r\n");
        WriteBytes(itemFile, accounts);
        const PROCESS_INFORMATION process = StartProgramOver(folder, switches);
        HWND window = nullptr;
        const auto isReady = [&] {
            window = FindWindowW(WideText(std::string_view(MAINWINDOW_CLASS)).c_str(), nullptr);
            // Without accounts it begins with the setup wizard, which asks before it goes.
            for (HWND box = nullptr; (box = FindWindowExW(nullptr, box, L"#32770", L"Tarnwick setup"));)
                PostMessageW(box, WM_COMMAND, GetDlgItem(box, IDNO) ? IDNO : IDCANCEL, 0);
            return window && GetDlgItem(window, 1) && IsWindowVisible(window) == isVisible && IsWindowEnabled(window);
        };
        EXPECT_TRUE(PumpUntil(isReady)) << switches;
        PostMessageW(window, WM_CLOSE, 0, 0);
        EXPECT_EQ(WaitForEnd(process), 0) << switches;
        EXPECT_NE(ReadBytes(folder || "\\tarnwick.ini").find("InboxVisible="), std::string::npos) << "saved whole";
        const std::string items = ReadBytes(itemFile);
        EXPECT_EQ(items.find("[#0]") != std::string::npos, *accounts != 0) << items;
    }
}

// As the installer asks it to.
TEST_F(Lifecycle, TheProgramEndsAlsoOutOfTheSetupWizard) {
    const TEMPDIR data;
    const PROCESS_INFORMATION process = StartProgramOver(data.File("new"));
    EXPECT_TRUE(PumpUntil([] {
        const HWND wizard = FindWindowW(L"#32770", L"Tarnwick setup");
        return wizard && IsWindowVisible(wizard);
    }));
    const HWND window = FindWindowW(WideText(std::string_view(MAINWINDOW_CLASS)).c_str(), nullptr);
    PostMessageW(window, WM_COMMAND, COMMAND_QUIT, 0);
    EXPECT_EQ(WaitForEnd(process), 0);
}

TEST_F(Lifecycle, ClosingIntoTheTrayExplainsItselfUntilTheUserKnows) {
    Open(TWO_ITEMS, "DlgCloseMinimize=1\r\n");
    for (const bool first : {true, false}) {
        constexpr int NEVER_AGAIN = 101;
        Window->Show(SW_RESTORE);
        bool shown = false, looked = false;
        Later([&] {
            const HWND hint = GetActiveWindow();
            shown = GetDlgItem(hint, NEVER_AGAIN) != nullptr;
            if (shown) {
                SendMessageW(GetDlgItem(hint, NEVER_AGAIN), BM_CLICK, 0, 0);
                SendMessageW(GetDlgItem(hint, IDOK), BM_CLICK, 0, 0);
            }
            looked = true;
        });
        SendMessageW(Window->hWnd, WM_CLOSE, 0, 0);
        EXPECT_FALSE(Window->IsVisible());
        EXPECT_TRUE(PumpUntil([&] { return looked; }));
        EXPECT_EQ(shown, first);
    }
    EXPECT_FALSE(Engine->Cycle().IsStopRequested());
    Close();
    EXPECT_TRUE(IsStored("DontShowAgainCloseMinimize=1"));
}

TEST_F(Lifecycle, ClosingDuringACheckWaitsForItAndSaves) {
    OpenChecking("DlgCloseMinimize=0\r\n");
    EXPECT_TRUE(PumpUntil(
        [&] { return Window->ShownIcon() && Window->ShownIcon()->Number() == TRAY_RESOURCES + TRAY_UPDATING; }));
    // A menu that is open is no trap for the end.
    EXPECT_EQ(PopupLook([&] { SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_RBUTTONDOWN); },
                        [&] {
                            SendMessageW(Window->hWnd, WM_CLOSE, 0, 0);
                            return true;
                        }),
              "no menu");
    EXPECT_TRUE(Engine->Cycle().IsStopRequested());
    EXPECT_FALSE(Window->IsVisible()) << "whoever ends it sees that it ends";
    EXPECT_EQ(Window->ShownIcon(), nullptr);
    EXPECT_TRUE(RunLoop());
    EXPECT_FALSE(Engine->Cycle().IsRunning());
    Engine->pState.Set("PopupDuration", "77");
    Close();
    EXPECT_TRUE(IsStored("PopupDuration=77"));
}

TEST_F(Lifecycle, TheEndOfTheSessionSavesAtOnce) {
    for (const WPARAM open : {0, COMMAND_ADD_ITEM, COMMAND_DELETE_ITEMS}) {
        OpenChecking();
        EXPECT_EQ(SendMessageW(Window->hWnd, WM_QUERYENDSESSION, 0, 0), 1);
        Engine->pState.Set("PopupDuration", "78");
        // A session whose end another program has refused goes on.
        SendMessageW(Window->hWnd, WM_ENDSESSION, 0, 0);
        EXPECT_FALSE(Engine->Cycle().IsStopRequested());
        EXPECT_FALSE(IsStored("PopupDuration=78"));
        const auto end = [&] { SendMessageW(Window->hWnd, WM_ENDSESSION, 1, 0); };
        if (open != 0) {
            Later(end);
            SendMessageW(Window->hWnd, WM_COMMAND, open, 0);
        } else {
            end();
        }
        EXPECT_FALSE(Engine->Cycle().IsRunning());
        EXPECT_TRUE(IsStored("PopupDuration=78"));
        EXPECT_TRUE(RunLoop());
        EXPECT_EQ(Engine->Items.Count(), 1);
        Engine->pState.Set("PopupDuration", "79");
        SendMessageW(Window->hWnd, WM_ENDSESSION, 1, 0);
        Close();
        EXPECT_TRUE(IsStored("PopupDuration=78")) << "only once";
    }
}

TEST_F(Lifecycle, AnAwakenedMachineAsksTheMessagingSystem) {
    Open("[#0]\r\nName=m\r\nType=0\r\nUpdateSuspended=1\r\n\r\n[#1]\r\nName=p\r\nType=1\r\nUpdateSuspended=1\r\n\r\n");
    const std::pair<WPARAM, int> events[] = {
        {PBT_APMSUSPEND, 0}, {PBT_APMRESUMESUSPEND, 1}, {PBT_APMRESUMESTANDBY, 1}, {PBT_APMRESUMEAUTOMATIC, 0}};
    STRINGARRAY& item = Engine->Items[Engine->FindName("m")];
    for (const auto& [event, checks] : events) {
        item.SetNumber("@ForceRefresh", 0);
        SendMessageW(Window->hWnd, WM_POWERBROADCAST, event, 0);
        EXPECT_EQ(item.GetNumber("@ForceRefresh"), checks) << event;
    }
    EXPECT_EQ(Engine->Items[Engine->FindName("p")].GetNumber("@ForceRefresh"), 0);
}

TEST_F(Lifecycle, ThePositionComesBack) {
    Open(TWO_ITEMS);
    REGISTRY(WINDOW_COMPANY, App->Texts().Get(TEXT_PRODUCT).Text(), ROOT_CURRENT_USER).Delete(WINDOW_POSITION);
    Close();
    Open(TWO_ITEMS);
    const auto place = [&] {
        const RECT rect = Window->Rect();
        return std::vector<LONG>{rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
    };
    EXPECT_EQ(place(), (std::vector<LONG>{8, 8, 400, 350}));
    Window->Move(120, 90, 500, 300);
    Window->Show(SW_MINIMIZE);
    Pump();
    EXPECT_FALSE(Window->IsVisible());
    SetFocus(nullptr);
    Command(COMMAND_SHOW_WINDOW);
    EXPECT_TRUE(Window->IsVisible() && !IsIconic(Window->hWnd));
    EXPECT_EQ(GetFocus(), Window->List().Handle());
    EXPECT_EQ(place(), (std::vector<LONG>{120, 90, 500, 300})) << "from the tray";
    Window->Show(SW_MINIMIZE);
    Close();
    Open(TWO_ITEMS);
    EXPECT_EQ(place(), (std::vector<LONG>{120, 90, 500, 300}));
}

TEST_F(Lifecycle, OpeningWindowsLeavesNoHandlesBehind) {
    Open(TWO_ITEMS);
    ExpectNoHandleGrowth([&] {
        MAINWINDOW window(*App);
        window.SetApplication(Engine.get());
        window.Begin(true);
        window.MakeTaskbarIcon();
        Pump();
        window.SetApplication(nullptr);
    });
}

}  // namespace
