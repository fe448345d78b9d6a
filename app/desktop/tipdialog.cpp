#include "app/core/tips.h"
#include "app/desktop/dialogs.h"
#include "corelib/window/controls.h"
#include "corelib/window/messages.h"

namespace {

constexpr int ID_TIP = 290, ID_NEXT = 101, ID_BY_ITSELF = 241;

class TIPDIALOG : public DATADIALOG {
 public:
    TIPDIALOG(const DIALOGPARTS& parts, TIPS& tips)
        : DATADIALOG(DIALOG_TIP, parts.Parent), Context(parts), Source(tips) {}

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_INITDIALOG) {
            DATADIALOG::WinProc(message, first, second);
            BUTTON(hWnd, ID_BY_ITSELF).SetState(Source.ComesByItself());
            ShowNext();
            // A screen reader begins with the tip; and nothing of it is selected.
            SetFocus(GetDlgItem(hWnd, ID_TIP));
            SendDlgItemMessageW(hWnd, ID_TIP, EM_SETSEL, 0, 0);
            return 0;
        }
        if (message == WM_COMMAND && HIWORD(first) == BN_CLICKED && LOWORD(first) == ID_NEXT) {
            ShowNext();
            return 0;
        }
        if (message == WM_COMMAND && HIWORD(first) == BN_CLICKED && LOWORD(first) == ID_BY_ITSELF)
            Source.SetComesByItself(BUTTON(hWnd, ID_BY_ITSELF).IsChecked());
        return DATADIALOG::WinProc(message, first, second);
    }

 protected:
    STRING Tip(int control) const override { return HelpOf(Context.Texts, DIALOG_TIP, control); }

 private:
    void ShowNext() {
        SetControlText(ID_TIP, Source.Next());
        NotifyWinEvent(EVENT_OBJECT_VALUECHANGE, GetDlgItem(hWnd, ID_TIP), OBJID_CLIENT, CHILDID_SELF);
    }

    const DIALOGPARTS& Context;
    TIPS& Source;
};

}  // namespace

void ShowTips(const DIALOGPARTS& parts, TIPS& tips) {
    (void)TIPDIALOG(parts, tips).Run();
}
