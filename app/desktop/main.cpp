// The second needs the first.
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on

#include <string>
#include <vector>

#include "app/desktop/desktop.h"
#include "corelib/window/widetext.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> words;
    for (int i = 0; i < count; ++i)
        words.emplace_back(FromWide(wide[i]).View());
    LocalFree(wide);
    std::vector<const char*> pointers;
    pointers.reserve(words.size());
    for (const std::string& word : words)
        pointers.push_back(word.c_str());
    return RunDesktop(static_cast<int>(pointers.size()), pointers.data());
}
