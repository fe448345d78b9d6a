#include "corelib/window/window.h"

#include <algorithm>
#include <cwchar>
#include <string>
#include <utility>

#include "corelib/base/trace.h"
#include "corelib/system/registry.h"
#include "corelib/window/colors.h"
#include "corelib/window/widetext.h"

namespace {

constexpr UINT WM__CREATED = 1090;  // the constructors are through

HMODULE Resources = nullptr;
bool German = false;
HELPFUNCTION Help;

RECT WorkArea(HMONITOR screen) {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(screen, &monitor);
    return monitor.rcWork;
}

// Of the screen that a window is on; of the first one for none.
RECT WorkArea(HWND window = nullptr) {
    return WorkArea(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY));
}

bool IsDesktop(HWND window) {
    return window == HWND_DESKTOP || window == GetDesktopWindow();
}

SCALE ScaleAt(const RECT& edges) {
    return SCALE::OfScreen(MonitorFromRect(&edges, MONITOR_DEFAULTTONEAREST));
}

// Under this name the scale lies that a kept place is for.
STRING DotsName(const char* name) {
    return STRING(name) || "Dots";
}

// Whether a window with these edges could be taken by its title and moved.
bool IsInReach(const RECT& edges) {
    const RECT title = {edges.left, edges.top, edges.right, edges.top + ScaleAt(edges).Metric(SM_CYCAPTION)};
    const HMONITOR screen = MonitorFromRect(&title, MONITOR_DEFAULTTONULL);
    const RECT work = screen ? WorkArea(screen) : RECT{};
    RECT shown;
    return IntersectRect(&shown, &title, &work);
}

// The place inside an area, its left and top first.
void ClipInto(const RECT& area, LONG width, LONG height, LONG& x, LONG& y) {
    x = std::max(std::min(x, area.right - width), area.left);
    y = std::max(std::min(y, area.bottom - height), area.top);
}

// The language of the first text that comes.
BOOL CALLBACK SeeLanguage(HMODULE /*module*/, LPCWSTR /*type*/, LPCWSTR /*name*/, WORD language,
                          LONG_PTR /*argument*/) {
    German = PRIMARYLANGID(language) == LANG_GERMAN;
    return FALSE;
}
BOOL CALLBACK SeeText(HMODULE module, LPCWSTR type, LPWSTR name, LONG_PTR argument) {
    EnumResourceLanguagesW(module, type, name, SeeLanguage, argument);
    return FALSE;
}

}  // namespace

void SetResourceModule(HMODULE module) {
    Resources = module;
    German = false;
    if (module)
        EnumResourceNamesW(module, RT_STRING, SeeText, 0);
}

bool IsGermanResourceModule() {
    return German;
}

HMODULE ResourceModule() {
    return Resources ? Resources : GetModuleHandleW(nullptr);
}

RESOURCELIBRARY::RESOURCELIBRARY(const STRING& path)
    : Module(LoadLibraryExW(WideFilePath(path.Text()).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)) {
    SetResourceModule(Module);
}

RESOURCELIBRARY::~RESOURCELIBRARY() {
    SetResourceModule(nullptr);
    if (Module)
        FreeLibrary(Module);
}

void SetHelp(HELPFUNCTION help) {
    Help = std::move(help);
}

