#include "corelib/window/toolbar.h"

#include <algorithm>
#include <utility>
#include <windowsx.h>

#include "corelib/base/trace.h"
#include "corelib/window/colors.h"
#include "corelib/window/controls.h"
#include "corelib/window/widetext.h"

namespace {

constexpr UINT_PTR TIMER_HOT = 1;
constexpr UINT HOT_MS = 100;
constexpr UINT WM__PRESS = WM_USER;  // first: the button's place

// All at 96 dots per inch. The rows are those of the lines above and below the buttons.
constexpr int TOP_LINE = 1, BOTTOM_LINE = 29;
constexpr int SEPARATOR_TOP = 6, SEPARATOR_BOTTOM = 28;
constexpr int BUTTON_TOP = 4, BUTTON_BOTTOM = 28;
constexpr int EDGE = 4;  // between the bar's left edge and the first button, and around a picture
constexpr int SEPARATOR_WIDTH = 8;
constexpr int IMAGE = 16;

constexpr BYTE GROUPED = TBSTYLE_CHECK | TBSTYLE_GROUP;

// Closed when the painting is done.
class THEME {
 public:
    explicit THEME(HWND window) : Theme(OpenThemeData(window, L"TOOLBAR")) {}
    ~THEME() {
        if (Theme)
            CloseThemeData(Theme);
    }
    THEME(const THEME&) = delete;
    THEME& operator=(const THEME&) = delete;
    operator HTHEME() const { return Theme; }

 private:
    HTHEME Theme;
};

void FillRow(HDC dc, int left, int top, int right, int bottom, COLOR color) {
    const RECT rect = {left, top, right, bottom};
    FillRect(dc, &rect, COLORS::Brush(color));
}

// Two system lines that together look like a groove, each a row of a display with 96 dots per inch.
void DrawGroove(HDC dc, SCALE scale, int width, int row) {
    FillRow(dc, 0, scale.Pixels(row), width, scale.Pixels(row + 1), COLOR::SHADOW);
    FillRow(dc, 0, scale.Pixels(row + 1), width, scale.Pixels(row + 2), COLOR::SHINE);
}

}  // namespace

NEWTOOLBAR::NEWTOOLBAR(HWND parent, int id)
    : WINDOW(WS_CHILD | WS_VISIBLE | WS_TABSTOP | WS_CLIPSIBLINGS, "", 0, 0, 0, SCALE::Of(parent).Pixels(HEIGHT),
             parent, id, "NewToolbar"),
      Images(IMAGE, Scale()),
      DisabledImages(IMAGE, Scale()) {
    Trace("NEWTOOLBAR::NEWTOOLBAR\n");
    Tips = MakeTipWindow(hWnd);
    Resize();
    Trace("NEWTOOLBAR::NEWTOOLBAR done\n");
}

NEWTOOLBAR::~NEWTOOLBAR() {
    Trace("NEWTOOLBAR::~NEWTOOLBAR\n");
    if (hWnd)
        DestroyWindow(Tips);
    Trace("NEWTOOLBAR::~NEWTOOLBAR done\n");
}

