#include "app/desktop/inbox.h"

#include <algorithm>
#include <string>
#include <windowsx.h>

#include "app/common/displaytext.h"
#include "app/core/tarnwick.h"
#include "app/desktop/mailviewer.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "app/inbox/inboxmails.h"
#include "app/inbox/mailview.h"
#include "app/notify/mailprogram.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/window/messages.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int LIST_ID = 1;
constexpr int FIRST_PICTURE = 2081;  // the icon of the first of MAILPICTURE
constexpr int BUTTONS[] = {COMMAND_MAIL_VIEW, COMMAND_MAIL_REASON, COMMAND_MAIL_MARK, COMMAND_MAIL_APPLY,
                           COMMAND_MAIL_FETCH};
constexpr int HEADS[] = {0, 2, 3, 4};  // of the columns, in their text

// At 96 dots per inch.
constexpr int SIZE_WIDTH = 45, POINTS_WIDTH = 40;
constexpr int FROM_RIGHT = 351, FIRST_WIDTH = 350, FIRST_HEIGHT = 150;
constexpr POINT IN_REACH = {20, 20};
constexpr int MIN_WIDTH = 240, MIN_HEIGHT = 150;
constexpr int CELL_MARGINS = 14;

constexpr UINT WM__COMMANDSTATES = WM_USER;  // the selection has changed

constexpr const char* BAD_SENDER_HINT = "DontShowAgainAddSpamSender";

std::string_view Cell(std::string_view row, int column) {
    while (column-- > 0)
        ASCII::Take(row, '\t');
    return row.substr(0, row.find('\t'));
}

}  // namespace

INBOX::INBOX(MAINWINDOW& main, TARNWICK& application, bool isPane)
    : INBOX(
          main, application, isPane,
          {MENU_INBOX_BAR, MENU_INBOX_LIST, "InboxPos", isPane ? "InboxHideToolbar" : nullptr, WM__INBOXCLOSED, isPane},
          std::make_unique<INBOXMAILS>(application)) {}

INBOX::INBOX(MAINWINDOW& main, TARNWICK& application, bool isPane, const FORM& form, std::unique_ptr<MAILROWS> mails)
    : WINDOW(isPane ? WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS : WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, "", 0, 0, 0,
             0, isPane ? main.hWnd : nullptr, isPane ? INBOX_ID : form.Menu, "TarnwickInbox",
             isPane ? WS_EX_CONTROLPARENT : 0),
      Main(main),
      Application(application),
      Form(form),
      IsChild(isPane),
      Mails(std::move(mails)) {
    WindowId = Form.Menu;  // as a pane, too
}

INBOX::~INBOX() {
    if (!IsChild)
        StoreWindowPos(Application.Texts().Get(TEXT_PRODUCT).Text(), Form.Position);
    // Messages that they still send find them gone.
    List.reset();
    Toolbar.reset();
}

void INBOX::Open() {
    DefaultMailer = Application.Programs().Expand(MailtoCommand());
    CreateToolbar();
    List = std::make_unique<LISTVIEW>(hWnd, LIST_ID, LVS_OWNERDATA);
    CreateColumns();
    if (!IsChild)
        PlaceFirst();
    ArrangeControls();
    WINDOW::Show(IsChild ? SW_SHOW : SW_SHOWNORMAL);
}

void INBOX::PlaceFirst() {
    const int width = ScalePixels(FIRST_WIDTH), height = ScalePixels(FIRST_HEIGHT);
    const RECT work = WINDOW(HWND_DESKTOP).Rect();
    if (RestoreWindowPos(Application.Texts().Get(TEXT_PRODUCT).Text(), Form.Position))
        return;
    const int left = static_cast<int>(work.right) - ScalePixels(FROM_RIGHT);
    if (left >= work.left)
        Move(left, static_cast<int>(work.top), width, height);
    else
        Move(IN_REACH.x, IN_REACH.y, width, height);
}

