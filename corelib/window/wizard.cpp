#include "corelib/window/wizard.h"

#include <cwchar>
#include <utility>

#include "corelib/base/trace.h"
#include "corelib/window/controls.h"
#include "corelib/window/messages.h"

namespace {

constexpr int TITLE_POINTS = 8;
constexpr int HEAD_MARGIN = 8;  // below the subtitle, in pixels at 96 dots per inch

constexpr int POINTS_PER_INCH = 72;

FONTHANDLE MakeFont(int points, int weight, SCALE scale) {
    LOGFONTW look{};
    look.lfHeight = -scale.From(SCALE(POINTS_PER_INCH), points);
    look.lfWeight = weight;
    look.lfCharSet = DEFAULT_CHARSET;
    wcscpy(look.lfFaceName, L"Arial");
    return FONTHANDLE(CreateFontIndirectW(&look));
}

}  // namespace

WIZARD::WIZARD(int dialog, HWND parent, const STRING& title, const STRING& canceltext, int subtitlesize)
    : DATADIALOG(dialog, parent), Heading(title), CancelText(canceltext), SubtitlePoints(subtitlesize) {}

WIZARD::~WIZARD() {
    ASSERTION(!this->pSubDlg, "!this->pSubDlg");
    if (hWnd)
        DestroyWindow(hWnd);
}

void WIZARD::AddStep(const STEP& step, PAGEFUNCTION function) {
    if (ASSERTION(Steps.size() < Max, "this->Howmany < this->Max"))
        Steps.push_back({step, std::move(function)});
}

bool WIZARD::Run() {
    if (Steps.empty() || !Create(Waiting))
        return false;
    if (Heading.Length() > 0)
        SetTitle(Heading);
    // Owned by a window that is hidden it would have no place in the taskbar, and could not be found again.
    if (Waiting && !IsWindowVisible(Waiting))
        SetWindowLongW(hWnd, GWL_EXSTYLE, GetWindowLongW(hWnd, GWL_EXSTYLE) | WS_EX_APPWINDOW);
    NextText = ControlText(ID_NEXT);
    const bool enabled = Waiting && !EnableWindow(Waiting, FALSE);
    Walk.emplace(Steps.size());
    while (!Walk->IsOver()) {
        const ENTRY& entry = Steps[Walk->Page()];
        ASSERTION(entry.Step.idstep != 0, "steps[step].idstep!=0");
        const PAGEEND end = entry.Function(*this, entry.Step);
        if (!Walk->IsOver())
            Walk->Leave(end);
    }
    if (enabled)
        EnableWindow(Waiting, TRUE);
    DestroyWindow(hWnd);
    return Walk->HasReachedEnd();
}

PAGEEND WIZARD::RunPage(DATADIALOG& page) {
    ASSERTION(!this->pSubDlg, "!this->pSubDlg");
    if (!page.Create(hWnd))
        return PAGEEND::CANCEL;
    pSubDlg = &page;
    ShowPage();
    SetButtons();
    const PAGEEND result = Wait();
    pSubDlg = nullptr;
    DestroyWindow(page.hWnd);
    return result;
}

void WIZARD::ShowPage() {
    const HWND page = pSubDlg->hWnd;
    SetWindowLongW(page, GWL_EXSTYLE, GetWindowLongW(page, GWL_EXSTYLE) | WS_EX_CONTROLPARENT);
    const HWND placeholder = GetDlgItem(hWnd, ID_PLACE);
    const RECT place = WINDOW(placeholder).Rect();
    // By the Tab key its controls come before the buttons.
    SetWindowPos(page, placeholder, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOACTIVATE);
    for (const int text : {ID_TITLE, ID_SUBTITLE})
        SetControlText(text, pSubDlg->ControlText(text));
    SetHeadFonts();
    pSubDlg->SetTitle(Title());  // of its complaints
    ShowWindow(page, SW_SHOW);
    ShowWindow(hWnd, SW_SHOW);
}

