#include "corelib/window/dialog.h"

#include <cstdlib>
#include <cwchar>

#include "corelib/base/trace.h"
#include "corelib/window/widetext.h"

namespace {

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
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const LOGFONTW& font = metrics.lfMessageFont;
    const int points = MulDiv(abs(font.lfHeight), 72, GetDeviceCaps(WINDOWDC(nullptr), LOGPIXELSY));

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

INT_PTR CALLBACK DIALOG::DialogProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_INITDIALOG) {
        auto* const creator = reinterpret_cast<DIALOG*>(second);
        creator->hWnd = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, second);
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
