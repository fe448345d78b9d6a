#include <windowsx.h>

#include "app/core/clickmodes.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "app/notify/traydisplay.h"
#include "corelib/base/trace.h"
#include "corelib/window/fontvalue.h"
#include "corelib/window/menus.h"
#include "corelib/window/messages.h"
#include "corelib/window/widetext.h"

namespace {

constexpr const char* CLOSE_HINT_KEY = "DontShowAgainCloseMinimize";
constexpr int COMMAND_VALUES_END = 65535;
constexpr int MIN_WIDTH = 260, MIN_HEIGHT = 200;  // at 96 dots per inch

}  // namespace

LRESULT MAINWINDOW::WinProc(UINT message, WPARAM first, LPARAM second) {
    TraceLevel(8, "TARNWICK WinProc msg=%04x mp1=%08x mp2=%08x\n", message, static_cast<unsigned>(first),
               static_cast<unsigned>(second));
    const LRESULT result = OnMessage(message, first, second);
    TraceLevel(7, "TARNWICK WinProc msg %4x returns %d\n", message, static_cast<int>(result));
    return result;
}

LRESULT MAINWINDOW::OnMessage(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_PAINT:
            PAINTER{hWnd};
            return 0;
        case WM_MOVE:
        case WM_SIZE:
            if (message == WM_SIZE && first == SIZE_MINIMIZED) {
                // It lives in the notification area; where the shell has refused that, the task bar keeps it in reach.
                if (!Tray || Tray->IsUp())
                    Show(SW_HIDE);
            } else if (Rows) {
                PlaceControls();
                StoreWindowPos(App.Texts().Get(TEXT_PRODUCT).Text(), WINDOW_POSITION);
            }
            return 0;
        case WM_GETMINMAXINFO:
            // Not so small that menu, tool bar and a few rows no longer fit.
            reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {ScalePixels(MIN_WIDTH), ScalePixels(MIN_HEIGHT)};
            return 0;
        // The scale of the task bar's screen may be another one, or another screen may have it.
        case WM_DISPLAYCHANGE:
            if (Tray)
                Tray->Rescale();
            return WINDOW::WinProc(message, first, second);
        case WM_CLOSE:
            OnClose();
            return 0;
        case WM_QUERYENDSESSION:
            Trace("WM_QUERYENDSESSION\n");
            return WINDOW::WinProc(message, first, second);
        case WM_ENDSESSION:
            // Somebody else may have refused: then the session goes on, and so does the watching.
            if (first == 0)
                return WINDOW::WinProc(message, first, second);
            OnEndSession();
            return 0;
        case WM_POWERBROADCAST:
            if (Application && (first == PBT_APMRESUMESUSPEND || first == PBT_APMRESUMESTANDBY)) {
                Application->Cycle().ForceRefreshType(ITEMTYPE_MAPI);
                Application->Cycle().ConnectAnew();
            }
            return WINDOW::WinProc(message, first, second);
        case WM_COMMAND:
            if (HIWORD(first) > 1)
                return WINDOW::WinProc(message, first, second);
            DoCommand(LOWORD(first));
            InvalidateRect(hWnd, nullptr, FALSE);
            return 0;
        case WM_CONTEXTMENU:
            // Others, such as the title bar, have menus of their own or none.
            if (!Rows || reinterpret_cast<HWND>(first) != Rows->Handle())
                return WINDOW::WinProc(message, first, second);
            ShowContextMenu(second);
            return 0;
        case WM_SETFOCUS:
            if (FocusedList && ::IsChild(hWnd, FocusedList) && IsWindowVisible(FocusedList))
                ::SetFocus(FocusedList);
            else if (Rows)
                Rows->Focus();
            return 0;
        case WM_NOTIFY:
            return OnNotify(*reinterpret_cast<NMHDR*>(second));
        case WM_TIMER:
            OnTimer(first);
            return 0;
        case WM__ALERTWIN:
            OpenAlert();
            return 0;
        case WM__FILLLIST:
            if (Rows && Rows->FillListviewThread())
                UpdateCommands();
            return 0;
        case WM__STARTMAILPROGRAM:
            if (Engine)
                Engine->StartPostedMailProgram(static_cast<int>(first));
            return 0;
        case WM__CALLS:
            Calls.Run();
            return 0;
        case WM__INBOXCLOSED:
            DeleteInbox(first);
            return 0;
        case WM__TRASHCANCLOSED:
            DeleteTrashcan(first);
            return 0;
        case WM__SPLITTER:
            OnSplitter();
            return 0;
        case WM__TIP:
            OfferTip();
            return 0;
        case WM__ASKPASSWORDS:
            OpenDialog([](MAINWINDOW& self) { self.AskPasswords(); });
            return 0;
        case WM__ALERTCLICK:
            OnAlertClick(first, second);
            return 0;
        case WM__TASKBAR:
            OnTray(first, static_cast<UINT>(second));
            return 0;
        default:
            break;
    }
    // The shell has started anew: it knows none of the icons that it had.
    if (message == TaskbarCreated && Tray) {
        Tray.reset();
        MakeTaskbarIcon();
        return 0;
    }
    return WINDOW::WinProc(message, first, second);
}

