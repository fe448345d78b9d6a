// The main window's dealings with the dialogs of accounts and settings.
#include <utility>
#include <vector>

#include "app/check/dialup.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/dialogs.h"
#include "app/desktop/inbox.h"
#include "app/desktop/mainwindow.h"
#include "app/filter/spamfilter.h"
#include "app/mailbox/account.h"
#include "corelib/net/mxlookup.h"
#include "corelib/window/messages.h"

namespace {

/// An account is edited, and not checked meanwhile.
class ITEMLOCK {
 public:
    ITEMLOCK(CHECKCYCLE& cycle, STRINGARRAY& item)
        : Cycle(cycle), Item(item), Held(cycle.SetItemState(item, ITEMSTATE_LOCKED, 1)) {}
    ~ITEMLOCK() {
        if (Held)
            Cycle.SetItemState(Item, ITEMSTATE_LOCKED, 0);
    }
    ITEMLOCK(const ITEMLOCK&) = delete;
    ITEMLOCK& operator=(const ITEMLOCK&) = delete;
    bool IsHeld() const { return Held; }

 private:
    CHECKCYCLE& Cycle;
    STRINGARRAY& Item;
    const bool Held;
};

}  // namespace

bool MAINWINDOW::DoDialogCommand(int command) {
    static constexpr std::pair<int, void (*)(MAINWINDOW&)> DIALOGS[] = {
        {COMMAND_ADD_ITEM, [](MAINWINDOW& self) { self.AddItem(); }},
        {COMMAND_EDIT_ITEM, [](MAINWINDOW& self) { self.EditItem(); }},
        {COMMAND_TYPES, [](MAINWINDOW& self) { self.EditTypes(); }},
        {COMMAND_SETTINGS, [](MAINWINDOW& self) { self.EditOptions(PAGE_OPTIONS_PROGRAM); }},
        {COMMAND_TRAY_SETTINGS, [](MAINWINDOW& self) { self.EditOptions(PAGE_OPTIONS_PROGRAM); }},
        {COMMAND_SPAM_LISTS, [](MAINWINDOW& self) { self.EditSpam(true, false); }},
        {COMMAND_SPAM_EXPERT, [](MAINWINDOW& self) { self.EditSpam(false, true); }},
        {COMMAND_SPAM_SETTINGS, [](MAINWINDOW& self) { self.EditSpam(true, true); }},
        {COMMAND_DATA_DIRECTORY, [](MAINWINDOW& self) { self.EditDataDir(); }},
        {COMMAND_TIP_OF_THE_DAY, [](MAINWINDOW& self) { self.ShowTip(); }},
        {COMMAND_SAVE_REPORT, [](MAINWINDOW& self) { self.SaveReport(); }},
    };
    for (const auto& [number, dialog] : DIALOGS) {
        if (number != command)
            continue;
        OpenDialog(dialog);
        return true;
    }
    return false;
}

// The tray icon's menu can be reached while a dialog is open: two of them would store over each other.
void MAINWINDOW::OpenDialog(void (*dialog)(MAINWINDOW&)) {
    if (DialogOpen || !IsWindowEnabled(hWnd)) {
        ShowInFront();
        return;
    }
    DialogOpen = true;
    dialog(*this);
    DialogOpen = false;
}

DIALOGPARTS MAINWINDOW::Parts() const {
    return {hWnd, App.Texts(), Application->Programs(), &Application->Mapi()};
}

void MAINWINDOW::AddItem() {
    STRINGARRAY record = Application->NewItem();
    if (!::EditItem(Parts(), record, Application->pState))
        return;
    if (!Application->AddItem(record))
        ShowSaveError(TEXT_NOT_SAVED);
    Rows->FillListview(record.GetNumber("@Handle"));
    MakeNewTooltip();
}

void MAINWINDOW::EditItem() {
    if (STRINGARRAY* item = FirstSelected())
        EditItem(*item);
}

void MAINWINDOW::AskPasswords() {
    const std::vector<int> locked = Application->LockedAccounts();
    STRING names;
    for (const int handle : locked)
        names = names || (names.Length() > 0 ? "\n" : "") || Application->FindItem(handle)->Get("Name");
    STRING text = App.Texts().Get(TEXT_ASK_PASSWORDS);
    text.Replace("$1", names.Text());
    if (locked.empty() || !AskYesNo(App.Texts().Get(TEXT_TITLE), text))
        return;
    for (const int handle : locked) {
        if (STRINGARRAY* const item = Application->FindItem(handle))
            EditItem(*item);
    }
}