void INBOX::CreateToolbar() {
    Toolbar = std::make_unique<NEWTOOLBAR>(hWnd);
    for (const int command : BUTTONS) {
        if (command != COMMAND_MAIL_FETCH || Form.HasFetchButton)
            Toolbar->AddButton(command, command, TBSTYLE_BUTTON);
    }
    Toolbar->ArrangeButtons();
}

void INBOX::CreateColumns() {
    STRING heads("");
    for (const int head : HEADS)
        heads += (heads.Length() > 0 ? STRING("\t") : STRING("")) || Application.Texts().Part(TEXT_MAIL_COLUMNS, head);
    List->AddColumns(heads);
    List->SetImages({FIRST_PICTURE, FIRST_PICTURE + 1, FIRST_PICTURE + 2, FIRST_PICTURE + 3});
}

void INBOX::ArrangeControls() {
    if (!List)
        return;
    const RECT client = ClientRect();
    const bool hidden = Form.HidesToolbar && Application.pState.GetNumber(Form.HidesToolbar) != 0;
    Toolbar->Show(hidden ? SW_HIDE : SW_SHOW);
    int top = 0;
    if (!hidden) {
        Toolbar->Resize();
        top = static_cast<int>(Toolbar->Rect().bottom);
    }
    List->Move(0, top, client.right, std::max<int>(client.bottom - top, 0));
    AutoWidth();
}

void INBOX::AutoWidth() {
    int width = static_cast<int>(List->ClientRect().right);
    // A scroll bar comes with the drawing, and takes room.
    if (List->Count() > List->RowsPerPage() && !(GetWindowLongW(List->hWnd, GWL_STYLE) & WS_VSCROLL))
        width -= Scale().Metric(SM_CXVSCROLL);
    // Wider where their words need it, say in another language.
    const auto least = [&](int head, const wchar_t* cell, int pixels) {
        const std::wstring text = WideText(Application.Texts().Part(TEXT_MAIL_COLUMNS, head));
        const int needed =
            std::max(ListView_GetStringWidth(List->hWnd, text.c_str()), ListView_GetStringWidth(List->hWnd, cell));
        return std::max(ScalePixels(pixels), needed + ScalePixels(CELL_MARGINS));
    };
    const int size = least(HEADS[COLUMN_SIZE], L"1023 KB", SIZE_WIDTH);
    const int points = least(HEADS[COLUMN_POINTS], L"1000", POINTS_WIDTH);
    const int rest = std::max(width - size - points, 0);
    List->SetColumnWidth(COLUMN_SENDER, rest / 3);
    List->SetColumnWidth(COLUMN_SUBJECT, rest - rest / 3);
    List->SetColumnWidth(COLUMN_SIZE, size);
    List->SetColumnWidth(COLUMN_POINTS, points);
    // Of a column that moves, the control takes what was drawn along, cut texts and all.
    InvalidateRect(List->hWnd, nullptr, TRUE);
}

void INBOX::Show(const STRINGARRAY* item) {
    if (item) {
        // The question lets other things happen, and the item may go.
        const int handle = item->GetNumber("@Handle");
        ApplyChanges(true);
        Item = handle;
    }
    auto& mails = static_cast<INBOXMAILS&>(*Mails);
    mails.Show(Item);
    Item = mails.ItemHandle();
    SetTitle(mails.Title());
    FillListview();
    if (item)
        List->ScrollTo(0);
    UpdateCommands();
}

void INBOX::FillListview() {
    Filling = true;
    Order = Mails->Sorted();
    List->SelectRows({}, -1);
    List->SetRowCount(static_cast<int>(Order.size()));
    if (!Order.empty())
        List->SelectRows({}, 0);
    const int column = Application.pState.GetNumber("LastInboxSortColumn");
    const bool smallestFirst =
        (column == COLUMN_SIZE || column == COLUMN_POINTS) != (Application.pState.GetNumber("LastInboxSortOrder") == 0);
    List->SetSortMark(column, smallestFirst);
    AutoWidth();
    List->RedrawRows();
    Filling = false;
}

