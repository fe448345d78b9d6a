#include <windows.h>

#include "corelib/base/utf8.h"
#include "corelib/base/widepath.h"

namespace {

// A directory's path may be that long, so that a file with a short name fits into it; a file's up to twelve more.
constexpr size_t SHORT_PATH = 247;

}  // namespace

std::wstring Widen(unsigned codePage, std::string_view text) {
    // At most one character for each byte.
    std::wstring wide(text.size(), L'\0');
    const int count = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                          static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(count));
    return wide;
}

STRING Narrow(unsigned codePage, std::wstring_view text) {
    // At most four bytes for each character.
    std::string bytes(text.size() * 4, '\0');
    const int count = WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr, nullptr);
    return STRING(std::string_view(bytes).substr(0, static_cast<size_t>(count)));
}

STRING FromWide(std::wstring_view text) {
    return Narrow(CP_UTF8, text);
}

std::wstring WidePath(const char* path) {
    const std::string_view text = path ? path : "";
    return Widen(UTF8::IsValid(text) ? CP_UTF8 : CP_ACP, text);
}

std::wstring WideFilePath(const char* path) {
    std::wstring wide = WidePath(path);
    const std::wstring full = GrownText(
        [&wide](wchar_t* room, unsigned long size) { return GetFullPathNameW(wide.c_str(), size, room, nullptr); });
    if (full.size() <= SHORT_PATH || full.starts_with(L"\\\\?\\") || full.starts_with(L"\\\\.\\"))
        return wide;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

bool HandleIsLink(void* file) {
    BY_HANDLE_FILE_INFORMATION information;
    return !GetFileInformationByHandle(file, &information) ||
           (information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool NameFromWide(std::wstring_view wide, STRING& name) {
    STRING utf8 = FromWide(wide);
    if (Widen(CP_UTF8, utf8.View()) != wide)
        return false;
    name = std::move(utf8);
    return true;
}
