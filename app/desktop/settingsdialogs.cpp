#include "app/core/commands.h"
#include "app/core/datadir.h"
#include "app/desktop/dialogs.h"
#include "app/dialogs/itemform.h"
#include "corelib/window/datapush.h"
#include "corelib/window/messages.h"

namespace {

/// Messages over the dialog that has something to say.
class DIALOGMESSAGES : public FRONTEND {
 public:
    explicit DIALOGMESSAGES(HWND window) : Window(window) {}
    void ShowMessage(const STRING& title, const STRING& text) override { ShowInfo(Window, text, title); }

 private:
    HWND Window;
};

STRING PushProxy(const STRING& value, const PUSHARGUMENT&, DATADIALOG& dialog) {
    DIALOGMESSAGES messages(dialog.hWnd);
    ShowProxyInfo(messages, static_cast<FORMPAGE&>(dialog).Parts().Texts);
    return value;
}

// A copy is edited: other threads read the settings meanwhile.
bool RunOver(FORMDIALOG& dialog, STRINGARRAY& state, const STRINGARRAY& before, const STRINGARRAY& form) {
    if (!dialog.Run())
        return false;
    StoreChanges(state, before, form);
    return true;
}

}  // namespace

bool EditOptions(const DIALOGPARTS& parts, STRINGARRAY& state, const STRING& dialEntries, int page) {
    const STRINGARRAY before = state;
    STRINGARRAY form = before;
    FORMDIALOG dialog(parts, DIALOG_OPTIONS);
    int shown = 0;
    const auto add = [&](int number, const FORMPAGE::LISTS& lists = {}) -> FORMPAGE& {
        FORMPAGE& added = dialog.AddForm(parts.Texts.Part(TEXT_OPTION_PAGES, shown++),
                                         std::make_unique<FORMPAGE>(parts, number, form, lists));
        if (number == page)
            dialog.BeginWith(added);
        return added;
    };
    add(PAGE_OPTIONS_PROGRAM);
    add(PAGE_OPTIONS_NOTICE).AddSound(204, 104, 114, 241);
    add(PAGE_OPTIONS_POPUP);
    add(PAGE_OPTIONS_MAILPROGRAM).AddBrowse(102, 202, TEXT_PROGRAM_FILES, "*.exe");
    add(PAGE_OPTIONS_CONNECTION, {{401, SplitParts(dialEntries)}}).AddPush(101, PushProxy, {});
    return RunOver(dialog, state, before, form);
}

bool EditSpamSettings(const DIALOGPARTS& parts, STRINGARRAY& state, bool lists, bool expert, bool canAskDns) {
    const STRINGARRAY before = state;
    STRINGARRAY form = before;
    FORMDIALOG dialog(parts, DIALOG_SPAM);
    if (expert)
        dialog.SetTitleEnd(parts.Texts.Part(TEXT_SPAM_TITLES, 1));
    const auto add = [&](int number, int title) -> FORMPAGE& {
        return dialog.AddForm(parts.Texts.Part(TEXT_SPAM_PAGES, title),
                              std::make_unique<FORMPAGE>(parts, number, form));
    };
    FORMPAGE& points = add(PAGE_SPAM_POINTS, 3);
    for (const int control : {242, 202, LabelOf(202), UnitOf(202), 243, 203, LabelOf(203), UnitOf(203)})
        if (!expert)
            points.Withdraw(control, true);
    if (lists) {
        add(PAGE_SPAM_WORDS, 2).AddOpen(105, 205, false);
        add(PAGE_SPAM_INTERESTS, 1).AddOpen(101, 201, false);
        add(PAGE_SPAM_RECIPIENTS, 6);
    }
    if (expert) {
        FORMPAGE& senders = add(PAGE_SPAM_SENDERS, 5);
        for (const int control : {246, 242, 202, LabelOf(202), UnitOf(202), 204, LabelOf(204)})
            if (!canAskDns)
                senders.Withdraw(control, false);
        FORMPAGE& files = add(PAGE_SPAM_FILES, 7);
        files.AddBrowse(102, 202, TEXT_DATA_FILES, "*.dat");
        files.AddOpen(101, 202, true);
        files.AddBrowse(103, 203, TEXT_DATA_FILES, "*.dat");
        files.AddOpen(104, 203, true);
        FORMPAGE& sending = add(PAGE_SPAM_SENDING, 4);
        sending.AddBrowse(107, 207, TEXT_DATA_FILES, "*.dat");
        sending.AddBrowse(105, 205, TEXT_DATA_FILES, "*.dat");
    }
    return RunOver(dialog, state, before, form);
}

bool EditDataDir(const DIALOGPARTS& parts, const STRING& product, const STRING& current) {
    constexpr int ID_FOLDER = 201;
    const STRING wanted = WantedDataDir(product.Text());
    const STRING before = wanted.Length() > 0 ? wanted : current;
    STRINGARRAY form(1, 1);
    form["ApplicationDataDir"] = before;
    FORMPAGE dialog(parts, DIALOG_DATADIR, form);
    dialog.AddPush(102, PushFolder, {ID_FOLDER, ""});
    dialog.AddPush(101, PushOpenText, {ID_FOLDER, ""});
    dialog.SetCheck([&](const FORMPAGE& page, int& control) {
        control = ID_FOLDER;
        const STRING folder = page.ControlText(ID_FOLDER);
        return folder == before ? STRING() : DataDirFault(parts.Texts, folder, current);
    });
    if (!dialog.Run())
        return false;
    const STRING folder = form.Get("ApplicationDataDir");
    if (folder == before)
        return true;
    const bool moves = folder != current;
    const bool files = moves && AskYesNo(parts.Parent, parts.Texts.Get(TEXT_MOVE_FILES), parts.Texts.Get(TEXT_PRODUCT));
    if (!RequestDataDir(product.Text(), current, folder, files))
        ShowError(parts.Parent, DataDirText(parts.Texts, TEXT_SETTINGS_NOT_SAVED, current),
                  parts.Texts.Get(TEXT_PRODUCT));
    else if (moves)
        ShowInfo(parts.Parent, parts.Texts.Get(TEXT_MOVE_NEXT_START), parts.Texts.Get(TEXT_PRODUCT));
    return true;
}
