#include "app/desktop/itemdialog.h"

#include <algorithm>
#include <iterator>

#include "app/mailbox/mailboxes.h"
#include "corelib/base/trace.h"
#include "corelib/window/datadialog.h"
#include "corelib/window/messages.h"

namespace {

constexpr int DIALOG_ITEM = 2030;
constexpr int ID_NAME = 201, ID_MINUTES = 202, ID_SECONDS = 203, ID_SERVER = 204, ID_USER = 205, ID_PASSWORD = 206,
              ID_KIND = 401;
constexpr int ID_SERVER_LABEL = 284, ID_USER_LABEL = 285, ID_PASSWORD_LABEL = 286;

constexpr int LAST_WEBMAIL_TYPE = 5;  // 4 and 5 were kinds of web mail once
constexpr int WEBMAIL_MIN_SECONDS = 60;
constexpr int MAX_MINUTES = 1440;

STRING Decimal(int number) {
    STRING text;
    text.Format("%d", number);
    return text;
}

bool IsWebMail(int type) {
    return type >= ITEMTYPE_HOTMAIL && type <= LAST_WEBMAIL_TYPE;
}

/// An account as the dialog shows it.
struct ITEMFORM {
    explicit ITEMFORM(const STRINGARRAY& record);
    /// Into the record; true if the period had to be raised.
    bool Write(STRINGARRAY& record) const;

    STRING Name, Server, User, Password, Minutes, Seconds;
    STRING Kind;             // index into Types
    std::vector<int> Types;  // that can be chosen
};

ITEMFORM::ITEMFORM(const STRINGARRAY& record) : Types{ITEMTYPE_POP3, ITEMTYPE_IMAP, ITEMTYPE_HOTMAIL} {
    int type = record.GetNumber("Type");
    if (!ASSERTION(type >= ITEMTYPE_MAPI && type <= LAST_WEBMAIL_TYPE, "FALSE"))
        type = ITEMTYPE_POP3;
    const STRING source = record.Get("Source");
    if (type == ITEMTYPE_POP3 || type == ITEMTYPE_IMAP)
        Server = source.Word(0, "|", WORD_NEVERNULL);
    if (type != ITEMTYPE_MAPI)
        User = source.Word(1, "|", WORD_NEVERNULL);
    else
        Types.push_back(ITEMTYPE_MAPI);  // it can stay what it is
    const auto found = std::find(Types.begin(), Types.end(), IsWebMail(type) ? ITEMTYPE_HOTMAIL : type);
    Kind = Decimal(static_cast<int>(found - Types.begin()));
    Name = record.Get("Name");
    Password = record.Get("Source2");
    const int period = std::max(record.GetNumber("TimingCyclic"), 0);
    Minutes = Decimal(period / 60);
    Seconds = Decimal(period % 60);
}

bool ITEMFORM::Write(STRINGARRAY& record) const {
    const int type = Types[static_cast<size_t>(atoi(Kind))];
    int period = atoi(Seconds) + atoi(Minutes) * 60;
    const bool raised = IsWebMail(type) && period > 0 && period < WEBMAIL_MIN_SECONDS;
    if (raised)
        period = WEBMAIL_MIN_SECONDS;
    STRING password = type == ITEMTYPE_MAPI ? STRING("") : Password;
    password.SetFlags(password.GetFlags() | STRINGFLAG_BINARY);
    record.Set("Name", Name);
    record.SetNumber("Type", type);
    record.Set("Source",
               type == ITEMTYPE_MAPI ? STRING("mapi|") : (IsWebMail(type) ? STRING("hotmail") : Server) || "|" || User);
    record.Set("Source2", password);
    record.SetNumber("TimingCyclic", period);
    return raised;
}

class ITEMDIALOG : public DATADIALOG {
 public:
    ITEMDIALOG(HWND parent, const TEXTS& texts, ITEMFORM& form);

 protected:
    STRING Complaint(int& control) const override;

 private:
    STRING KindName(int type) const { return Texts.Part(TEXT_KINDS, type); }

    const TEXTS& Texts;
};

ITEMDIALOG::ITEMDIALOG(HWND parent, const TEXTS& texts, ITEMFORM& form)
    : DATADIALOG(DIALOG_ITEM, parent), Texts(texts) {
    std::vector<STRING> kinds;
    for (const int type : form.Types)
        kinds.push_back(KindName(type));
    Add<DATAEDIT>(ID_NAME, form.Name, 64);
    Add<DATALIST>(ID_KIND, form.Kind, kinds);
    Add<DATAEDIT>(ID_SERVER, form.Server, 64);
    Add<DATAEDIT>(ID_USER, form.User, 64);
    Add<DATAEDIT>(ID_PASSWORD, form.Password, 32);
    Add<DATANUMBER>(ID_MINUTES, form.Minutes, 0, MAX_MINUTES);
    Add<DATANUMBER>(ID_SECONDS, form.Seconds, 0, 59);

    for (const int control : {ID_SERVER_LABEL, ID_SERVER})
        Disable(control, ID_KIND, RULE_EQUALS, KindName(ITEMTYPE_HOTMAIL));
    for (const int control : {ID_SERVER_LABEL, ID_SERVER, ID_USER_LABEL, ID_USER, ID_PASSWORD_LABEL, ID_PASSWORD})
        Disable(control, ID_KIND, RULE_EQUALS, KindName(ITEMTYPE_MAPI));
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
