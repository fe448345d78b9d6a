#include <algorithm>
#include <string>
#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"
#include "corelib/system/registry.h"

namespace {

constexpr uint32_t REGISTRY_LEVEL = 2;
constexpr int TEXT_MAX = 8192;
constexpr DWORD NAME_MAX = 16384;  // of a value

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
    LONG rc = RegCreateKeyExW(Root(root), WidePath(path.Text()).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr);
    return rc == ERROR_SUCCESS ? reinterpret_cast<intptr_t>(key) : 0;
}

intptr_t OpenKey(intptr_t root, const STRING& path, REGSAM access) {
    HKEY key = nullptr;
    LONG rc = RegOpenKeyExW(Root(root), WidePath(path.Text()).c_str(), 0, access, &key);
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
    LONG rc = RegSetValueExW(Key(hkApp), WidePath(value).c_str(), 0, REG_BINARY, static_cast<const BYTE*>(bytes),
                             static_cast<DWORD>(std::max(length, 0)));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write binary value= %s, error=%08x\n", value, static_cast<uint32_t>(rc));
    return rc == ERROR_SUCCESS;
}

bool REGISTRY::Write(const char* value, const char* text) {
    const std::wstring wide = WidePath(text);
    LONG rc =
        RegSetValueExW(Key(hkApp), WidePath(value).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()),
                       static_cast<DWORD>(wide.size() * sizeof(wchar_t)));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write String value= %s; data=%s, error=%08x\n", value, text,
               static_cast<uint32_t>(rc));
    return rc == ERROR_SUCCESS;
}

bool REGISTRY::Read(const char* value, void* buffer, int* size) {
    auto length = static_cast<DWORD>(std::max(*size, 0));
    LONG rc =
        RegQueryValueExW(Key(hkApp), WidePath(value).c_str(), nullptr, nullptr, static_cast<BYTE*>(buffer), &length);
    const bool ok = rc == ERROR_SUCCESS;
    *size = ok ? static_cast<int>(length) : 0;
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, ok, static_cast<int>(rc));
    return ok;
}

STRING REGISTRY::Read(const char* value) {
    wchar_t buffer[TEXT_MAX];
    DWORD bytes = sizeof buffer, type = 0;
    LONG rc =
        RegQueryValueExW(Key(hkApp), WidePath(value).c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, 0, static_cast<int>(rc));
    if (rc != ERROR_SUCCESS)
        return STRING();
    const bool isText = type == REG_SZ || type == REG_EXPAND_SZ;
    STRING text = isText ? FromWide({buffer, bytes / sizeof(wchar_t)})
                         : STRING(std::string_view(reinterpret_cast<const char*>(buffer), bytes));
    // A terminator that the writer stored is no part of the text.
    text.ChopLast('\0');
    return text.Length() <= TEXT_MAX ? text : STRING();
}

bool REGISTRY::Delete(const char* value) {
    LONG rc = RegDeleteValueW(Key(hkApp), WidePath(value).c_str());
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::delete value= %s, error=%d\n", value, static_cast<int>(rc));
    return rc == ERROR_SUCCESS;
}

int REGISTRY::EnumValues(STRING* names) {
    STRING joined("");
    int count = 0;
    for (;; ++count) {
        wchar_t name[NAME_MAX];
        DWORD length = NAME_MAX;
        if (RegEnumValueW(Key(hkApp), static_cast<DWORD>(count), name, &length, nullptr, nullptr, nullptr, nullptr))
            break;
        if (count)
            joined.Append("|");
        joined += FromWide({name, length});
    }
    *names = joined;
    return count;
}
