#pragma once

#include <windows.h>

/// A function of a system library that is seldom called; the library is loaded when it is first asked for. Such a
/// library brings others along, which the program's start would have to wait for. Null if there is none.
template <typename FUNCTION>
FUNCTION* LateFunction(const wchar_t* library, const char* name) {
    return reinterpret_cast<FUNCTION*>(reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(library), name)));
}