void MAINWINDOW::EditItem(STRINGARRAY& item) {
    {
        const ITEMLOCK lock(Application->Cycle(), item);
        if (!lock.IsHeld()) {
            ShowError(hWnd, App.Texts().Get(TEXT_IN_CHECK), ProgramName());
            return;
        }
        if (!::EditItem(Parts(), item, Application->pState))
            return;
    }
    const int handle = item.GetNumber("@Handle");
    CHECKCYCLE::ForceRefresh(item, false);
    if (!Application->SaveTables(SAVE_ITEMS))
        ShowSaveError(TEXT_NOT_SAVED);
    Rows->FillListview(handle);
}

void MAINWINDOW::EditTypes() {
    if (::EditTypes(Parts(), Application->Types) && !Application->SaveTables(SAVE_TYPES))
        ShowSaveError(TEXT_SETTINGS_NOT_SAVED);
}

void MAINWINDOW::EditOptions(int page) {
    STRINGARRAY& state = Application->pState;
    const STRING name = App.Texts().Get(TEXT_REGISTRY_NAME);
    // The installer writes and deletes the same entry. One that names another copy says nothing of this one.
    const STRING entry = OSYS::AutoStartCommand(name.Text());
    if (!entry.NotNull() || stricmp(entry.Ptr(), OSYS::ProgramPath().Ptr(), false) == 0)
        state.Set("DlgAutoRun", entry.NotNull() ? "1" : "0");
    const bool started = state.GetNumber("DlgAutoRun") != 0;
    WINRAS dialup;
    if (!::EditOptions(Parts(), state, dialup.EnumEntries(), page))
        return;
    if (!Application->SaveSettings())
        ShowSaveError(TEXT_SETTINGS_NOT_SAVED);
    // A copy that was moved names its new place.
    const bool starts = state.GetNumber("DlgAutoRun") != 0;
    const bool done = OSYS::AutoStart(name.Text(), starts ? OSYS::AUTOSTART_SELF : nullptr);
    // An entry that settings lost on the way do not know of goes too; mostly there is none.
    if (!done && (starts || started))
        ShowError(hWnd, App.Texts().Get(TEXT_AUTOSTART_FAILED), ProgramName());
    if (state.GetNumber("ConnectionType") != 0 && state.GetNumber("ConnectionDunDial") != 0)
        ShowHint(hWnd, App.Texts().Get(TEXT_DIAL_WARNING), App.Texts().Get(TEXT_DIAL_WARNING_TITLE),
                 App.Texts().Get(TEXT_PRODUCT).Text(), "NoShow0001");
    ShowSettings();
}

void MAINWINDOW::EditSpam(bool lists, bool expert) {
    STRING unused;
    const bool canAskDns = Application->MailServers().GetAddr(nullptr, unused, unused);
    if (!EditSpamSettings(Parts(), Application->pState, lists, expert, canAskDns))
        return;
    if (!Application->SaveSettings())
        ShowSaveError(TEXT_SETTINGS_NOT_SAVED);
    Application->Filter().LoadSpamDefinitions();
    SetMainTitle();
    ArrangeControls();
}

void MAINWINDOW::EditDataDir() {
    if (App.Arguments().TestArgValue("WORKDIR", 0))
        ShowInfo(hWnd, App.Texts().Get(TEXT_DIR_NAMED), ProgramName());
    else
        (void)::EditDataDir(Parts(), App.Texts().Get(TEXT_REGISTRY_NAME), Application->DataDir());
}

// What is seen of the settings.
void MAINWINDOW::ShowSettings() {
    ArrangeControls();
    Rows->AutoWidth(-1);
    SetMainTitle();
    MakeTaskbarIcon();
    // Shown anew as a whole, as its look may be another one.
    ShowWindow(Rows->Handle(), SW_HIDE);
    ShowWindow(Rows->Handle(), SW_SHOW);
    if (Inbox)
        Inbox->ArrangeControls();
    UpdateCommands();
}

void MAINWINDOW::OfferMailProgram() {
    if (!DialogOpen && ::AskYesNo(hWnd, App.Texts().Get(TEXT_NO_MAIL_PROGRAM), ProgramName()))
        OpenDialog([](MAINWINDOW& self) { self.EditOptions(PAGE_OPTIONS_MAILPROGRAM); });
}

void MAINWINDOW::RunSetupWizard() {
    // The demo asks nobody: it brings its own accounts.
    if (App.Arguments().TestArg("DEMO"))
        return;
    TipsComeByThemselves = false;  // this is enough for one start
    WINRAS dialup;
    (void)RunSetup(Parts(), Application->pState, Application->Items, dialup.EnumEntries());
}
