#include "corelib/window/messages.h"

#include <fstream>

#include "corelib/system/registry.h"
#include "corelib/system/startprogram.h"
#include "corelib/window/widetext.h"
#include "corelib/window/window.h"
#include "tests/support/windowtest.h"

namespace {

constexpr const char* PRODUCT = "WindowTest";
constexpr const char* TITLE = "A hint of the test";
constexpr int ID_NEVER = 101;

HWND Front() {
    return FindWindowW(nullptr, WideText(std::string_view(TITLE)).c_str());
}

// Whether a window came, which got the answer.
bool Seen(const std::function<void()>& ask, int button, bool never) {
    bool looked = false, seen = false;
    Later([&] {
        looked = true;
        seen = Front() != nullptr;
        if (seen && never)
            SendMessageW(GetDlgItem(Front(), ID_NEVER), BM_CLICK, 0, 0);
        PostMessageW(Front(), WM_COMMAND, static_cast<WPARAM>(button), 0);
    });
    ask();
    EXPECT_TRUE(PumpUntil([&] { return looked; }));
    return seen;
}

TEST(HINTS, AreRememberedInTheRegistryOrATable) {
    // For each two calls: the button, whether it is for good, in a table, the answer of both, and their windows.
    const std::tuple<int, bool, bool, bool, int> cases[] = {{IDOK, true, true, true, 1},
                                                            {IDCANCEL, true, true, false, 1},
                                                            {IDCANCEL, true, false, false, 1},
                                                            {IDOK, true, false, true, 1},
                                                            {IDOK, false, true, true, 2}};
    for (const auto& [button, never, inTable, answer, windows] : cases) {
        SCOPED_TRACE(std::to_string(button) + " " + std::to_string(never) + " " + std::to_string(inTable));
        REGISTRY(WINDOW_COMPANY, PRODUCT, ROOT_CURRENT_USER).Delete("Hint");
        STRINGARRAY table;
        table.AllowNewKeys(false);
        STRINGARRAY* const state = inTable ? &table : nullptr;
        const auto ask = [&] { EXPECT_EQ(AskHint(nullptr, "One\nTwo", TITLE, PRODUCT, "Hint", state), answer); };
        EXPECT_EQ(Seen(ask, button, never) + Seen(ask, button, never), windows);
        EXPECT_TRUE(table.IsLocked());
        EXPECT_EQ(table.Exists("Hint"), inTable && never);
    }
}

TEST(ASSERTIONS, AreAskedAboutOneAtATime) {
    bool another = false;
    Later([&] {
        another = AskToGoOn(TITLE, "another");
        PostMessageW(Front(), WM_COMMAND, IDNO, 0);
    });
    EXPECT_FALSE(AskToGoOn(TITLE, "one"));
    EXPECT_TRUE(another);
    PostQuitMessage(0);
    EXPECT_TRUE(AskToGoOn(TITLE, "nobody sees this"));
    Pump();
}

TEST(STARTPROGRAM, PassesNameArgumentsDirectoryAndState) {
    wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const STRING program = FromWide(own);
    const TEMPDIR dir;
    for (const bool minimised : {false, true}) {
        const STRING name = STRING(minimised ? "*" : "") || program;
        ASSERT_TRUE(StartProgram(name, STRING("/report ") || dir.File("report"), dir.Path(), "The Title", true));
        EXPECT_EQ(ReadBytes(dir.File("report")), Std("\"" || program || "\" /report " || dir.File("report") || "|" ||
                                                     dir.Path() || "|The Title|" || (minimised ? "1" : "0")));
    }
    STRING error;
    EXPECT_FALSE(StartProgram(dir.File("missing.exe"), "", "", "", true, &error));
    EXPECT_GT(error.Length(), 5);
}

}  // namespace

// As the program that is started, this one writes how it was.
int ReportStart(const char* file) {
    STARTUPINFOA start{};
    GetStartupInfoA(&start);
    char directory[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, directory);
    const bool minimised = start.dwFlags & STARTF_USESHOWWINDOW && start.wShowWindow == SW_SHOWMINNOACTIVE;
    std::ofstream(file, std::ios::binary)
        << GetCommandLineA() << '|' << directory << '|' << start.lpTitle << '|' << minimised;
    return 0;
}
namespace {
// Before the tests' own main.
const bool Reported = [] {
    if (__argc == 3 && std::string_view(__argv[1]) == "/report")
        _exit(ReportStart(__argv[2]));
    return true;
}();
}  // namespace
