#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/system/dirscan.h"

struct DIRSCAN::FINDDATA {
    HANDLE Find = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAA Data{};
};

DIRSCAN::DIRSCAN(const char* pattern, STRING& name) : pResult(std::make_unique<FINDDATA>()), Name(name) {
    ASSERTION(pResult != nullptr, "this->pResult");
    pResult->Find = FindFirstFileA(pattern, &pResult->Data);
    Name = pResult->Find == INVALID_HANDLE_VALUE ? STRING() : STRING(pResult->Data.cFileName);
}

DIRSCAN::~DIRSCAN() {
    Close();
}

bool DIRSCAN::Next() {
    bool found = pResult->Find != INVALID_HANDLE_VALUE && FindNextFileA(pResult->Find, &pResult->Data);
    Name = found ? STRING(pResult->Data.cFileName) : STRING();
    return found;
}

unsigned DIRSCAN::Attributes() const {
    return pResult->Data.dwFileAttributes;
}

void DIRSCAN::Close() {
    if (pResult->Find != INVALID_HANDLE_VALUE)
        FindClose(pResult->Find);
    pResult->Find = INVALID_HANDLE_VALUE;
}
