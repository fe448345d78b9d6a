#include "app/desktop/mainwindow.h"

#include <algorithm>
#include <utility>

#include "app/common/texts.h"
#include "app/core/maintitle.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/inbox.h"
#include "app/desktop/splitter.h"
#include "app/desktop/trashcan.h"
#include "app/desktop/windowids.h"
#include "app/notify/traydisplay.h"
#include "corelib/base/trace.h"
#include "corelib/window/messages.h"
#include "corelib/window/sound.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int STATUSLINE_ID = 2;
constexpr RECT FIRST_PLACE = {8, 8, 400, 350};  // left, top, width, height at 96 dots per inch

// What a waiting call draws.
enum CALLKIND {
    CALL_TRAY,
    CALL_TOOLTIP,
    CALL_TITLE,
    CALL_STATUS,
    CALL_ARRANGE,
    CALL_COMMANDS,
    CALL_ROW,
    CALL_LISTING,
    CALL_CELL
};

}  // namespace

MAINWINDOW::MAINWINDOW(VELMORAAPP& app, const DESKTOPTIMES& times)
    : WINDOW(WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, ProgramTitle(app.Texts()), FIRST_PLACE.left, FIRST_PLACE.top,
             SCALE::OfTaskbar().Pixels(FIRST_PLACE.right), SCALE::OfTaskbar().Pixels(FIRST_PLACE.bottom), nullptr,
             MENU_MAIN, MAINWINDOW_CLASS),
      App(app),
      Times(times),
      UserThread(GetCurrentThreadId()),
      Calls(WM__CALLS) {
    Calls.SetWindow(hWnd);
}

MAINWINDOW::~MAINWINDOW() {
    Calls.SetWindow(nullptr);
    // Messages that they still send find them gone.
    AlertWindow.reset();
    Tray.reset();
    Inbox.reset();
    Trashcan.reset();
    Splitter.reset();
    Rows.reset();
    StatusLine.reset();
    Toolbar.reset();
}

void MAINWINDOW::SetApplication(TARNWICK* application) {
    Application = application;
    Engine = application ? std::make_unique<COMMANDS>(*application, *this, application->Programs()) : nullptr;
    if (application)
        SetHelp([this](HWND window, int control) { ShowHelpOf(window, control); });
    else
        SetHelp(nullptr);
}

void MAINWINDOW::Begin(bool minimized) {
    CheckPopupFont(Application->pState);
    MakeToolbar();
    StatusLine = std::make_unique<STATUSLINE>(hWnd, STATUSLINE_ID);
    StatusLine->Show(SW_HIDE);  // until there is something to say
    Rows = std::make_unique<ITEMLIST>(hWnd, *Application);
    Rows->FillListview();
    RestoreWindowPos(App.Texts().Get(TEXT_PRODUCT).Text(), WINDOW_POSITION);
    PlaceControls();
    if (minimized || Application->pState.GetNumber("DlgStartMinimized") != 0)
        Trace("TARNWICK::TARNWICK starts in the notification area\n");
    else
        Show(SW_SHOWNORMAL);
}

void MAINWINDOW::Started() {
    ShowState();
    SetTimer(hWnd, TIMER_TRAY, static_cast<UINT>(Times.TrayStartMs), nullptr);
    Rows->Focus();
    const int inbox = Application->pState.GetNumber("InboxVisible");
    InboxIsPane = inbox != INBOX_IN_WINDOW;
    if (inbox != 0)
        OpenInbox(nullptr);
    FollowSelection();
    if (Application->pState.GetNumber("TrashcanVisible") != 0)
        SwitchTrashcan();
    if (WelcomeTopic != 0)
        ShowHelpOn(std::exchange(WelcomeTopic, 0));
    // Not here: a question lets nothing else go on.
    PostMessageW(hWnd, WM__ASKPASSWORDS, 0, 0);
}