WINDOW::WINDOW(DWORD style, const STRING& title, int x, int y, int width, int height, HWND parent, int id,
               const char* className, DWORD extendedStyle)
    : WindowId(id), AutoDestroy(true) {
    static int running = 0;
    const std::wstring name =
        className ? WideText(std::string_view(className)) : L"AppWindow" + std::to_wstring(running++);
    WNDCLASSEXW description{};
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    if (!GetClassInfoExW(instance, name.c_str(), &description)) {
        description.cbSize = sizeof description;
        description.style = CS_DBLCLKS;
        description.lpfnWndProc = Procedure;
        description.hInstance = instance;
        // The program's first icon, and none where it has none.
        description.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(1));
        description.hCursor = LoadCursorW(nullptr, IDC_ARROW);
        description.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
        description.lpszClassName = name.c_str();
        RegisterClassExW(&description);
        if (!className)
            OwnClass = name;
    }
    HMENU menu = nullptr;
    if (style & WS_CHILD)
        menu = reinterpret_cast<HMENU>(static_cast<intptr_t>(id));
    else if (id != 0)
        menu = LoadMenuW(ResourceModule(), MAKEINTRESOURCEW(id));
    ASSERTION_INFO(id == 0 || menu, "hmenu", std::to_string(id).c_str());
    CreateWindowExW(extendedStyle, name.c_str(), WideText(title).c_str(), style, x, y, width, height, parent, menu,
                    instance, this);
    if (!ASSERTION(hWnd != nullptr, "this->hWnd") || (style & WS_CHILD))
        return;
    SCALE::Keep(hWnd, Scale());
    ShowProgramIcons();
    COLORS::SetFrame(hWnd);
}

WINDOW::~WINDOW() {
    if (AutoDestroy && hWnd) {
        Trace("WINDOW::~WINDOW auto-destroying %s %d\n", Title().Text(), WindowId);
        DestroyWindow(hWnd);
    }
    if (!OwnClass.empty())
        UnregisterClassW(OwnClass.c_str(), GetModuleHandleW(nullptr));
}

LRESULT CALLBACK WINDOW::Procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_NCCREATE) {
        auto* const creator = static_cast<WINDOW*>(reinterpret_cast<CREATESTRUCTW*>(second)->lpCreateParams);
        creator->hWnd = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creator));
    }
    auto* const self = reinterpret_cast<WINDOW*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self)
        return DefWindowProcW(window, message, first, second);
    const LRESULT result = self->Dispatch(message, first, second);
    if (message == WM_NCDESTROY) {
        SCALE::Forget(window);
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->hWnd = nullptr;
    }
    return result;
}

LRESULT WINDOW::Dispatch(UINT message, WPARAM first, LPARAM second) {
    LRESULT result = 0;
    if (Hook && Hook(*this, message, first, second, &result))
        return result;
    return WinProc(message, first, second);
}

