#pragma once

#include <string>
#include <vector>

#include "corelib/base/strings.h"
#include "corelib/window/drawnaccess.h"
#include "corelib/window/icons.h"
#include "corelib/window/window.h"

/// A tool bar that draws itself. A button's click, or Enter or the space bar on it, comes to the parent as WM_COMMAND;
/// its tooltip is asked of the parent as TTN_GETDISPINFO with the command as number. Tab and F6 enter and leave the
/// bar, the arrows, Home and End go from button to button.
class NEWTOOLBAR : public WINDOW, private DRAWNELEMENTS {
 public:
    static constexpr int HEIGHT = 34;            // pixels at 96 dots per inch
    static constexpr int MAX_BUTTONS = 2048;     // separators included
    static constexpr int DISABLED_ICONS = 2000;  // added to a picture's number: how it looks disabled

    explicit NEWTOOLBAR(HWND parent, int id = 3);
    ~NEWTOOLBAR() override;

    /// bitmap: the resource number of the picture, -1 for none. style: TBSTYLE_BUTTON, TBSTYLE_CHECK (stays down until
    /// the next click) or TBSTYLE_CHECK | TBSTYLE_GROUP (one of a run of such neighbours is down).
    void AddButton(int id, int bitmap, int style);
    void AddSeparator();
    /// A label beside the picture, from a menu's text: "&" goes, what stands after a tab, and dots at the end.
    void SetButtonText(int id, const STRING& text);
    bool IsChecked(int id) const;
    /// Only for those with TBSTYLE_CHECK. Checking one of a group clears the others of its run.
    void Check(int id, bool flag);
    void Enable(int id, bool flag);
    using WINDOW::Enable;

    /// Along the top of its parent, as wide as that is.
    void Resize();
    /// Gives the buttons their places, from left to right; after the last change of buttons or labels.
    void ArrangeButtons();
    /// A button's place in the bar; empty if there is none.
    RECT ButtonRect(int id) const;

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 private:
    struct BUTTON {
        WORD Id;
        BYTE Style;
        BYTE State;
        STRING Label;
        int Left, Top, Right;
        int Image;  // in both lists, -1 for none
    };
    // DRAWNELEMENTS: the buttons by place, separators included
    ELEMENT Whole() const override;
    int Count() const override { return static_cast<int>(Buttons.size()); }
    ELEMENT Element(int index) const override;
    bool TakeFocus(int index) override;
    bool PressLater(int index) override;

    BUTTON* Find(int id);
    const BUTTON* Find(int id) const;
    RECT RectOf(const BUTTON& button) const;
    int ButtonAt(POINT point) const;
    bool CanPress(int index) const;
    void SetState(BUTTON& button, BYTE bit, bool flag);
    void SetMark(int& mark, int index);
    void TellFocus() const;
    std::wstring TipOf(const BUTTON& button) const;
    void Redraw(int index);
    void TrackMouse(POINT point);
    void LookAfterMouse();
    void Release(POINT point);
    void Activate(int index);
    bool TypeKey(WPARAM key, bool again);
    void MoveFocus(int from, int step);
    void Rescaled(SCALE before) override;
    void Paint();
    void DrawButton(HDC dc, HTHEME theme, int index);

    ICONIMAGES Images, DisabledImages;
    HWND Tips = nullptr;
    std::vector<BUTTON> Buttons;
    int Hot = -1, Pressed = -1, Focused = -1;
    DRAWNACCESS Access{*this};
};
