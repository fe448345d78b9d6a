#include <string>
#include <vector>

#include "app/console/session.h"
#include "corelib/base/widepath.h"

// Wide, so that no file is taken for another whose name looks like it.
int wmain(int argc, wchar_t** argv) {
    std::vector<std::string> words;
    for (int i = 0; i < argc; ++i)
        words.emplace_back(WordFromWide(argv[i]).View());
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    return RunConsole(argc, pointers.data());
}
