#include <cstring>
#include <utility>
#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"

namespace {

constexpr int SCROLL_KEY = 145;
constexpr int SCROLL_SCAN = 69;
constexpr const char* RUN_KEY = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
constexpr const char* FOLDERS_KEY = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
constexpr const char* VERSION_KEY = "Software\\Microsoft\\Windows\\CurrentVersion";

struct SYSTEMFOLDER {
    int Kind;
    intptr_t Root;
    const char* Key;
    const char* Value;
};

constexpr SYSTEMFOLDER SYSTEM_FOLDERS[] = {
    {0, ROOT_CURRENT_USER, FOLDERS_KEY, "Programs"},
    {1, ROOT_CURRENT_USER, FOLDERS_KEY, "Startup"},
    {2, ROOT_LOCAL_MACHINE, VERSION_KEY, "ProgramFilesDir"},
    {5, ROOT_CURRENT_USER, FOLDERS_KEY, "AppData"},
    {6, ROOT_CURRENT_USER, FOLDERS_KEY, "Personal"},
    {7, ROOT_CURRENT_USER, FOLDERS_KEY, "My Pictures"},
    {8, ROOT_CURRENT_USER, FOLDERS_KEY, "Desktop"},
    {10, ROOT_LOCAL_MACHINE, FOLDERS_KEY, "Common Programs"},
    {11, ROOT_LOCAL_MACHINE, FOLDERS_KEY, "Common Start Menu"},
};

STRING LocaleText(LCTYPE type, const char* otherwise) {
    char text[64];
    int length = GetLocaleInfoA(LOCALE_USER_DEFAULT, type, text, sizeof text);
    return STRING(length > 1 ? text : otherwise);
}

void PressScrollLock() {
    keybd_event(SCROLL_KEY, SCROLL_SCAN, KEYEVENTF_EXTENDEDKEY, 0);
    keybd_event(SCROLL_KEY, SCROLL_SCAN, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP, 0);
}

}  // namespace