std::vector<int> INBOX::RowsOf(const std::vector<int>& mails) const {
    std::vector<bool> wanted(Order.size());
    for (const int mail : mails)
        wanted[static_cast<size_t>(mail)] = true;
    std::vector<int> rows;
    for (size_t row = 0; row < Order.size(); ++row)
        if (wanted[static_cast<size_t>(Order[row])])
            rows.push_back(static_cast<int>(row));
    return rows;
}

std::vector<int> INBOX::SelectedMails() const {
    // Thousands of questions to the control take their time.
    if (List->SelectedCount() == static_cast<int>(Order.size()))
        return Order;
    std::vector<int> mails;
    for (int row = List->FirstSelected(); row != -1; row = List->NextSelected(row))
        mails.push_back(Order[static_cast<size_t>(row)]);
    return mails;
}

std::vector<int> INBOX::FocusedMail() const {
    const int row = List->FocusedRow();
    return row == -1 ? std::vector<int>() : std::vector<int>{Order[static_cast<size_t>(row)]};
}

void INBOX::Select(const std::vector<int>& mails, const std::vector<int>& focused) {
    const std::vector<int> row = RowsOf(focused);
    List->SelectRows(RowsOf(mails), row.empty() ? -1 : row.front());
}

void INBOX::Reload() {
    if (IsBusy()) {
        ReloadWanted = true;
        return;
    }
    const auto names = [this](const std::vector<int>& mails) {
        std::vector<std::string> all;
        for (const int mail : mails)
            all.push_back(Mails->Name(mail));
        return all;
    };
    const int top = List->TopRow();
    const int bottom = std::min(top + List->RowsPerPage(), static_cast<int>(Order.size()));
    const std::vector<std::string> selected = names(SelectedMails()), focused = names(FocusedMail()),
                                   seen = names({Order.begin() + top, Order.begin() + std::max(top, bottom)});
    Show(nullptr);
    Filling = true;
    Select(Mails->Find(selected), Mails->Find(focused));
    // By the first of them that is still there.
    if (const std::vector<int> still = Mails->Find(seen); !still.empty()) {
        const auto was = std::ranges::find(seen, Mails->Name(still.front())) - seen.begin();
        List->ScrollTo(RowsOf({still.front()}).front() - static_cast<int>(was));
    }
    Filling = false;
    UpdateCommands();
}

INBOX::BUSYHOLD::~BUSYHOLD() {
    if (--Inbox.Busy > 0)
        return;
    if (std::exchange(Inbox.ReloadWanted, false))
        Inbox.Reload();
    Inbox.Main.FollowSelection();
}

// ---- messages ----

LRESULT INBOX::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_SIZE:
            if (first != SIZE_MINIMIZED)
                ArrangeControls();
            return 0;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(second)->ptMinTrackSize = {ScalePixels(MIN_WIDTH), ScalePixels(MIN_HEIGHT)};
            return 0;
        case WM_SETFOCUS:
            if (List)
                List->SetFocus();
            return 0;
        case WM_COMMAND:
            if (HIWORD(first) > 1)
                break;
            DoCommand(LOWORD(first));
            return 0;
        case WM_NOTIFY:
            return OnNotify(*reinterpret_cast<NMHDR*>(second));
        case WM_CONTEXTMENU:
            if (!List || reinterpret_cast<HWND>(first) != List->hWnd)
                break;
            ShowContextMenu(second);
            return 0;
        case WM__COMMANDSTATES:
            CommandsPosted = false;
            UpdateCommands();
            return 0;
        case WM_CLOSE:
            if (IsBusy())
                return 0;
            ApplyChanges(true);
            PostMessageW(Main.hWnd, Form.Closed, reinterpret_cast<WPARAM>(hWnd), 0);
            return 0;
        // Nobody can be asked any more; the main window keeps that it was open.
        case WM_ENDSESSION:
            return 0;
        default:
            break;
    }
    return WINDOW::WinProc(message, first, second);
}

