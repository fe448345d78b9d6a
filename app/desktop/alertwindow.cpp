#include "app/desktop/alertwindow.h"

#include <algorithm>
#include <windowsx.h>

#include "app/desktop/windowids.h"
#include "corelib/base/trace.h"
#include "corelib/window/fontvalue.h"
#include "corelib/window/widetext.h"

namespace {

constexpr UINT_PTR TIMER_ALERT_BLINK = 1;
constexpr UINT BLINK_MS = 333;
constexpr DWORD PRESSED_MS = 100;  // so that the press can be seen

// Of a button: how much of the text's colour is in its face and in its edge, and the width of a round corner's ellipse
// at 96 dots per inch.
constexpr int FACE_PERCENT = 8, POINTED_FACE_PERCENT = 22, EDGE_PERCENT = 45;
constexpr int CORNER = 7;

// So many percent of the way from one colour to the other.
COLORREF Mixed(int32_t from, int32_t to, int percent) {
    COLORREF mixed = 0;
    for (const int shift : {0, 8, 16}) {
        const int start = from >> shift & 0xff, end = to >> shift & 0xff;
        mixed |= static_cast<COLORREF>(start + (end - start) * percent / 100) << shift;
    }
    return mixed;
}

constexpr ALERTFONT ALERTFONTS[] = {ALERTFONT::NORMAL, ALERTFONT::BOLD, ALERTFONT::SMALLBOLD, ALERTFONT::SMALL};

RECT SystemRect(const ALERTRECT& rect) {
    return {rect.Left, rect.Top, rect.Right, rect.Bottom};
}

class METRICS : public ALERTMETRICS {
 public:
    METRICS(HDC dc, const SEMITOOLTIP::FONTS& fonts) : Dc(dc), Fonts(fonts) {}
    bool Measure(ALERTFONT font, std::string_view text, ALERTSIZE& size) override {
        const std::wstring wide = WideText(text);
        SelectObject(Dc, Fonts[static_cast<size_t>(font)].get());
        SIZE extent;
        if (!GetTextExtentPoint32W(Dc, wide.data(), static_cast<int>(wide.size()), &extent))
            return false;
        size = {extent.cx, extent.cy};
        return true;
    }

