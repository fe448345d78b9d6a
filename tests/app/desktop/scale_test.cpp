#include "app/desktop/inbox.h"
#include "corelib/window/messages.h"
#include "tests/app/desktop/desktopsupport.h"
#include "tests/app/inbox/blocks.h"

namespace {

int Width(const RECT& rect) {
    return static_cast<int>(rect.right - rect.left);
}
int Height(const RECT& rect) {
    return static_cast<int>(rect.bottom - rect.top);
}

/// The main window with the Inbox below, and an alert, at several scales.
class Scale : public DESKTOPTEST {
 protected:
    using SIZES = std::map<std::string, int>;

    static HWND Bar(HWND window) { return GetDlgItem(window, 3); }
    static void See(SIZES& sizes, const std::string& name, HWND list) {
        RECT row{};
        ListView_GetItemRect(list, 0, &row, LVIR_BOUNDS);
        int images = 0, high = 0;
        ImageList_GetIconSize(ListView_GetImageList(list, LVSIL_SMALL), &images, &high);
        sizes[name + " font"] = FontHeight(list);
        sizes[name + " head's font"] = FontHeight(ListView_GetHeader(list));
        sizes[name + " head"] = Height(WINDOW(ListView_GetHeader(list)).Rect());
        sizes[name + " row"] = Height(row);
        sizes[name + " images"] = images;
        int all = 0;
        for (int i = 0; i < LISTVIEW(list).ColumnCount(); ++i) {
            sizes[name + " column " + std::to_string(i)] = LISTVIEW(list).ColumnWidth(i);
            all += LISTVIEW(list).ColumnWidth(i);
        }
        EXPECT_EQ(all, WINDOW(list).ClientRect().right) << name << ": columns fill it";
    }
    SIZES Sizes() {
        SIZES sizes;
        const HWND main = Window->hWnd, inbox = Window->InboxWindow()->hWnd, list = Window->List().Handle();
        See(sizes, "accounts", list);
        See(sizes, "mails", Window->InboxWindow()->ListOfMails().hWnd);
        sizes["tool bar"] = Height(WINDOW(Bar(main)).Rect());
        sizes["mails' tool bar"] = Height(WINDOW(Bar(inbox)).Rect());
        sizes["splitter"] = Height(WINDOW(GetDlgItem(main, SPLITTER_ID)).Rect());
        sizes["split"] = Engine->pState.GetNumber("SplitRatio");
        sizes["status line's font"] = FontHeight(GetDlgItem(main, 2));
        for (const int size : {ICON_SMALL, ICON_BIG})
            sizes["icon " + std::to_string(size)] =
                IconWidth(reinterpret_cast<HICON>(SendMessageW(main, WM_GETICON, static_cast<WPARAM>(size), 0)));
        MINMAXINFO least{};
        SendMessageW(main, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&least));
        sizes["least width"] = static_cast<int>(least.ptMinTrackSize.x);
        const ACCESSIBLEBAR bar(Bar(main));
        sizes["last button"] = bar.Right;
        EXPECT_EQ(WINDOW(inbox).Rect().bottom, Window->ClientRect().bottom);
        EXPECT_EQ(WINDOW(list).Rect().bottom, WINDOW(GetDlgItem(main, SPLITTER_ID)).Rect().top);
        EXPECT_EQ(WINDOW(list).Rect().top, WINDOW(Bar(main)).Rect().bottom);
        return sizes;
    }
    /// Where the last of a tool bar's buttons ends, by its tips.
    struct ACCESSIBLEBAR {
        explicit ACCESSIBLEBAR(HWND bar) {
            for (const HWND tips : HintWindows())
                for (LRESULT i = SendMessageW(tips, TTM_GETTOOLCOUNT, 0, 0); i-- > 0;) {
                    TOOLINFOW tool{};
                    tool.cbSize = sizeof tool;
                    SendMessageW(tips, TTM_ENUMTOOLSW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&tool));
                    if (tool.hwnd == bar)
                        Right = std::max(Right, static_cast<int>(tool.rect.right));
                }
        }
        int Right = 0;
    };
    void OpenBoth(const std::string& settings = {}) {
        Open(TWO_ITEMS, "InboxVisible=1\r\nSplitRatio=120\r\n" + settings);
        for (int i = 0; i < 2; ++i)
            Engine->Items[i].Set("@FileStore", ListingOf({Block(1, "alpha", 0, 3), Block(2, "beta", 60, 2000)}));
        Window->Move(0, 0, Window->ScalePixels(560), Window->ScalePixels(400));
        Window->Started();
        Pump();
        ASSERT_TRUE(Window->InboxWindow());
        Window->SetStatusLine("x");
        Pump();
    }
};

