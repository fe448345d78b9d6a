#pragma once

#include <string>
#include <vector>

#include "corelib/window/window.h"

/// A window with a tool bar in it: notes the commands that come, and has a tip for each.
class COMMANDPARENT : public WINDOW {
 public:
    COMMANDPARENT() : WINDOW(WS_OVERLAPPEDWINDOW | WS_VISIBLE, "bar", 0, 0, 500, 200, nullptr, 0, nullptr) {}
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        if (message == WM_COMMAND)
            Commands.push_back(static_cast<int>(first));
        if (message == WM_NOTIFY && reinterpret_cast<NMHDR*>(second)->code == TTN_GETDISPINFOW) {
            Tip = L"tip " + std::to_wstring(reinterpret_cast<NMHDR*>(second)->idFrom);
            reinterpret_cast<NMTTDISPINFOW*>(second)->lpszText = Tip.data();
        }
        return WINDOW::WinProc(message, first, second);
    }
    std::vector<int> Commands;

 private:
    std::wstring Tip;
};
