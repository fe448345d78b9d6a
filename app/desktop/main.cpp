#include <vector>
#include <windows.h>

#include "app/core/arguments.h"
#include "app/desktop/desktop.h"
#include "corelib/base/widepath.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    // To the platform's own rule the backslash of "/WORKDIR:C:\my mail\" would take the quote after it along.
    const DYNARRAY<STRING> words = SplitCommandLine(FromWide(GetCommandLineW()).Text());
    std::vector<const char*> pointers;
    for (int i = 0; i < words.Count(); ++i)
        pointers.push_back(words[i].Text());
    return RunDesktop(words.Count(), pointers.data());
}
