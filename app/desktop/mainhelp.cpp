// The main window's dealings with the help.
#include "app/core/helppages.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/mainwindow.h"
#include "corelib/window/messages.h"

void MAINWINDOW::ShowHelp(int topic) {
    if (Rows)
        ShowHelpOn(topic);
    // The welcome would cover the questions that a first start asks; and the demo is to be looked at.
    else if (!App.Arguments().TestArg("DEMO"))
        WelcomeTopic = topic;
}

void MAINWINDOW::ShowHelpOf(HWND window, int control) {
    const HELPPAGES pages(App.Texts(), App.WorkDir());
    int topic = 0;
    // What there is no help on, such as a tool bar, is a part of what there is help on.
    for (HWND at = window; at && pages.FileOf(topic, control) == pages.Contents(); at = GetParent(at))
        SendMessageW(at, WM__GETID, reinterpret_cast<WPARAM>(&topic), 0);
    ShowHelpOn(topic, control);
}

void MAINWINDOW::ShowHelpOn(int topic, int control) {
    const STRING fault = HELPPAGES(App.Texts(), App.WorkDir()).Open(Application->Programs(), topic, control);
    const HWND active = GetActiveWindow();
    if (fault.NotNull())
        ShowError(active ? active : hWnd, fault, ProgramName());
}
