#include "corelib/window/window.h"

#include "corelib/system/registry.h"
#include "corelib/window/controls.h"
#include "corelib/window/dialog.h"
#include "corelib/window/listview.h"
#include "corelib/window/menus.h"
#include "corelib/window/taskbaricon.h"
#include "corelib/window/toolbar.h"
#include "corelib/window/widetext.h"
#include "tests/support/windowtest.h"

namespace {

constexpr const char* PRODUCT = "WindowTest";
constexpr DWORD FRAME = WS_OVERLAPPEDWINDOW;

REGISTRY Values() {
    return REGISTRY(WINDOW_COMPANY, PRODUCT, ROOT_CURRENT_USER);
}

bool Same(const RECT& rect, int left, int top, int right, int bottom) {
    return rect.left == left && rect.top == top && rect.right == right && rect.bottom == bottom;
}

class SEEING : public WINDOW {
 public:
    SEEING() : WINDOW(FRAME, "seeing", 10, 20, 300, 200, nullptr, 0, nullptr) { Ready = true; }
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_CREATE)
            CreatedWhenReady = Ready && second == 0;
        return WINDOW::WinProc(message, first, second);
    }
    bool Ready = false, CreatedWhenReady = false;
};

TEST(WINDOWS, SeeTheirCreationOnceTheyAreReady) {
    SEEING window;
    EXPECT_TRUE(PumpUntil([&] { return window.CreatedWhenReady; }));
    int id = -1;
    SendMessageW(window.Hwnd(), WM__GETID, reinterpret_cast<WPARAM>(&id), 0);
    EXPECT_EQ(id, 0);
}

TEST(WINDOWS, TellTheControlsInThemOfNewColours) {
    class CONTROLINSIDE : public CONTROL {
     public:
        explicit CONTROLINSIDE(HWND parent) : CONTROL(L"BUTTON", 0, 0, parent, 1) {}
        LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
            Told += message == WM_SYSCOLORCHANGE;
            return CONTROL::WinProc(message, first, second);
        }
        int Told = 0;
    };
    SEEING window;
    CONTROLINSIDE control(window.Hwnd());
    SendMessageW(window.Hwnd(), WM_SYSCOLORCHANGE, 0, 0);
    EXPECT_EQ(control.Told, 1);
}

TEST(WINDOWS, PositionIsKeptWhileTheyShow) {
    SEEING window;
    Values().Delete("Pos");
    window.StoreWindowPos(PRODUCT, "Pos");  // hidden
    EXPECT_FALSE(window.RestoreWindowPos(PRODUCT, "Pos"));
    window.Show();
    window.Move(40, 50, 320, 240);
    window.StoreWindowPos(PRODUCT, "Pos");
    window.Show(SW_MAXIMIZE);
    window.StoreWindowPos(PRODUCT, "Pos");
    window.Show(SW_RESTORE);
    window.Move(0, 0, 100, 100);
    EXPECT_TRUE(window.RestoreWindowPos(PRODUCT, "Pos"));
    EXPECT_TRUE(Same(window.Rect(), 40, 50, 360, 290));

    const struct {
        int32_t Edges[5];
        int Bytes;
        bool Moves;
    } stored[] = {
        {{1, 2, 300, 400, 5}, 0, false},
        {{1, 2, 300, 400, 5}, 12, false},
        {{1, 2, 300, 400, 5}, 20, false},
        {{300, 2, 1, 400}, 16, false},
        {{INT_MAX, INT_MAX, INT_MIN, INT_MIN}, 16, false},
        {{30000, 30000, 30200, 30100}, 16, true},  // these three are nowhere to be taken
        {{100, -200, 400, 100}, 16, true},
        {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, 16, true},
    };
    for (const auto& row : stored) {
        SCOPED_TRACE(testing::PrintToString(row.Edges) + " " + std::to_string(row.Bytes));
        window.Move(40, 50, 320, 240);
        (void)Values().Write("Pos", row.Edges, row.Bytes);
        EXPECT_EQ(window.RestoreWindowPos(PRODUCT, "Pos"), row.Moves);
        const RECT now = window.Rect(), work = WINDOW(HWND_DESKTOP).Rect();
        EXPECT_TRUE(row.Moves ? now.top >= work.top && now.top < work.bottom && now.left < work.right && now.right > 0
                              : Same(now, 40, 50, 360, 290));
    }
}

