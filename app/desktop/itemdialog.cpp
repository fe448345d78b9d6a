#include "app/desktop/itemdialog.h"

#include <algorithm>
#include <initializer_list>

#include "app/mailbox/account.h"
#include "corelib/base/trace.h"
#include "corelib/window/datadialog.h"
#include "corelib/window/messages.h"

namespace {

constexpr int DIALOG_ITEM = 2030;
constexpr int ID_NAME = 201, ID_MINUTES = 202, ID_SECONDS = 203, ID_SERVER = 204, ID_USER = 205, ID_PASSWORD = 206,
              ID_KIND = 401;
constexpr int ID_SERVER_LABEL = 284, ID_USER_LABEL = 285, ID_PASSWORD_LABEL = 286;

constexpr int MAX_MINUTES = 1440;

STRING Decimal(int number) {
    STRING text;
    text.Format("%d", number);
    return text;
}

/// An account as the dialog shows it.
struct ITEMFORM {
    explicit ITEMFORM(const STRINGARRAY& record);
    /// Into the record; true if the period had to be raised.
    bool Write(STRINGARRAY& record) const;

    STRING Name, Server, User, Password, Minutes, Seconds;
    STRING Kind;                            // index into Kinds
    std::vector<const MAILBOXKIND*> Kinds;  // that can be chosen
};

ITEMFORM::ITEMFORM(const STRINGARRAY& record) {
    const MAILBOXKIND* kind = &MAILACCOUNT::Kind(record);
    if (kind->Successor != -1)
        kind = &KindOf(kind->Successor);
    if (!ASSERTION(kind->Handler, "FALSE"))
        kind = &KindOf(ITEMTYPE_POP3);
    for (const MAILBOXKIND& other : AllKinds())
        if (other.Scheme)
            Kinds.push_back(&other);
    if (!kind->Scheme)
        Kinds.push_back(kind);  // it can stay what it is
    Kind = Decimal(static_cast<int>(std::ranges::find(Kinds, kind) - Kinds.begin()));
    const MAILADDRESS address = MAILACCOUNT::Address(record);
    Server = address.Server;
    User = address.User;
    Name = record.Get("Name");
    Password = MAILACCOUNT::Password(record);
    const int period = std::max(record.GetNumber("TimingCyclic"), 0);
    Minutes = Decimal(period / 60);
    Seconds = Decimal(period % 60);
}

bool ITEMFORM::Write(STRINGARRAY& record) const {
    const MAILBOXKIND& kind = *Kinds[static_cast<size_t>(atoi(Kind))];
    int period = atoi(Seconds) + atoi(Minutes) * 60;
    const bool raised = period > 0 && period < kind.MinSeconds;
    if (raised)
        period = kind.MinSeconds;
    record.Set("Name", Name);
    MAILACCOUNT::SetAddress(record, {kind.Type, User, Server}, Password);
    record.SetNumber("TimingCyclic", period);
    return raised;
}

class ITEMDIALOG : public DATADIALOG {
 public:
    ITEMDIALOG(HWND parent, const TEXTS& texts, ITEMFORM& form);

 protected:
    STRING Complaint(int& control) const override;

 private:
    const TEXTS& Texts;
};

ITEMDIALOG::ITEMDIALOG(HWND parent, const TEXTS& texts, ITEMFORM& form)
    : DATADIALOG(DIALOG_ITEM, parent), Texts(texts) {
    std::vector<STRING> names;
    for (const MAILBOXKIND* kind : form.Kinds)
        names.push_back(Texts.Part(TEXT_KINDS, kind->Name));
    Add<DATAEDIT>(ID_NAME, form.Name, 64);
    Add<DATALIST>(ID_KIND, form.Kind, names);
    Add<DATAEDIT>(ID_SERVER, form.Server, 64);
    Add<DATAEDIT>(ID_USER, form.User, 64);
    Add<DATAEDIT>(ID_PASSWORD, form.Password, 32);
    Add<DATANUMBER>(ID_MINUTES, form.Minutes, 0, MAX_MINUTES);
    Add<DATANUMBER>(ID_SECONDS, form.Seconds, 0, 59);

    for (size_t i = 0; i < names.size(); ++i) {
        const auto disable = [&](std::initializer_list<int> controls) {
            for (const int control : controls)
                Disable(control, ID_KIND, RULE_EQUALS, names[i]);
        };
        if (!form.Kinds[i]->HasServer())
            disable({ID_SERVER_LABEL, ID_SERVER});
        if (!form.Kinds[i]->HasUser)
            disable({ID_USER_LABEL, ID_USER, ID_PASSWORD_LABEL, ID_PASSWORD});
    }
}

STRING ITEMDIALOG::Complaint(int& control) const {
    const struct {
        int Control;
        int Empty;
        bool MayHaveBar;
    } fields[] = {{ID_NAME, TEXT_NO_NAME, true}, {ID_SERVER, TEXT_NO_SERVER, false}, {ID_USER, TEXT_NO_USER, false}};
    for (const auto& field : fields) {
        control = field.Control;
        const STRING text = ControlText(control);
        if (!IsWindowEnabled(GetDlgItem(hWnd, control)))
            continue;
        STRING stripped = text;
        stripped.Strip('B', " \t");
        if (stripped.Length() == 0)
            return Texts.Get(field.Empty);
        // It splits the two in the record.
        if (!field.MayHaveBar && text.Pos('|') != -1)
            return Texts.Get(TEXT_BAR);
    }
    return {};
}

}  // namespace

bool EditItem(HWND parent, const TEXTS& texts, STRINGARRAY& record) {
    ITEMFORM form(record);
    if (!ITEMDIALOG(parent, texts, form).Run())
        return false;
    for (STRING* text : {&form.Name, &form.Server, &form.User})
        text->Strip('B', " \t");
    if (form.Write(record))
        ShowInfo(parent, texts.Get(TEXT_PERIOD_RAISED), texts.Get(TEXT_TITLE));
    return true;
}
