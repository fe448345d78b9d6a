#include "app/desktop/mailviewer.h"

#include <string>

#include "app/common/displaytext.h"
#include "app/inbox/mailview.h"
#include "corelib/base/ascii.h"
#include "corelib/system/registry.h"
#include "corelib/window/colors.h"
#include "corelib/window/controls.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int DIALOG_MAIL = 2040;
constexpr int ID_SENDER = 201, ID_SUBJECT = 202, ID_TEXT = 203, ID_HEADER = 204, ID_RAW = 205;
constexpr int SENDER_LIMIT = 128, SUBJECT_LIMIT = 512, TEXT_LIMIT = 65535;  // characters
constexpr size_t LONGEST_CHARACTER = 4;                                     // bytes
constexpr int MIN_WIDTH = 380, MIN_HEIGHT = 240;                            // at 96 dots per inch
constexpr const char* SHOWS_HEADER = "MsgShowHdr";

/// As many characters, none of which is cut in two.
std::wstring Cut(std::wstring text, size_t limit) {
    if (text.size() > limit) {
        text.resize(limit);
        if (IS_HIGH_SURROGATE(text.back()))
            text.pop_back();
    }
    return text;
}

/// Lines of a mail, of which nothing acts as a control or turns the direction of writing. What can not be shown anyway
/// is not looked at: a text may have 10 MB.
std::wstring Lines(std::string_view text) {
    std::string safe;
    for (std::string_view rest = text.substr(0, TEXT_LIMIT * LONGEST_CHARACTER); !rest.empty();) {
        std::string_view line = ASCII::Take(rest, '\n');
        safe += DISPLAYTEXT::Safe(ASCII::TrimRight(line, "\r")) + "\r\n";
    }
    return Cut(WideText(safe), TEXT_LIMIT);
}

/// How a control follows the frame of its dialog.
struct FOLLOWER {
    int Id;
    bool Moves, MovesDown, Widens, Heightens;
};
constexpr FOLLOWER FOLLOWERS[] = {{ID_SENDER, false, false, true, false}, {ID_SUBJECT, false, false, true, false},
                                  {ID_TEXT, false, false, true, true},    {ID_HEADER, false, true, false, false},
                                  {ID_RAW, false, true, false, false},    {VIEWER_DELETE, true, true, false, false},
                                  {IDOK, true, true, false, false}};

class VIEWER : public DIALOG {
 public:
    VIEWER(const MAILVIEW& view, const STRING& deleteLabel, const STRING& product)
        : DIALOG(DIALOG_MAIL), View(view), DeleteLabel(deleteLabel), Product(product) {}

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        switch (message) {
            case WM_INITDIALOG:
                Begin();
                return 0;
            case WM_SIZE:
                Follow();
                return 0;
            // As paper, though nothing can be written there.
            case WM_CTLCOLORSTATIC:
                if (reinterpret_cast<HWND>(second) == GetDlgItem(hWnd, ID_TEXT))
                    return COLORS::Give(first, COLOR::TEXT, COLOR::PAPER);
                [[fallthrough]];
            case WM_CTLCOLORDLG:
            case WM_CTLCOLORBTN:
                if (!COLORS::IsDark())
                    return DIALOG::WinProc(message, first, second);
                return COLORS::Give(first, COLOR::LABEL, COLOR::FACE);
            case WM_SETTINGCHANGE:
            case WM_SYSCOLORCHANGE:
                return WINDOW::WinProc(message, first, second);
            case WM_NOTIFY:
                if (reinterpret_cast<const NMHDR*>(second)->code == NM_CUSTOMDRAW)
                    return DrawDarkButton(*reinterpret_cast<const NMCUSTOMDRAW*>(second));
                return DIALOG::WinProc(message, first, second);
            case WM_GETMINMAXINFO:
                reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {ScalePixels(MIN_WIDTH),
                                                                         ScalePixels(MIN_HEIGHT)};
                return 0;
            case WM_COMMAND:
                return OnCommand(LOWORD(first), HIWORD(first)) ? 0 : DIALOG::WinProc(message, first, second);
            default:
                return DIALOG::WinProc(message, first, second);
        }
    }

 private:
    void Rescaled(SCALE before) override {
        DIALOG::Rescaled(before);
        // The controls have their places for it already.
        Size = {0, 0, NextSize().cx, NextSize().cy};
    }

    void Begin() {
        SetDlgItemTextW(hWnd, ID_SENDER, Cut(WideText(View.Sender), SENDER_LIMIT).c_str());
        SetDlgItemTextW(hWnd, ID_SUBJECT, Cut(WideText(View.Subject), SUBJECT_LIMIT).c_str());
        BUTTON(hWnd, ID_HEADER)
            .SetState(
                REGISTRY(WINDOW_COMPANY, Product.Text(), ROOT_CURRENT_USER).Read(SHOWS_HEADER).View().starts_with('1'));
        CONTROL button(hWnd, VIEWER_DELETE);
        button.SetTitle(DeleteLabel);
        button.Show(DeleteLabel.Length() > 0 ? SW_SHOW : SW_HIDE);
        Size = ClientRect();
        TakeIconsOf(Owner().hWnd);
        COLORS::SetFrame(hWnd);
        ShowText();
        CONTROL(hWnd, ID_TEXT).SetFocus();
        Center(Owner().hWnd);
    }

    void ShowText() {
        const STRING& body = BUTTON(hWnd, ID_RAW).IsChecked() ? View.Body : View.Readable;
        const bool header = BUTTON(hWnd, ID_HEADER).IsChecked();
        // The control takes a text in one go, however long it is.
        SetDlgItemTextW(hWnd, ID_TEXT, Lines((header ? View.Header || "\r\n\r\n" || body : body).View()).c_str());
    }

    bool OnCommand(int control, int code) {
        if (code != BN_CLICKED)
            return false;
        switch (control) {
            case ID_HEADER:
            case ID_RAW:
                ShowText();
                return true;
            case IDOK:
            case VIEWER_DELETE:
                // A box that does not keep its state shows the header no less.
                (void)REGISTRY(WINDOW_COMPANY, Product.Text(), ROOT_CURRENT_USER)
                    .Write(SHOWS_HEADER, BUTTON(hWnd, ID_HEADER).IsChecked() ? "1" : "0");
                End(control);
                return true;
            default:
                return false;
        }
    }

    void Follow() {
        const RECT now = ClientRect();
        const LONG wider = now.right - Size.right, higher = now.bottom - Size.bottom;
        if (Size.right == 0 || now.right == 0)
            return;
        for (const FOLLOWER& follower : FOLLOWERS) {
            CONTROL control(hWnd, follower.Id);
            const RECT place = control.Rect();
            control.Move(place.left + (follower.Moves ? wider : 0), place.top + (follower.MovesDown ? higher : 0),
                         place.right - place.left + (follower.Widens ? wider : 0),
                         place.bottom - place.top + (follower.Heightens ? higher : 0));
        }
        Size = now;
    }

    const MAILVIEW& View;
    const STRING DeleteLabel, Product;
    RECT Size{};  // of the client area, for which the controls are placed
};

}  // namespace

int ShowMail(HWND parent, const STRINGARRAY& record, const STRING& deleteLabel, const TEXTS& texts) {
    const MAILVIEW view = ViewOf(record, texts);
    VIEWER viewer(view, deleteLabel, texts.Get(TEXT_PRODUCT));
    return viewer.Run(parent);
}