TEST(WINDOWS, KeepTheirSizeToTheEye) {
    SEEING window;
    window.Show();
    window.Move(40, 50, 320, 240);
    window.StoreWindowPos(PRODUCT, "Pos");
    const auto own = static_cast<uint32_t>(window.Scale().Dots());
    // Kept on a screen of half the scale, of twice of it, and by an earlier version or what is no scale at all.
    const std::tuple<uint32_t, int, int, int> kept[] = {
        {own / 2, 4, 640, 480}, {own * 2, 4, 160, 120}, {own, 4, 320, 240}, {0, 4, 320, 240}, {own / 2, 0, 320, 240}};
    for (const auto& [dots, bytes, width, height] : kept) {
        (void)Values().Delete("PosDots");
        if (bytes > 0)
            (void)Values().Write("PosDots", &dots, bytes);
        ASSERT_TRUE(window.RestoreWindowPos(PRODUCT, "Pos"));
        EXPECT_TRUE(Same(window.Rect(), 40, 50, 40 + width, 50 + height)) << dots;
    }
}

TEST(WINDOWS, CenterKeepsThemInsideTheWorkArea) {
    const RECT work = WINDOW(HWND_DESKTOP).Rect();
    EXPECT_GT(work.right, 0);
    SEEING window, reference;
    window.Move(0, 0, 200, 100);
    reference.Move(400, 300, 400, 300);
    window.Center(reference.Hwnd());  // hidden: the work area counts
    EXPECT_EQ(window.Rect().left, (work.right - 200) / 2);
    reference.Show();
    window.Center(reference.Hwnd());
    EXPECT_TRUE(Same(window.Rect(), 500, 400, 700, 500));
    reference.Move(work.right - 50, work.bottom - 50, 400, 300);
    window.Center(reference.Hwnd());
    EXPECT_EQ(window.Rect().right, work.right);
    EXPECT_EQ(window.Rect().bottom, work.bottom);
    reference.Show(SW_MINIMIZE);
    window.Center(reference.Hwnd());
    EXPECT_EQ(window.Rect().left, (work.right - 200) / 2);

    WINDOW large(WS_POPUP, "large", 50, 50, work.right + 200, work.bottom + 100, nullptr, 0, nullptr);
    large.Center(nullptr);
    EXPECT_EQ(large.Rect().left, 0);
    EXPECT_EQ(large.Rect().top, 0);
    WINDOW child(WS_CHILD | WS_VISIBLE, "child", 5, 6, 20, 10, window.Hwnd(), 7, "ChildOfTest");
    EXPECT_ASSERTIONS(1);
    window.Center(child.Hwnd());
}

