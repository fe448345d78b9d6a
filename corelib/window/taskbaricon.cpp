#include "corelib/window/taskbaricon.h"

#include <algorithm>
#include <string>

#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/window/icons.h"
#include "corelib/window/widetext.h"

namespace {

constexpr size_t TOOLTIP_BYTES = 63;

void PutTooltip(NOTIFYICONDATAW& data, const STRING& text) {
    const std::wstring wide = WideText(UTF8::Cut(text.View(), TOOLTIP_BYTES));
    std::fill(std::begin(data.szTip), std::end(data.szTip), L'\0');
    std::copy(wide.begin(), wide.end(), data.szTip);
}

}  // namespace

TASKBARICON::TASKBARICON(HWND window, int icon, const STRING& tooltip, UINT message) {
    Data.cbSize = sizeof Data;
    Data.hWnd = window;
    Data.uID = static_cast<UINT>(icon);
    Data.uCallbackMessage = message;
    Load(icon);
    PutTooltip(Data, tooltip);
    Trace("TASKBARICON::TASKBARICON about to Shell_NotifyIcon(NIM_ADD, &nof)\n");
    Trace("TASKBARICON::TASKBARICON                (%08x, %d, %s)\n",
          static_cast<unsigned>(reinterpret_cast<uintptr_t>(window)), icon, tooltip.Text());
    Add();
}

TASKBARICON::~TASKBARICON() {
    Data.uFlags = 0;
    Shell_NotifyIconW(NIM_DELETE, &Data);
}

void TASKBARICON::Load(int icon) {
    ICONHANDLE loaded = LoadIconResource(icon, SCALE::OfTaskbar().Metric(SM_CXSMICON));
    // Without a question to the user: it would come again with each picture.
    if (!ASSERTION_QUIET(loaded != nullptr, "nof.hIcon", std::to_string(icon).c_str())) {
        // There must be something to click on: the former picture, or else the system's for programs.
        if (Icon)
            return;
        loaded.reset(CopyIcon(LoadIconW(nullptr, IDI_APPLICATION)));
    }
    Data.hIcon = loaded.get();
    Icon = std::move(loaded);
    Shown = icon;
}

void TASKBARICON::Add() {
    Data.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
    UpAndRunning = Shell_NotifyIconW(NIM_ADD, &Data) || Shell_NotifyIconW(NIM_ADD, &Data);
    if (!UpAndRunning)
        Trace("TASKBARICON::TASKBARICON UpAndRunning= %d %dL\n", UpAndRunning, static_cast<int>(GetLastError()));
}

void TASKBARICON::SetIcon(int icon) {
    Load(icon);
    Modify(NIF_ICON, "SetIcon");
}

void TASKBARICON::SetTooltip(const STRING& text) {
    PutTooltip(Data, text);
    Modify(NIF_TIP, "SetTooltip");
}

void TASKBARICON::Modify(UINT what, const char* operation) {
    Data.uFlags = what;
    Trace("TASKBARICON::%s about to Shell_NotifyIcon(NIM_MODIFY, &nof)\n", operation);
    UpAndRunning = Shell_NotifyIconW(NIM_MODIFY, &Data);
    Trace("TASKBARICON::%s returned ok= %d\n", operation, UpAndRunning);
}
