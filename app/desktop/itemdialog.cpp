#include <initializer_list>
#include <memory>

#include "app/check/trylogin.h"
#include "app/desktop/dialogs.h"
#include "app/dialogs/background.h"
#include "app/dialogs/itemform.h"
#include "app/dialogs/logintest.h"
#include "app/mailbox/mapistore.h"
#include "corelib/window/controls.h"
#include "corelib/window/messages.h"

namespace {

constexpr int ID_NAME = 201, ID_KIND = 401, ID_SERVER = 204, ID_USER = 205, ID_PASSWORD = 206, ID_TEST = 101,
              ID_WEBMAIL = 280, ID_OTHER_FOLDER = 247, ID_FOLDER = 207, ID_SECURITY = 402, ID_CERTIFICATE = 208,
              ID_PUSH = 248;
constexpr int ID_FILTER = 249, ID_MOVE = 243, ID_SPAM_FOLDER = 203;
constexpr UINT WM__TESTED = WM_APP + 1;

std::vector<STRING> KindNames(const TEXTS& texts, const ITEMFORM& form) {
    std::vector<STRING> names;
    for (const MAILBOXKIND* kind : form.Kinds)
        names.push_back(texts.Part(TEXT_KINDS, kind->Name));
    return names;
}

/// What is wrong in a field; null if nothing is, or it does not matter.
STRING FieldFault(const FORMPAGE& page, int control, int (*faultOf)(const STRING& text)) {
    const bool matters = IsWindowEnabled(GetDlgItem(page.hWnd, control));
    const int fault = matters ? faultOf(page.ControlText(control)) : 0;
    return fault != 0 ? page.Parts().Texts.Get(fault) : STRING();
}

/// What a kind needs besides a record.
void BeginSession(const DIALOGPARTS& parts, const MAILBOXKIND& kind) {
    if (kind.HasSession && parts.Mapi)
        parts.Mapi->Begin();
}

/// The page of the mailbox, on which a login can be tried.
class MAILBOXPAGE : public FORMPAGE {
 public:
    MAILBOXPAGE(const DIALOGPARTS& parts, ITEMFORM& form, const STRINGARRAY& record, const STRINGARRAY& settings)
        : FORMPAGE(parts, PAGE_ITEM_MAILBOX, form.Values, {{ID_KIND, KindNames(parts.Texts, form)}}),
          Form(form),
          Record(record),
          Settings(settings) {
        AddAction<MAILBOXPAGE, &MAILBOXPAGE::BeginTest>(ID_TEST);
        SetCheck([](const FORMPAGE& page, int& control) { return Fault(page, control); });
        SetResultFields({ID_KIND, ID_SERVER, ID_USER, ID_PASSWORD});
    }

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM__TESTED && Test) {
            Test.reset();
            ShowOutcome(Outcome);
            EnableWindow(GetDlgItem(hWnd, ID_TEST), TRUE);
            AskForTrust();
            return 0;
        }
        if (message == WM_DESTROY)
            Test.reset();
        return FORMPAGE::WinProc(message, first, second);
    }

 private:
    static STRING Fault(const FORMPAGE& page, int& control) {
        control = ID_KIND;
        if (LISTBOX(page.hWnd, ID_KIND).Selected() == -1) {
            const bool entered = page.ControlText(ID_SERVER).Length() > 0 || page.ControlText(ID_USER).Length() > 0;
            return entered ? page.Parts().Texts.Get(TEXT_NO_KIND) : STRING();
        }
        control = ID_SERVER;
        STRING fault = FieldFault(page, control, ServerFault);
        if (fault.NotNull())
            return fault;
        control = ID_USER;
        return FieldFault(page, control, [](const STRING& text) { return EntryFault(text, TEXT_NO_USER); });
    }

    void BeginTest() {
        int control = 0;
        STRING fault = Fault(*this, control);
        // Without a kind an account can be kept, and not be tried.
        if (!fault.NotNull() && control == ID_KIND)
            fault = Parts().Texts.Get(TEXT_NO_KIND);
        if (fault.NotNull()) {
            ShowError(hWnd, fault, Parts().Texts.Get(TEXT_TITLE));
            SetFocus(GetDlgItem(hWnd, control));
            return;
        }
        // As the controls are now; the form has what OK will store.
        ITEMFORM form = Form;
        form.Values.SetNumber("Type.Kind", LISTBOX(hWnd, ID_KIND).Selected());
        form.Values.Set("Source.Server", ControlText(ID_SERVER));
        form.Values.Set("Source.User", ControlText(ID_USER));
        form.Values.Set("Source2", ControlText(ID_PASSWORD));
        form.Values.Set("TrustedCertificate", ControlText(ID_CERTIFICATE));
        if (const int security = LISTBOX(hWnd, ID_SECURITY).Selected(); security != form.Values.GetNumber("Security"))
            form.Values.SetNumber("Security", security);
        STRINGARRAY record = Record;
        (void)form.Write(record);
        BeginSession(Parts(), form.Kind());
        ShowOutcome(Parts().Texts.Get(TEXT_LOGGING_IN));
        // The keyboard must not be left on it.
        SetFocus(GetDlgItem(hWnd, ID_PASSWORD));
        EnableWindow(GetDlgItem(hWnd, ID_TEST), FALSE);
        Test = std::make_unique<BACKGROUND>(
            [this, record, settings = Settings](const STOPQUESTION& stopAsked) {
                Outcome = LoginOutcome(record, settings, Parts().Texts, stopAsked, Certificate, Parts().Mapi);
            },
            [window = hWnd] { PostMessageW(window, WM__TESTED, 0, 0); });
    }

    void ShowOutcome(const STRING& text) {
        const HWND result = GetDlgItem(hWnd, ID_RESULT);
        SetWindowLongW(result, GWL_STYLE, GetWindowLongW(result, GWL_STYLE) | WS_TABSTOP);
        ShowResult(text);
    }

    ITEMFORM& Form;
    const STRINGARRAY& Record;
    const STRINGARRAY& Settings;
    // Whoever tries the login is there to be asked.
    void AskForTrust() {
        if (Certificate.Length() == 0 ||
            !AskYesNo(hWnd, TrustQuestion(Parts().Texts, Outcome), Parts().Texts.Get(TEXT_TITLE), true))
            return;
        SetControlText(ID_CERTIFICATE, Certificate);
        BeginTest();
    }

    STRING Outcome, Certificate;
    std::unique_ptr<BACKGROUND> Test;
};

