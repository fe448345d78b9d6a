#pragma once

#include <string>
#include <windows.h>

/// A function of a system library that is seldom called; the library is loaded when it is first asked for. Such a
/// library brings others along, which the program's start would have to wait for. Null if there is none.
template <typename FUNCTION>
FUNCTION* LateFunction(const wchar_t* library, const char* name) {
    // From the system's folder, not from the program's, which may be one for downloads.
    wchar_t path[MAX_PATH] = L"";
    const UINT length = GetSystemDirectoryW(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return nullptr;
    const HMODULE module = LoadLibraryW((std::wstring(path) + L"\\" + library).c_str());
    return module ? reinterpret_cast<FUNCTION*>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}
