#include <windows.h>

#include "app/common/textmodule.h"
#include "corelib/base/widepath.h"

const char* const LANGUAGELIBRARY::MODULE::Extension = ".dll";

LANGUAGELIBRARY::MODULE::~MODULE() {
    if (Handle) {
        FreeLibrary(static_cast<HMODULE>(Handle));
    }
}

bool LANGUAGELIBRARY::MODULE::Open(const char* path) {
    Handle = LoadLibraryExW(WideFilePath(path).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    return Handle != nullptr;
}

bool LANGUAGELIBRARY::MODULE::Find(int id, STRING& text) const {
    // With a length of 0 the call gives the place of the text itself, which has no terminator.
    const wchar_t* wide = nullptr;
    const int count =
        LoadStringW(static_cast<HMODULE>(Handle), static_cast<UINT>(id), reinterpret_cast<wchar_t*>(&wide), 0);
    if (count <= 0) {
        return false;
    }
    text = FromWide({wide, static_cast<size_t>(count)});
    return true;
}