namespace OSYS {

bool FileExists(const char* name) {
    return GetFileAttributesA(name) != INVALID_FILE_ATTRIBUTES;
}

bool FileIsDirectory(const char* name) {
    DWORD attributes = GetFileAttributesA(name);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool MakeDirectory(const char* path) {
    return CreateDirectoryA(path, nullptr);
}

STRING GetCurrentDir() {
    STRING path;
    DWORD needed = GetCurrentDirectoryA(0, nullptr);
    if (!needed)
        return path;
    path.Make(static_cast<int>(needed), nullptr);
    DWORD length = GetCurrentDirectoryA(needed, path.Data());
    path.Truncate(static_cast<int>(length));
    return path;
}

bool SetCurrentDir(const char* path) {
    return SetCurrentDirectoryA(path);
}

STRING ProgramPath() {
    char path[32768];
    DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
    return length && length < sizeof path ? STRING(path) : STRING();
}

STRING FileTime(const char* name) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    SYSTEMTIME t;
    if (!GetFileAttributesExA(name, GetFileExInfoStandard, &data) || !FileTimeToSystemTime(&data.ftLastWriteTime, &t))
        return STRING();
    STRING result;
    result.Format("%04d-%02d-%02d %02d:%02d:%02d", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond);
    return result;
}

FILEHANDLE::~FILEHANDLE() {
    if (IsOpen())
        CloseHandle(reinterpret_cast<HANDLE>(Handle));
}

int FILEHANDLE::Read(char* buffer, int length) {
    DWORD got = 0;
    bool ok = ReadFile(reinterpret_cast<HANDLE>(Handle), buffer, static_cast<DWORD>(length), &got, nullptr);
    return ok ? static_cast<int>(got) : -1;
}

int FILEHANDLE::Write(const char* buffer, int length) {
    DWORD written = 0;
    bool ok = WriteFile(reinterpret_cast<HANDLE>(Handle), buffer, static_cast<DWORD>(length), &written, nullptr);
    return ok ? static_cast<int>(written) : -1;
}

FILEHANDLE OpenFile(const char* name, const char* mode) {
    FILEHANDLE file;
    ASSERTION(mode[0] == 'r' || mode[0] == 'w', "mode[0]=='r' || mode[0]=='w'");
    if (!ASSERTION(mode[0] != 'a', "mode[0]!='a'"))
        return file;
    bool write = mode[0] == 'w' || strchr(mode, '+');
    HANDLE handle = CreateFileA(name, GENERIC_READ | (write ? GENERIC_WRITE : 0), 0, nullptr,
                                write ? OPEN_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    file.Handle = handle == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<intptr_t>(handle);
    return file;
}

void RaiseThreadPriority() {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL);
}

int GetOsType() {
    DWORD version = GetVersion();
    if (version & 0x80000000)
        return 0;
    return (version & 0xFF) == 5 ? 2 : 1;
}

STRING ComputerName() {
    char name[256];
    DWORD length = sizeof name;
    return GetComputerNameA(name, &length) ? STRING(name) : STRING("<N/A>");
}

int UserLanguage() {
    return static_cast<int>(GetThreadLocale() & 0x3FF);
}

STRING ThousandsSeparator() {
    return LocaleText(LOCALE_STHOUSAND, ",");
}

STRING DecimalSeparator() {
    return LocaleText(LOCALE_SDECIMAL, ".");
}

bool LibraryExists(const char* name) {
    HMODULE library = LoadLibraryA(name);
    return library && FreeLibrary(library);
}

void ReleaseFreeMemory() {
    HeapCompact(GetProcessHeap(), 0);
}

void ScrollLock(int mode) {
    if (!ASSERTION(mode >= 0 && mode <= 2, "FALSE"))
        return;
    if (GetOsType() == 0) {
        BYTE keys[256];
        GetKeyboardState(keys);
        keys[SCROLL_KEY] = static_cast<BYTE>(mode == 2 ? keys[SCROLL_KEY] ^ 1 : mode);
        SetKeyboardState(keys);
        return;
    }
    bool on = GetKeyState(SCROLL_KEY) & 1;
    if (mode == 2 || on != (mode == 1))
        PressScrollLock();
}

STRING ProgramCommand() {
    return ProgramPath();
}

bool WriteAutoStart(const char* name, const STRING& command) {
    HKEY key;
    if (RegCreateKeyExA(HKEY_CURRENT_USER, RUN_KEY, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr))
        return false;
    LONG rc = RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(command.Text()),
                             static_cast<DWORD>(command.Length()) + 1);
    RegCloseKey(key);
    return rc == ERROR_SUCCESS;
}

bool RemoveAutoStart(const char* name) {
    return REGISTRY(ROOT_CURRENT_USER, RUN_KEY, nullptr, REGISTRY_WRITE).Delete(name);
}

}  // namespace OSYS

STRING GetWin32SystemPath(int kind) {
    const SYSTEMFOLDER* folder = nullptr;
    for (const auto& row : SYSTEM_FOLDERS)
        if (row.Kind == kind)
            folder = &row;
    if (!ASSERTION(folder != nullptr, "FALSE"))
        return STRING();
    STRING value = REGISTRY(folder->Root, folder->Key, nullptr, REGISTRY_READ).Read(folder->Value);
    STRING info;
    info.Format("GetWin32SystemPath %d", kind);
    if (!ASSERTION_INFO(value.NotNull(), "rc==ERROR_SUCCESS", info.Text()))
        return STRING();
    STRING path;
    path.Make(4096, nullptr);
    DWORD length = ExpandEnvironmentStringsA(value.Text(), path.Data(), 4096);
    if (length > 0 && length <= 4096)
        path.Truncate(static_cast<int>(length) - 1);
    else
        path = value;
    if (path.Length() == 0 || path[path.Length() - 1] != '\\')
        path.Append("\\");
    return path;
}