void MAINWINDOW::OnClose() {
    if (!Application)
        return;
    if (Application->pState.GetNumber("DlgCloseMinimize") == 0) {
        Application->Stop();
        Vanish();
        return;
    }
    ShowHint(hWnd, App.Texts().Get(TEXT_CLOSE_HINT), ProgramName(), App.Texts().Get(TEXT_PRODUCT).Text(),
             CLOSE_HINT_KEY, &Application->pState);
    Show(SW_MINIMIZE);
}

void MAINWINDOW::OnEndSession() {
    if (!Application || SessionEnded)
        return;
    SessionEnded = true;
    // The window lives on while the work thread finishes its check.
    Application->EndSession([this] {
        MSG message;
        while (!Quitting && GetMessageW(&message, nullptr, 0, 0) > 0) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    });
}

LRESULT MAINWINDOW::OnNotify(NMHDR& notice) {
    if (notice.code == TTN_GETDISPINFOW) {
        OnToolTip(reinterpret_cast<NMTTDISPINFOW&>(notice));
        return 0;
    }
    if (!Application || !Rows || notice.hwndFrom != Rows->Handle())
        return 0;
    switch (notice.code) {
        case NM_CUSTOMDRAW:
            return LISTVIEW::DrawRow(notice);
        case NM_DBLCLK:
            DoCommand(COMMAND_ITEM_MAIL_PROGRAM);
            return 0;
        case LVN_COLUMNCLICK: {
            const auto& click = reinterpret_cast<const NMLISTVIEW&>(notice);
            ASSERTION(click.iItem == -1, "pnm->iItem==-1");
            ClickColumnHead(Application->pState, click.iSubItem, "LastSortColumn", "LastSortOrder");
            Rows->Sort();
            return 0;
        }
        case LVN_ITEMCHANGED: {
            const auto& change = reinterpret_cast<const NMLISTVIEW&>(notice);
            if (change.uNewState != change.uOldState) {
                UpdateCommands();
                FollowSelection();
            }
            return 0;
        }
        default:
            return 0;
    }
}

void MAINWINDOW::OnToolTip(NMTTDISPINFOW& notice) {
    Trace("WM_NOTIFY::TTN_NEEDTEXT received\n");
    static std::wstring shown;  // until the next one
    if (notice.uFlags & TTF_IDISHWND) {
        shown = L"Toolbar tool tip for HWND";
    } else {
        STRING text = MENU(GetMenu(hWnd)).ItemText(static_cast<int>(notice.hdr.idFrom)).Word(0, "\t", WORD_NEVERNULL);
        text.Replace("&", "");
        shown = WideText(text);
    }
    notice.lpszText = shown.data();
    Trace("WM_NOTIFY::TTN_NEEDTEXT done\n");
}

void MAINWINDOW::OnTimer(UINT_PTR timer) {
    if (!Application)
        return;
    NOTIFICATION& notification = Application->Notification();
    switch (timer) {
        case TIMER_ALERT:
            CloseAlert();
            break;
        case TIMER_NEXT_ALERT:
            ShowNextAlert();
            break;
        case TIMER_TITLE:
            SetMainTitle();
            break;
        case TIMER_SOUND_LOOP:
            notification.PlaySoundLoop();
            break;
        case TIMER_SCROLL_LOCK:
            OSYS::ScrollLock(2);
            break;
        case TIMER_BLINK:
            Blink();
            break;
        case TIMER_TRAY:
            KillTimer(hWnd, timer);
            MakeTaskbarIcon();
            break;
        case TIMER_LATER:
            KillTimer(hWnd, timer);
            DoCommand(COMMAND_TRAY_SHOW_LAST_POPUP);
            break;
        default:
            ASSERTION(false, "FALSE");
    }
}

void MAINWINDOW::Blink() {
    if (Application->pState.GetNumber("EmailDoBlink") == 0 || !Tray)
        return;
    BlinkPhase = !BlinkPhase;
    Tray->SetIcon(BlinkPhase ? TRAY_RESOURCES : TrayIcon);
}

