#include "corelib/window/controls.h"

#include "corelib/base/trace.h"
#include "corelib/window/colors.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int MARGIN = 3;  // at 96 dots per inch

// The classes of the common controls, once.
void NeedCommonControls() {
    static const bool ready = [] {
        const INITCOMMONCONTROLSEX classes{sizeof classes, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
        return InitCommonControlsEx(&classes) != 0;
    }();
    static_cast<void>(ready);
}

}  // namespace

HWND MakeTipWindow(HWND owner, int width) {
    constexpr int LONG_TIP_MS = 30000;
    const HWND tips = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                                      0, 0, 0, 0, owner, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (width > 0)
        SendMessageW(tips, TTM_SETDELAYTIME, TTDT_AUTOPOP, LONG_TIP_MS);
    ScaleTips(tips, width);
    return tips;
}

void ScaleTips(HWND tips, int width) {
    const SCALE scale = SCALE::Of(GetWindow(tips, GW_OWNER));
    SendMessageW(tips, WM_SETFONT, reinterpret_cast<WPARAM>(scale.MessageFont()), FALSE);
    if (width > 0)
        SendMessageW(tips, TTM_SETMAXTIPWIDTH, 0, scale.Pixels(width));
}

CONTROL::CONTROL(const wchar_t* className, DWORD style, DWORD extendedStyle, HWND parent, int id)
    : WINDOW(static_cast<HWND>(nullptr)) {
    NeedCommonControls();
    WindowId = id;
    hWnd = CreateWindowExW(extendedStyle, className, L"", style | WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<intptr_t>(id)), GetModuleHandleW(nullptr), nullptr);
    if (!ASSERTION(hWnd != nullptr, "this->hWnd"))
        return;
    AutoDestroy = true;
    // Not the common controls' own subclassing: that looks its list up at each message, which costs Wine ten calls to
    // its server for a list's row.
    SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ClassProcedure =
        reinterpret_cast<WNDPROC>(SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ControlProcedure)));
    SetFont(Scale().MessageFont());
}

CONTROL::~CONTROL() {
    // Its class sees to the window's end; WINDOW, which alone is left of this object by then, would keep that from it.
    if (AutoDestroy && hWnd)
        Release();
}

void CONTROL::Release() {
    SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ClassProcedure));
    SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
}

LRESULT CALLBACK CONTROL::ControlProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    auto* const control = reinterpret_cast<CONTROL*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message != WM_NCDESTROY)
        return control->Dispatch(message, first, second);
    // The parent takes its controls along, often before their objects go. The control itself must still see this
    // message: it frees what it has.
    control->Release();
    control->hWnd = nullptr;
    return CallWindowProcW(control->ClassProcedure, window, message, first, second);
}

LRESULT CONTROL::WinProc(UINT message, WPARAM first, LPARAM second) {
    if (message == WM__RESCALED || message == WM__RECOLORED)
        return WINDOW::WinProc(message, first, second);
    return CallWindowProcW(ClassProcedure, hWnd, message, first, second);
}

void CONTROL::Rescaled(SCALE /*before*/) {
    SetFont(Scale().MessageFont());
}

STRING CONTROL::ClassName() const {
    wchar_t name[64];
    const int length = GetClassNameW(hWnd, name, static_cast<int>(std::size(name)));
    return FromWide(std::wstring_view(name, static_cast<size_t>(length)));
}

