#include <dlfcn.h>

#include "app/common/textmodule.h"
#include "corelib/base/files.h"
#include "resources/textmodule.h"

const char* const LANGUAGELIBRARY::MODULE::Extension = ".so";

LANGUAGELIBRARY::MODULE::~MODULE() {
    if (Handle) {
        dlclose(Handle);
    }
}

bool LANGUAGELIBRARY::MODULE::Open(const char* path) {
    Handle = dlopen(FILES::NativePath(path).Text(), RTLD_NOW | RTLD_LOCAL);
    Table = Handle ? dlsym(Handle, "TextTable") : nullptr;
    return Table != nullptr;
}

bool LANGUAGELIBRARY::MODULE::Find(int id, STRING& text) const {
    for (auto entry = static_cast<const TEXTENTRY*>(Table); entry->Utf8; ++entry) {
        if (entry->Id == id) {
            text = entry->Utf8;
            return true;
        }
    }
    return false;
}
