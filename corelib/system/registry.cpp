#include "corelib/system/registry.h"

STRING RegistryText(const char* key, const char* subkey, const char* value) {
    for (const intptr_t root : {ROOT_CURRENT_USER, ROOT_LOCAL_MACHINE}) {
        REGISTRY registry(root, key, subkey, REGISTRY_READ);
        const STRING text = registry.IsOpen() ? registry.Read(value) : STRING();
        if (text.Length() > 0)
            return text;
    }
    return STRING("");
}