void WIZARD::SetHeadFonts() {
    // The one so far goes once the control has the new one.
    const auto set = [this](FONTHANDLE& kept, int control, int points, int weight) {
        FONTHANDLE made = MakeFont(points, weight, Scale());
        CONTROL(hWnd, control).SetFont(made.get());
        kept = std::move(made);
    };
    set(TitleFont, ID_TITLE, TITLE_POINTS, FW_BOLD);
    if (SubtitlePoints != -1)
        set(SubtitleFont, ID_SUBTITLE, SubtitlePoints, FW_NORMAL);
}

void WIZARD::Rescaled(SCALE before) {
    DATADIALOG::Rescaled(before);
    SetHeadFonts();
}

void WIZARD::SetButtons() {
    const HWND back = GetDlgItem(hWnd, ID_BACK), next = GetDlgItem(hWnd, ID_NEXT);
    ShowWindow(back, Walk->IsFirst() ? SW_HIDE : SW_SHOW);
    EnableWindow(back, !Steps[Walk->Page()].Step.NoBack);
    SetControlText(ID_NEXT, Walk->IsLast() ? STRING(IsGermanResourceModule() ? "Fertig" : "Done") : NextText);
    SendMessageW(hWnd, DM_SETDEFID, ID_NEXT, 0);
    SendMessageW(hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
}

PAGEEND WIZARD::Wait() {
    Result.reset();
    MSG message;
    while (!Result) {
        if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
            // It is for whoever runs the program's own loop.
            PostQuitMessage(static_cast<int>(message.wParam));
            Walk->BreakOff();
            return PAGEEND::CANCEL;
        }
        if (!CallMsgFilterW(&message, MSGF_DIALOGBOX) && !IsDialogMessageW(hWnd, &message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    return *Result;
}

void WIZARD::PaintHead(HDC dc) const {
    RECT area = ClientRect();
    FillRect(dc, &area, GetSysColorBrush(COLOR_BTNFACE));
    area.bottom = WINDOW(GetDlgItem(hWnd, ID_SUBTITLE)).Rect().bottom + ScalePixels(HEAD_MARGIN);
    FillRect(dc, &area, GetSysColorBrush(COLOR_WINDOW));
    DrawEdge(dc, &area, EDGE_ETCHED, BF_BOTTOM);
}

LRESULT WIZARD::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_HELP:
            if (pSubDlg)
                return SendMessageW(pSubDlg->hWnd, message, first, second);
            break;
        case WM_ERASEBKGND:
            PaintHead(reinterpret_cast<HDC>(first));
            return 1;
        case WM_CTLCOLORSTATIC:
            SetBkColor(reinterpret_cast<HDC>(first), GetSysColor(COLOR_WINDOW));
            SetTextColor(reinterpret_cast<HDC>(first), GetSysColor(COLOR_WINDOWTEXT));
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
        case WM__ENDPAGE:
            Result = static_cast<PAGEEND>(first);
            return 0;
        case WM_COMMAND: {
            const int control = LOWORD(first);
            if (HIWORD(first) != BN_CLICKED || (control != ID_NEXT && control != ID_BACK && control != IDCANCEL))
                break;
            // While it asks something, or after the page has been left.
            if (!IsWindowEnabled(hWnd) || Result)
                return 0;
            if (!ASSERTION(this->pSubDlg != nullptr, "this->pSubDlg"))
                return 0;
            if (control == ID_NEXT && !pSubDlg->IsAcceptable())
                return 0;
            if (control == ID_NEXT)
                pSubDlg->Store();
            // On the last page nothing is left to be cancelled.
            if (control == IDCANCEL && !Walk->IsLast() && AskYesNo(hWnd, CancelText, Title()))
                return 0;
            SendMessageW(hWnd, WM__ENDPAGE,
                         static_cast<WPARAM>(control == ID_NEXT   ? PAGEEND::NEXT
                                             : control == ID_BACK ? PAGEEND::BACK
                                                                  : PAGEEND::CANCEL),
                         0);
            return 0;
        }
        default:
            break;
    }
    return DATADIALOG::WinProc(message, first, second);
}
