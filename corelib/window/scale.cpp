#include "corelib/window/scale.h"

#include <map>
#include <utility>

#include "corelib/window/icons.h"
#include "corelib/window/latefunction.h"

namespace {

constexpr const wchar_t* KEPT = L"TarnwickDots";

// These are there from Windows 10 on (GetDpiForMonitor from 8.1); the program starts on earlier ones as well.
using DPIFORWINDOW = UINT WINAPI(HWND);
using DPIFORMONITOR = HRESULT WINAPI(HMONITOR, int, UINT*, UINT*);
using METRICSFORDPI = int WINAPI(int, UINT);
using PARAMETERSFORDPI = BOOL WINAPI(UINT, UINT, void*, UINT, UINT);

template <typename FUNCTION>
FUNCTION* User(const char* name) {
    return LateFunction<FUNCTION>(L"user32.dll", name);
}

// SystemParametersInfoW for that many dots. False where only the present ones can be asked for.
bool ParametersFor(int dots, UINT what, UINT size, void* stored) {
    static auto* const forDots = User<PARAMETERSFORDPI>("SystemParametersInfoForDpi");
    if (forDots && forDots(what, size, stored, 0, static_cast<UINT>(dots)))
        return true;
    SystemParametersInfoW(what, size, stored, 0);
    return false;
}

LOGFONTW Scaled(LOGFONTW look, SCALE from, SCALE to) {
    look.lfHeight = to.From(from, look.lfHeight);
    look.lfWidth = to.From(from, look.lfWidth);
    return look;
}

}  // namespace

SCALE SCALE::System() {
    static const SCALE system(GetDeviceCaps(WINDOWDC(nullptr), LOGPIXELSX));
    return system;
}

SCALE SCALE::Of(HWND window) {
    const HWND top = GetAncestor(window, GA_ROOT);
    if (!top)
        return System();
    if (const auto kept = static_cast<int>(reinterpret_cast<intptr_t>(GetPropW(top, KEPT))))
        return SCALE(kept);
    static auto* const ofWindow = User<DPIFORWINDOW>("GetDpiForWindow");
    const UINT dots = ofWindow ? ofWindow(top) : 0;
    return dots ? SCALE(static_cast<int>(dots)) : System();
}

SCALE SCALE::OfScreen(HMONITOR screen) {
    static auto* const ofMonitor = LateFunction<DPIFORMONITOR>(L"shcore.dll", "GetDpiForMonitor");
    UINT dots = 0, rows = 0;
    const bool known = ofMonitor && SUCCEEDED(ofMonitor(screen, 0, &dots, &rows)) && dots > 0;
    return known ? SCALE(static_cast<int>(dots)) : System();
}

SCALE SCALE::OfTaskbar() {
    return OfScreen(MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY));
}

void SCALE::Keep(HWND window, SCALE scale) {
    SetPropW(window, KEPT, reinterpret_cast<HANDLE>(static_cast<intptr_t>(scale.Count)));
}

void SCALE::Forget(HWND window) {
    RemovePropW(window, KEPT);
}

int SCALE::Metric(int index) const {
    static auto* const forDots = User<METRICSFORDPI>("GetSystemMetricsForDpi");
    return forDots ? forDots(index, static_cast<UINT>(Count)) : GetSystemMetrics(index);
}

LOGFONTW SCALE::MessageLook() const {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    const bool mine = ParametersFor(Count, SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics);
    return mine ? metrics.lfMessageFont : Scaled(metrics.lfMessageFont, System(), *this);
}

LOGFONTW SCALE::IconTitleLook() const {
    LOGFONTW look{};
    const bool mine = ParametersFor(Count, SPI_GETICONTITLELOGFONT, sizeof look, &look);
    return mine ? look : Scaled(look, System(), *this);
}

HFONT SCALE::MessageFont() const {
    static std::map<int, FONTHANDLE> fonts;
    FONTHANDLE& font = fonts[Count];
    if (!font) {
        const LOGFONTW look = MessageLook();
        font.reset(CreateFontIndirectW(&look));
    }
    return font.get();
}

HICON SCALE::ProgramIcon(int size) const {
    static std::map<int, ICONHANDLE> icons;
    const int pixels = Metric(size == ICON_SMALL ? SM_CXSMICON : SM_CXICON);
    const auto [found, isNew] = icons.try_emplace(pixels);
    if (isNew)
        found->second = LoadIconOf(GetModuleHandleW(nullptr), 1, pixels);
    return found->second.get();
}
