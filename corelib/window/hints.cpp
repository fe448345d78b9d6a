#include <algorithm>
#include <string>

#include "corelib/base/trace.h"
#include "corelib/system/registry.h"
#include "corelib/window/controls.h"
#include "corelib/window/dialog.h"
#include "corelib/window/messages.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int ID_TEXT = 100;
constexpr int ID_NEVER = 101;

// All at 96 dots per inch.
constexpr int MARGIN = 12;
constexpr int TEXT_WIDTH = 380;
constexpr int BUTTON_WIDTH = 80;
constexpr int BOX_WIDTH = 20;  // of a check box, with the gap to its text
constexpr int FONT_POINTS = 8;

/// Where an answer is remembered.
class MEMORY {
 public:
    MEMORY(const char* product, const char* key, STRINGARRAY* state) : Product(product), Key(key), State(state) {
        if (State && !ASSERTION(Key != nullptr, "pstatekey"))
            State = nullptr;
    }
    int Read() const {
        if (State)
            return State->Exists(Key) ? State->GetNumber(Key) : 0;
        uint32_t value = 0;
        int size = sizeof value;
        const bool known = Key && Open().Read(Key, &value, &size) && size == sizeof value;
        return known ? static_cast<int>(value) : 0;
    }
    void Write(int answer) const {
        if (State) {
            const bool locked = State->AllowNewKeys(true);
            State->SetNumber(Key, answer);
            State->AllowNewKeys(!locked);
        } else if (Key) {
            const auto value = static_cast<uint32_t>(answer);
            (void)Open().Write(Key, &value, sizeof value);
        }
    }

 private:
    REGISTRY Open() const { return REGISTRY(WINDOW_COMPANY, Product, ROOT_CURRENT_USER); }

    const char* Product;
    const char* Key;
    STRINGARRAY* State;
};

DIALOGTEMPLATE HintTemplate(const STRING& title, bool question, bool german) {
    // Any sizes: the dialog grows to its text when it opens. What has the focus first comes first.
    DIALOGTEMPLATE dialog(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, title, 100, 50, "MS Sans Serif",
                          FONT_POINTS);
    if (question) {
        dialog.Add("BUTTON", BS_DEFPUSHBUTTON | WS_TABSTOP, german ? "&Ja" : "&Yes", IDOK);
        dialog.Add("BUTTON", BS_PUSHBUTTON | WS_TABSTOP, german ? "&Nein" : "&No", IDCANCEL);
    } else {
        dialog.Add("BUTTON", BS_DEFPUSHBUTTON | WS_TABSTOP, "OK", IDOK);
    }
    dialog.Add("BUTTON", BS_AUTOCHECKBOX | WS_TABSTOP,
               german ? "Dieses Fenster nicht mehr anzeigen" : "Do not show this window again", ID_NEVER);
    dialog.Add("EDIT", ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_TABSTOP, "", ID_TEXT);
    return dialog;
}

class HINT : public DIALOG {
 public:
    HINT(const DIALOGTEMPLATE& memory, const STRING& text, bool question)
        : DIALOG(memory), Text(text), Question(question) {}

    bool NeverAgain = false;

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_INITDIALOG) {
            Arrange();
            Center(Owner().hWnd);
            MessageBeep(Question ? MB_ICONQUESTION : MB_ICONINFORMATION);
            return 1;
        }
        if (message == WM_COMMAND && LOWORD(first) == ID_NEVER)
            NeverAgain = BUTTON(hWnd, ID_NEVER).IsChecked();
        return DIALOG::WinProc(message, first, second);
    }

 private:
    // Its fonts and places are its own.
    void Rescaled(SCALE /*before*/) override {}
    void TakePlace(const RECT& place) override {
        Move(place.left, place.top);
        Arrange();
    }

    void Arrange() {
        STRING lines = Text;
        lines.Replace("\r\n", "\n");
        lines.Replace("\n", "\r\n");
        EDITFIELD(hWnd, ID_TEXT).SetText(lines);
        for (const int id : {ID_TEXT, ID_NEVER, IDOK, IDCANCEL})
            CONTROL(hWnd, id).SetFont(Scale().MessageFont());

        const int margin = ScalePixels(MARGIN);
        const SIZE check = Measure(BUTTON(hWnd, ID_NEVER).Title());
        const SIZE text = Measure(lines);
        const int width = std::max<LONG>(
            {text.cx + margin, check.cx + ScalePixels(BOX_WIDTH), ScalePixels(BUTTON_WIDTH) * 2 + margin});
        const RECT work = WINDOW(HWND_DESKTOP).Rect();
        // A long text scrolls: a box that is higher than the screen would hide its own buttons.
        const int limit = (work.bottom - work.top) / 2;
        const int height = std::min<LONG>(text.cy, limit);
        if (height < text.cy)
            ShowScrollBar(GetDlgItem(hWnd, ID_TEXT), SB_VERT, TRUE);
        const int button = check.cy + ScalePixels(10);

        int y = margin;
        CONTROL(hWnd, ID_TEXT).Move(margin, y, width, height);
        y += height + margin;
        CONTROL(hWnd, ID_NEVER).Move(margin, y, width, check.cy + ScalePixels(4));
        y += check.cy + ScalePixels(4) + margin;
        int x = margin + width - ScalePixels(BUTTON_WIDTH);
        if (Question) {
            CONTROL(hWnd, IDCANCEL).Move(x, y, ScalePixels(BUTTON_WIDTH), button);
            x -= ScalePixels(BUTTON_WIDTH) + margin / 2;
        }
        CONTROL(hWnd, IDOK).Move(x, y, ScalePixels(BUTTON_WIDTH), button);
        SetClientSize(width + 2 * margin, y + button + margin);
    }

    SIZE Measure(const STRING& text) const {
        const WINDOWDC dc(hWnd);
        const HGDIOBJ former = SelectObject(dc, Scale().MessageFont());
        RECT rect = {0, 0, ScalePixels(TEXT_WIDTH), 0};
        DrawTextW(dc, WideText(text).c_str(), -1, &rect, DT_CALCRECT | DT_WORDBREAK | DT_EDITCONTROL | DT_NOPREFIX);
        SelectObject(dc, former);
        return {rect.right, rect.bottom};
    }

    const STRING Text;
    const bool Question;
};

constexpr int ANSWER_YES = 1;
constexpr int ANSWER_NO = 2;

bool Hint(HWND window, const STRING& text, const STRING& title, const MEMORY& memory, bool question) {
    const int known = memory.Read();
    if (known != 0)
        return known == ANSWER_YES;
    const DIALOGTEMPLATE layout = HintTemplate(title, question, IsGermanResourceModule());
    HINT hint(layout, text, question);
    const bool yes = hint.Run(window) == IDOK;
    if (hint.NeverAgain)
        memory.Write(yes || !question ? ANSWER_YES : ANSWER_NO);
    return yes;
}

}  // namespace

void ShowHint(HWND window, const STRING& text, const STRING& title, const char* product, const char* key,
              STRINGARRAY* state) {
    Hint(window, text, title, MEMORY(product, key, state), false);
}

bool AskHint(HWND window, const STRING& text, const STRING& title, const char* product, const char* key,
             STRINGARRAY* state) {
    return Hint(window, text, title, MEMORY(product, key, state), true);
}
