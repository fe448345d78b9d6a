#include "corelib/window/dialog.h"

#include <cstdlib>
#include <cwchar>
#include <utility>

#include "corelib/base/trace.h"
#include "corelib/window/controls.h"
#include "corelib/window/latefunction.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int POINTS_PER_INCH = 72;

struct CUSTOM {
    WNDPROC oldWinProc = nullptr;
} Custom;

// After a menu, class or title in a dialog's template: a text, a number (after a word of ones), or nothing.
const WORD* BehindName(const WORD* at) {
    if (*at == 0xFFFF)
        return at + 2;
    while (*at != 0)
        ++at;
    return at + 1;
}

// A template of the resource compiler with the system's font for texts in place of its own. Dialog units follow the
// font, so that the layout stays; a template without a font, or of the older form, stays as it is.
std::vector<WORD> WithMessageFont(const WORD* words, size_t count) {
    constexpr size_t STYLE_AT = 6, MENU_AT = 13, FONT_WORDS = 3;  // point size, weight, italics with the character set
    if (words[1] != 0xFFFF || !(words[STYLE_AT] & DS_SETFONT))
        return {words, words + count};
    // In points, which the system turns into pixels of the screen where the dialog opens.
    const LOGFONTW font = SCALE::System().MessageLook();
    const int points = SCALE(POINTS_PER_INCH).From(SCALE::System(), abs(font.lfHeight));

    const WORD* const old = BehindName(BehindName(BehindName(words + MENU_AT)));
    const WORD* controls = BehindName(old + FONT_WORDS);
    std::vector<WORD> made(words, old);
    made.push_back(static_cast<WORD>(points));
    made.push_back(static_cast<WORD>(font.lfWeight));
    made.push_back(MAKEWORD(font.lfItalic, font.lfCharSet));
    made.insert(made.end(), font.lfFaceName, font.lfFaceName + wcslen(font.lfFaceName) + 1);
    // Controls begin at a multiple of four bytes.
    made.resize(made.size() + made.size() % 2);
    controls += (controls - words) % 2;
    if (controls < words + count)
        made.insert(made.end(), controls, words + count);
    return made;
}

// What a unit of a dialog's layout is for a font, 4 to the right and 8 down.
SIZE UnitsOf(HFONT font) {
    constexpr std::wstring_view LETTERS = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const WINDOWDC dc(nullptr);
    const HGDIOBJ former = SelectObject(dc, font);
    SIZE size{};
    GetTextExtentPoint32W(dc, LETTERS.data(), static_cast<int>(LETTERS.size()), &size);
    SelectObject(dc, former);
    return {(size.cx / 26 + 1) / 2, size.cy};
}

// With the list that it opens, which is what its height means.
LONG WholeHeight(const CONTROL& control) {
    RECT opened{};
    if (stricmp(control.ClassName().Text(), WC_COMBOBOXA, false) == 0 &&
        control.Send(CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(&opened)))
        return opened.bottom - opened.top;
    const RECT place = control.Rect();
    return place.bottom - place.top;
}

// The system would scale dialogs by itself as well, but neither their pages nor what the program has moved.
void LeaveScaleToProgram(HWND dialog) {
    constexpr int ALL = 1;
    using SETBEHAVIOR = BOOL WINAPI(HWND, int, int);
    static auto* const set = LateFunction<SETBEHAVIOR>(L"user32.dll", "SetDialogDpiChangeBehavior");
    if (set)
        set(dialog, ALL, ALL);
}

// The messages whose answer is the dialog procedure's own result.
bool AnswersDirectly(UINT message) {
    switch (message) {
        case WM_INITDIALOG:
        case WM_CHARTOITEM:
        case WM_COMPAREITEM:
        case WM_VKEYTOITEM:
        case WM_QUERYDRAGICON:
        case WM_CTLCOLORBTN:
        case WM_CTLCOLORDLG:
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX:
        case WM_CTLCOLORSCROLLBAR:
        case WM_CTLCOLORSTATIC:
            return true;
        default:
            return false;
    }
}

}  // namespace

DIALOGTEMPLATE::DIALOGTEMPLATE(DWORD style, const STRING& title, int width, int height, const char* font, int points) {
    Long(style | DS_SETFONT);
    Long(0);
    Word(0);  // the number of controls, counted by Add
    for (const int edge : {0, 0, width, height})
        Word(edge);
    Word(0);  // no menu
    Word(0);  // the class of dialogs
    Text(WideText(title));
    Word(points);
    Text(WideText(std::string_view(font)));
}

void DIALOGTEMPLATE::Add(const char* className, DWORD style, const STRING& text, int id) {
    constexpr size_t COUNT_AT = 4;
    ++Words[COUNT_AT];
    if (Words.size() % 2 != 0)  // each control begins at a multiple of four bytes
        Word(0);
    Long(style | WS_CHILD | WS_VISIBLE);
    Long(0);
    for (const int number : {0, 0, 0, 0, id})
        Word(number);
    Text(WideText(std::string_view(className)));
    Text(WideText(text));
    Word(0);  // no data
}

const DLGTEMPLATE* DIALOGTEMPLATE::Get() const {
    return reinterpret_cast<const DLGTEMPLATE*>(Words.data());
}

void DIALOGTEMPLATE::Long(DWORD value) {
    Words.push_back(LOWORD(value));
    Words.push_back(HIWORD(value));
}

void DIALOGTEMPLATE::Text(const std::wstring& text) {
    Words.insert(Words.end(), text.begin(), text.end());
    Words.push_back(0);
}