void NEWTOOLBAR::AddButton(int id, int bitmap, int style) {
    if (!ASSERTION(Buttons.size() < MAX_BUTTONS, "this->ButtonCount<MAX_BUTTONS"))
        return;
    BUTTON button{static_cast<WORD>(id), static_cast<BYTE>(style), TBSTATE_ENABLED, STRING(), 0, 0, 0, -1};
    if (bitmap != -1) {
        button.Image = Images.Add(bitmap);
        DisabledImages.Add(bitmap + DISABLED_ICONS);
    }
    Buttons.push_back(button);
    if (style & TBSTYLE_SEP)
        return;
    TTTOOLINFOW tool{};
    tool.cbSize = sizeof tool;
    tool.uFlags = TTF_SUBCLASS;
    tool.hwnd = hWnd;
    tool.uId = static_cast<UINT_PTR>(id);
    tool.lpszText = LPSTR_TEXTCALLBACKW;
    SendMessageW(Tips, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void NEWTOOLBAR::AddSeparator() {
    AddButton(0, -1, TBSTYLE_SEP);
}

void NEWTOOLBAR::SetButtonText(int id, const STRING& text) {
    BUTTON* const button = Find(id);
    if (!button)
        return;
    STRING label = text.Word(0, "\t", WORD_NEVERNULL);
    label.Replace("&", "");
    label.Strip('R', ".");
    label.Append(" ");
    button->Label = label;
}

bool NEWTOOLBAR::IsChecked(int id) const {
    const BUTTON* const button = Find(id);
    return button && button->State & TBSTATE_CHECKED;
}

void NEWTOOLBAR::Check(int id, bool flag) {
    BUTTON* const button = Find(id);
    if (!button || !ASSERTION(button->Style & TBSTYLE_CHECK, "button.Style & TBSTYLE_CHECK"))
        return;
    if (flag && (button->Style & GROUPED) == GROUPED) {
        const auto inRun = [](const BUTTON& other) { return (other.Style & GROUPED) == GROUPED; };
        BUTTON* first = button;
        BUTTON* const end = Buttons.data() + Buttons.size();
        while (first != Buttons.data() && inRun(first[-1]))
            --first;
        for (; first != end && inRun(*first); ++first)
            SetState(*first, TBSTATE_CHECKED, false);
    }
    SetState(*button, TBSTATE_CHECKED, flag);
}

void NEWTOOLBAR::Enable(int id, bool flag) {
    if (BUTTON* const button = Find(id))
        SetState(*button, TBSTATE_ENABLED, flag);
}

void NEWTOOLBAR::Rescaled(SCALE /*before*/) {
    Images.Rescale(Scale());
    DisabledImages.Rescale(Scale());
    ScaleTips(Tips, 0);
    Resize();
    ArrangeButtons();
}

void NEWTOOLBAR::Resize() {
    Trace("NEWTOOLBAR::Resize\n");
    Move(0, 0, Parent().ClientRect().right, ScalePixels(HEIGHT));
    Trace("NEWTOOLBAR::Resize done\n");
}

void NEWTOOLBAR::ArrangeButtons() {
    Trace("NEWTOOLBAR::ArrangeButtons\n");
    const WINDOWDC dc(hWnd);
    const HGDIOBJ formerFont = SelectObject(dc, Scale().MessageFont());
    const int edge = ScalePixels(EDGE);
    int x = edge;
    for (BUTTON& button : Buttons) {
        button.Left = x;
        button.Top = ScalePixels(BUTTON_TOP);
        int width = ScalePixels(SEPARATOR_WIDTH);
        if (!(button.Style & TBSTYLE_SEP)) {
            width = 2 * edge + (button.Image == -1 ? 0 : ScalePixels(IMAGE));
            if (button.Label.NotNull()) {
                const std::wstring label = WideText(button.Label);
                SIZE size{};
                GetTextExtentPoint32W(dc, label.c_str(), static_cast<int>(label.size()), &size);
                width += edge + size.cx;
            }
        }
        x += width;
        button.Right = x;
        if (button.Style & TBSTYLE_SEP)
            continue;
        TTTOOLINFOW tool{};
        tool.cbSize = sizeof tool;
        tool.hwnd = hWnd;
        tool.uId = button.Id;
        tool.rect = RectOf(button);
        SendMessageW(Tips, TTM_NEWTOOLRECTW, 0, reinterpret_cast<LPARAM>(&tool));
    }
    SelectObject(dc, formerFont);
    InvalidateRect(hWnd, nullptr, FALSE);
    Trace("NEWTOOLBAR::ArrangeButtons done\n");
}

RECT NEWTOOLBAR::ButtonRect(int id) const {
    const BUTTON* const button = Find(id);
    return button ? RectOf(*button) : RECT{};
}

const NEWTOOLBAR::BUTTON* NEWTOOLBAR::Find(int id) const {
    const auto found = std::find_if(Buttons.begin(), Buttons.end(),
                                    [id](const BUTTON& b) { return b.Id == id && !(b.Style & TBSTYLE_SEP); });
    return found == Buttons.end() ? nullptr : &*found;
}

NEWTOOLBAR::BUTTON* NEWTOOLBAR::Find(int id) {
    return const_cast<BUTTON*>(std::as_const(*this).Find(id));
}

RECT NEWTOOLBAR::RectOf(const BUTTON& button) const {
    return {button.Left, button.Top, button.Right, ScalePixels(BUTTON_BOTTOM)};
}

int NEWTOOLBAR::ButtonAt(POINT point) const {
    for (size_t i = 0; i < Buttons.size(); ++i) {
        const RECT rect = RectOf(Buttons[i]);
        if (PtInRect(&rect, point))
            return static_cast<int>(i);
    }
    return -1;
}

bool NEWTOOLBAR::CanPress(int index) const {
    if (index < 0 || index >= static_cast<int>(Buttons.size()))
        return false;
    const BUTTON& button = Buttons[static_cast<size_t>(index)];
    return button.State & TBSTATE_ENABLED && !(button.Style & TBSTYLE_SEP);
}

void NEWTOOLBAR::SetState(BUTTON& button, BYTE bit, bool flag) {
    const auto state = static_cast<BYTE>(flag ? button.State | bit : button.State & ~bit);
    if (state == button.State)
        return;
    button.State = state;
    const auto index = static_cast<int>(&button - Buttons.data());
    Redraw(index);
    NotifyWinEvent(EVENT_OBJECT_STATECHANGE, hWnd, OBJID_CLIENT, index + 1);
}

void NEWTOOLBAR::SetMark(int& mark, int index) {
    if (mark == index)
        return;
    Redraw(mark);
    mark = index;
    Redraw(mark);
}

void NEWTOOLBAR::TellFocus() const {
    if (Focused != -1 && GetFocus() == hWnd)
        NotifyWinEvent(EVENT_OBJECT_FOCUS, hWnd, OBJID_CLIENT, Focused + 1);
}

std::wstring NEWTOOLBAR::TipOf(const BUTTON& button) const {
    NMTTDISPINFOW notice{};
    notice.hdr = {Tips, button.Id, TTN_GETDISPINFOW};
    notice.lpszText = notice.szText;
    SendMessageW(Parent().hWnd, WM_NOTIFY, button.Id, reinterpret_cast<LPARAM>(&notice));
    return IS_INTRESOURCE(notice.lpszText) ? std::wstring() : std::wstring(notice.lpszText);
}

NEWTOOLBAR::ELEMENT NEWTOOLBAR::Whole() const {
    return {IsGermanResourceModule() ? L"Symbolleiste" : L"Tool bar", {}, ROLE_SYSTEM_TOOLBAR, STATE_SYSTEM_FOCUSABLE};
}

NEWTOOLBAR::ELEMENT NEWTOOLBAR::Element(int index) const {
    const BUTTON& button = Buttons[static_cast<size_t>(index)];
    if (button.Style & TBSTYLE_SEP)
        return {{}, {}, ROLE_SYSTEM_SEPARATOR, STATE_SYSTEM_READONLY, RectOf(button)};
    STRING label = button.Label;
    label.Strip('R', " ");
    ELEMENT element{WideText(label), TipOf(button), ROLE_SYSTEM_PUSHBUTTON, 0, RectOf(button)};
    if (element.Name.empty())
        element.Name.swap(element.Description);
    if (button.Style & TBSTYLE_CHECK)
        element.Role = button.Style & TBSTYLE_GROUP ? ROLE_SYSTEM_RADIOBUTTON : ROLE_SYSTEM_CHECKBUTTON;
    element.State = button.State & TBSTATE_ENABLED ? STATE_SYSTEM_FOCUSABLE : STATE_SYSTEM_UNAVAILABLE;
    if (button.State & TBSTATE_CHECKED)
        element.State |= STATE_SYSTEM_CHECKED;
    if (index == Focused && GetFocus() == hWnd)
        element.State |= STATE_SYSTEM_FOCUSED;
    if (index == Hot)
        element.State |= STATE_SYSTEM_HOTTRACKED;
    if (index == Pressed)
        element.State |= STATE_SYSTEM_PRESSED;
    return element;
}

bool NEWTOOLBAR::TakeFocus(int index) {
    if (!CanPress(index))
        return false;
    SetFocus(hWnd);
    SetMark(Focused, index);
    TellFocus();
    return true;
}

bool NEWTOOLBAR::PressLater(int index) {
    return CanPress(index) && PostMessageW(hWnd, WM__PRESS, static_cast<WPARAM>(index), 0);
}

void NEWTOOLBAR::Redraw(int index) {
    if (index < 0)
        return;
    const RECT rect = RectOf(Buttons[static_cast<size_t>(index)]);
    InvalidateRect(hWnd, &rect, FALSE);
}

LRESULT NEWTOOLBAR::WinProc(UINT message, WPARAM first, LPARAM second) {
    const POINT point = {GET_X_LPARAM(second), GET_Y_LPARAM(second)};
    switch (message) {
        case WM_ERASEBKGND:
            return 1;  // painting covers everything
        case WM_PAINT:
            Paint();
            return 0;
        case WM_SIZE:
        case WM_SYSCOLORCHANGE:
        case WM_THEMECHANGED:
            InvalidateRect(hWnd, nullptr, FALSE);
            return 0;
        case WM_MOUSEMOVE:
            TrackMouse(point);
            return 0;
        // Nothing tells that the mouse has left for a window of another program.
        case WM_TIMER:
            LookAfterMouse();
            return 0;
        // The second of two quick clicks is a click.
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            TrackMouse(point);
            if (CanPress(Hot)) {
                SetMark(Pressed, Hot);
                SetCapture(hWnd);
            }
            return 0;
        case WM_LBUTTONUP:
            Release(point);
            return 0;
        case WM_CAPTURECHANGED:
            SetMark(Pressed, -1);
            return 0;
        // Else the dialog's keyboard handling keeps arrows and Enter for itself.
        case WM_GETDLGCODE: {
            const auto* const key = reinterpret_cast<const MSG*>(second);
            const bool enter = key && key->message == WM_KEYDOWN && key->wParam == VK_RETURN;
            return DLGC_WANTARROWS | (enter ? DLGC_WANTMESSAGE : 0);
        }
        case WM_KEYDOWN:
            if (TypeKey(first, second & (1 << 30)))
                return 0;
            break;
        case WM_SETFOCUS:
            if (!CanPress(Focused))
                MoveFocus(-1, 1);
            else
                TellFocus();
            Redraw(Focused);
            return 0;
        case WM_KILLFOCUS:
            Redraw(Focused);
            return 0;
        case WM_GETOBJECT:
            if (LRESULT object = 0; Access.Answer(hWnd, first, second, object))
                return object;
            break;
        // A screen reader presses from another thread, and the button may be another one by now.
        case WM__PRESS:
            if (CanPress(static_cast<int>(first)))
                Activate(static_cast<int>(first));
            return 0;
        case WM_NOTIFY:
            // The window above knows what the commands do.
            return SendMessageW(Parent().hWnd, message, first, second);
        default:
            break;
    }
    return WINDOW::WinProc(message, first, second);
}

void NEWTOOLBAR::TrackMouse(POINT point) {
    SetMark(Hot, ButtonAt(point));
    if (Hot != -1)
        SetTimer(hWnd, TIMER_HOT, HOT_MS, nullptr);
}

void NEWTOOLBAR::LookAfterMouse() {
    POINT point;
    if (GetCapture() == hWnd || (GetCursorPos(&point) && WindowFromPoint(point) == hWnd))
        return;
    KillTimer(hWnd, TIMER_HOT);
    SetMark(Hot, -1);
}

void NEWTOOLBAR::Release(POINT point) {
    const int index = Pressed;
    if (index == -1)
        return;
    ReleaseCapture();  // which ends the press
    if (ButtonAt(point) == index && CanPress(index))
        Activate(index);
}

void NEWTOOLBAR::Activate(int index) {
    const BUTTON& button = Buttons[static_cast<size_t>(index)];
    const int id = button.Id;
    if (button.Style & TBSTYLE_CHECK)
        Check(id, (button.Style & GROUPED) == GROUPED || !(button.State & TBSTATE_CHECKED));
    // The last thing, as the command may end this object.
    SendMessageW(Parent().hWnd, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(hWnd));
}

bool NEWTOOLBAR::TypeKey(WPARAM key, bool again) {
    switch (key) {
        case VK_LEFT:
        case VK_UP:
            MoveFocus(Focused, -1);
            return true;
        case VK_RIGHT:
        case VK_DOWN:
            MoveFocus(Focused, 1);
            return true;
        case VK_HOME:
            MoveFocus(-1, 1);
            return true;
        case VK_END:
            MoveFocus(static_cast<int>(Buttons.size()), -1);
            return true;
        case VK_TAB:
        case VK_F6:
        case VK_ESCAPE:
            PassFocus(key != VK_ESCAPE && GetKeyState(VK_SHIFT) < 0);
            return true;
        case VK_RETURN:
        case VK_SPACE:
            if (!again && CanPress(Focused))
                Activate(Focused);
            return true;
        default:
            return false;
    }
}

void NEWTOOLBAR::MoveFocus(int from, int step) {
    for (int i = from + step; i >= 0 && i < static_cast<int>(Buttons.size()); i += step) {
        if (CanPress(i)) {
            SetMark(Focused, i);
            TellFocus();
            return;
        }
    }
}

void NEWTOOLBAR::Paint() {
    const PICTUREPAINTER picture(hWnd);
    const RECT& client = picture.Client();
    FillRect(picture, &client, COLORS::Brush(COLOR::FACE));
    DrawGroove(picture, Scale(), client.right, TOP_LINE);
    DrawGroove(picture, Scale(), client.right, BOTTOM_LINE);
    SelectObject(picture, Scale().MessageFont());
    SetBkMode(picture, TRANSPARENT);
    const THEME theme(hWnd);
    for (size_t i = 0; i < Buttons.size(); ++i)
        DrawButton(picture, theme, static_cast<int>(i));
}

void NEWTOOLBAR::DrawButton(HDC dc, HTHEME theme, int index) {
    const BUTTON& button = Buttons[static_cast<size_t>(index)];
    RECT rect = RectOf(button);
    const int edge = ScalePixels(EDGE);
    if (button.Style & TBSTYLE_SEP) {
        const int x = (button.Left + button.Right) / 2 - ScalePixels(1);
        FillRow(dc, x, ScalePixels(SEPARATOR_TOP), x + ScalePixels(1), ScalePixels(SEPARATOR_BOTTOM + 1),
                COLOR::SHADOW);
        FillRow(dc, x + ScalePixels(1), ScalePixels(SEPARATOR_TOP), x + ScalePixels(2),
                ScalePixels(SEPARATOR_BOTTOM + 1), COLOR::SHINE);
        return;
    }
    const bool enabled = button.State & TBSTATE_ENABLED, checked = button.State & TBSTATE_CHECKED;
    const bool hot = enabled && Hot == index && (Pressed == -1 || Pressed == index);
    const bool down = hot && Pressed == index;
    COLORREF textColor = COLORS::Of(enabled ? COLOR::LABEL : COLOR::DISABLED);
    if (COLORS::IsDark()) {
        if (checked || hot)
            FillRect(dc, &rect, COLORS::Brush(checked || down ? COLOR::DOWN : COLOR::HOT));
    } else if (theme) {
        int state = TS_NORMAL;
        if (!enabled)
            state = TS_DISABLED;
        else if (down)
            state = TS_PRESSED;
        else if (checked)
            state = hot ? TS_HOTCHECKED : TS_CHECKED;
        else if (hot)
            state = TS_HOT;
        if (state != TS_NORMAL && state != TS_DISABLED)
            DrawThemeBackground(theme, dc, TP_BUTTON, state, &rect, nullptr);
        GetThemeColor(theme, TP_BUTTON, state, TMT_TEXTCOLOR, &textColor);
    } else if (checked || down) {
        DrawEdge(dc, &rect, checked ? EDGE_SUNKEN : BDR_SUNKENOUTER, BF_RECT);
    } else if (hot) {
        DrawEdge(dc, &rect, BDR_RAISEDINNER, BF_RECT);
    }
    int x = button.Left + edge + (down && !theme ? 1 : 0);
    if (button.Image != -1) {
        const int size = ScalePixels(IMAGE);
        (enabled ? Images : DisabledImages)
            .Draw(button.Image, dc, x, (rect.top + rect.bottom - size) / 2 + (down && !theme ? 1 : 0));
        x += size + edge;
    }
    if (button.Label.NotNull()) {
        RECT text = {x, rect.top, button.Right, rect.bottom};
        SetTextColor(dc, textColor);
        DrawTextW(dc, WideText(button.Label).c_str(), -1, &text, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    }
    if (index == Focused && GetFocus() == hWnd) {
        InflateRect(&rect, -ScalePixels(2), -ScalePixels(2));
        SetTextColor(dc, COLORS::Of(COLOR::LABEL));
        DrawFocusRect(dc, &rect);
    }
}