void MAINWINDOW::MainDispatchLoop(int accelerators) {
    const HACCEL keys = LoadAcceleratorsW(ResourceModule(), MAKEINTRESOURCEW(accelerators));
    MSG message;
    // Loops in between, such as those of menus and scroll bars, swallow the message that ends this one.
    while (!Quitting && GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (EntersAlert(message))
            continue;
        if (MayBeCommandKey(message) && TranslateAcceleratorW(hWnd, keys, &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void MAINWINDOW::End() {
    const std::vector<int> selected = SelectedItems();
    if (selected.size() == 1)
        Application->pState.SetNumber("LastSelectedRecord", Application->FindHandle(selected.front()));
    // What they were at the end the settings know; nobody is asked about marks any more.
    Inbox.reset();
    Trashcan.reset();
    Splitter.reset();
    AlertWindow.reset();
    StopBlinking();  // the keyboard's light would stay as it is just now
}

std::vector<int> MAINWINDOW::SelectedItems() const {
    return Rows ? Rows->SelectedHandles() : std::vector<int>();
}

STRINGARRAY* MAINWINDOW::FirstSelected() const {
    const std::vector<int> selected = SelectedItems();
    return selected.empty() ? nullptr : Application->FindItem(selected.front());
}

// ---- the front end ----

void MAINWINDOW::MakeTaskbarIcon() {
    Calls.PostLatest({CALL_TRAY, 0}, [this] {
        if (!Application || Vanished)
            return;
        TrayIcon = TRAY_RESOURCES + TrayPicture(Application->Cycle(), Application->pState);
        const STRING tooltip = TooltipText(App.Texts(), Application->Cycle());
        if (!Tray)
            Tray = std::make_unique<TASKBARICON>(hWnd, TrayIcon, tooltip, WM__TASKBAR);
        else if (!Tray->IsUp())
            Tray->Add();
        Tray->SetIcon(TrayIcon);
        Tray->SetTooltip(tooltip);
        // Refused, so that nothing would show the program: it is in the task bar instead.
        if (!Tray->IsUp() && !IsVisible())
            Show(SW_SHOWMINNOACTIVE);
    });
}

void MAINWINDOW::MakeNewTooltip() {
    Calls.PostLatest({CALL_TOOLTIP, 0}, [this] {
        if (!Application)
            return;
        const STRING tooltip = TooltipText(App.Texts(), Application->Cycle());
        if (Tray)
            Tray->SetTooltip(tooltip);
    });
}

void MAINWINDOW::SetMainTitle() {
    Calls.PostLatest({CALL_TITLE, 0}, [this] {
        if (!Application)
            return;
        const STRING title =
            MainTitle(App.Texts(), App.Arguments(), Application->Cycle().IsSuspended(), Application->Trash().Mails());
        if (title != Title())
            SetTitle(title);
    });
}

void MAINWINDOW::SetStatusLine(const STRING& text) {
    Calls.PostLatest({CALL_STATUS, 0}, [this, text] {
        if (StatusLine)
            StatusLine->SetTitle(text);
    });
}

void MAINWINDOW::ShowStatusLine(bool show) {
    Calls.PostLatest({CALL_STATUS, 1}, [this, show] {
        if (StatusLine)
            StatusLine->Show(show ? SW_SHOW : SW_HIDE);
    });
}

void MAINWINDOW::ArrangeControls() {
    Calls.PostLatest({CALL_ARRANGE, 0}, [this] { PlaceControls(); });
}

void MAINWINDOW::StopBlinking() {
    if (!IsUserThread()) {
        Calls.Post([this] { StopBlinking(); });
        return;
    }
    if (!Application)
        return;
    if (KillTimer(hWnd, TIMER_BLINK))
        MakeTaskbarIcon();
    Application->Notification().ScrollLockBlinking(false);
}

void MAINWINDOW::RefreshRow(int handle) {
    Calls.PostLatest({CALL_ROW, handle}, [this, handle] {
        if (Rows)
            Rows->RefreshRow(handle);
    });
}

void MAINWINDOW::SetCell(int handle, int column, const STRING& text) {
    Calls.PostLatest({CALL_CELL + column, handle}, [this, handle, column, text] {
        if (Rows)
            Rows->SetItemColumn(handle, column, text);
    });
}

void MAINWINDOW::SetItemStatus(int handle, const STRING& text) {
    SetCell(handle, ITEMLIST::RESULT_COLUMN, text);
}

void MAINWINDOW::ListingChanged(int handle) {
    Calls.PostLatest({CALL_LISTING, handle}, [this, handle] {
        if (Inbox && Inbox->GetItemHandle() == handle)
            Inbox->Reload();
    });
}

void MAINWINDOW::PostAlert(const ALERTREQUEST& request) {
    const std::lock_guard hold(AlertGuard);
    Alerts.push_back(request);
    PostMessageW(hWnd, WM__ALERTWIN, 0, 0);
}

void MAINWINDOW::PlaySoundFile(const STRING& file) {
    PlaySoundOf(file);
}

void MAINWINDOW::StartTimer(int timer, int ms) {
    Calls.Post([this, timer, ms] { SetTimer(hWnd, static_cast<UINT_PTR>(timer), static_cast<UINT>(ms), nullptr); });
}

void MAINWINDOW::StopTimer(int timer) {
    Calls.Post([this, timer] { KillTimer(hWnd, static_cast<UINT_PTR>(timer)); });
}

void MAINWINDOW::PostStartMailProgram(int handle) {
    PostMessageW(hWnd, WM__STARTMAILPROGRAM, static_cast<WPARAM>(handle), 0);
}

void MAINWINDOW::UpdateCommands() {
    Calls.PostLatest({CALL_COMMANDS, 0}, [this] { ShowState(); });
}

void MAINWINDOW::ShowMessage(const STRING& title, const STRING& text) {
    ShowInfo(IsUserThread() ? hWnd : nullptr, text, title);
}

bool MAINWINDOW::AskYesNo(const STRING& title, const STRING& text) {
    return ::AskYesNo(IsUserThread() ? hWnd : nullptr, text, title);
}

void MAINWINDOW::PostQuit() {
    Quitting = true;
    PostThreadMessageW(UserThread, WM_QUIT, 0, 0);
}

// ---- what is around the list ----

void MAINWINDOW::MakeToolbar() {
    Toolbar = std::make_unique<NEWTOOLBAR>(hWnd);
    const MENU menu(GetMenu(hWnd));
    for (const TOOLBUTTON& button : TOOLBUTTONS) {
        // A button for each command that the menus have.
        if (menu.ItemText(button.Command).Length() == 0)
            continue;
        const bool opens = button.Command == COMMAND_INBOX || button.Command == COMMAND_TRASHCAN;
        Toolbar->AddButton(button.Command, button.Command, opens ? TBSTYLE_CHECK : TBSTYLE_BUTTON);
        if (button.LabelText != 0)
            Toolbar->SetButtonText(button.Command, App.Texts().Get(button.LabelText));
        else if (button.Label)
            Toolbar->SetButtonText(button.Command, button.Label);
    }
    Toolbar->ArrangeButtons();
}

void MAINWINDOW::PlaceControls() {
    // A minimised window has no room for anything.
    if (!Application || !Rows || IsIconic(hWnd))
        return;
    Trace("TARNWICK::ArrangeControls\n");
    const RECT client = ClientRect();
    int top = 0, bottom = client.bottom;
    const bool hidden = Application->pState.GetNumber("DlgHideToolbar") != 0;
    Toolbar->Show(hidden ? SW_HIDE : SW_SHOW);
    if (!hidden) {
        Toolbar->Resize();
        top = static_cast<int>(Toolbar->Rect().bottom);
    }
    if (GetWindowLongW(StatusLine->hWnd, GWL_STYLE) & WS_VISIBLE) {
        SendMessageW(StatusLine->hWnd, WM_SIZE, 0, 0);
        bottom -= StatusLine->Rect().bottom - StatusLine->Rect().top;
    }
    if (Inbox && Inbox->IsPane())
        PlaceInbox(top, static_cast<int>(client.right), bottom);
    Rows->Place(0, top, client.right, std::max(bottom - top, 0));
    Trace("TARNWICK::~ArrangeControls\n");
}

void MAINWINDOW::Rescaled(SCALE before) {
    if (Rows)
        Rows->Rescaled(before);
    if (Tray)
        Tray->Rescale();
}

COMMANDCONTEXT MAINWINDOW::CommandContext() const {
    COMMANDCONTEXT context;
    context.SelectedItems = static_cast<int>(SelectedItems().size());
    const STRINGARRAY* item = FirstSelected();
    context.ItemSuspended = item && item->GetNumber("UpdateSuspended") != 0;
    context.SoundLoop = Application->Notification().IsSoundLooping();
    context.InboxOpen = Inbox != nullptr;
    context.TrashcanOpen = Trashcan != nullptr;
    context.SpamFilterDisabled = Application->pState.GetNumber("SpamFilterDisabled") != 0;
    context.Suspended = Application->Cycle().IsSuspended();
    return context;
}

bool MAINWINDOW::MayBeCommandKey(const MSG& message) const {
    if (message.message != WM_KEYDOWN)
        return true;
    const bool isOurs = message.hwnd == hWnd || IsChild(hWnd, message.hwnd);
    if ((HIWORD(message.lParam) & KF_REPEAT) || !isOurs)
        return false;
    if (Inbox && GetKeyState(VK_CONTROL) >= 0 && Inbox->TakesKey(message.hwnd, message.wParam))
        return false;
    const bool own = message.wParam == VK_RETURN || message.wParam == VK_SPACE || message.wParam == VK_ESCAPE;
    return !own || !Toolbar || message.hwnd != Toolbar->hWnd;
}

bool MAINWINDOW::EntersAlert(const MSG& message) {
    if (message.message != WM_KEYDOWN || message.wParam != VK_F6 || !AlertWindow || message.hwnd == AlertWindow->hWnd)
        return false;
    return AlertWindow->TakeFocus();
}

void MAINWINDOW::ShowState() {
    if (!Application || !Rows)
        return;
    SetMainTitle();
    MENU menu(GetMenu(hWnd));
    ShowState(menu);
    for (const COMMANDSTATE& state : CommandStates(CommandContext())) {
        if (state.Enabled)
            Toolbar->Enable(state.Command, *state.Enabled);
        if (state.Checked && (state.Command == COMMAND_INBOX || state.Command == COMMAND_TRASHCAN))
            Toolbar->Check(state.Command, *state.Checked);
    }
}

void MAINWINDOW::ShowState(MENU& menu) const {
    for (const COMMANDSTATE& state : CommandStates(CommandContext())) {
        if (state.Enabled)
            menu.EnableMenuItem(state.Command, *state.Enabled);
        if (state.Checked)
            menu.CheckMenuItem(state.Command, *state.Checked);
    }
    menu.EnableMenuItem(COMMAND_INBOX_WINDOW, Inbox != nullptr);
    menu.CheckMenuItem(COMMAND_INBOX_WINDOW, Inbox && !Inbox->IsPane());
    if (Inbox)
        Inbox->UpdateMenu(menu);
}
