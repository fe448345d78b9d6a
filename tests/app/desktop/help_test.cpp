// The first has names that those of windows would shadow.
// clang-format off
#include "tests/app/apptest.h"
#include "tests/app/desktop/desktopsupport.h"
// clang-format on

#include "app/core/datadir.h"
#include "app/desktop/inbox.h"
#include "app/desktop/trashcan.h"
#include "corelib/base/widepath.h"
#include "corelib/system/registry.h"

namespace {

constexpr int MESSAGE_TEXT = 0xFFFF;

/// A browser that notes what it is to show, or that is not there.
class BROWSER : public FAKESTARTER {
 public:
    bool OpenAddress(const STRING& address) override { return FAKESTARTER::OpenAddress(address) && Works; }
    bool Works = true;
};

class Help : public DESKTOPTEST {
 protected:
    Help() { Programs = &Browser; }
    ~Help() override { Close(); }

    /// The pages that were opened since the last call, by the names of their files.
    std::string Opened() {
        const std::string call = Browser.Take();
        const size_t end = call.rfind(".html"), begin = call.find_last_of("/\\", end) + 1;
        return end == call.npos ? call : call.substr(begin, end - begin);
    }
    /// The same as F1 is pressed in a control, or it is clicked on with the question mark.
    std::string Asked(HWND control) {
        HELPINFO info{};
        info.cbSize = sizeof info;
        info.iContextType = HELPINFO_WINDOW;
        info.iCtrlId = GetDlgCtrlID(control);
        info.hItemHandle = control;
        SendMessageW(control, WM_HELP, 0, reinterpret_cast<LPARAM>(&info));
        return Opened();
    }
    /// Runs the command's dialog, and there does that with the dialog and its page (null: it has none).
    void InDialog(int command, const std::function<void(HWND dialog, HWND page)>& act) {
        bool done = false;
        Later([&] {
            const HWND dialog = GetActiveWindow();
            HWND page = nullptr;
            do
                page = FindWindowExW(dialog, page, L"#32770", nullptr);
            while (page && !(GetWindowLongW(page, GWL_STYLE) & WS_VISIBLE));
            act(dialog, page);
            done = true;
            SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        Command(command);
        EXPECT_TRUE(done) << command;
    }

    BROWSER Browser;
};

TEST_F(Help, OfADialogIsAboutTheControl) {
    Open(TWO_ITEMS);
    InDialog(COMMAND_SETTINGS, [this](HWND dialog, HWND page) {
        EXPECT_TRUE(GetWindowLongW(dialog, GWL_EXSTYLE) & WS_EX_CONTEXTHELP);
        for (const auto& [control, topic] : {std::pair(401, "2011-401"), {801, "2011-401"}, {249, "2011-249"}})
            EXPECT_EQ(Asked(GetDlgItem(page, control)), topic);
        for (const int of : {IDOK, IDCANCEL, 300})
            EXPECT_EQ(Asked(GetDlgItem(dialog, of)), "2011") << "of the frame: the page that shows";
    });
    InDialog(COMMAND_ADD_ITEM, [this](HWND, HWND page) { EXPECT_EQ(Asked(GetDlgItem(page, 243)), "2031-243"); });
    InDialog(COMMAND_TYPES, [this](HWND dialog, HWND) { EXPECT_EQ(Asked(GetDlgItem(dialog, 401)), "2041-401"); });
}

TEST_F(Help, OfAWindowIsAboutItAsAWhole) {
    Open(TWO_ITEMS, "InboxVisible=1\r\nTrashcanVisible=1\r\n");
    Window->Started();
    Pump();
    ASSERT_TRUE(Window->InboxWindow() && Window->TrashcanWindow());
    Window->PostAlert({"new", 0, 0, 0, 0, 0});
    Pump();
    ASSERT_TRUE(Window->Alert());
    const std::pair<HWND, const char*> windows[] = {
        {Window->hWnd, "2101"},
        {Window->List().Handle(), "2101"},
        {FindWindowExW(Window->hWnd, nullptr, STATUSCLASSNAMEW, nullptr), "2101"},
        {GetWindow(Window->InboxWindow()->hWnd, GW_CHILD), "2001"},
        {Window->InboxWindow()->hWnd, "2001"},
        {Window->TrashcanWindow()->hWnd, "2002"},
        {Window->Alert()->hWnd, "2060"},
    };
    for (const auto& [window, topic] : windows)
        EXPECT_EQ(Asked(window), topic);
}

TEST_F(Help, HasItsChaptersInTheMenu) {
    Open(TWO_ITEMS);
    const std::pair<int, const char*> chapters[] = {
        {COMMAND_HELP_CONTENTS, "index"}, {COMMAND_HELP_PROVIDERS, "2802"},   {COMMAND_HELP_FILTER, "2801"},
        {COMMAND_HELP_QUESTIONS, "2804"}, {COMMAND_HELP_FIRST_STEPS, "2803"}, {COMMAND_HELP_INTRODUCTION, "2000"}};
    for (const auto& [command, topic] : chapters) {
        Command(command);
        EXPECT_EQ(Opened(), topic);
    }
    // In the language of the program.
    Close();
    Open(TWO_ITEMS, "", "GER");
    Command(COMMAND_HELP_CONTENTS);
    EXPECT_NE(Browser.Take().find("help\\german\\index.html"), std::string::npos);
}

TEST_F(Help, TellsThatThereIsNoBrowser) {
    Open(TWO_ITEMS);
    Browser.Works = false;
    std::string said;
    Later([&] {
        said = Std(WINDOW(GetDlgItem(GetActiveWindow(), MESSAGE_TEXT)).Title());
        SendMessageW(GetActiveWindow(), WM_COMMAND, IDOK, 0);
    });
    Command(COMMAND_HELP_CONTENTS);
    EXPECT_EQ(said.find("No browser opens this page of the help: "), 0u) << said;
    EXPECT_NE(said.find("\\help\\english\\index.html"), std::string::npos) << said;
}

TEST_F(Help, WelcomesOnceTheWindowIsThere) {
    Version = "0.98";
    Later([] { SendMessageW(GetActiveWindow(), WM_COMMAND, IDOK, 0); });  // what greets
    Open(TWO_ITEMS);
    EXPECT_EQ(Opened(), "");
    Window->Started();
    EXPECT_EQ(Opened(), "2803");
}

// A question, the name of the file, and another question, one after the other.
TEST_F(Help, SavesAReportAndShowsIt) {
    Open(TWO_ITEMS);
    const TEMPDIR folder;
    const STRING file = folder.File("report \xc3\x9c.txt");
    std::vector<std::string> said;
    HWND last = Window->hWnd;
    std::function<void()> answer = [&] {
        const HWND front = GetActiveWindow();
        if (!front || front == last || front == Window->hWnd) {
            Later(answer);
            return;
        }
        last = front;
        said.push_back(Std(WINDOW(GetDlgItem(front, MESSAGE_TEXT)).Title()).substr(0, 18));
        if (said.size() < 3)
            Later(answer);
        if (said.size() == 2) {
            constexpr int OLD_NAME = 0x480, NEW_NAME = 0x47C;
            SetDlgItemTextW(front, GetDlgItem(front, NEW_NAME) ? NEW_NAME : OLD_NAME, WidePath(file.Text()).c_str());
        }
        SendMessageW(front, WM_COMMAND, said.size() == 2 ? IDOK : IDYES, 0);
    };
    Later(answer);
    Command(COMMAND_SAVE_REPORT);
    EXPECT_EQ(said, (std::vector<std::string>{"A report holds ver", "", "The report is in t"}));
    EXPECT_EQ(Browser.Take(), "notepad,\"" + Std(file) + "\",.");
    EXPECT_EQ(ReadBytes(file).find("--- Tarnwick: report ---\r\n"), 0u);
}

/// The window over tips that come by themselves, none of which was shown today.
class TipOfTheDay : public Help {
 protected:
    TipOfTheDay() { Forget(); }
    ~TipOfTheDay() override { Forget(); }
    static REGISTRY Store() { return {COMPANY, "Tarnwick", ROOT_CURRENT_USER}; }
    static void Forget() {
        for (const char* value : {"TipOfDayLast", "TipOfDayCount", "TipOfDayStyle", "TipOfDayDate"})
            Store().Delete(value);
    }
    static HWND Dialog() { return FindWindowW(L"#32770", L"Tip of the day"); }
    static std::string Shown(HWND dialog) { return Std(WINDOW(GetDlgItem(dialog, 290)).Title()); }
};

TEST_F(TipOfTheDay, GoesOnIsSwitchedOffAndLeavesByTheKeyboard) {
    Open(TWO_ITEMS);
    for (const bool off : {true, false}) {
        InDialog(COMMAND_TIP_OF_THE_DAY, [&](HWND dialog, HWND) {
            EXPECT_EQ(GetFocus(), GetDlgItem(dialog, 290));
            EXPECT_EQ(IsDlgButtonChecked(dialog, 241), off ? BST_CHECKED : BST_UNCHECKED);
            EXPECT_EQ(LOWORD(SendMessageW(dialog, DM_GETDEFID, 0, 0)), IDCANCEL);
            const std::string first = Shown(dialog);
            SendDlgItemMessageW(dialog, 101, BM_CLICK, 0, 0);
            EXPECT_TRUE(!first.empty() && !Shown(dialog).empty() && Shown(dialog) != first);
            EXPECT_EQ(Asked(GetDlgItem(dialog, 101)), "2050-101");
            SendDlgItemMessageW(dialog, 241, BM_CLICK, 0, 0);
            EXPECT_EQ(Std(Store().Read("TipOfDayStyle")), off ? "0" : "1");
        });
    }
    EXPECT_EQ(Std(Store().Read("TipOfDayLast")), "4");
    EXPECT_EQ(Std(Store().Read("TipOfDayCount")), "20");
    for (const int key : {VK_ESCAPE, VK_RETURN}) {
        Later([&] { DialogKey(Dialog(), key); });
        Command(COMMAND_TIP_OF_THE_DAY);
        EXPECT_EQ(Dialog(), nullptr) << key;
    }
}

TEST_F(TipOfTheDay, ComesByItselfOnceTheUserOpensTheWindow) {
    const auto offered = [&](const std::function<void()>& act) {
        const UINT_PTR timer = SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR, DWORD) {
            if (const HWND dialog = Dialog())
                PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        });
        const std::string before = Std(Store().Read("TipOfDayLast"));
        act();
        Pump();
        KillTimer(nullptr, timer);
        return Std(Store().Read("TipOfDayLast")) != before;
    };
    Open(TWO_ITEMS, "DlgStartMinimized=1\r\n");
    EXPECT_FALSE(offered([&] { Command(COMMAND_SHOW_WINDOW); })) << "before the start is through";
    Window->Show(SW_MINIMIZE);
    EXPECT_FALSE(offered([&] { Window->BeginTips(); })) << "in the tray";
    EXPECT_TRUE(offered([&] { Command(COMMAND_SHOW_WINDOW); }));
    EXPECT_FALSE(offered([&] { Command(COMMAND_SHOW_WINDOW); })) << "once a day";
    EXPECT_TRUE(Store().Write("TipOfDayDate", "2001-02-03"));
    EXPECT_TRUE(Store().Write("TipOfDayStyle", "0"));
    EXPECT_FALSE(offered([&] { Command(COMMAND_SHOW_WINDOW); })) << "switched off";
    Store().Delete("TipOfDayStyle");
    EXPECT_TRUE(offered([&] { Command(COMMAND_SHOW_WINDOW); }));
    Close();
    Store().Delete("TipOfDayDate");
    Version = "0.98";
    Later([] { SendMessageW(GetActiveWindow(), WM_COMMAND, IDOK, 0); });
    Open(TWO_ITEMS);
    EXPECT_FALSE(offered([&] { Window->BeginTips(); })) << "after a welcome";
}

}  // namespace