LRESULT WINDOW::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_HELP:
            if (Help && second != 0)
                Help(hWnd, reinterpret_cast<const HELPINFO*>(second)->iCtrlId);
            return 1;
        case WM_CREATE:
            if (second != 0)
                PostMessageW(hWnd, WM__CREATED, 0, 0);
            return 0;
        case WM__CREATED:
            return WinProc(WM_CREATE, 0, 0);
        case WM__GETID:
            // Only from here: an address of another process would be a wild one.
            if (!InSendMessage())
                *reinterpret_cast<int*>(first) = WindowId;
            return 0;
        case WM_QUERYENDSESSION:
            return 1;
        case WM_ENDSESSION:
            PostMessageW(hWnd, WM_CLOSE, 0, 0);
            return 0;
        case WM_DESTROY:
            Hook = nullptr;
            return 0;
        case WM_DPICHANGED: {
            const SCALE before = Scale();
            SCALE::Keep(hWnd, SCALE(LOWORD(first)));
            TakeScale(before);
            TakePlace(*reinterpret_cast<const RECT*>(second));
            RedrawWindow(hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
            return 0;
        }
        case WM__RESCALED:
            TakeScale(SCALE(static_cast<int>(first)));
            return 0;
        // Windows of our own have no brush of their class that would be dark.
        case WM_ERASEBKGND: {
            if (!COLORS::IsDark())
                return DefWindowProcW(hWnd, message, first, second);
            const RECT area = ClientRect();
            FillRect(reinterpret_cast<HDC>(first), &area, COLORS::Brush(COLOR::FACE));
            return 1;
        }
        case WM_SETTINGCHANGE:
            if (first == SPI_SETHIGHCONTRAST ||
                (second != 0 && wcscmp(reinterpret_cast<const wchar_t*>(second), L"ImmersiveColorSet") == 0)) {
                COLORS::Read();
                TakeColors();
            }
            return DefWindowProcW(hWnd, message, first, second);
        case WM__RECOLORED:
            TakeColors();
            return 0;
        case WM_SYSCOLORCHANGE:
            COLORS::Read();
            if (!(GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD))
                TakeColors();
            // Only top-level windows are told of new colours; the controls in them keep the old ones otherwise.
            for (HWND child = GetWindow(hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
                SendMessageW(child, message, 0, 0);
            return DefWindowProcW(hWnd, message, first, second);
        default:
            return DefWindowProcW(hWnd, message, first, second);
    }
}

void WINDOW::TakeScale(SCALE before) {
    for (HWND child = GetWindow(hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        SendMessageW(child, WM__RESCALED, static_cast<WPARAM>(before.Dots()), 0);
    if (!(GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD) && SendMessageW(hWnd, WM_GETICON, ICON_SMALL, 0))
        ShowProgramIcons();
    Rescaled(before);
}

void WINDOW::TakeColors() {
    for (HWND child = GetWindow(hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        SendMessageW(child, WM__RECOLORED, 0, 0);
    Recolored();
    if (GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD)
        return;
    COLORS::SetFrame(hWnd);
    RedrawWindow(hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
}

void WINDOW::TakePlace(const RECT& place) {
    const RECT before = ClientRect();
    SetWindowPos(hWnd, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    const RECT now = ClientRect();
    if (EqualRect(&before, &now) && !IsIconic(hWnd))
        SendMessageW(hWnd, WM_SIZE, IsZoomed(hWnd) ? SIZE_MAXIMIZED : SIZE_RESTORED, MAKELPARAM(now.right, now.bottom));
}

void WINDOW::ShowProgramIcons() {
    for (const int size : {ICON_SMALL, ICON_BIG})
        if (const HICON icon = Scale().ProgramIcon(size))
            SendMessageW(hWnd, WM_SETICON, static_cast<WPARAM>(size), reinterpret_cast<LPARAM>(icon));
}

STRING WINDOW::Title() const {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(hWnd)) + 1, L'\0');
    const int length = GetWindowTextW(hWnd, text.data(), static_cast<int>(text.size()));
    return FromWide(std::wstring_view(text).substr(0, static_cast<size_t>(length)));
}

void WINDOW::SetTitle(const STRING& text) {
    ASSERTION(text.NotNull(), "txt");
    SetWindowTextW(hWnd, WideText(text).c_str());
}

void WINDOW::Move(int x, int y, int width, int height) {
    const RECT now = Rect();
    MoveWindow(hWnd, x, y, width == -1 ? now.right - now.left : width, height == -1 ? now.bottom - now.top : height,
               TRUE);
}

void WINDOW::SetClientSize(int width, int height) {
    const RECT edges = Rect(), client = ClientRect();
    Move(edges.left, edges.top, edges.right - edges.left + width - client.right,
         edges.bottom - edges.top + height - client.bottom);
}

RECT WINDOW::Rect() const {
    if (IsDesktop(hWnd))
        return WorkArea();
    RECT rect{};
    GetWindowRect(hWnd, &rect);
    if (GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD)
        MapWindowPoints(nullptr, Parent().hWnd, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

RECT WINDOW::ClientRect() const {
    ASSERTION(!IsDesktop(hWnd), "this->hWnd!=HWND_DESKTOP");
    RECT rect{};
    GetClientRect(hWnd, &rect);
    return rect;
}

void WINDOW::StoreWindowPos(const char* product, const char* name) {
    if (!IsVisible() || IsIconic(hWnd) || IsZoomed(hWnd))
        return;
    const RECT rect = Rect();
    const int32_t edges[4] = {rect.left, rect.top, rect.right, rect.bottom};
    const auto dots = static_cast<uint32_t>(Scale().Dots());
    // What is not remembered is placed anew.
    REGISTRY values(WINDOW_COMPANY, product, ROOT_CURRENT_USER);
    (void)values.Write(name, edges, sizeof edges);
    (void)values.Write(DotsName(name).Text(), &dots, sizeof dots);
    Trace("WINDOW::StoreWindowPos(%d, %d, %d, %d)\n", edges[0], edges[1], edges[2], edges[3]);
}

bool WINDOW::RestoreWindowPos(const char* product, const char* name) {
    // One more than is right, so that a longer value is seen.
    int32_t edges[5] = {};
    int size = sizeof edges;
    REGISTRY values(WINDOW_COMPANY, product, ROOT_CURRENT_USER);
    bool moved = values.Read(name, edges, &size) && size == 4 * sizeof edges[0];
    // Of an earlier version there is none: then the scale has not changed.
    uint32_t dots = 0;
    size = sizeof dots;
    const bool scaled = values.Read(DotsName(name).Text(), &dots, &size) && dots > 0 && dots <= SHRT_MAX;
    // No screen lies further out.
    for (int32_t& edge : edges)
        edge = std::clamp<int32_t>(edge, SHRT_MIN, SHRT_MAX);
    RECT rect = {edges[0], edges[1], edges[2], edges[3]};
    moved = moved && !IsRectEmpty(&rect);
    if (moved) {
        const SCALE there = ScaleAt(rect), kept = scaled ? SCALE(static_cast<int>(dots)) : there;
        const LONG width = std::min<LONG>(there.From(kept, rect.right - rect.left), GetSystemMetrics(SM_CXMAXTRACK));
        const LONG height = std::min<LONG>(there.From(kept, rect.bottom - rect.top), GetSystemMetrics(SM_CYMAXTRACK));
        rect = {rect.left, rect.top, rect.left + width, rect.top + height};
        if (!(GetWindowLongW(hWnd, GWL_STYLE) & WS_CHILD) && !IsInReach(rect))
            ClipInto(WorkArea(MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST)), width, height, rect.left, rect.top);
        // Twice: on its way to a screen of another scale the system changes the size of a window.
        for (int i = 0; i < 2; ++i)
            Move(rect.left, rect.top, width, height);
    }
    Trace("WINDOW::RestoreWindowPos(%d, %d, %d, %d) returned %d\n", edges[0], edges[1], edges[2], edges[3], moved);
    return moved;
}

void WINDOW::Center(HWND reference) {
    const bool isChild = reference && ::IsChild(hWnd, reference);
    ASSERTION(!isChild, "!is_child");
    // A minimised one is visible as well, but far outside.
    const bool visible = reference && !isChild && IsWindowVisible(reference) && !IsIconic(reference);
    const RECT own = Rect(), work = WorkArea(visible ? reference : nullptr);
    const LONG width = own.right - own.left, height = own.bottom - own.top;
    RECT middle = work;
    if (visible)
        GetWindowRect(reference, &middle);
    LONG x = middle.left + (middle.right - middle.left - width) / 2;
    LONG y = middle.top + (middle.bottom - middle.top - height) / 2;
    ClipInto(work, width, height, x, y);
    Move(x, y);
}

void WINDOW::TakeIconsOf(HWND other) {
    for (const auto& [size, ofClass] : {std::pair(ICON_SMALL, GCLP_HICONSM), std::pair(ICON_BIG, GCLP_HICON)}) {
        const LRESULT own = SendMessageW(other, WM_GETICON, size, 0);
        SendMessageW(hWnd, WM_SETICON, size, own ? own : static_cast<LPARAM>(GetClassLongPtrW(other, ofClass)));
    }
}

void WINDOW::SetTransparency(int alpha, int key) {
    alpha = std::max(alpha, 0);
    if (alpha >= 255)
        return;
    SetWindowLongW(hWnd, GWL_EXSTYLE, GetWindowLongW(hWnd, GWL_EXSTYLE) | WS_EX_LAYERED);
    SetLayeredWindowAttributes(hWnd, key == -1 ? 0 : static_cast<COLORREF>(key), static_cast<BYTE>(alpha),
                               key == -1 ? LWA_ALPHA : LWA_COLORKEY);
}
