#pragma once

#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"

/// A menu and what is done to its entries. Entries are named by their command, or by their place from 0.
class MENU {
 public:
    /// A window's menu, which stays the window's.
    explicit MENU(HMENU menu) : Handle(menu) {}
    /// The popup menu of that number of the resource module: the first one of its bar. It goes with the object.
    explicit MENU(int resource);

    HMENU Get() const { return Handle; }
    void EnableMenuItem(int command, bool enable);
    void CheckMenuItem(int command, bool check);
    /// The entry that stands for a double click, in bold; 0 for none.
    void SetDefaultItem(int command);
    void DeleteMenu(int command);
    void DeletePosition(int position);
    /// Removes the separator at a place of a submenu, which is found by its text in the bar ("&" and case apart).
    void DeleteSeparator(const char* submenu, int position);
    /// The entry's text, with its "&" and what stands after a tab; empty if there is none.
    STRING ItemText(int command) const;

    /// Shows a popup menu at `at` (screen coordinates), or at the mouse; the command comes as WM_COMMAND to owner.
    void Popup(HWND owner, const POINT* at = nullptr);

 private:
    MENUHANDLE Own;
    HMENU Handle;
};