/// The page of programs and spam. Which folders the local message store has is known once there is a session, which
/// begins when the user asks for them; on a server it is the user who knows.
class MOREPAGE : public FORMPAGE {
 public:
    MOREPAGE(const DIALOGPARTS& parts, ITEMFORM& form, const FORMPAGE& mailbox)
        : FORMPAGE(parts, PAGE_ITEM_MORE, form.Values), Form(form), Mailbox(mailbox) {
        AddBrowse(102, 204, TEXT_PROGRAM_FILES, "*.exe");
    }

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_COMMAND && first == MAKEWPARAM(ID_SPAM_FOLDER, CBN_DROPDOWN))
            OfferFolders();
        if (message == WM_TIMER && first == FOLDERS_TIMER) {
            KillTimer(hWnd, FOLDERS_TIMER);
            const HWND field = GetDlgItem(hWnd, ID_SPAM_FOLDER);
            if (SendMessageW(field, CB_GETDROPPEDSTATE, 0, 0) && OfferFolders())
                // It has the height that it was opened with.
                for (const WPARAM open : {FALSE, TRUE})
                    SendMessageW(field, CB_SHOWDROPDOWN, open, 0);
            return 0;
        }
        return FORMPAGE::WinProc(message, first, second);
    }

 private:
    /// True if it has changed what is offered. It goes on looking while there is nothing.
    bool OfferFolders() {
        const int chosen = LISTBOX(Mailbox.hWnd, ID_KIND).Selected();
        std::vector<STRING> names;
        if (chosen != -1 && Form.Kinds[static_cast<size_t>(chosen)]->HasSession && Parts().Mapi) {
            Parts().Mapi->Begin();
            names = Parts().Mapi->FolderNames();
            if (names.empty())
                SetTimer(hWnd, FOLDERS_TIMER, FOLDERS_LOOK_MS, nullptr);
        }
        if (names == Offered)
            return false;
        LISTBOX list(hWnd, ID_SPAM_FOLDER);
        // The list takes what was typed along.
        const STRING typed = ControlText(ID_SPAM_FOLDER);
        list.Clear();
        for (const STRING& name : names)
            list.Add(name);
        SetControlText(ID_SPAM_FOLDER, typed);
        Offered = std::move(names);
        return true;
    }

    static constexpr UINT_PTR FOLDERS_TIMER = 1;
    static constexpr UINT FOLDERS_LOOK_MS = 200;
    const ITEMFORM& Form;
    const FORMPAGE& Mailbox;
    std::vector<STRING> Offered;
};

