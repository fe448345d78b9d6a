// The second needs the first.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include "app/notify/mailprogram.h"
#include "corelib/base/widepath.h"
#include "corelib/system/startprogram.h"

namespace {

constexpr int EXPANDED_LENGTH = 256;
constexpr int TITLE_LENGTH = 512;

struct SEARCH {
    const char* Part;
    HWND Found;
};

BOOL CALLBACK LookAt(HWND window, LPARAM argument) {
    auto& search = *reinterpret_cast<SEARCH*>(argument);
    wchar_t title[TITLE_LENGTH] = L"";
    GetWindowTextW(window, title, TITLE_LENGTH);
    if (FromWide(title).Pos(search.Part) != -1)
        search.Found = window;
    return TRUE;
}

class WIN32STARTER : public PROGRAMSTARTER {
 public:
    uintptr_t FindTitledWindow(const STRING& part) override {
        SEARCH search{part.Text(), nullptr};
        EnumWindows(LookAt, reinterpret_cast<LPARAM>(&search));
        return reinterpret_cast<uintptr_t>(search.Found);
    }

    int BringToFront(uintptr_t window) override {
        auto* const handle = reinterpret_cast<HWND>(window);
        ShowWindow(handle, IsIconic(handle) ? SW_RESTORE : SW_SHOW);
        SetWindowPos(handle, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
        return SetForegroundWindow(handle);
    }

    bool OpenAddress(const STRING& address) override {
        return reinterpret_cast<intptr_t>(ShellExecuteW(nullptr, L"open", WidePath(address.Text()).c_str(), nullptr,
                                                        L".", SW_SHOWNORMAL)) > 32;
    }

    STRING Expand(const STRING& text) override {
        wchar_t expanded[EXPANDED_LENGTH];
        const DWORD length = ExpandEnvironmentStringsW(WidePath(text.Text()).c_str(), expanded, EXPANDED_LENGTH);
        return length > 0 && length <= EXPANDED_LENGTH ? FromWide(expanded) : text;
    }

    bool Start(const STRING& program, const STRING& arguments, const STRING& directory, STRING& error) override {
        // In its own directory, if the command tells one.
        const bool hasDirectory = program.Pos('\\') != -1;
        return StartProgram(program, arguments, hasDirectory ? directory : STRING(), "", false, &error);
    }
};

}  // namespace

std::unique_ptr<PROGRAMSTARTER> MakeProgramStarter() {
    return std::make_unique<WIN32STARTER>();
}
