#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "corelib/base/pagewalk.h"
#include "corelib/window/datadialog.h"

/// Ends the page on show, with its result as the first parameter. For the frame.
inline constexpr UINT WM__ENDPAGE = 1089;

/// A frame for pages that are filled in one after the other, which knows of no page what it is about. Its dialog has
/// the controls below; a page is a dialog without a frame (DS_CONTROL | WS_CHILD) whose texts for the head are
/// invisible in it.
class WIZARD : public DATADIALOG {
 public:
    static constexpr int ID_BACK = 10780, ID_NEXT = 10781, ID_TITLE = 10782, ID_SUBTITLE = 10783, ID_PLACE = 10791;

    struct STEP {
        int idstep = 0;  // the page's number, not 0
        int Dialog = 0;  // its resource
        int Param = 0;   // what it makes of it
        bool NoBack = false;
    };
    /// Shows the step's page by RunPage, and gives that result back once it has stored what the user has entered; or
    /// shows nothing, and says PAGEEND::NOTHING_TO_ASK.
    using PAGEFUNCTION = std::function<PAGEEND(WIZARD& wizard, const STEP& step)>;

    /// canceltext: the question that a cancel asks, to which yes stays. subtitlesize: in points, -1 for the dialog's
    /// font.
    WIZARD(int dialog, HWND parent, const STRING& title, const STRING& canceltext, int subtitlesize);
    ~WIZARD() override;

    /// At most 32. The pages come in this order.
    void AddStep(const STEP& step, PAGEFUNCTION function);
    /// True if the wizard reached its end, false if it was cancelled or the program ends.
    bool Run() override;

    /// For a page function: shows the page until the user leaves it; by Next it has been accepted and stored.
    PAGEEND RunPage(DATADIALOG& page);

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 private:
    struct ENTRY {
        STEP Step;
        PAGEFUNCTION Function;
    };
    void Rescaled(SCALE before) override;
    void ShowPage();
    void SetHeadFonts();
    void SetButtons();
    void PaintHead(HDC dc) const;
    PAGEEND Wait();

    DATADIALOG* pSubDlg = nullptr;
    static constexpr size_t Max = 32;
    std::vector<ENTRY> Steps;
    std::optional<PAGEWALK> Walk;  // while it runs
    const STRING Heading;
    const STRING CancelText;
    STRING NextText;
    const int SubtitlePoints;
    FONTHANDLE TitleFont, SubtitleFont;
    std::optional<PAGEEND> Result;  // of the page on show
};
