#include "corelib/window/colors.h"

#include <cmath>
#include <functional>

#include "corelib/window/listview.h"
#include "corelib/window/toolbar.h"
#include "tests/corelib/window/commandparent.h"
#include "tests/support/windowtest.h"

namespace {

// How bright a colour is to the eye, and how far apart two are, as the guidelines for accessible pages reckon it.
double Luminance(COLORREF color) {
    const auto part = [](int value) {
        const double share = value / 255.0;
        return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(GetRValue(color)) + 0.7152 * part(GetGValue(color)) + 0.0722 * part(GetBValue(color));
}
double Contrast(COLORREF one, COLORREF other) {
    const double a = Luminance(one), b = Luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

TEST(Colours, CanBeReadInTheDark) {
    EXPECT_NEAR(Contrast(RGB(0, 0, 0), RGB(255, 255, 255)), 21, 0.01);
    const struct {
        COLOR Text;
        std::vector<COLOR> Backs;
    } pairs[] = {
        {COLOR::TEXT, {COLOR::PAPER}},
        {COLOR::LABEL, {COLOR::FACE, COLOR::HOT, COLOR::DOWN, COLOR::SHINE}},
        {COLOR::DISABLED, {COLOR::FACE}},
        {COLOR::SELECTED_TEXT, {COLOR::SELECTED, COLOR::IDLE}},
    };
    for (const auto& [text, backs] : pairs)
        for (const COLOR back : backs)
            EXPECT_GE(Contrast(COLORS::Dark(text), COLORS::Dark(back)), 4.5)
                << static_cast<int>(text) << " on " << static_cast<int>(back);
    // What a button or a selection is seen by.
    for (const COLOR back : {COLOR::HOT, COLOR::DOWN})
        EXPECT_GT(Contrast(COLORS::Dark(back), COLORS::Dark(COLOR::FACE)), 1.2);
    EXPECT_GT(Contrast(COLORS::Dark(COLOR::SELECTED), COLORS::Dark(COLOR::PAPER)), 1.8);
}

TEST(Colours, OfHighContrastComeFirst) {
    EXPECT_TRUE(COLORS::IsDarkWanted(0, false));
    for (const auto& [light, high] : {std::pair{0U, true}, {1U, false}, {1U, true}})
        EXPECT_FALSE(COLORS::IsDarkWanted(light, high)) << light << high;
}

/// What the user has chosen for programs, until the object goes.
class CHOICE {
 public:
    ~CHOICE() {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, KEY, VALUE);
        COLORS::Read();
    }
    void Set(DWORD light, HWND window) {
        RegSetKeyValueW(HKEY_CURRENT_USER, KEY, VALUE, REG_DWORD, &light, sizeof light);
        SendMessageW(window, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(L"ImmersiveColorSet"));
        Pump();
    }

 private:
    static constexpr const wchar_t* KEY = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
    static constexpr const wchar_t* VALUE = L"AppsUseLightTheme";
};

/// Its rows are drawn as a list's owner does.
class LISTPARENT : public COMMANDPARENT {
 public:
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_NOTIFY && reinterpret_cast<const NMHDR*>(second)->code == NM_CUSTOMDRAW)
            return LISTVIEW::DrawRow(*reinterpret_cast<NMHDR*>(second));
        return COMMANDPARENT::WinProc(message, first, second);
    }
};

TEST(Colours, FollowTheUsersChoiceAtOnce) {
    LISTPARENT parent;
    NEWTOOLBAR bar(parent.Hwnd());
    LISTVIEW list(parent.Hwnd(), 100);
    list.AddColumns("Name");
    list.Move(0, bar.Rect().bottom, parent.ClientRect().right, parent.ClientRect().bottom - bar.Rect().bottom - 20);
    list.InsertRecord(0, -1, "");
    list.InsertRecord(1, -1, "");
    CHOICE choice;
    const RECT below = {0, parent.ClientRect().bottom - 10, 50, parent.ClientRect().bottom};
    for (const DWORD light : {0U, 1U, 0U}) {
        choice.Set(light, parent.Hwnd());
        ASSERT_EQ(COLORS::IsDark(), light == 0);
        const COLORREF paper = light ? GetSysColor(COLOR_WINDOW) : COLORS::Dark(COLOR::PAPER);
        const COLORREF face = light ? GetSysColor(COLOR_BTNFACE) : COLORS::Dark(COLOR::FACE);
        EXPECT_EQ(ListView_GetBkColor(list.Hwnd()), paper);
        EXPECT_EQ(ListView_GetTextColor(list.Hwnd()),
                  light ? GetSysColor(COLOR_WINDOWTEXT) : COLORS::Dark(COLOR::TEXT));
        EXPECT_EQ(PixelsUnlike(list.Hwnd(), {150, 80, 200, 100}, paper), 0) << light;
        EXPECT_EQ(PixelsUnlike(bar.Hwnd(), {20, 6, 60, 20}, face), 0) << light;
        EXPECT_EQ(PixelsUnlike(parent.Hwnd(), below, face), 0) << light;
    }
    // The head, with its text in the middle of the height; and a selected row.
    EXPECT_EQ(PixelsUnlike(ListView_GetHeader(list.Hwnd()), {60, 2, 100, 12}, COLORS::Dark(COLOR::FACE)), 0);
    EXPECT_GT(PixelsUnlike(ListView_GetHeader(list.Hwnd()), {0, 0, 60, 20}, COLORS::Dark(COLOR::FACE)), 20);
    RECT row{};
    list.Select(1);
    ListView_GetItemRect(list.Hwnd(), 1, &row, LVIR_LABEL);
    const RECT middle = {row.left + 40, row.top + 4, row.left + 60, row.bottom - 4};
    SetFocus(list.Hwnd());
    EXPECT_EQ(PixelsUnlike(list.Hwnd(), middle, COLORS::Dark(COLOR::SELECTED)), 0);
    SetFocus(bar.Hwnd());
    EXPECT_EQ(PixelsUnlike(list.Hwnd(), middle, COLORS::Dark(COLOR::IDLE)), 0);
}

}  // namespace
