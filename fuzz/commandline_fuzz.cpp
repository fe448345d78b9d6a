// Command lines come from whoever starts the program: any text must split into words that look-ups can stand.

#include "app/core/arguments.h"
#include "fuzz/fuzz.h"

FUZZ_TARGET(text) {
    const ARGUMENTS arguments("tarnwick", std::string(text).c_str());
    for (int i = 1; i < arguments.Count(); ++i)
        // Each word is a piece of the line, and blanks are only inside quoted ones.
        Never(text.find(arguments[i].Text()) == text.npos);
    for (const char* name : {"WORKDIR", "LANG", "CHECK", ""}) {
        int n = 0;
        while (arguments.TestArgValue(name, n)) {
            Never(!arguments.GetArgValue(name, n).NotNull());
            ++n;
        }
        Never(arguments.GetArgValue(name, n).NotNull() || n >= arguments.Count());
        arguments.TestArg(name);
    }
}
