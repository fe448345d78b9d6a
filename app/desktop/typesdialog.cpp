#include "app/desktop/dialogs.h"
#include "app/dialogs/itemform.h"
#include "app/dialogs/typesform.h"
#include "corelib/window/controls.h"
#include "corelib/window/messages.h"

namespace {

constexpr int ID_LIST = 401, ID_NEW = 201, ID_ADD = 101, ID_DELETE = 102, ID_EDIT = 103, ID_UP = 105, ID_DOWN = 106;
constexpr int ID_NAME = 201;

/// The list of types, over a copy of their table.
class TYPESDIALOG : public DATADIALOG {
 public:
    TYPESDIALOG(const DIALOGPARTS& parts, const RECORDARRAY& types)
        : DATADIALOG(DIALOG_TYPES, parts.Parent), Context(parts), Form(types) {}

    const RECORDARRAY& Types() const { return Form.Types; }

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_INITDIALOG) {
            SendDlgItemMessageW(hWnd, ID_NEW, EM_LIMITTEXT, NAME_LIMIT, 0);
            Fill(0);
        } else if (message == WM_COMMAND && OnCommand(LOWORD(first), HIWORD(first))) {
            return 0;
        }
        return DATADIALOG::WinProc(message, first, second);
    }

 protected:
    STRING Tip(int control) const override { return HelpOf(Context.Texts, DIALOG_TYPES, control); }

 private:
    static constexpr WPARAM NAME_LIMIT = 128;

    // True if the message ends here.
    bool OnCommand(int control, int code) {
        if (control == ID_LIST && code == LBN_DBLCLK) {
            Edit();
            return true;
        }
        if (control == ID_LIST && code == LBN_SELCHANGE)
            ShowPossible();
        // Enter adds what has just been typed.
        if (control == ID_NEW && (code == EN_SETFOCUS || code == EN_KILLFOCUS))
            SendMessageW(hWnd, DM_SETDEFID, code == EN_SETFOCUS ? ID_ADD : IDOK, 0);
        if (code != BN_CLICKED)
            return false;
        switch (control) {
            case ID_ADD:
                AddType();
                return true;
            case ID_DELETE:
                Delete();
                return true;
            case ID_EDIT:
                Edit();
                return true;
            case ID_UP:
                Fill(Form.Move(Selected(), -1));
                return true;
            case ID_DOWN:
                Fill(Form.Move(Selected(), 1));
                return true;
            default:
                return false;
        }
    }

    int Selected() const { return LISTBOX(hWnd, ID_LIST).Selected(); }

    void Fill(int selected) {
        LISTBOX list(hWnd, ID_LIST);
        list.Clear();
        for (int i = 0; i < Form.Types.Count(); ++i)
            list.Add(Form.Types[i].Get("Name"));
        list.Select(std::min(selected, Form.Types.Count() - 1));
        ShowPossible();
    }

    void ShowPossible() {
        const int selected = Selected();
        const std::pair<int, bool> table[] = {{ID_DELETE, selected >= 0},
                                              {ID_EDIT, selected >= 0},
                                              {ID_UP, selected > 0},
                                              {ID_DOWN, selected >= 0 && selected < Form.Types.Count() - 1}};
        for (const auto& [control, possible] : table) {
            const HWND button = GetDlgItem(hWnd, control);
            // Or the keyboard would be nowhere.
            if (!possible && GetFocus() == button)
                SendMessageW(hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(hWnd, ID_LIST)), TRUE);
            EnableWindow(button, possible);
        }
    }

    void AddType() {
        int message = 0;
        const int place = Form.Add(ControlText(ID_NEW), message);
        if (place == -1) {
            ShowError(hWnd, Context.Texts.Get(message), Context.Texts.Get(TEXT_TITLE));
            SetFocus(GetDlgItem(hWnd, ID_NEW));
            return;
        }
        SetControlText(ID_NEW, "");
        Fill(place);
    }

    void Delete() {
        const int place = Selected();
        if (place == -1)
            return;
        STRING question = Context.Texts.Get(TEXT_DELETE_ONE);
        question.Replace("$(n)", Form.Types[place].Get("Name").Text());
        if (!AskYesNo(hWnd, question, Context.Texts.Get(TEXT_TITLE), true))
            return;
        Form.Delete(place);
        Fill(place);
    }

    void Edit() {
        const int place = Selected();
        if (place != -1 && EditType({hWnd, Context.Texts, Context.Programs}, Form.Types, place))
            Fill(place);
    }

    const DIALOGPARTS Context;
    TYPESFORM Form;
};

}  // namespace

bool EditTypes(const DIALOGPARTS& parts, RECORDARRAY& types) {
    TYPESDIALOG dialog(parts, types);
    if (!dialog.Run())
        return false;
    types = dialog.Types();
    return true;
}

bool EditType(const DIALOGPARTS& parts, RECORDARRAY& types, int place) {
    STRINGARRAY form = types[place];
    FORMPAGE dialog(parts, DIALOG_TYPE, form);
    dialog.AddSound(204, 104, 114, 244);
    dialog.SetCheck([&](const FORMPAGE& page, int& control) {
        control = ID_NAME;
        const int fault = TYPESFORM::NameFault(types, page.ControlText(ID_NAME), place);
        return fault != 0 ? page.Parts().Texts.Get(fault) : STRING();
    });
    if (!dialog.Run())
        return false;
    // A stored one may have blanks around it.
    if (form.Get("Name") != types[place].Get("Name"))
        form.Set("Name", Stripped(form.Get("Name")));
    types[place] = form;
    return true;
}
