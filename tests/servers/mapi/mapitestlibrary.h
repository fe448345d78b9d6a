#pragma once

#include <windows.h>

#include "corelib/system/osys.h"
#include "tests/servers/mapi/mapiserver.h"
#include "tests/support/testsupport.h"

/// The library of the tests, beside their programs.
inline STRING MapiTestLibrary() {
    return OSYS::FileDirectory(OSYS::ProgramPath().Text()) || "\\testmapi32.dll";
}

/// Its store, which is loaded as long as the test program runs.
inline MAPISERVER& MapiServer() {
    static MAPISERVER* const server = [] {
        const HMODULE module = LoadLibraryA(MapiTestLibrary().Text());
        return reinterpret_cast<MAPISERVERFUNCTION*>(reinterpret_cast<void*>(GetProcAddress(module, "TestStore")))();
    }();
    return *server;
}
