#pragma once

#include "corelib/window/datadialog.h"

/// A data dialog of pages, one of which shows at a time: a frame with a tab control, OK and Cancel, and the pages,
/// which are data dialogs without a frame (DS_CONTROL | WS_CHILD). Pages are loaded, and stored, all together. Ctrl
/// with Tab, Page up and Page down goes from page to page.
class DATAPAGES : public DATADIALOG {
 public:
    /// tab: the tab control of the frame; the pages lie inside it.
    DATAPAGES(int resource, HWND parent, int tab) : DATADIALOG(resource, parent), Tab(tab) {}

    /// Before the dialog runs; the page comes back. At most 16.
    DATADIALOG& AddPage(const STRING& title, std::unique_ptr<DATADIALOG> page);
    void ShowPage(const DATADIALOG& page);
    /// Shows this page at first in place of the first one. Before the dialog runs.
    void BeginWith(const DATADIALOG& page) { Beginning = &page; }
    /// The page that shows.
    DATADIALOG& Page() { return *Pages[Shown].Dialog; }
    /// Goes on by so many pages, round at the ends, and puts the focus there.
    void Step(int pages);

    bool Run() override;
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 protected:
    void Rescaled(SCALE before) override;
    void Load() override;
    void Store() override;
    void ApplyRules() override;
    void SourceChanged(DATADIALOG& parent, HWND control) override;
    bool IsAcceptable() override;

 private:
    struct PAGE {
        STRING Title;
        std::unique_ptr<DATADIALOG> Dialog;
    };
    void MakePage(size_t n);
    void PlacePage(size_t n);
    void Select(size_t page);
    void FocusPage();

    static constexpr size_t Max = 16;
    std::vector<PAGE> Pages;
    size_t Howmany = 0;
    size_t Shown = 0;
    const DATADIALOG* Beginning = nullptr;
    const int Tab;
};
