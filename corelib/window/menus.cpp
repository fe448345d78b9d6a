#include "corelib/window/menus.h"

#include <string>

#include "corelib/base/trace.h"
#include "corelib/window/widetext.h"
#include "corelib/window/window.h"

namespace {

STRING EntryText(HMENU menu, UINT item, UINT by) {
    const int length = GetMenuStringW(menu, item, nullptr, 0, by);
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    GetMenuStringW(menu, item, text.data(), length + 1, by);
    return FromWide(std::wstring_view(text).substr(0, static_cast<size_t>(length)));
}

}  // namespace

MENU::MENU(int resource) : Handle(nullptr) {
    const MENUHANDLE bar(LoadMenuW(ResourceModule(), MAKEINTRESOURCEW(resource)));
    Handle = GetSubMenu(bar.get(), 0);
    if (ASSERTION_INFO(Handle != nullptr, "hmenu", std::to_string(resource).c_str()))
        RemoveMenu(bar.get(), 0, MF_BYPOSITION);
    Own.reset(Handle);
}

void MENU::EnableMenuItem(int command, bool enable) {
    ::EnableMenuItem(Handle, static_cast<UINT>(command), MF_BYCOMMAND | (enable ? MF_ENABLED : MF_GRAYED));
}

void MENU::CheckMenuItem(int command, bool check) {
    ::CheckMenuItem(Handle, static_cast<UINT>(command), MF_BYCOMMAND | (check ? MF_CHECKED : MF_UNCHECKED));
}

void MENU::SetDefaultItem(int command) {
    SetMenuDefaultItem(Handle, command != 0 ? static_cast<UINT>(command) : static_cast<UINT>(-1), FALSE);
}

void MENU::DeleteMenu(int command) {
    ::DeleteMenu(Handle, static_cast<UINT>(command), MF_BYCOMMAND);
}

void MENU::DeletePosition(int position) {
    ::DeleteMenu(Handle, static_cast<UINT>(position), MF_BYPOSITION);
}

void MENU::DeleteSeparator(const char* submenu, int position) {
    for (int i = 0; i < GetMenuItemCount(Handle); ++i) {
        STRING text = EntryText(Handle, static_cast<UINT>(i), MF_BYPOSITION);
        text.Replace("&", "");
        if (stricmp(text.Text(), submenu, false) != 0)
            continue;
        const HMENU found = GetSubMenu(Handle, i);
        MENUITEMINFOW mii{};
        mii.cbSize = sizeof mii;
        mii.fMask = MIIM_FTYPE;
        const bool known = GetMenuItemInfoW(found, static_cast<UINT>(position), TRUE, &mii) != 0;
        if (ASSERTION(known && mii.fType == MFT_SEPARATOR, "mii.fType==MFT_SEPARATOR"))
            ::DeleteMenu(found, static_cast<UINT>(position), MF_BYPOSITION);
        return;
    }
}

STRING MENU::ItemText(int command) const {
    return EntryText(Handle, static_cast<UINT>(command), MF_BYCOMMAND);
}

void MENU::Popup(HWND owner, const POINT* at) {
    POINT point{};
    if (at)
        point = *at;
    else
        GetCursorPos(&point);
    // Without these two a tray icon's menu does not close when the user clicks elsewhere. A dialog that is open over
    // the owner keeps the keyboard.
    SetForegroundWindow(GetLastActivePopup(owner));
    TrackPopupMenu(Handle, TPM_RIGHTBUTTON, point.x, point.y, 0, owner, nullptr);
    PostMessageW(owner, WM_NULL, 0, 0);
}
