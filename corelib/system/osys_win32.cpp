#include <cstring>
#include <iterator>
#include <optional>
#include <utility>
#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"
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
    wchar_t text[64];
    int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, type, text, std::size(text));
    return length > 1 ? FromWide(text) : STRING(otherwise);
}

// Nothing if the registry does not tell it.
std::optional<std::wstring> WideFolder(const SYSTEMFOLDER& folder) {
    wchar_t value[4096] = L"";
    DWORD bytes = sizeof value;
    const HKEY root = folder.Root == ROOT_CURRENT_USER ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    if (RegGetValueW(root, WidePath(folder.Key).c_str(), WidePath(folder.Value).c_str(), RRF_RT_REG_SZ, nullptr, value,
                     &bytes) != ERROR_SUCCESS)
        return std::nullopt;
    return GrownText([&value](wchar_t* room, unsigned long size) {
        // It counts the terminator, too.
        const DWORD length = ExpandEnvironmentStringsW(value, room, size);
        return length > 0 && length <= size ? length - 1 : length;
    });
}

void PressScrollLock() {
    keybd_event(SCROLL_KEY, SCROLL_SCAN, KEYEVENTF_EXTENDEDKEY, 0);
    keybd_event(SCROLL_KEY, SCROLL_SCAN, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP, 0);
}

}  // namespace

namespace OSYS {

bool FileExists(const char* name) {
    return GetFileAttributesW(WideFilePath(name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool FileIsDirectory(const char* name) {
    DWORD attributes = GetFileAttributesW(WideFilePath(name).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool MakeDirectory(const char* path) {
    return CreateDirectoryW(WideFilePath(path).c_str(), nullptr);
}

STRING GetCurrentDir() {
    const std::wstring path =
        GrownText([](wchar_t* room, unsigned long size) { return GetCurrentDirectoryW(size, room); });
    return path.empty() ? STRING() : FromWide(path);
}

bool SetCurrentDir(const char* path) {
    return SetCurrentDirectoryW(WidePath(path).c_str());
}

STRING ProgramPath() {
    const std::wstring path =
        GrownText([](wchar_t* room, unsigned long size) { return GetModuleFileNameW(nullptr, room, size); });
    return path.empty() ? STRING() : FromWide(path);
}

STRING FileTime(const char* name) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    SYSTEMTIME t;
    if (!GetFileAttributesExW(WideFilePath(name).c_str(), GetFileExInfoStandard, &data) ||
        !FileTimeToSystemTime(&data.ftLastWriteTime, &t))
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
    HANDLE handle = CreateFileW(WideFilePath(name).c_str(), GENERIC_READ | (write ? GENERIC_WRITE : 0), 0, nullptr,
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

STRING SystemName() {
    // The version that programs are told by other ways is the one that their manifest asks for.
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    using QUESTION = LONG(WINAPI*)(OSVERSIONINFOW*);
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    const auto ask = reinterpret_cast<QUESTION>(
        reinterpret_cast<void*>(library ? GetProcAddress(library, "RtlGetVersion") : nullptr));
    if (!ask || ask(&version) != 0)
        return "Windows";
    STRING name;
    name.Format("Windows %lu.%lu.%lu", version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber);
    return name;
}

STRING Environment(const char* name) {
    const std::wstring wide = WidePath(name);
    const std::wstring value = GrownText(
        [&wide](wchar_t* room, unsigned long size) { return GetEnvironmentVariableW(wide.c_str(), room, size); });
    return value.empty() ? STRING() : FromWide(value);
}

STRING ComputerName() {
    wchar_t name[256];
    DWORD length = std::size(name);
    return GetComputerNameW(name, &length) ? FromWide(name) : STRING("<N/A>");
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
    HMODULE library = LoadLibraryW(WidePath(name).c_str());
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
    const std::wstring wide = WidePath(command.Text());
    // With its terminator, unlike a value that REGISTRY writes.
    return RegSetKeyValueW(HKEY_CURRENT_USER, WidePath(RUN_KEY).c_str(), WidePath(name).c_str(), REG_SZ, wide.c_str(),
                           static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
}

STRING AutoStartCommand(const char* name) {
    return REGISTRY(ROOT_CURRENT_USER, RUN_KEY, nullptr, REGISTRY_READ).Read(name);
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
    const std::optional<std::wstring> wide = WideFolder(*folder);
    STRING info;
    info.Format("GetWin32SystemPath %d", kind);
    STRING path = wide ? FromWide(*wide) : STRING();
    if (!ASSERTION_INFO(path.NotNull(), "rc==ERROR_SUCCESS", info.Text()))
        return STRING();
    if (path.Length() == 0 || path[path.Length() - 1] != '\\')
        path.Append("\\");
    return path;
}