LRESULT INBOX::OnNotify(NMHDR& notice) {
    if (notice.code == TTN_GETDISPINFOW) {
        OnToolTip(reinterpret_cast<NMTTDISPINFOW&>(notice));
        return 0;
    }
    if (!List || notice.hwndFrom != List->hWnd)
        return 0;
    switch (notice.code) {
        case NM_CUSTOMDRAW:
            return LISTVIEW::DrawRow(notice);
        case LVN_GETDISPINFOW:
            Answer(reinterpret_cast<NMLVDISPINFOW&>(notice));
            return 0;
        case NM_SETFOCUS:
            if (IsChild)
                Main.KeepFocusAt(List->hWnd);
            return 0;
        case LVN_COLUMNCLICK:
            OnColumnClick(reinterpret_cast<const NMLISTVIEW&>(notice).iSubItem);
            return 0;
        case LVN_ITEMCHANGED:
        case LVN_ODSTATECHANGED:
            // Thousands of rows may change at once.
            if (!Filling && !std::exchange(CommandsPosted, true))
                PostMessageW(hWnd, WM__COMMANDSTATES, 0, 0);
            return 0;
        case NM_DBLCLK:
            // Posted, as the list is still at work.
            if (reinterpret_cast<const NMITEMACTIVATE&>(notice).iItem != -1)
                PostMessageW(hWnd, WM_COMMAND, COMMAND_MAIL_VIEW, 0);
            return 0;
        case LVN_KEYDOWN: {
            const WPARAM key = reinterpret_cast<const NMLVKEYDOWN&>(notice).wVKey;
            if (key == 'A' && GetKeyState(VK_CONTROL) < 0)
                List->SelectAll(true);
            else if (const int command = KeyCommand(key))
                PostMessageW(hWnd, WM_COMMAND, static_cast<WPARAM>(command), 0);
            return 0;
        }
        default:
            return 0;
    }
}

void INBOX::Answer(NMLVDISPINFOW& question) {
    LVITEMW& item = question.item;
    if (item.iItem < 0 || item.iItem >= static_cast<int>(Order.size()))
        return;
    const int mail = Order[static_cast<size_t>(item.iItem)];
    if (item.mask & LVIF_IMAGE)
        item.iImage = List->ImageIndex(FIRST_PICTURE + GetIcon(mail) - PICTURE_UNREAD);
    if (item.mask & LVIF_TEXT && item.cchTextMax > 0) {
        const std::string row = Mails->RowText(mail);
        std::wstring text = WideText(Cell(row, item.iSubItem));
        const auto room = static_cast<size_t>(item.cchTextMax) - 1;
        if (text.size() > room)
            text.resize(room > 0 && IS_HIGH_SURROGATE(text[room - 1]) ? room - 1 : room);
        lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
    }
}

void INBOX::OnToolTip(NMTTDISPINFOW& notice) const {
    const auto* const button = std::ranges::find(BUTTONS, static_cast<int>(notice.hdr.idFrom));
    static std::wstring shown;  // until the next one
    shown = button == std::end(BUTTONS)
                ? std::wstring()
                : WideText(Application.Texts().Part(TEXT_MAIL_BUTTONS, static_cast<int>(button - BUTTONS)));
    notice.lpszText = shown.data();
}

void INBOX::OnColumnClick(int column) {
    const std::vector<int> selected = SelectedMails(), focused = FocusedMail();
    Mails->ClickColumn(column);
    FillListview();
    Filling = true;
    Select(selected, focused);
    Filling = false;
}