TEST_F(Scale, AllInAWindowFollowsItsScreen) {
    OpenBoth();
    const SIZES before = Sizes();
    const int own = Window->Scale().Dots();
    for (int now = own; const int factor : {2, 1, 2, 1}) {
        TellScale(Window->hWnd, std::exchange(now, own * factor), own * factor);
        for (const auto& [what, size] : Sizes()) {
            const int was = before.at(what);
            // Fonts come in whole pixels of height, with widths of their own.
            EXPECT_NEAR(size, was * factor, factor == 1 ? 0 : 3 + was * 0.2) << what << " at " << factor;
            EXPECT_GT(was, 0) << what;
        }
    }
    ExpectNoHandleGrowth(
        [&] {
            TellScale(Window->hWnd, own, own * 2);
            TellScale(Window->hWnd, own * 2, own);
        },
        6);
    // On a screen where the window is as large as before, its parts are larger all the same.
    const RECT place = Window->Rect();
    SendMessageW(Window->hWnd, WM_DPICHANGED, MAKEWPARAM(own * 2, own * 2), reinterpret_cast<LPARAM>(&place));
    Pump();
    EXPECT_EQ(Width(Window->Rect()), Width(place));
    EXPECT_NEAR(Sizes().at("tool bar"), before.at("tool bar") * 2, 1);
}

TEST_F(Scale, TheSplitIsWhereItWasToTheEyeAtTheNextStart) {
    OpenBoth();
    const int own = Window->Scale().Dots(), split = Engine->pState.GetNumber("SplitRatio");
    EXPECT_EQ(Engine->pState.GetNumber("SplitRatioDots"), own);
    Close();
    OpenBoth("SplitRatioDots=" + std::to_string(own * 2) + "\r\n");
    EXPECT_EQ(Engine->pState.GetNumber("SplitRatio"), split / 2);
}

TEST_F(Scale, AnAlertAndTheTrayIconToo) {
    Open(TWO_ITEMS);
    Window->PostAlert({.Text = "New mail\n\x1b[b]Anna: \x1b[n]Hello\n\x1b[*=2110]Reset"});
    Pump();
    SEMITOOLTIP* const alert = Window->Alert();
    ASSERT_TRUE(alert);
    const int own = alert->Scale().Dots();
    const RECT before = alert->Rect(), work = WINDOW(HWND_DESKTOP).Rect();
    TellScale(alert->hWnd, own, own * 2);
    const RECT after = alert->Rect();
    EXPECT_NEAR(Width(after), Width(before) * 2, Width(before) * 0.3);
    EXPECT_NEAR(Height(after), Height(before) * 2, Height(before) * 0.3);
    EXPECT_TRUE(after.right <= work.right && after.bottom <= work.bottom && after.left >= work.left);
    EXPECT_TRUE(alert->IsVisible());
    EXPECT_EQ(SCALE(192).Metric(SM_CXSMICON), 32);
    EXPECT_EQ(IconWidth(SCALE(192).ProgramIcon(ICON_BIG)), 64);
}

/// What a mail or a hint shows, before and on a screen of twice the scale: each of the controls in it.
TEST_F(Scale, AMailAndAHintToo) {
    OpenBoth();
    LISTVIEW(Window->InboxWindow()->ListOfMails().hWnd).Select(0);
    STRINGARRAY answers;
    const auto grows = [&](const std::function<void()>& open) {
        bool seen = false;
        Later([&] {
            const HWND box = GetActiveWindow();
            const int own = SCALE::Of(box).Dots();
            std::map<HWND, RECT> before;
            for (int dots = own; const int factor : {1, 2, 1}) {
                TellScale(box, std::exchange(dots, own * factor), own * factor);
                for (HWND child = GetWindow(box, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
                    const RECT now = WINDOW(child).Rect(), client = WINDOW(box).ClientRect();
                    const RECT was = before.try_emplace(child, now).first->second;
                    EXPECT_TRUE(now.left >= 0 && now.right <= client.right && now.bottom <= client.bottom);
                    EXPECT_NEAR(Width(now), Width(was) * factor, 4 + Width(was) * (factor - 1) * 0.25);
                    EXPECT_NEAR(Height(now), Height(was) * factor, 4 + Height(was) * (factor - 1) * 0.25);
                }
            }
            seen = true;
            PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
            PostMessageW(box, WM_CLOSE, 0, 0);
        });
        open();
        EXPECT_TRUE(seen);
    };
    grows([&] { Window->InboxWindow()->DoCommand(COMMAND_MAIL_VIEW); });
    grows([&] { ShowHint(Window->hWnd, "A text of some words", "title", "ScaleTest", "Never", &answers); });
}

}  // namespace
