#include "corelib/window/colors.h"

#include <array>

#include "corelib/window/latefunction.h"

namespace {

struct ENTRY {
    int System;
    COLORREF Dark;
};

constexpr size_t COUNT = static_cast<size_t>(COLOR::COUNT);

// By COLOR. Each text has a contrast of 4.5 to 1 at least to what it stands on.
constexpr std::array<ENTRY, COUNT> TABLE = {{
    {COLOR_WINDOW, RGB(32, 32, 32)},
    {COLOR_WINDOWTEXT, RGB(240, 240, 240)},
    {COLOR_BTNFACE, RGB(45, 45, 45)},
    {COLOR_BTNTEXT, RGB(240, 240, 240)},
    {COLOR_GRAYTEXT, RGB(165, 165, 165)},
    {COLOR_3DSHADOW, RGB(30, 30, 30)},
    {COLOR_3DHIGHLIGHT, RGB(70, 70, 70)},
    {COLOR_HIGHLIGHT, RGB(0, 90, 158)},
    {COLOR_HIGHLIGHTTEXT, RGB(255, 255, 255)},
    {COLOR_BTNFACE, RGB(75, 75, 75)},
    {COLOR_BTNFACE, RGB(65, 65, 65)},
    {COLOR_BTNFACE, RGB(85, 85, 85)},
}};

const ENTRY& EntryOf(COLOR color) {
    return TABLE[static_cast<size_t>(color)];
}

bool HasHighContrast() {
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof contrast;
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON);
}

bool IsWanted() {
    DWORD light = 1, size = sizeof light;
    // Systems that know no such choice have no such value.
    RegGetValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
                 L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &light, &size);
    return COLORS::IsDarkWanted(light, HasHighContrast());
}

bool& State() {
    static bool dark = IsWanted();
    return dark;
}

}  // namespace

bool COLORS::IsDark() {
    return State();
}

void COLORS::Read() {
    State() = IsWanted();
}

bool COLORS::IsDarkWanted(unsigned lightApps, bool highContrast) {
    return lightApps == 0 && !highContrast;
}

COLORREF COLORS::Of(COLOR color) {
    return IsDark() ? EntryOf(color).Dark : GetSysColor(EntryOf(color).System);
}

COLORREF COLORS::Dark(COLOR color) {
    return EntryOf(color).Dark;
}

HBRUSH COLORS::Brush(COLOR color) {
    if (!IsDark())
        return GetSysColorBrush(EntryOf(color).System);
    static std::array<std::unique_ptr<std::remove_pointer_t<HBRUSH>, HANDLERELEASE<DeleteObject>>, COUNT> brushes;
    auto& brush = brushes[static_cast<size_t>(color)];
    if (!brush)
        brush.reset(CreateSolidBrush(EntryOf(color).Dark));
    return brush.get();
}

LRESULT COLORS::Give(WPARAM dc, COLOR text, COLOR back) {
    SetTextColor(reinterpret_cast<HDC>(dc), Of(text));
    SetBkColor(reinterpret_cast<HDC>(dc), Of(back));
    return reinterpret_cast<LRESULT>(Brush(back));
}

void COLORS::SetFrame(HWND window) {
    // By the number of today, and by that of the first versions of Windows 10 which knew it.
    constexpr DWORD DARK_FRAME[] = {20, 19};
    using SETATTRIBUTE = HRESULT WINAPI(HWND, DWORD, const void*, DWORD);
    const BOOL dark = IsDark();
    static bool used = false;
    if (!dark && !used)
        return;
    used = true;
    static auto* const set = LateFunction<SETATTRIBUTE>(L"dwmapi.dll", "DwmSetWindowAttribute");
    for (const DWORD attribute : DARK_FRAME)
        if (!set || SUCCEEDED(set(window, attribute, &dark, sizeof dark)))
            break;
}
