#include "app/desktop/desktop.h"

#include <memory>

#include "app/check/notifier.h"
#include "app/core/datadir.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/demo/demo.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "corelib/base/trace.h"
#include "corelib/system/crashreport.h"
#include "corelib/window/messages.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int EXIT_GOOD = 0;
constexpr int EXIT_NO_START = 2;

/// Before there is a window: what goes wrong is shown all the same.
class MESSAGEBOXES : public FRONTEND {
 public:
    void ShowMessage(const STRING& title, const STRING& text) override { ShowError(nullptr, text, title); }
};

// The first program that runs is brought to the front; a copy under development does not count.
bool RaiseFirst() {
    const HWND first = FindWindowW(WideText(std::string_view(MAINWINDOW_CLASS)).c_str(), nullptr);
    if (!first || OSYS::FileExists("main.cpp"))
        return false;
    const HWND open = GetLastActivePopup(first);  // the dialog that is open, if there is one
    // While it greets, the first one has nothing else to show.
    if (open == first || IsWindowVisible(first))
        ShowWindow(first, IsIconic(first) ? SW_RESTORE : SW_SHOW);
    SetForegroundWindow(open);
    return true;
}

}  // namespace

int RunDesktop(int argc, const char* const* argv) {
    CRASHREPORT::Install(CRASHREPORT::NOTICE::Window);
    std::vector<std::string> words = CompletePaths({argv, argv + argc});
    AddDemoDirectory(words);
    VELMORAAPP app{ARGUMENTS(words)};
    MESSAGEBOXES boxes;
    SetAssertQuestion(AskToGoOn);
    if (const int code = app.Start(boxes))
        return code;
    const RESOURCELIBRARY resources(app.LibraryPath());  // once more, for its menus, dialogs and icons
    if (RaiseFirst())
        return EXIT_GOOD;

    // Outlives the application, whose last check may still ask the demo's servers.
    std::unique_ptr<DEMO> demo;
    if (app.Arguments().TestArg("DEMO")) {
        demo = std::make_unique<DEMO>();
        if (!demo->Start()) {
            ShowError(nullptr, app.Texts().Get(TEXT_DEMO_FAILED), app.Texts().Get(TEXT_TITLE));
            return EXIT_NO_START;
        }
    }
    MAINWINDOW window(app);
    NOTIFIER nobody;
    {
        TARNWICK application(window, nobody, app.Arguments(), app.Texts());
        window.SetApplication(&application);
        STRING fault;
        if (!application.Open())
            fault = application.StartError();
        else if (demo && !demo->AddAccounts(application))
            fault = DataDirText(app.Texts(), TEXT_DEMO_FOREIGN, application.DataDir());
        if (fault.Length() > 0) {
            ShowError(window.hWnd, fault, app.Texts().Get(TEXT_TITLE));
            window.SetApplication(nullptr);
            return EXIT_NO_START;
        }
        if (demo)
            demo->StartArrivals(application);
        window.Begin(app.StartMinimized());
        application.Start();
        window.Started();
        if (!demo)
            window.BeginTips();
        window.MainDispatchLoop(KEY_TABLE);
        window.End();
        // Waits for the work thread, which may still speak to the window.
    }
    window.SetApplication(nullptr);
    Trace("main::~main");
    return EXIT_GOOD;
}
