// The main window's dealings with the help, the tip of the day, and the report for whoever helps.
#include "app/core/helppages.h"
#include "app/core/report.h"
#include "app/core/tarnwick.h"
#include "app/core/tips.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/dialogs.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "corelib/base/files.h"
#include "corelib/window/messages.h"

namespace {

STRING TipsFile(const VELMORAAPP& app) {
    return OSYS::FilePath(app.WorkDir().Text(), app.Texts().Get(TEXT_TIPS_FILE).Text());
}

TIPS TipsOf(const VELMORAAPP& app) {
    return {TipsFile(app), app.Texts().Get(TEXT_REGISTRY_NAME)};
}

}  // namespace

void MAINWINDOW::ShowHelp(int topic) {
    if (Rows) {
        ShowHelpOn(topic);
        return;
    }
    // The welcome would cover the questions that a first start asks; and the demo is to be looked at.
    if (!App.Arguments().TestArg("DEMO"))
        WelcomeTopic = topic;
    TipsComeByThemselves = false;
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

void MAINWINDOW::BeginTips() {
    TipsBegun = true;
    PostMessageW(hWnd, WM__TIP, 0, 0);
}

void MAINWINDOW::OfferTip() {
    const bool seen = IsVisible() && !IsIconic(hWnd) && IsWindowEnabled(hWnd) && !Vanished;
    if (TipsBegun && TipsComeByThemselves && Application && seen && TipsOf(App).IsDue())
        OpenDialog([](MAINWINDOW& self) { self.ShowTip(); });
}

void MAINWINDOW::ShowTip() {
    TIPS tips = TipsOf(App);
    if (tips.Count() > 0) {
        ShowTips(Parts(), tips);
        return;
    }
    STRING text = App.Texts().Get(TEXT_NO_TIPS);
    text.Replace("$FILE", FILES::NativePath(TipsFile(App).Text()).Text());
    ShowError(hWnd, text, ProgramName());
}

void MAINWINDOW::SaveReport() {
    const TEXTS& texts = App.Texts();
    if (!::AskYesNo(hWnd, texts.Get(TEXT_REPORT_ASK), ProgramName()))
        return;
    constexpr int DOCUMENTS = 6;
    STRING path = OSYS::FilePath(GetWin32SystemPath(DOCUMENTS).Text(), REPORT::FILE_NAME);
    if (!FileDialog(hWnd, path, texts.Get(TEXT_REPORT_FILES), true))
        return;
    if (const STRING fault = REPORT::Save(*Application, App.Arguments(), path); fault.NotNull()) {
        ShowError(hWnd, fault, ProgramName());
        return;
    }
    STRING question = texts.Get(TEXT_REPORT_SAVED);
    question.Replace("$FILE", path.Text());
    STRING error;
    const STRING argument = STRING("\"") || path || "\"";
    if (::AskYesNo(hWnd, question, ProgramName()) && !Application->Programs().Start("notepad", argument, ".", error))
        ShowError(hWnd, error, ProgramName());
}