void INBOX::ShowContextMenu(LPARAM place) {
    POINT point = {GET_X_LPARAM(place), GET_Y_LPARAM(place)};
    // By the keyboard: at the row, not at the pointer.
    if (point.x == -1 && point.y == -1) {
        RECT row{};
        ListView_GetItemRect(List->hWnd, std::max(List->FocusedRow(), 0), &row, LVIR_LABEL);
        point = {row.left, row.bottom};
        ClientToScreen(List->hWnd, &point);
    }
    MENU menu(Form.PopupMenuId);
    menu.SetDefaultItem(COMMAND_MAIL_VIEW);
    UpdateMenu(menu);
    menu.Popup(hWnd, &point);
}

std::vector<COMMANDSTATE> INBOX::States() const {
    return Mails->CommandStates(SelectedMails(), DefaultMailer.Length() > 0);
}

void INBOX::UpdateMenu(MENU& menu) const {
    for (const COMMANDSTATE& state : States())
        menu.EnableMenuItem(state.Command, *state.Enabled);
}

void INBOX::UpdateCommands() {
    // Once for all: thousands may be selected.
    MENU own(IsChild ? nullptr : GetMenu(hWnd)), main(Form.Closed == WM__INBOXCLOSED ? GetMenu(Main.hWnd) : nullptr);
    for (const COMMANDSTATE& state : States()) {
        own.EnableMenuItem(state.Command, *state.Enabled);
        main.EnableMenuItem(state.Command, *state.Enabled);
        Toolbar->Enable(state.Command, *state.Enabled);
    }
}

int INBOX::KeyTableCommand(WPARAM key) {
    ACCEL keys[16];
    const HACCEL table = LoadAcceleratorsW(ResourceModule(), MAKEINTRESOURCEW(KEY_TABLE_MAILS));
    const int count = table ? CopyAcceleratorTableW(table, keys, static_cast<int>(std::size(keys))) : 0;
    for (int i = 0; i < count; ++i)
        if (keys[i].key == key)
            return keys[i].cmd;
    return 0;
}

int INBOX::KeyCommand(WPARAM key) const {
    const int command = KeyTableCommand(key);
    return command >= COMMAND_INBOX_FIRST && command <= COMMAND_INBOX_LAST ? command : 0;
}

// ---- commands ----

STRING INBOX::ProgramName() const {
    return Application.Texts().Get(TEXT_TITLE);
}

bool INBOX::DoCommand(int command) {
    Trace("INBOX::DoCommand %d\n", command);
    const std::vector<int> selected = SelectedMails();
    // Keys come past the menus.
    const std::vector<COMMANDSTATE> states = States();
    const auto state = std::ranges::find(states, command, &COMMANDSTATE::Command);
    const bool possible = !IsBusy() && (state == states.end() || *state->Enabled);
    const bool rc = possible && Do(command, selected);
    List->RedrawRows();
    UpdateCommands();
    Trace("INBOX::~DoCommand rc=%d\n", rc);
    return rc;
}

bool INBOX::Do(int command, const std::vector<int>& selected) {
    switch (command) {
        case COMMAND_MAIL_ANSWER:
            AnswerSender(Mails->Mail(selected.front()));
            return true;
        case COMMAND_MAIL_MARK:
        case COMMAND_MAIL_UNMARK:
            Mails->Mark(selected, command == COMMAND_MAIL_MARK);
            return true;
        case COMMAND_MAIL_VIEW:
            View(selected.front());
            return true;
        case COMMAND_MAIL_FETCH:
            FetchItem();
            return true;
        case COMMAND_MAIL_APPLY:
            ApplyChanges(false);
            return true;
        case COMMAND_MAIL_REASON:
            ShowReason(Mails->Mail(selected.front()));
            return true;
        case COMMAND_MAIL_FRIEND:
        case COMMAND_MAIL_BAD_SENDER:
            ListSenders(command, selected);
            return true;
        default:
            ASSERTION(false, ("WM_COMMAND " + std::to_string(command)).c_str());
            return false;
    }
}