/// For all tests of this program: its pictures are those of a language library.
class PICTURES : public testing::Environment {
    void SetUp() override { SetResourceModule(LoadLibraryExW(L"english.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE)); }
};
[[maybe_unused]] const auto* const Pictures = testing::AddGlobalTestEnvironment(new PICTURES);

TEST(WINDOWS, DoWithoutMenusAndPicturesThatAreMissing) {
    constexpr int MISSING = 4711;
    EXPECT_ASSERTIONS(7);
    WINDOW window(FRAME, "bare", 0, 0, 300, 200, nullptr, MISSING, nullptr);
    EXPECT_NE(window.Hwnd(), nullptr);
    MENU(MISSING).Popup(window.Hwnd());
    NEWTOOLBAR bar(window.Hwnd());
    bar.AddButton(10, MISSING, TBSTYLE_BUTTON);
    bar.ArrangeButtons();
    EXPECT_GT(bar.ButtonRect(10).right, bar.ButtonRect(10).left);
    window.Show();
    UpdateWindow(bar.Hwnd());
    bar.Enable(10, false);
    UpdateWindow(bar.Hwnd());
    LISTVIEW list(window.Hwnd(), 100);
    list.AddColumns("Name");
    list.SetImages({MISSING, 2075});
    list.InsertRecord(0, MISSING, "without\ta second column");
    list.InsertRecord(0, 2075, "beside a gap");
    LVITEMW item{};
    item.mask = LVIF_IMAGE;
    ListView_GetItem(list.Hwnd(), &item);
    EXPECT_EQ(item.iImage, 1);
    const TASKBARICON icon(window.Hwnd(), MISSING, "tip", WM_APP);
    EXPECT_TRUE(icon.IsUp());
}

TEST(WINDOW, KeepsEveryLetterOfItsText) {
    WINDOW frame(WS_OVERLAPPEDWINDOW, "frame", 0, 0, 300, 200, nullptr, 0, nullptr);
    EDITFIELD field(L"Edit", WS_BORDER, 0, frame.Hwnd(), 1);
    for (const char* text : {"Größe €", "Λόγος", "日本 😀", "שלום"}) {
        field.SetText(text);
        EXPECT_EQ(Std(field.Text()), text);
    }
    field.SetText("Ω caf\xe9 \x80");  // a server's words in a sentence of ours
    EXPECT_EQ(Std(field.Text()), "Ω café €");
}

TEST(CONTROLS, MayOutliveTheirWindow) {
    auto frame = std::make_unique<WINDOW>(DWORD{WS_OVERLAPPEDWINDOW}, "frame", 0, 0, 300, 200, nullptr, 0, nullptr);
    EDITFIELD field(L"Edit", WS_BORDER, 0, frame->Hwnd(), 1);
    field.SetText("text");
    EXPECT_EQ(Std(EDITFIELD(frame->Hwnd(), 1).Text()), "text");
    frame.reset();
    EXPECT_EQ(field.Hwnd(), nullptr);
}

TEST(MENUS, RemoveASeparatorByTheNameOfItsMenu) {
    const MENUHANDLE bar(CreateMenu());
    const HMENU file = CreatePopupMenu();
    AppendMenuW(file, MF_STRING, 1, L"Check &now\tF5");
    AppendMenuW(file, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(file, MF_STRING, 2, L"E&xit");
    AppendMenuW(bar.get(), MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&Accounts");
    MENU menu(bar.get());
    menu.DeleteSeparator("File", 1);
    EXPECT_EQ(GetMenuItemCount(file), 3);
    EXPECT_ASSERTIONS(1);
    menu.DeleteSeparator("ACCOUNTS", 0);
    EXPECT_EQ(GetMenuItemCount(file), 3);
    menu.DeleteSeparator("ACCOUNTS", 1);
    EXPECT_EQ(GetMenuItemCount(file), 2);
}

const DIALOGTEMPLATE EMPTY(WS_POPUP | WS_CAPTION, "Frage", 160, 60, "MS Shell Dlg", 8);

class ANSWERING : public DIALOG {
 public:
    ANSWERING() : DIALOG(EMPTY) {}
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        return message == WM_APP ? 77 : DIALOG::WinProc(message, first, second);
    }
};

LRESULT CALLBACK AnswerFive(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    return message == WM_APP + 1 ? 5 : DIALOGSUBCLASS::Former(dialog, message, first, second);
}

TEST(DIALOGTEST, AnswersThroughTheProcedureThatReplacesItsOwnForAWhile) {
    ANSWERING page;
    ASSERT_TRUE(page.Create(nullptr));
    {
        const DIALOGSUBCLASS custom(page.Hwnd(), AnswerFive);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 5);
        EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
        EXPECT_ASSERTIONS(1);
        const DIALOGSUBCLASS second(page.Hwnd(), AnswerFive);
    }
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP + 1, 0, 0), 0);
    EXPECT_EQ(SendMessageW(page.Hwnd(), WM_APP, 0, 0), 77);
}

}  // namespace
