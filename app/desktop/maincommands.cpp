#include <windowsx.h>

#include "app/core/clickmodes.h"
#include "app/core/datadir.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "corelib/base/trace.h"
#include "corelib/window/menus.h"
#include "corelib/window/messages.h"

STRING MAINWINDOW::ProgramName() const {
    return App.Texts().Get(TEXT_TITLE);
}

void MAINWINDOW::DoCommand(int command) {
    if (!Application)
        return;
    bool done = Engine->DoCommand(command, SelectedItems());
    if (command == COMMAND_EXIT || command == COMMAND_QUIT) {
        // The installer may ask for it while the program still starts: what asks the user then, such as the setup
        // wizard, would wait hidden for ever.
        if (Rows)
            Vanish();
        else
            PostQuit();
    }
    if (done && DeselectsItems(command))
        Rows->Deselect();
    if (!done)
        done = GiveToInbox(command) || DoDialogCommand(command) || DoWindowCommand(command);
    if (!done) {
        STRING text;
        text.Format("WM_COMMAND %d", command);
        ShowInfo(hWnd, text, ProgramName());
    }
}

void MAINWINDOW::ShowSaveError(int message) {
    ShowError(hWnd, DataDirText(App.Texts(), message, Application->DataDir()), ProgramName());
}

bool MAINWINDOW::DoWindowCommand(int command) {
    switch (command) {
        case COMMAND_SHOW_WINDOW:
            ShowInFront();
            PostMessageW(hWnd, WM__TIP, 0, 0);
            return true;
        case COMMAND_INBOX:
            SwitchInbox();
            return true;
        case COMMAND_INBOX_WINDOW:
            SwitchInboxWindow();
            return true;
        case COMMAND_TRASHCAN:
            SwitchTrashcan();
            return true;
        case COMMAND_SHOW_ITEM:
            ShowAlertItem();
            return true;
        case COMMAND_SHOW_MAIL:
            ShowAlertMail();
            return true;
        case COMMAND_DELETE_ITEMS:
            DeleteItems();
            return true;
        case COMMAND_EDIT_FRIENDS:
            EditList("SpamMyFriends");
            return true;
        case COMMAND_EDIT_BAD_SENDERS:
            EditList("SpamBadSenders");
            return true;
        case COMMAND_WEB_PAGE:
            Application->Programs().OpenAddress(App.Texts().Get(TEXT_WEB_PAGE));
            return true;
        case COMMAND_MINIMIZE:
            Show(SW_MINIMIZE);
            return true;
        default:
            return false;
    }
}

void MAINWINDOW::ShowInFront() {
    // Once: shown while it is minimised, it would be hidden again.
    Show(IsIconic(hWnd) ? SW_RESTORE : SW_SHOW);
    const HWND inFront = GetLastActivePopup(hWnd);  // the dialog that is open, if there is one
    SetForegroundWindow(inFront);
    if (inFront == hWnd && Rows)
        Rows->Focus();
}

void MAINWINDOW::DeleteItems() {
    const std::vector<int> selected = SelectedItems();
    const STRINGARRAY* first = FirstSelected();
    if (!first)
        return;
    const STRING question = DeleteQuestion(App.Texts(), static_cast<int>(selected.size()), first->Get("Name"));
    if (!::AskYesNo(hWnd, question, ProgramName(), true) || !CloseInbox())
        return;
    for (const int handle : selected) {
        const STRINGARRAY* item = Application->FindItem(handle);
        const STRING name = item ? item->Get("Name") : STRING();
        if (!Rows->RemoveItem(handle)) {
            ShowError(hWnd, BusyMessage(App.Texts()), BusyTitle(App.Texts(), name));
            break;
        }
    }
    if (!Application->SaveTables(SAVE_ITEMS))
        ShowSaveError(TEXT_NOT_SAVED);
    MakeTaskbarIcon();
    UpdateCommands();
}

void MAINWINDOW::EditList(const char* key) {
    const STRING path = STRING("\"") || Application->pState.Get(key) || "\"";
    STRING error;
    if (!Application->Programs().Start("notepad", path, ".", error))
        ShowError(hWnd, error, ProgramName());
}

// ---- menus ----

void MAINWINDOW::ShowContextMenu(LPARAM place) {
    if (!Application)
        return;
    POINT point = {GET_X_LPARAM(place), GET_Y_LPARAM(place)};
    // By the keyboard: at the row, not at the pointer.
    if (point.x == -1 && point.y == -1)
        point = Rows->MenuPoint();
    MENU menu(MENU_LIST);
    menu.SetDefaultItem(COMMAND_ITEM_MAIL_PROGRAM);
    ShowState(menu);
    menu.Popup(hWnd, &point);
}

void MAINWINDOW::ShowTrayMenu() {
    MENU menu(MENU_TRAY);
    // These two belong to the window.
    menu.DeletePosition(0);
    menu.DeletePosition(0);
    const CLICKACTION twice = TrayClickAction(TRAYCLICK::DOUBLE, false, false, Application->pState);
    if (twice.MailProgram)
        menu.SetDefaultItem(COMMAND_MAIL_PROGRAM);
    else
        menu.SetDefaultItem(twice.Command == COMMAND_SHOW_LAST_POPUP ? COMMAND_TRAY_SHOW_LAST_POPUP : twice.Command);
    ShowState(menu);
    menu.Popup(hWnd);
}