void MAINWINDOW::OnTray(WPARAM icon, UINT mouse) {
    if (!Application)
        return;
    StopBlinking();
    Trace("TARNWICK:WM__TASKBAR mp1= %d, mp2= %d\n", static_cast<int>(icon), static_cast<int>(mouse));
    if (mouse == WM_RBUTTONDOWN) {
        ShowTrayMenu();
        return;
    }
    TRAYCLICK click;
    if (mouse == WM_LBUTTONDOWN)
        click = TRAYCLICK::DOWN;
    else if (mouse == WM_LBUTTONUP)
        click = TRAYCLICK::UP;
    else if (mouse == WM_LBUTTONDBLCLK)
        click = TRAYCLICK::DOUBLE;
    else
        return;
    // As they are now: the keys that this thread has seen are those of a time when it had the focus.
    const bool shift = GetAsyncKeyState(VK_SHIFT) < 0, control = GetAsyncKeyState(VK_CONTROL) < 0;
    const CLICKACTION action = TrayClickAction(click, shift, control, Application->pState);
    if (action.Reset)
        DoCommand(COMMAND_RESET_COUNT);
    if (action.MailProgram)
        Engine->StartMailProgram(0);
    else if (action.Command != 0)
        DoCommand(action.Command);
}

// ---- the alert ----

void MAINWINDOW::OpenAlert() {
    Trace("WM__ALERTWIN received\n");
    if (AlertWaits)
        return;
    // One that has been clicked away is not read any longer.
    if (!AlertWindow || !AlertWindow->IsVisible())
        ShowNextAlert();
    else if (HasNextAlert())
        LetAlertBeRead();
}

bool MAINWINDOW::HasNextAlert() {
    const std::lock_guard hold(AlertGuard);
    return !Alerts.empty();
}

void MAINWINDOW::LetAlertBeRead() {
    KillTimer(hWnd, TIMER_ALERT);
    AlertWaits = true;
    SetTimer(hWnd, TIMER_NEXT_ALERT, static_cast<UINT>(Times.AlertReadMs), nullptr);
}

void MAINWINDOW::ShowNextAlert() {
    KillTimer(hWnd, TIMER_NEXT_ALERT);
    AlertWaits = false;
    ALERTREQUEST request;
    {
        const std::lock_guard hold(AlertGuard);
        if (Alerts.empty() || !Application || Vanished)
            return;
        request = std::move(Alerts.front());
        Alerts.pop_front();
    }
    KillTimer(hWnd, TIMER_ALERT);
    const STRINGARRAY& state = Application->pState;
    ALERTSETUP setup;
    if (AlertWindow && AlertWindow->IsVisible())
        setup.DeafMs = Times.AlertDeafMs;
    AlertWindow.reset();
    setup.TextColor = request.TextColor;
    setup.BackColor = request.BackColor;
    setup.Font = state.Get("PopupFont");
    setup.FontDots = state.GetNumber("PopupFontDots");
    ASSERTION(setup.Font.Length() == FONTVALUE_LENGTH, "this->pState[\"PopupFont\"].Length()==sizeof(LOGFONT)");
    setup.Position = state.GetNumber("PopupPosition") + 1;
    setup.Parent = hWnd;
    // Out of the range of commands.
    setup.ClickValue = request.Handle != 0 ? request.Handle + COMMAND_VALUES_END : 0;
    setup.Transparency = state.GetNumber("PopupTransparency");
    AlertWindow = std::make_unique<SEMITOOLTIP>(request.Text, setup);
    if (HasNextAlert())
        LetAlertBeRead();
    else if (request.DurationMs > 0)
        SetTimer(hWnd, TIMER_ALERT, static_cast<UINT>(request.DurationMs), nullptr);
}

void MAINWINDOW::CloseAlert() {
    KillTimer(hWnd, TIMER_ALERT);
    AlertWindow.reset();
    if (AlertWaits)
        ShowNextAlert();
}

void MAINWINDOW::Vanish() {
    Vanished = true;
    EndMenu();
    AlertWindow.reset();
    Tray.reset();
    EnumThreadWindows(
        UserThread,
        [](HWND window, LPARAM) -> BOOL {
            if (IsWindowVisible(window))
                ShowWindow(window, SW_HIDE);
            return TRUE;
        },
        0);
}

void MAINWINDOW::OnAlertClick(WPARAM button, LPARAM value) {
    // The next one may stand there already: it was on its way here before the click.
    const bool stands = AlertWindow && AlertWindow->WasClicked();
    if (button == 1) {
        // Before the mail program, which may have something to say and so let the next alert in.
        if (stands)
            SetTimer(hWnd, TIMER_ALERT, static_cast<UINT>(Times.AlertRightClickMs), nullptr);
        Engine->StartMailProgram(value > COMMAND_VALUES_END ? static_cast<int>(value) - COMMAND_VALUES_END : 0);
    } else if (ASSERTION(button == 0, "FALSE")) {
        if (stands)
            CloseAlert();
        if (value > 0 && value < COMMAND_VALUES_END)
            DoCommand(static_cast<int>(value));
    }
}