 private:
    HDC Dc;
    const SEMITOOLTIP::FONTS& Fonts;
};

class CANVAS : public ALERTCANVAS {
 public:
    CANVAS(HDC dc, const SEMITOOLTIP::FONTS& fonts, int corner) : Dc(dc), Fonts(fonts), Corner(corner) {}
    void Fill(const ALERTRECT& rect, int32_t color) override {
        const RECT area = SystemRect(rect);
        SetDCBrushColor(Dc, static_cast<COLORREF>(color) & 0xffffff);
        FillRect(Dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    }
    // A face that stands out a little from what is around it, with round corners and a thin edge.
    void Button(const ALERTRECT& rect, int32_t text, int32_t back, ALERTPRESS state) override {
        const bool plain = state == ALERTPRESS::Plain;
        const int face = plain ? FACE_PERCENT : state == ALERTPRESS::Pointed ? POINTED_FACE_PERCENT : 100;
        SetDCBrushColor(Dc, Mixed(back, text, face));
        SetDCPenColor(Dc, Mixed(back, text, plain ? EDGE_PERCENT : 100));
        const HGDIOBJ pen = SelectObject(Dc, GetStockObject(DC_PEN)),
                      brush = SelectObject(Dc, GetStockObject(DC_BRUSH));
        RoundRect(Dc, rect.Left, rect.Top, rect.Right, rect.Bottom, Corner, Corner);
        SelectObject(Dc, brush);
        SelectObject(Dc, pen);
    }
    void Write(ALERTFONT font, ALERTPOINT at, int32_t color, std::string_view text) override {
        const std::wstring wide = WideText(text);
        SelectObject(Dc, Fonts[static_cast<size_t>(font)].get());
        SetTextColor(Dc, static_cast<COLORREF>(color) & 0xffffff);
        SetBkMode(Dc, TRANSPARENT);
        TextOutW(Dc, at.X, at.Y, wide.data(), static_cast<int>(wide.size()));
    }

 private:
    HDC Dc;
    const SEMITOOLTIP::FONTS& Fonts;
    const int Corner;
};

constexpr ALERTPOINT OUTSIDE{-1, -1};

ALERTPOINT PointOf(LPARAM packed) {
    return {GET_X_LPARAM(packed), GET_Y_LPARAM(packed)};
}

}  // namespace

void CheckPopupFont(STRINGARRAY& state) {
    LOGFONTW font{};
    if (!FontFromValue(state.Get("PopupFont"), font)) {
        state.Set("PopupFontDots", "0");
        font = SCALE::System().IconTitleLook();
        font.lfWidth = 0;
    } else if (_wcsicmp(font.lfFaceName, L"System") == 0) {
        wcscpy(font.lfFaceName, L"Arial");
    }
    font.lfWeight = FW_NORMAL;
    // Its height is in pixels of the display that it was chosen for.
    const SCALE system = SCALE::System();
    if (const int chosenFor = state.GetNumber("PopupFontDots"); chosenFor > 0) {
        font.lfHeight = system.From(SCALE(chosenFor), font.lfHeight);
        font.lfWidth = system.From(SCALE(chosenFor), font.lfWidth);
    }
    state.Set("PopupFont", FontValue(font));
    state.SetNumber("PopupFontDots", system.Dots());
}

SEMITOOLTIP::SEMITOOLTIP(const STRING& text, const ALERTSETUP& setup)
    // Nobody owns it: it would go out of sight with an owner that is minimised.
    : WINDOW(WS_POPUP | WS_BORDER, "", 0, 0, 0, 0, nullptr, 0, nullptr, WS_EX_TOOLWINDOW | WS_EX_NOACTIVATE),
      Text(text),
      Setup(setup) {
    WindowId = ALERT_TOPIC;
    if (!ASSERTION(hWnd != nullptr, "FALSE"))
        return;
    if (Setup.Transparency != 0)
        SetTransparency(255 - (Setup.Transparency & 0xff), -1);
    Look.TextColor = Setup.TextColor;
    Look.BackColor = Setup.BackColor;
    Arrange();
    if (Setup.Blink)
        SetTimer(hWnd, TIMER_ALERT_BLINK, BLINK_MS, nullptr);
    UpdateWindow(hWnd);
    NotifyWinEvent(EVENT_SYSTEM_ALERT, hWnd, OBJID_CLIENT, CHILDID_SELF);
}

SEMITOOLTIP::~SEMITOOLTIP() {
    Closing = true;
    GiveFocusBack();
}

void SEMITOOLTIP::Arrange() {
    MakeFonts();
    RECT work;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    {
        WINDOWDC dc(hWnd);
        METRICS metrics(dc, Fonts);
        const ALERTSIZE room{static_cast<int>(work.right - work.left), static_cast<int>(work.bottom - work.top)};
        Layout = std::make_unique<ALERTLAYOUT>(Text.View(), metrics, room);
    }
    const ALERTRECT place =
        PlaceAlert({work.left, work.top, work.right, work.bottom}, Layout->WindowSize(), Setup.Position);
    SetWindowPos(hWnd, HWND_TOPMOST, place.Left, place.Top, place.Right - place.Left, place.Bottom - place.Top,
                 SWP_NOACTIVATE | (WasClicked() ? 0 : SWP_SHOWWINDOW));
}

void SEMITOOLTIP::MakeFonts() {
    LOGFONTW base{};
    if (!FontFromValue(Setup.Font, base)) {
        base = Scale().IconTitleLook();
    } else if (Setup.FontDots > 0) {
        base.lfHeight = Scale().From(SCALE(Setup.FontDots), base.lfHeight);
        base.lfWidth = Scale().From(SCALE(Setup.FontDots), base.lfWidth);
    }
    for (const ALERTFONT kind : ALERTFONTS) {
        const ALERTFONTSTYLE style = AlertFontStyle(kind, {base.lfHeight, base.lfWeight});
        LOGFONTW one = base;
        one.lfHeight = style.Height;
        one.lfWeight = style.Weight;
        Fonts[static_cast<size_t>(kind)].reset(CreateFontIndirectW(&one));
    }
}

LRESULT SEMITOOLTIP::WinProc(UINT message, WPARAM first, LPARAM second) {
    if (!Layout)
        return WINDOW::WinProc(message, first, second);
    switch (message) {
        case WM_ERASEBKGND:
            return 1;  // painting covers everything
        case WM_PAINT:
            Paint();
            return 0;
        case WM_GETOBJECT:
            if (LRESULT object = 0; Access.Answer(hWnd, first, second, object))
                return object;
            return WINDOW::WinProc(message, first, second);
        // A click on it must not take the focus from what the user is typing into.
        case WM_MOUSEACTIVATE:
            return MA_NOACTIVATE;
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
            if (GetTickCount64() - Born >= static_cast<ULONGLONG>(Setup.DeafMs))
                Click(message == WM_RBUTTONDOWN, PointOf(second));
            return 0;
        case WM_MOUSEMOVE: {
            MovePointer(PointOf(second));
            TRACKMOUSEEVENT track{sizeof track, TME_LEAVE, hWnd, 0};
            TrackMouseEvent(&track);
            return 0;
        }
        case WM_MOUSELEAVE:
        case WM_KILLFOCUS:
            MovePointer(OUTSIDE);
            return 0;
        case WM_SETFOCUS:
            if (Marked() == -1)
                Mark(0);
            return 0;
        case WM_KEYDOWN:
            return OnKey(first) ? 0 : WINDOW::WinProc(message, first, second);
        case WM_CLOSE:
            Click(false, OUTSIDE);
            return 0;
        case WM_TIMER:
            Look.Swapped = !Look.Swapped;
            InvalidateRect(hWnd, nullptr, FALSE);
            return 0;
        default:
            return WINDOW::WinProc(message, first, second);
    }
}

SEMITOOLTIP::ELEMENT SEMITOOLTIP::Whole() const {
    std::string words;
    for (const ALERTLINE& line : ParseAlertMarkup(Text.View())) {
        for (const ALERTPIECE& piece : line)
            words += piece.Button ? std::string_view() : std::string_view(piece.Text);
        words += '\n';
    }
    words.erase(words.find_last_not_of("\n ") + 1);
    return {WideText(words), {}, ROLE_SYSTEM_ALERT, STATE_SYSTEM_READONLY};
}

SEMITOOLTIP::ELEMENT SEMITOOLTIP::Element(int index) const {
    const ALERTRECT& rect = Layout->Buttons()[static_cast<size_t>(index)].Rect;
    ELEMENT element{{}, {}, ROLE_SYSTEM_PUSHBUTTON, STATE_SYSTEM_FOCUSABLE, SystemRect(rect)};
    if (index == Marked())
        element.State |= GetFocus() == hWnd ? STATE_SYSTEM_FOCUSED : STATE_SYSTEM_HOTTRACKED;
    for (const ALERTLINE& line : ParseAlertMarkup(Text.View()))
        for (const ALERTPIECE& piece : line)
            if (piece.Button && index-- == 0)
                element.Name = WideText(piece.Text);
    return element;
}

bool SEMITOOLTIP::PressLater(int index) {
    const ALERTPOINT middle = Middle(index);
    return PostMessageW(hWnd, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(middle.X, middle.Y)) != 0;
}

void SEMITOOLTIP::Paint() {
    const PICTUREPAINTER picture(hWnd);
    Look.Client = {picture.Client().right, picture.Client().bottom};
    CANVAS canvas(picture, Fonts, ScalePixels(CORNER));
    Layout->Paint(canvas, Look);
}

void SEMITOOLTIP::Click(bool right, ALERTPOINT point) {
    Look.Pointer = point;
    Look.Pressed = true;
    if (!right && Layout->ButtonAt(point)) {
        InvalidateRect(hWnd, nullptr, FALSE);
        UpdateWindow(hWnd);
        Sleep(PRESSED_MS);
    }
    if (Setup.Parent)
        PostMessageW(Setup.Parent, WM__ALERTCLICK, right ? 1 : 0, Layout->ClickValue(point, right, Setup.ClickValue));
    if (!right) {
        GiveFocusBack();
        ShowWindow(hWnd, SW_HIDE);
    }
}

// Else the system would give it to the next best window of any program.
void SEMITOOLTIP::GiveFocusBack() {
    if (hWnd && GetFocus() == hWnd && IsWindowVisible(Setup.Parent))
        SetForegroundWindow(GetLastActivePopup(Setup.Parent));  // the dialog that is open, if there is one
}

void SEMITOOLTIP::MovePointer(ALERTPOINT point) {
    if (Closing || (point.X == Look.Pointer.X && point.Y == Look.Pointer.Y))
        return;
    const ALERTBUTTON* const left = Layout->ButtonAt(Look.Pointer);
    const ALERTBUTTON* const entered = Layout->ButtonAt(point);
    Look.Pointer = point;
    if (left != entered) {
        InvalidateButton(left);
        InvalidateButton(entered);
    }
}

bool SEMITOOLTIP::TakeFocus() {
    return IsVisible() && SetForegroundWindow(hWnd);
}

bool SEMITOOLTIP::TakeFocus(int index) {
    if (!TakeFocus())
        return false;
    Mark(index);
    return true;
}

bool SEMITOOLTIP::OnKey(WPARAM key) {
    const bool back = key == VK_LEFT || key == VK_UP || (key == VK_TAB && GetKeyState(VK_SHIFT) < 0);
    switch (key) {
        case VK_TAB:
        case VK_LEFT:
        case VK_UP:
        case VK_RIGHT:
        case VK_DOWN:
            Mark(back ? std::max(Marked(), 0) + Count() - 1 : Marked() + 1);
            return true;
        case VK_RETURN:
        case VK_SPACE:
            if (Marked() != -1)
                Click(false, Look.Pointer);
            return true;
        case VK_ESCAPE:
            Click(false, OUTSIDE);
            return true;
        case VK_F6:
            GiveFocusBack();
            return true;
        default:
            return false;
    }
}

ALERTPOINT SEMITOOLTIP::Middle(int index) const {
    const ALERTRECT& place = Layout->Buttons()[static_cast<size_t>(index)].Rect;
    return {(place.Left + place.Right) / 2, (place.Top + place.Bottom) / 2};
}

int SEMITOOLTIP::Marked() const {
    const ALERTBUTTON* const button = Layout->ButtonAt(Look.Pointer);
    return button ? static_cast<int>(button - Layout->Buttons().data()) : -1;
}

void SEMITOOLTIP::Mark(int index) {
    if (Count() == 0)
        return;
    index %= Count();
    MovePointer(Middle(index));
    NotifyWinEvent(EVENT_OBJECT_FOCUS, hWnd, OBJID_CLIENT, index + 1);
}

void SEMITOOLTIP::InvalidateButton(const ALERTBUTTON* button) {
    if (!button)
        return;
    const RECT area = SystemRect(button->Rect);
    InvalidateRect(hWnd, &area, FALSE);
}
