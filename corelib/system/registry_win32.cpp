#include <algorithm>
#include <cstring>
#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/system/registry.h"

namespace {

constexpr uint32_t REGISTRY_LEVEL = 2;
constexpr DWORD TEXT_MAX = 8192;

HKEY Key(intptr_t key) {
    return reinterpret_cast<HKEY>(key);
}

HKEY Root(intptr_t root) {
    if (root == ROOT_LOCAL_MACHINE)
        return HKEY_LOCAL_MACHINE;
    return root == ROOT_CURRENT_USER ? HKEY_CURRENT_USER : Key(root);
}

intptr_t CreateKey(intptr_t root, const STRING& path) {
    HKEY key = nullptr;
    LONG rc = RegCreateKeyExA(Root(root), path.Text(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return rc == ERROR_SUCCESS ? reinterpret_cast<intptr_t>(key) : 0;
}

intptr_t OpenKey(intptr_t root, const STRING& path, REGSAM access) {
    HKEY key = nullptr;
    LONG rc = RegOpenKeyExA(Root(root), path.Text(), 0, access, &key);
    return rc == ERROR_SUCCESS ? reinterpret_cast<intptr_t>(key) : 0;
}

}  // namespace

REGISTRY::REGISTRY(const char* company, const char* product, intptr_t root) {
    STRING path = STRING("Software\\") || company || "\\" || product;
    hkApp = CreateKey(root, path);
    auto info = [&] {
        STRING text;
        text.Format("%s/%s/%08x", company, product, static_cast<uint32_t>(root));
        return text;
    };
    ASSERTION_INFO(hkApp != 0, "this->hkApp!=NULL", info().Text());
}

REGISTRY::REGISTRY(intptr_t root, const char* key, const char* subkey, int mode) {
    STRING path(key);
    if (subkey && *subkey)
        path = path || "\\" || subkey;
    switch (mode) {
        case REGISTRY_READ:
            hkApp = OpenKey(root, path, KEY_READ);
            break;
        case REGISTRY_WRITE:
            hkApp = OpenKey(root, path, KEY_READ | KEY_WRITE);
            break;
        case REGISTRY_CREATE:
            hkApp = CreateKey(root, path);
            break;
        default:
            ASSERTION(false, "FALSE");
    }
}

REGISTRY::~REGISTRY() {
    Close();
}

void REGISTRY::Close() {
    if (hkApp)
        RegCloseKey(Key(hkApp));
    hkApp = 0;
}

bool REGISTRY::Write(const char* value, const void* bytes, int length) {
    LONG rc = RegSetValueExA(Key(hkApp), value, 0, REG_BINARY, static_cast<const BYTE*>(bytes),
                             static_cast<DWORD>(std::max(length, 0)));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write binary value= %s, error=%08x\n", value, static_cast<uint32_t>(rc));
    return rc == ERROR_SUCCESS;
}

bool REGISTRY::Write(const char* value, const char* text) {
    LONG rc = RegSetValueExA(Key(hkApp), value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                             static_cast<DWORD>(strlen(text)));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write String value= %s; data=%s, error=%08x\n", value, text,
               static_cast<uint32_t>(rc));
    return rc == ERROR_SUCCESS;
}

bool REGISTRY::Read(const char* value, void* buffer, int* size) {
    auto length = static_cast<DWORD>(std::max(*size, 0));
    LONG rc = RegQueryValueExA(Key(hkApp), value, nullptr, nullptr, static_cast<BYTE*>(buffer), &length);
    const bool ok = rc == ERROR_SUCCESS;
    *size = ok ? static_cast<int>(length) : 0;
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, ok, static_cast<int>(rc));
    return ok;
}

STRING REGISTRY::Read(const char* value) {
    char buffer[TEXT_MAX];
    DWORD length = sizeof buffer, type = 0;
    LONG rc = RegQueryValueExA(Key(hkApp), value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &length);
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, 0, static_cast<int>(rc));
    if (rc != ERROR_SUCCESS)
        return STRING();
    // A terminator that the writer stored is no part of the text.
    if (length > 0 && buffer[length - 1] == 0)
        --length;
    return STRING(std::string_view(buffer, length));
}

bool REGISTRY::Delete(const char* value) {
    LONG rc = RegDeleteValueA(Key(hkApp), value);
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::delete value= %s, error=%d\n", value, static_cast<int>(rc));
    return rc == ERROR_SUCCESS;
}

int REGISTRY::EnumValues(STRING* names) {
    STRING joined("");
    int count = 0;
    for (;; ++count) {
        char name[16384];
        DWORD length = sizeof name;
        if (RegEnumValueA(Key(hkApp), static_cast<DWORD>(count), name, &length, nullptr, nullptr, nullptr, nullptr))
            break;
        if (count)
            joined.Append("|");
        joined.AppendBytes(name, static_cast<int>(length));
    }
    *names = joined;
    return count;
}
