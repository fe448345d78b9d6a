#include "app/desktop/trashcan.h"

#include <string>
#include <utility>

#include "app/common/displaytext.h"
#include "app/core/tarnwick.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "app/inbox/trashmails.h"
#include "corelib/base/trace.h"
#include "corelib/window/messages.h"

namespace {

constexpr UINT WM__LISTKEY = 260;         // a key in the list; first: its code
constexpr UINT WM__SENTON = WM_USER + 1;  // the thread has ended

}  // namespace

TRASHCAN::TRASHCAN(MAINWINDOW& main, TARNWICK& application)
    : INBOX(main, application, false,
            {MENU_TRASHCAN_BAR, MENU_TRASHCAN_LIST, "TrashcanPos", "TrashcanHideToolbar", WM__TRASHCANCLOSED, false},
            std::make_unique<TRASHMAILS>(application)) {}

TRASHCAN::~TRASHCAN() {
    Stop = true;
    if (Sending)
        OSYS::WaitThread(hThread, WAIT_FOREVER);
}

LRESULT TRASHCAN::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_NOTIFY: {
            const auto& notice = *reinterpret_cast<const NMLVKEYDOWN*>(second);
            if (notice.hdr.code == LVN_KEYDOWN)
                SendMessageW(hWnd, WM__LISTKEY, notice.wVKey, 0);
            break;
        }
        case WM__LISTKEY: {
            const int command = KeyTableCommand(first);
            if (command != COMMAND_TRASH_RELOAD && command != COMMAND_TRASH_CLOSE)
                break;
            PostMessageW(hWnd, WM_COMMAND, static_cast<WPARAM>(command), 0);
            return 0;
        }
        case WM__SENTON:
            Sent();
            return 0;
        case WM_CLOSE:
            if (!Sending)
                break;
            CloseWanted = true;
            return 0;
        case WM_SETCURSOR:
            if (!Sending || LOWORD(second) != HTCLIENT)
                break;
            SetCursor(LoadCursorW(nullptr, IDC_APPSTARTING));
            return TRUE;
        default:
            break;
    }
    return INBOX::WinProc(message, first, second);
}

void TRASHCAN::Show(const STRINGARRAY* /*item*/) {
    static_cast<TRASHMAILS&>(*Mails).Load();
    FillListview();
    SetTitle(Mails->Title());
    UpdateCommands();
}

void TRASHCAN::ApplyChanges(bool automatic) {
    if (IsBusy())
        return;
    const BUSYHOLD hold(*this);
    Trace("TRASHCAN::DeleteThem\n");
    const bool may = MayApply(automatic, Application.Texts().Get(TEXT_GONE_FOR_GOOD));
    const int failed = may ? Mails->Apply() : 0;
    Trace("TRASHCAN::DeleteThem done\n");
    if (!may)
        return;
    Main.SetMainTitle();
    FillListview();
    SetTitle(Mails->Title());
    if (failed > 0)
        ShowCount(TEXT_COPIES_LEFT, failed);
}

bool TRASHCAN::DoCommand(int command) {
    Trace("TRASHCAN::DoCommand %d\n", command);
    bool rc = true;
    switch (command) {
        case COMMAND_MAIL_FETCH:
        case COMMAND_TRASH_RELOAD:
            Reload();
            break;
        case COMMAND_TRASH_SEND_ON:
            if (const std::vector<int> selected = SelectedMails(); selected.size() == 1)
                SendOn(selected.front());
            break;
        case COMMAND_TRASH_CLOSE:
            SendMessageW(hWnd, WM_CLOSE, 0, 0);
            break;
        default:
            rc = command >= COMMAND_INBOX_FIRST && command <= COMMAND_TRASH_LAST;
            if (ASSERTION(rc, ("WM_COMMAND " + std::to_string(command)).c_str()))
                rc = INBOX::DoCommand(command);
    }
    Trace("TRASHCAN::~DoCommand rc=%d\n", rc);
    return rc;
}

void TRASHCAN::SendOn(int mail) {
    if (Sending || IsBusy())
        return;
    Mail = Mails->Whole(mail);
    Settings = Application.pState;
    hThread = OSYS::CreateThread(SendBody, this, nullptr);
    Sending = true;
    SendHold.emplace(*this);
}

unsigned TRASHCAN::SendBody(void* self) {
    auto& can = *static_cast<TRASHCAN*>(self);
    can.Arrived = TRASHMAILS::SendOn(
        can.Application.Lessons(), can.Mail, can.Settings, can.Application.Texts(),
        [&can] { return can.Stop || can.Application.Cycle().IsStopRequested(); }, can.Error);
    PostMessageW(can.hWnd, WM__SENTON, 0, 0);
    return 0;
}

void TRASHCAN::Sent() {
    OSYS::WaitThread(hThread, WAIT_FOREVER);
    Sending = false;
    if (Application.Cycle().IsStopRequested())
        return;  // the program ends
    const TEXTS& texts = Application.Texts();
    const STRING title = texts.Get(TEXT_PRODUCT);
    if (Arrived) {
        STRING text = texts.Get(TEXT_SENT_ON);
        text.Replace("$EMAIL", Settings.Get("SpamSmtpTo").Text(), 1);
        ShowInfo(hWnd, text, title);
    } else {
        const bool unset = Settings.Get("SpamSmtp").Length() == 0 || Settings.Get("SpamSmtpTo").Length() == 0;
        const STRING advice = unset ? STRING("\n\n") || texts.Get(TEXT_NO_SEND_ON_SERVER) : STRING("");
        ShowError(hWnd,
                  STRING(std::string_view(DISPLAYTEXT::Safe((texts.Get(TEXT_NOT_SENT_ON) || Error || advice).View()))),
                  title);
    }
    SendHold.reset();
    if (std::exchange(CloseWanted, false))
        PostMessageW(hWnd, WM_CLOSE, 0, 0);
}
