#include <windows.h>

#include "corelib/base/largeblockplatform.h"

char* LARGEBLOCK::Map(int size) {
    return static_cast<char*>(
        VirtualAlloc(nullptr, static_cast<size_t>(size), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

void LARGEBLOCK::Unmap(char* block, int /*size*/) {
    VirtualFree(block, 0, MEM_RELEASE);
}

void LARGEBLOCK::Lend(char* block, int size) {
    VirtualAlloc(block, static_cast<size_t>(size), MEM_RESET, PAGE_READWRITE);
}
