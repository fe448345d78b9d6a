#include "corelib/window/datapages.h"

#include <uxtheme.h>

#include "corelib/base/trace.h"
#include "corelib/window/widetext.h"

namespace {

/// Sees the keys of a dialog with pages before its controls do.
class PAGEKEYS {
 public:
    explicit PAGEKEYS(DATAPAGES& dialog)
        : Former(Dialog), Filter(SetWindowsHookExW(WH_MSGFILTER, See, nullptr, GetCurrentThreadId())) {
        Dialog = &dialog;
    }
    ~PAGEKEYS() {
        UnhookWindowsHookEx(Filter);
        Dialog = Former;
    }
    PAGEKEYS(const PAGEKEYS&) = delete;
    PAGEKEYS& operator=(const PAGEKEYS&) = delete;

 private:
    static LRESULT CALLBACK See(int code, WPARAM first, LPARAM second) {
        const MSG& message = *reinterpret_cast<const MSG*>(second);
        const int pages = code == MSGF_DIALOGBOX && message.message == WM_KEYDOWN ? PagesOf(message.wParam) : 0;
        if (pages == 0 || !IsChild(Dialog->hWnd, message.hwnd))
            return CallNextHookEx(nullptr, code, first, second);
        Dialog->Step(pages);
        return 1;
    }
    static int PagesOf(WPARAM key) {
        if (GetKeyState(VK_CONTROL) >= 0)
            return 0;
        if (key == VK_TAB)
            return GetKeyState(VK_SHIFT) < 0 ? -1 : 1;
        return key == VK_NEXT ? 1 : key == VK_PRIOR ? -1 : 0;
    }

    static inline DATAPAGES* Dialog = nullptr;
    DATAPAGES* Former;
    HHOOK Filter;
};

}  // namespace

DATADIALOG& DATAPAGES::AddPage(const STRING& title, std::unique_ptr<DATADIALOG> page) {
    ASSERTION(this->Howmany < this->Max, "this->Howmany < this->Max");
    page->Frame = this;
    Pages.push_back({title, std::move(page)});
    Howmany = Pages.size();
    return *Pages.back().Dialog;
}

bool DATAPAGES::Run() {
    const PAGEKEYS keys(*this);
    return DATADIALOG::Run();
}

void DATAPAGES::MakePage(size_t n) {
    DATADIALOG& page = *Pages[n].Dialog;
    std::wstring title = WideText(Pages[n].Title);
    TCITEMW entry{};
    entry.mask = TCIF_TEXT;
    entry.pszText = title.data();
    const HWND tab = GetDlgItem(hWnd, Tab);
    SendMessageW(tab, TCM_INSERTITEMW, n, reinterpret_cast<LPARAM>(&entry));
    if (!page.Create(hWnd))
        return;
    SetWindowLongW(page.hWnd, GWL_EXSTYLE, GetWindowLongW(page.hWnd, GWL_EXSTYLE) | WS_EX_CONTROLPARENT);
    EnableThemeDialogTexture(page.hWnd, ETDT_ENABLETAB);
    PlacePage(n);
}

void DATAPAGES::PlacePage(size_t n) {
    const HWND tab = GetDlgItem(hWnd, Tab), page = Pages[n].Dialog->hWnd;
    RECT area = WINDOW(tab).Rect();
    SendMessageW(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
    // Where the tabs have been in the order of the Tab key.
    SetWindowPos(page, tab, area.left, area.top, area.right - area.left, area.bottom - area.top, SWP_NOACTIVATE);
}

void DATAPAGES::Rescaled(SCALE before) {
    DATADIALOG::Rescaled(before);
    for (size_t n = 0; n < Howmany; ++n)
        PlacePage(n);
    // They have come in front of it.
    SetWindowPos(GetDlgItem(hWnd, Tab), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void DATAPAGES::Load() {
    // First all windows: rules look across the pages.
    for (size_t n = 0; n < Howmany; ++n)
        MakePage(n);
    // The tabs lie below the pages, or they would draw themselves over them. By the Tab key they come last, which is
    // in front of the first again.
    const HWND tab = GetDlgItem(hWnd, Tab);
    SetWindowLongW(tab, GWL_STYLE, GetWindowLongW(tab, GWL_STYLE) | WS_CLIPSIBLINGS);
    SetWindowPos(tab, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    DATADIALOG::Load();
    for (size_t n = 0; n < Howmany; ++n)
        Pages[n].Dialog->Load();
    Shown = 0;
    if (Howmany > 0)
        Select(0);
    if (Beginning)
        ShowPage(*Beginning);
}

void DATAPAGES::Store() {
    DATADIALOG::Store();
    for (size_t n = 0; n < Howmany; ++n)
        Pages[n].Dialog->Store();
}

void DATAPAGES::ApplyRules() {
    DATADIALOG::ApplyRules();
    for (size_t n = 0; n < Howmany; ++n)
        Pages[n].Dialog->ApplyRules();
}

void DATAPAGES::SourceChanged(DATADIALOG& parent, HWND control) {
    DATADIALOG::SourceChanged(parent, control);
    for (size_t n = 0; n < Howmany; ++n)
        Pages[n].Dialog->SourceChanged(parent, control);
}

bool DATAPAGES::IsAcceptable() {
    for (size_t n = 0; n < Howmany; ++n)
        if (!Pages[n].Dialog->IsAcceptable())
            return false;
    return DATADIALOG::IsAcceptable();
}

void DATAPAGES::Select(size_t page) {
    ShowWindow(Pages[Shown].Dialog->hWnd, SW_HIDE);
    Shown = page;
    SendDlgItemMessageW(hWnd, Tab, TCM_SETCURSEL, Shown, 0);
    ShowWindow(Page().hWnd, SW_SHOW);
}

void DATAPAGES::ShowPage(const DATADIALOG& page) {
    for (size_t n = 0; n < Howmany; ++n)
        if (Pages[n].Dialog.get() == &page)
            Select(n);
}

void DATAPAGES::Step(int pages) {
    if (Howmany == 0)
        return;
    const auto count = static_cast<int>(Howmany);
    Select(static_cast<size_t>((static_cast<int>(Shown) + pages + count) % count));
    FocusPage();
}

void DATAPAGES::FocusPage() {
    const HWND first = GetNextDlgTabItem(Page().hWnd, nullptr, FALSE);
    SendMessageW(hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(first), TRUE);
}

LRESULT DATAPAGES::WinProc(UINT message, WPARAM first, LPARAM second) {
    // Of the frame there is nothing to tell that would not be about the page.
    if (message == WM_HELP && Howmany > 0)
        return SendMessageW(Page().hWnd, message, first, second);
    if (message == WM_NOTIFY) {
        const NMHDR& notice = *reinterpret_cast<const NMHDR*>(second);
        if (notice.code == TCN_SELCHANGE && notice.idFrom == static_cast<UINT_PTR>(Tab))
            Select(static_cast<size_t>(SendMessageW(notice.hwndFrom, TCM_GETCURSEL, 0, 0)));
    }
    const LRESULT result = DATADIALOG::WinProc(message, first, second);
    if (message == WM_INITDIALOG && Howmany > 0) {
        FocusPage();
        return 0;
    }
    return result;
}
