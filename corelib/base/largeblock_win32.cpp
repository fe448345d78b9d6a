#include <windows.h>

#include "corelib/base/largeblock.h"

char* LARGEBLOCK::Alloc(int size) {
    return static_cast<char*>(
        VirtualAlloc(nullptr, static_cast<size_t>(size), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

void LARGEBLOCK::Free(char* block, int /*size*/) {
    VirtualFree(block, 0, MEM_RELEASE);
}