void INBOX::AnswerSender(const STRINGARRAY& mail) {
    const STRING address = AnswerAddress(mail);
    STRING command = DefaultMailer, unused;
    Trace("INBOX::DoCommand answer defaultmailer= %s\n", command.Text());
    Trace("INBOX::DoCommand answer url= %s\n", address.Text());
    command.Replace("%1", address.Text(), 1);
    // Who has no such program any more sees that nothing comes.
    const bool started = Application.Programs().Start(command, "", "", unused);
    Trace("INBOX::DoCommand StartProgram returned %d\n", started);
}

void INBOX::View(int mail) {
    int result = 0;
    {
        const BUSYHOLD hold(*this);
        result = ShowMail(hWnd, Mails->Whole(mail), Application.Texts().Get(TEXT_MARK_BUTTON), Application.Texts());
    }
    // A listing that has come meanwhile may have put it elsewhere, or taken it away.
    if (result == VIEWER_DELETE)
        DoCommand(COMMAND_MAIL_MARK);
}

void INBOX::FetchItem() {
    if (!Application.FindItem(Item))
        return;
    Main.List().SelectOnly(Item);
    SendMessageW(Main.hWnd, WM_COMMAND, COMMAND_CHECK_ITEMS_QUIETLY, 0);
}

void INBOX::ShowReason(const STRINGARRAY& mail) {
    const STRING file = Application.DataFile("reason.tmp");
    STRING unused;
    // What cannot be shown has no other way to be told.
    if (ReasonText(mail).Save(file.Text(), "w"))
        (void)Application.Programs().Start("notepad", STRING("\"") || file || "\"", "", unused);
}

void INBOX::ListSenders(int command, const std::vector<int>& mails) {
    const bool bad = command == COMMAND_MAIL_BAD_SENDER;
    const BUSYHOLD hold(*this);
    if (bad) {
        STRING question = Application.Texts().Get(TEXT_ASK_BAD_SENDER);
        const std::string sender = DISPLAYTEXT::Safe(Mails->Mail(mails.front())["FromEmail"].View());
        question.Replace("$EMAIL", (sender + (mails.size() > 1 ? ", ..." : "")).c_str(), 1);
        if (!AskHint(hWnd, question, ProgramName(), Application.Texts().Get(TEXT_PRODUCT).Text(), BAD_SENDER_HINT,
                     &Application.pState))
            return;
    }
    if (Mails->ListSenders(mails, bad) == LISTED::NOT_WRITTEN) {
        const STRING file = Application.pState.Get(bad ? "SpamBadSenders" : "SpamMyFriends");
        STRING text = Application.Texts().Get(TEXT_LIST_NOT_WRITTEN);
        text.Replace("$FILE", file.Text(), 1);
        ShowError(hWnd, text, ProgramName());
    }
}

bool INBOX::MayApply(bool automatic, const STRING& what) {
    if (!Mails->MayApply(automatic))
        return false;
    if (!Mails->MustAsk(automatic))
        return true;
    STRING question = Application.Texts().Get(TEXT_ASK_APPLY) || "\n\n" || what;
    question.Replace("$HOWMANY", std::to_string(Mails->CountMarked()).c_str(), 1);
    return AskYesNo(hWnd, question, ProgramName(), true);
}

void INBOX::ShowCount(int text, int howMany) {
    STRING message = Application.Texts().Get(text);
    message.Replace("$HOWMANY", std::to_string(howMany).c_str(), 1);
    ShowError(hWnd, message, ProgramName());
}

void INBOX::ApplyChanges(bool automatic) {
    if (IsBusy())
        return;
    const BUSYHOLD hold(*this);
    const STRINGARRAY* const item = Application.FindItem(Item);
    if (!MayApply(automatic, (item ? item->Get("Name") : STRING("")) || ": $HOWMANY"))
        return;
    if (const int failed = Mails->Apply())
        ShowCount(TEXT_MAILS_UNCOPIED, failed);
}
