#include "tests/support/windowtest.h"

#include <cstdlib>

namespace {

constexpr DWORD WAIT_LIMIT = 10000;  // ms
constexpr int MENU_PROBES = 3000;

// Wine counts no handles for GetGuiResources. Its tables are those of older systems, though: the shared one of drawing
// objects hangs at the process's block, and numbers of windows and menus are given out without gaps.
bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

struct DRAWINGENTRY {
    uint8_t Before[14], Type, Rest[9];
};

class NEEDSDISPLAY : public testing::Environment {
    void SetUp() override {
        const char* const display = getenv("DISPLAY");
        if (IsWine() && (!display || !*display))
            FAIL() << "window tests need a display: start them by ./test windows, or set DISPLAY to an X server";
    }
};
const auto* const Needs = testing::AddGlobalTestEnvironment(new NEEDSDISPLAY);

void Post(HWND window, UINT message, WPARAM first, int x, int y) {
    PostMessageW(window, message, first, MAKELPARAM(x, y));
    Pump();
}

}  // namespace

void Pump() {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

bool PumpUntil(const std::function<bool()>& condition) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < WAIT_LIMIT;) {
        Pump();
        if (condition())
            return true;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
    }
    return false;
}

void Later(std::function<void()> act) {
    static std::function<void()> next;
    next = std::move(act);
    SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        std::exchange(next, nullptr)();
    });
}

void DialogKey(HWND dialog, int key) {
    MSG message{};
    message.hwnd = GetFocus();
    message.message = WM_KEYDOWN;
    message.wParam = static_cast<WPARAM>(key);
    if (!CallMsgFilterW(&message, MSGF_DIALOGBOX) && !IsDialogMessageW(dialog, &message))
        DispatchMessageW(&message);
}

void MoveMouse(HWND window, int x, int y) {
    Post(window, WM_MOUSEMOVE, 0, x, y);
}

void PressMouse(HWND window, int x, int y) {
    Post(window, WM_LBUTTONDOWN, MK_LBUTTON, x, y);
}

void ReleaseMouse(HWND window, int x, int y) {
    Post(window, WM_LBUTTONUP, 0, x, y);
}

void Click(HWND window, int x, int y) {
    MoveMouse(window, x, y);
    PressMouse(window, x, y);
    ReleaseMouse(window, x, y);
}

void TypeKey(HWND window, int key) {
    PostMessageW(window, WM_KEYDOWN, static_cast<WPARAM>(key), 1);
    PostMessageW(window, WM_KEYUP, static_cast<WPARAM>(key), static_cast<LPARAM>(0xC0000001));
    Pump();
}

void TellScale(HWND window, int before, int dots) {
    RECT place;
    GetWindowRect(window, &place);
    place.right = place.left + MulDiv(place.right - place.left, dots, before);
    place.bottom = place.top + MulDiv(place.bottom - place.top, dots, before);
    SendMessageW(window, WM_DPICHANGED, MAKEWPARAM(dots, dots), reinterpret_cast<LPARAM>(&place));
    Pump();
}

int FontHeight(HWND window) {
    LOGFONTW look{};
    GetObjectW(reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)), sizeof look, &look);
    return std::abs(static_cast<int>(look.lfHeight));
}

int IconWidth(HICON icon) {
    ICONINFO info{};
    BITMAP picture{};
    GetIconInfo(icon, &info);
    GetObjectW(info.hbmMask, sizeof picture, &picture);
    DeleteObject(info.hbmMask);
    DeleteObject(info.hbmColor);
    return static_cast<int>(picture.bmWidth);
}

int PixelsUnlike(HWND window, const RECT& part, COLORREF colour) {
    Pump();
    UpdateWindow(window);
    const HDC dc = GetDC(window);
    int count = 0;
    for (int y = part.top; y < part.bottom; ++y)
        for (int x = part.left; x < part.right; ++x)
            count += GetPixel(dc, x, y) != colour;
    ReleaseDC(window, dc);
    return count;
}

std::vector<HWND> HintWindows() {
    std::vector<HWND> all;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM found) -> BOOL {
            wchar_t name[40] = L"";
            GetClassNameW(window, name, 40);
            if (_wcsicmp(name, TOOLTIPS_CLASSW) == 0)
                reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&all));
    return all;
}

int GdiHandles() {
    if (!IsWine())
        return static_cast<int>(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS));
    constexpr size_t TABLE_AT = 0xF8, ENTRIES = 16384;
    const auto whose = reinterpret_cast<const char* (*)()>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetCurrentPeb")));
    const char* const block = whose();
    const auto* const table = *reinterpret_cast<const DRAWINGENTRY* const*>(block + TABLE_AT);
    return static_cast<int>(
        std::count_if(table, table + ENTRIES, [](const DRAWINGENTRY& entry) { return entry.Type != 0; }));
}

int UserHandles() {
    if (!IsWine())
        return static_cast<int>(GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS));
    // So many that all gaps are filled: the highest number then tells how many there were before.
    std::vector<HMENU> menus(MENU_PROBES);
    uintptr_t highest = 0;
    for (HMENU& menu : menus) {
        menu = CreatePopupMenu();
        highest = std::max(highest, reinterpret_cast<uintptr_t>(menu) & 0xFFFF);
    }
    for (const HMENU menu : menus)
        DestroyMenu(menu);
    return static_cast<int>(highest / 2) - MENU_PROBES;
}

void ExpectNoHandleGrowth(const std::function<void()>& open, int times) {
    // What is made once and kept comes first.
    for (int i = 0; i < 3; ++i)
        open();
    const int drawing = GdiHandles(), user = UserHandles();
    ASSERT_GT(drawing, 0);
    for (int i = 0; i < times; ++i)
        open();
    // Other programs of the desktop may take a few.
    EXPECT_LT(GdiHandles() - drawing, times / 2);
    EXPECT_LT(UserHandles() - user, times / 2);
}