DIALOG::DIALOG(int resource) : WINDOW(static_cast<HWND>(nullptr)) {
    WindowId = resource;
    const HRSRC found = FindResourceW(ResourceModule(), MAKEINTRESOURCEW(resource), RT_DIALOG);
    const HGLOBAL loaded = found ? LoadResource(ResourceModule(), found) : nullptr;
    if (!loaded)
        return;
    Words = WithMessageFont(static_cast<const WORD*>(LockResource(loaded)),
                            SizeofResource(ResourceModule(), found) / sizeof(WORD));
    Template = reinterpret_cast<const DLGTEMPLATE*>(Words.data());
}

DIALOG::DIALOG(const DIALOGTEMPLATE& memory) : WINDOW(static_cast<HWND>(nullptr)), Template(memory.Get()) {}

DIALOG::~DIALOG() {
    // The system sees to the window's end; WINDOW, which alone is left of this object by then, is no dialog.
    if (hWnd)
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
}

int DIALOG::Run(HWND owner) {
    Modal = true;
    Ended = false;
    INT_PTR result = -1;
    if (Template)
        result = DialogBoxIndirectParamW(GetModuleHandleW(nullptr), Template, owner, DialogProcedure,
                                         reinterpret_cast<LPARAM>(this));
    ASSERTION(result != -1, "this->hWnd");
    // The end of the program closes it as well, which the system takes for OK.
    return result != -1 && !Ended ? IDCANCEL : static_cast<int>(result);
}

bool DIALOG::Create(HWND parent) {
    Modal = false;
    if (Template)
        CreateDialogIndirectParamW(GetModuleHandleW(nullptr), Template, parent, DialogProcedure,
                                   reinterpret_cast<LPARAM>(this));
    AutoDestroy = true;
    return ASSERTION(hWnd != nullptr, "this->hWnd");
}

void DIALOG::End(int result) {
    if (!Modal)
        return;
    Ended = true;
    EndDialog(hWnd, result);
}

LRESULT DIALOG::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_INITDIALOG:
            return 1;
        case WM_HELP:
        case WM_DPICHANGED:
        case WM__RESCALED:
        case WM__RECOLORED:
        case WM_DESTROY:
        case WM__GETID:
            return WINDOW::WinProc(message, first, second);
        case WM_COMMAND:
            if (Modal && (LOWORD(first) == IDOK || LOWORD(first) == IDCANCEL) && HIWORD(first) == BN_CLICKED) {
                End(LOWORD(first));
                return 0;
            }
            break;
        default:
            break;
    }
    Handled = false;
    return 0;
}

void DIALOG::Rescaled(SCALE before) {
    const auto fontOf = [](HWND window) { return reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)); };
    const HFONT former = Font ? Font.get() : fontOf(hWnd);
    if (!FirstScale) {
        if (!GetObjectW(former, sizeof FirstLook, &FirstLook))
            return;
        FirstScale = before;
    }
    LOGFONTW look = FirstLook;
    look.lfHeight = Scale().From(*FirstScale, look.lfHeight);
    look.lfWidth = Scale().From(*FirstScale, look.lfWidth);
    FONTHANDLE font(CreateFontIndirectW(&look));
    const SIZE from = UnitsOf(former), to = UnitsOf(font.get());
    const auto across = [&](LONG pixels) { return MulDiv(pixels, to.cx, from.cx); };
    const auto down = [&](LONG pixels) { return MulDiv(pixels, to.cy, from.cy); };
    for (HWND child = GetWindow(hWnd, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        CONTROL control(child);
        const RECT place = control.Rect();
        const int height = down(WholeHeight(control));
        if (fontOf(child) == former)
            control.SetFont(font.get());
        control.Move(across(place.left), down(place.top), across(place.right - place.left), height);
    }
    Font = std::move(font);
    const RECT client = ClientRect();
    ClientSize = {across(client.right), down(client.bottom)};
}

void DIALOG::TakePlace(const RECT& place) {
    WINDOW::TakePlace(place);
    if (!IsZoomed(hWnd))
        SetClientSize(ClientSize.cx, ClientSize.cy);
}

INT_PTR CALLBACK DIALOG::DialogProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
        auto* const creator = reinterpret_cast<DIALOG*>(second);
        creator->hWnd = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, second);
        LeaveScaleToProgram(window);
        if (!(GetWindowLongW(window, GWL_STYLE) & WS_CHILD))
            SCALE::Keep(window, creator->Scale());
    }
    auto* const self = reinterpret_cast<DIALOG*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self)
        return FALSE;
    // Handling a message can bring other ones in between.
    const bool before = self->Handled;
    self->Handled = true;
    const LRESULT result = self->Dispatch(message, first, second);
    const bool handled = self->Handled;
    self->Handled = before;
    if (message == WM_NCDESTROY) {
        SCALE::Forget(window);
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        self->hWnd = nullptr;
        return FALSE;
    }
    if (AnswersDirectly(message))
        return handled ? result : FALSE;
    if (handled)
        SetWindowLongPtrW(window, DWLP_MSGRESULT, result);
    return handled;
}

DIALOGSUBCLASS::DIALOGSUBCLASS(HWND dialog, WNDPROC procedure) : Dialog(nullptr) {
    if (!ASSERTION(!::Custom.oldWinProc, "!::Custom.oldWinProc"))
        return;
    Dialog = dialog;
    Custom.oldWinProc =
        reinterpret_cast<WNDPROC>(SetWindowLongPtrW(dialog, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

DIALOGSUBCLASS::~DIALOGSUBCLASS() {
    if (!Dialog)
        return;
    SetWindowLongPtrW(Dialog, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Custom.oldWinProc));
    Custom.oldWinProc = nullptr;
}

LRESULT DIALOGSUBCLASS::Former(HWND dialog, UINT message, WPARAM first, LPARAM second) {
    return CallWindowProcW(Custom.oldWinProc, dialog, message, first, second);
}
