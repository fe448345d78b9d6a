#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"
#include "corelib/system/dirscan.h"

struct DIRSCAN::FINDDATA {
    HANDLE Find = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW Data{};
    bool Take(bool found, STRING& name);
};

// Gives the name of the entry that was found, or of the next one that is a text; others, which nothing could open, are
// left out, with a line in the trace log, and so stay as they are.
bool DIRSCAN::FINDDATA::Take(bool found, STRING& name) {
    for (; found; found = FindNextFileW(Find, &Data)) {
        if (NameFromWide(Data.cFileName, name))
            return true;
        Trace("DIRSCAN leaves out %s, which is no text\n", FromWide(Data.cFileName).Text());
    }
    name = STRING();
    return false;
}

DIRSCAN::DIRSCAN(const char* pattern, STRING& name) : pResult(std::make_unique<FINDDATA>()), Name(name) {
    ASSERTION(pResult != nullptr, "this->pResult");
    pResult->Find = FindFirstFileW(WideFilePath(pattern).c_str(), &pResult->Data);
    pResult->Take(pResult->Find != INVALID_HANDLE_VALUE, Name);
}

DIRSCAN::~DIRSCAN() {
    Close();
}

bool DIRSCAN::Next() {
    return pResult->Take(pResult->Find != INVALID_HANDLE_VALUE && FindNextFileW(pResult->Find, &pResult->Data), Name);
}

unsigned DIRSCAN::Attributes() const {
    return pResult->Data.dwFileAttributes;
}

void DIRSCAN::Close() {
    if (pResult->Find != INVALID_HANDLE_VALUE)
        FindClose(pResult->Find);
    pResult->Find = INVALID_HANDLE_VALUE;
}
