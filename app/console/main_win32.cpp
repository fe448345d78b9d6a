#include <string>
#include <vector>

#include "app/console/session.h"
#include "corelib/base/widepath.h"

// Wide, as only so all letters come.
int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> words;
    for (int i = 0; i < argc; ++i)
        words.emplace_back(FromWide(argv[i]).View());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    return RunConsole(argc, pointers.data());
}