void CONTROL::SetFont(HFONT font) {
    Send(WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
}

LISTBOX::LISTBOX(HWND window) : CONTROL(window), ListBox(stricmp(ClassName().Text(), "Listbox", false) == 0) {}

LISTBOX::LISTBOX(HWND dialog, int id) : LISTBOX(GetDlgItem(dialog, id)) {
    WindowId = id;
}

void LISTBOX::Add(const STRING& text) {
    Send(ListBox ? LB_ADDSTRING : CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(WideText(text).c_str()));
}

int LISTBOX::Find(const STRING& text) const {
    return static_cast<int>(Send(ListBox ? LB_FINDSTRINGEXACT : CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                 reinterpret_cast<LPARAM>(WideText(text).c_str())));
}

STRING LISTBOX::TextAt(int place) const {
    const auto at = static_cast<WPARAM>(place);
    const LRESULT length = place < 0 ? -1 : Send(ListBox ? LB_GETTEXTLEN : CB_GETLBTEXTLEN, at);
    if (length < 0)
        return "";
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    const LRESULT got = Send(ListBox ? LB_GETTEXT : CB_GETLBTEXT, at, reinterpret_cast<LPARAM>(text.data()));
    return got < 0 ? STRING("") : FromWide(std::wstring_view(text).substr(0, static_cast<size_t>(got)));
}

LRESULT STATUSLINE::WinProc(UINT message, WPARAM first, LPARAM second) {
    // The control itself has no colour for its text.
    if (message != WM_PAINT || !COLORS::IsDark())
        return CONTROL::WinProc(message, first, second);
    const PICTUREPAINTER picture(hWnd);
    RECT area = picture.Client();
    FillRect(picture, &area, COLORS::Brush(COLOR::FACE));
    InflateRect(&area, -ScalePixels(MARGIN), 0);
    SelectObject(picture, Scale().MessageFont());
    SetBkMode(picture, TRANSPARENT);
    SetTextColor(picture, COLORS::Of(COLOR::LABEL));
    DrawTextW(picture, WideText(Title()).c_str(), -1, &area,
              DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
    return 0;
}

LRESULT DrawDarkButton(const NMCUSTOMDRAW& draw) {
    if (!COLORS::IsDark() || draw.dwDrawStage != CDDS_PREPAINT)
        return CDRF_DODEFAULT;
    const BUTTON button(draw.hdr.hwndFrom);
    const int kind = button.Kind();
    const bool push = kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON;
    const HDC dc = draw.hdc;
    RECT area = draw.rc;
    const int state = SaveDC(dc);
    FillRect(dc, &area, COLORS::Brush(COLOR::FACE));
    UINT format = DT_SINGLELINE | DT_VCENTER | (draw.uItemState & CDIS_SHOWKEYBOARDCUES ? 0 : DT_HIDEPREFIX);
    if (push) {
        const bool hot = draw.uItemState & CDIS_HOT, down = draw.uItemState & CDIS_SELECTED;
        FillRect(dc, &area, COLORS::Brush(down ? COLOR::DOWN : hot ? COLOR::HOT : COLOR::SHINE));
        FrameRect(dc, &area, COLORS::Brush(COLOR::DISABLED));
        format |= DT_CENTER;
    } else {
        const int size = button.Scale().Metric(SM_CXMENUCHECK), middle = (area.top + area.bottom - size) / 2;
        RECT box = {area.left, middle, area.left + size, middle + size};
        DrawFrameControl(dc, &box, DFC_BUTTON, DFCS_BUTTONCHECK | DFCS_FLAT | (button.IsChecked() ? DFCS_CHECKED : 0));
        area.left += size + button.ScalePixels(MARGIN);
    }
    SelectObject(dc, reinterpret_cast<HFONT>(button.Send(WM_GETFONT)));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, COLORS::Of(draw.uItemState & CDIS_DISABLED ? COLOR::DISABLED : COLOR::LABEL));
    DrawTextW(dc, WideText(button.Title()).c_str(), -1, &area, format);
    if ((draw.uItemState & CDIS_FOCUS) && (draw.uItemState & CDIS_SHOWKEYBOARDCUES)) {
        InflateRect(&area, push ? -button.ScalePixels(MARGIN) : 0, push ? -button.ScalePixels(MARGIN) : 0);
        DrawFocusRect(dc, &area);
    }
    RestoreDC(dc, state);
    return CDRF_SKIPDEFAULT;
}