// What a kind of mailbox does not have is not there to be filled in.
void AddKindRules(const DIALOGPARTS& parts, const ITEMFORM& form, FORMPAGE& mailbox, FORMPAGE& more) {
    const std::vector<STRING> names = KindNames(parts.Texts, form);
    for (size_t i = 0; i < names.size(); ++i) {
        const MAILBOXKIND& kind = *form.Kinds[i];
        const auto disable = [&](FORMPAGE& page, std::initializer_list<int> controls) {
            for (const int control : controls)
                for (const int target : {control, LabelOf(control)})
                    page.Disable(target, mailbox, ID_KIND, RULE_EQUALS, names[i]);
        };
        if (!kind.HasServer())
            disable(mailbox, {ID_SERVER, ID_SECURITY, ID_CERTIFICATE});
        if (!kind.HasUser)
            disable(mailbox, {ID_USER, ID_PASSWORD});
        if (!kind.HasFolders)
            disable(mailbox, {ID_OTHER_FOLDER, ID_FOLDER});
        if (!kind.CanPush)
            disable(mailbox, {ID_PUSH});
        if (!kind.IsFiltered)
            disable(more, {ID_FILTER});
        if (!kind.CanMove)
            disable(more, {ID_MOVE, ID_SPAM_FOLDER});
        if (kind.MinSeconds > 0)
            mailbox.Disable(ID_WEBMAIL, ID_KIND, RULE_DIFFERS | RULE_HIDES, names[i]);
    }
}

}  // namespace

bool EditItem(const DIALOGPARTS& parts, STRINGARRAY& record, const STRINGARRAY& settings) {
    ITEMFORM form(record);
    FORMDIALOG dialog(parts, DIALOG_ITEM);
    const auto title = [&](int n) { return parts.Texts.Part(TEXT_ITEM_PAGES, n); };
    FORMPAGE& general = dialog.AddForm(title(0), std::make_unique<FORMPAGE>(parts, PAGE_ITEM_GENERAL, form.Values));
    general.SetCheck([](const FORMPAGE& page, int& control) {
        control = ID_NAME;
        return FieldFault(page, control, [](const STRING& text) { return EntryFault(text, TEXT_NO_NAME, true); });
    });
    FORMPAGE& mailbox = dialog.AddForm(title(1), std::make_unique<MAILBOXPAGE>(parts, form, record, settings));
    FORMPAGE& more = dialog.AddForm(title(2), std::make_unique<MOREPAGE>(parts, form, mailbox));
    AddKindRules(parts, form, mailbox, more);
    for (const int target : {ID_CERTIFICATE, LabelOf(ID_CERTIFICATE)})
        mailbox.Disable(target, ID_SECURITY, RULE_EQUALS, parts.Texts.Part(TEXT_SECURITIES, SECURITY_NONE));
    if (!dialog.Run())
        return false;
    BeginSession(parts, form.Kind());
    if (form.Write(record))
        ShowInfo(parts.Parent, parts.Texts.Get(TEXT_PERIOD_RAISED), parts.Texts.Get(TEXT_TITLE));
    return true;
}
