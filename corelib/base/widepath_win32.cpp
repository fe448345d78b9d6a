#include <windows.h>

#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"

namespace {

// A directory's path may be that long, so that a file with a short name fits into it; a file's up to twelve more.
constexpr size_t SHORT_PATH = 247;

// To the letter, by the short form, or by that of the folder if what is in it does not exist.
bool SayPath(const std::wstring& wide, STRING& path) {
    if (NameFromWide(wide, path))
        return true;
    const std::wstring shortened =
        GrownText([&wide](wchar_t* room, unsigned long size) { return GetShortPathNameW(wide.c_str(), room, size); });
    if (!shortened.empty() && NameFromWide(shortened, path))
        return true;
    const size_t name = wide.find_last_of(L"\\/");
    STRING folder, last;
    if (name == wide.npos || !NameFromWide(wide.substr(name), last) || !SayPath(wide.substr(0, name), folder))
        return false;
    path = folder || last;
    return true;
}

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

std::wstring WidePath(const char* path) {
    return Widen(CP_ACP, path ? path : "");
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
    // The flag that refuses the nearest character is refused itself where the code page is UTF-8.
    STRING narrow = Narrow(CP_ACP, wide);
    if (Widen(CP_ACP, narrow.View()) != wide)
        return false;
    name = std::move(narrow);
    return true;
}

STRING PathFromWide(const std::wstring& wide) {
    STRING path;
    if (!SayPath(wide, path))
        Trace("The code page cannot say the path %s\n", Narrow(CP_ACP, wide).Text());
    return path;
}

STRING WordFromWide(const std::wstring& word) {
    STRING text;
    if (NameFromWide(word, text))
        return text;
    const size_t path = word.starts_with(L'/') || word.starts_with(L'-') ? word.find(L':') + 1 : 0;
    const STRING known = PathFromWide(word.substr(path));
    text = "";
    for (const wchar_t& c : std::wstring_view(word).substr(0, known.NotNull() ? path : word.npos)) {
        STRING one("?");
        (void)NameFromWide({&c, 1}, one);
        text += one;
    }
    return known.NotNull() ? text || known : text;
}
