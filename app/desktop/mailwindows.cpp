// The main window's dealings with the windows of mails: Inbox, Trashcan, viewer.
#include <algorithm>

#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/inbox.h"
#include "app/desktop/mailviewer.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/splitter.h"
#include "app/desktop/trashcan.h"
#include "app/desktop/windowids.h"

namespace {

constexpr int SPRINGS_BACK = 4;                   // pixels from the edges of the area
constexpr int LEAST_LIST = 48, LEAST_MAILS = 88;  // at 96 dots per inch

/// A window that wants an answer first comes to the front with its question.
void ShowDialogOf(const WINDOW& window) {
    SetForegroundWindow(GetLastActivePopup(GetAncestor(window.hWnd, GA_ROOT)));
}

}  // namespace

void MAINWINDOW::OpenInbox(const STRINGARRAY* item) {
    if (InboxIsPane)
        Splitter = std::make_unique<SPLITTER>(hWnd);
    Inbox = std::make_unique<INBOX>(*this, *Application, InboxIsPane);
    Application->pState.SetNumber("InboxVisible", InboxIsPane ? 1 : INBOX_IN_WINDOW);
    Inbox->Open();
    PlaceControls();
    Inbox->Show(item);
    UpdateCommands();
}

bool MAINWINDOW::CloseInbox() {
    if (!Inbox)
        return true;
    if (Inbox->IsBusy()) {
        ShowDialogOf(*Inbox);
        return false;
    }
    const auto window = reinterpret_cast<WPARAM>(Inbox->hWnd);
    SendMessageW(Inbox->hWnd, WM_CLOSE, 0, 0);
    DeleteInbox(window);
    return true;
}

// The message may come when that window has gone already, and another one is there.
void MAINWINDOW::DeleteInbox(WPARAM window) {
    if (!Inbox || reinterpret_cast<WPARAM>(Inbox->hWnd) != window)
        return;
    Inbox.reset();
    Splitter.reset();
    Application->pState.Set("InboxVisible", "0");
    PlaceControls();
    UpdateCommands();
    if (GetForegroundWindow() == hWnd)
        Rows->Focus();
}

void MAINWINDOW::DeleteTrashcan(WPARAM window) {
    if (!Trashcan || reinterpret_cast<WPARAM>(Trashcan->hWnd) != window)
        return;
    Trashcan.reset();
    Application->pState.Set("TrashcanVisible", "0");
    UpdateCommands();
    SetMainTitle();
}

void MAINWINDOW::ShowInbox(const STRINGARRAY* item) {
    if (!Inbox)
        OpenInbox(item);
    else if (Inbox->IsBusy())
        ShowDialogOf(*Inbox);
    else if (item && item->GetNumber("@Handle") != Inbox->GetItemHandle())
        Inbox->Show(item);
}

void MAINWINDOW::SwitchInbox() {
    if (Inbox)
        CloseInbox();
    else if (const STRINGARRAY* const item = FirstSelected())
        OpenInbox(item);
    UpdateCommands();
}

void MAINWINDOW::SwitchInboxWindow() {
    const int handle = Inbox ? Inbox->GetItemHandle() : -1;
    if (!Inbox || !CloseInbox())
        return;
    InboxIsPane = !InboxIsPane;
    OpenInbox(Application->FindItem(handle));
}

void MAINWINDOW::SwitchTrashcan() {
    if (Trashcan && Trashcan->IsBusy()) {
        ShowDialogOf(*Trashcan);
    } else if (Trashcan) {
        PostMessageW(Trashcan->hWnd, WM_CLOSE, 0, 0);
    } else {
        Trashcan = std::make_unique<TRASHCAN>(*this, *Application);
        Application->pState.Set("TrashcanVisible", "1");
        Trashcan->Open();
        Trashcan->Show(nullptr);
    }
    UpdateCommands();
}

// Later, as the list is still at work: the step may ask a question.
void MAINWINDOW::FollowSelection() {
    if (!Inbox)
        return;
    Calls.Post([this] {
        const std::vector<int> selected = SelectedItems();
        if (!Inbox || Inbox->IsBusy() || selected.size() != 1 || selected.front() == Inbox->GetItemHandle())
            return;
        if (const STRINGARRAY* const item = Application->FindItem(selected.front()))
            Inbox->Show(item);
    });
}

void MAINWINDOW::PlaceInbox(int top, int width, int& bottom) {
    STRINGARRAY& state = Application->pState;
    // In pixels of the screen where it was last set.
    if (const int dots = state.GetNumber("SplitRatioDots"); dots > 0 && dots != Scale().Dots())
        state.SetNumber("SplitRatio", Scale().From(SCALE(dots), state.GetNumber("SplitRatio")));
    state.SetNumber("SplitRatioDots", Scale().Dots());
    int position = top + state.GetNumber("SplitRatio");
    if (position <= top + SPRINGS_BACK || position >= bottom - SPRINGS_BACK) {
        position = std::max((top + bottom) / 3, top);
        state.SetNumber("SplitRatio", position - top);
    }
    const int bar = ScalePixels(SPLITTER::HEIGHT);
    // As far as there is room neither pane is left without a row.
    int highest = top + ScalePixels(LEAST_LIST), lowest = bottom - ScalePixels(LEAST_MAILS);
    if (highest < lowest) {
        position = std::clamp(position, highest, lowest);
    } else {
        highest = top + SPRINGS_BACK + 1;
        lowest = bottom - SPRINGS_BACK - 1;
    }
    Splitter->Place(position, width, highest, lowest);
    Inbox->Move(0, position + bar, width, std::max(bottom - position - bar, 0));
    bottom = position;
}

void MAINWINDOW::OnSplitter() {
    if (!Splitter)
        return;
    const int top = static_cast<int>(WINDOW(Rows->Handle()).Rect().top);
    Application->pState.SetNumber("SplitRatio", static_cast<int>(Splitter->Rect().top) - top);
    PlaceControls();
}

bool MAINWINDOW::GiveToInbox(int command) {
    if (command < COMMAND_INBOX_FIRST || command > COMMAND_INBOX_LAST)
        return false;
    if (Inbox)
        Inbox->DoCommand(command);
    return true;
}

void MAINWINDOW::ShowAlertItem() {
    if (const int handle = Application->Notification().TakeAlertItem())
        Rows->SelectOnly(handle);
    ShowInFront();
    ShowInbox(FirstSelected());
}

void MAINWINDOW::ShowAlertMail() {
    const STRINGARRAY mail = Application->Notification().AlertMail();
    if (mail.Exists("Header"))
        ShowMail(GetLastActivePopup(hWnd), mail, "", App.Texts());
}
