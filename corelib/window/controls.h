#pragma once

#include "corelib/window/window.h"

/// A window for tips over the parts of another one, with which it goes. width: where its lines are broken, in pixels at
/// 96 dots per inch; such long tips stay half a minute. 0: each tip is one line.
HWND MakeTipWindow(HWND owner, int width = 0);
/// Fits it to its owner's scale, with the width that it was made with.
void ScaleTips(HWND tips, int width);

/// A control: a child window of one of the system's classes. Bound to one that is there (which stays when the object
/// goes), or made by the object (in the message font). A missing one leaves Hwnd() null; operations then do nothing.
class CONTROL : public WINDOW {
 public:
    explicit CONTROL(HWND window) : WINDOW(window) {}
    CONTROL(HWND dialog, int id) : WINDOW(GetDlgItem(dialog, id)) { WindowId = id; }
    /// Makes a visible child window. Its messages pass WinProc.
    CONTROL(const wchar_t* className, DWORD style, DWORD extendedStyle, HWND parent, int id);
    ~CONTROL() override;

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

    /// The name of its class.
    STRING ClassName() const;
    /// The font is not the control's; it must outlive it.
    void SetFont(HFONT font);
    void SetFocus() { ::SetFocus(hWnd); }
    LRESULT Send(UINT message, WPARAM first = 0, LPARAM second = 0) const {
        return SendMessageW(hWnd, message, first, second);
    }

 protected:
    void Rescaled(SCALE before) override;

 private:
    static LRESULT CALLBACK ControlProcedure(HWND window, UINT message, WPARAM first, LPARAM second);
    /// The window's messages go to its class alone again.
    void Release();

    WNDPROC ClassProcedure = DefWindowProcW;
};

class STATICTEXT : public CONTROL {
 public:
    using CONTROL::CONTROL;
    STRING Text() const { return Title(); }
    void SetText(const STRING& text) { SetTitle(text); }
};

/// An edit field. Texts have "\r\n" between lines, as the control has them.
class EDITFIELD : public CONTROL {
 public:
    using CONTROL::CONTROL;
    STRING Text() const { return Title(); }
    void SetText(const STRING& text) { SetTitle(text); }
    /// At most so many characters can be typed; 0 is the control's own limit.
    void Limit(int characters) { Send(EM_LIMITTEXT, static_cast<WPARAM>(characters)); }
    void SelectAll() { Send(EM_SETSEL, 0, -1); }
    void SetReadOnly(bool readOnly) { Send(EM_SETREADONLY, readOnly); }
};

/// A push button, check box or radio button.
class BUTTON : public CONTROL {
 public:
    using CONTROL::CONTROL;
    /// The button style: BS_PUSHBUTTON, BS_AUTOCHECKBOX ...
    int Kind() const { return static_cast<int>(GetWindowLongW(hWnd, GWL_STYLE) & BS_TYPEMASK); }
    /// 0 off, 1 on, 2 undecided.
    int State() const { return static_cast<int>(Send(BM_GETCHECK)); }
    void SetState(int state) { Send(BM_SETCHECK, static_cast<WPARAM>(state)); }
    bool IsChecked() const { return State() == BST_CHECKED; }
};

/// A list box or a combo box, told apart by the name of the class. Places count from 0; -1 is none.
class LISTBOX : public CONTROL {
 public:
    explicit LISTBOX(HWND window);
    LISTBOX(HWND dialog, int id);

    bool IsListBox() const { return ListBox; }
    void Clear() { Send(ListBox ? LB_RESETCONTENT : CB_RESETCONTENT); }
    void Add(const STRING& text);
    int Count() const { return static_cast<int>(Send(ListBox ? LB_GETCOUNT : CB_GETCOUNT)); }
    int Selected() const { return static_cast<int>(Send(ListBox ? LB_GETCURSEL : CB_GETCURSEL)); }
    void Select(int place) { Send(ListBox ? LB_SETCURSEL : CB_SETCURSEL, static_cast<WPARAM>(place)); }
    /// The whole text, without regard to case.
    int Find(const STRING& text) const;
    /// Empty if there is no such place.
    STRING TextAt(int place) const;
    STRING SelectedText() const { return TextAt(Selected()); }

 private:
    bool ListBox;
};

/// A line below a window that tells what goes on.
class STATUSLINE : public CONTROL {
 public:
    STATUSLINE(HWND parent, int id) : CONTROL(STATUSCLASSNAMEW, SBARS_SIZEGRIP, 0, parent, id) {}
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;
};

/// The answer to a push button's or check box's NM_CUSTOMDRAW, with which it is as dark as the window that it is in.
LRESULT DrawDarkButton(const NMCUSTOMDRAW& draw);

class PROGRESSBAR : public CONTROL {
 public:
    using CONTROL::CONTROL;
    void SetRange(int lowest, int highest) { Send(PBM_SETRANGE32, static_cast<WPARAM>(lowest), highest); }
    void SetPosition(int position) { Send(PBM_SETPOS, static_cast<WPARAM>(position)); }
};
