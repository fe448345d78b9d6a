#include "corelib/window/widetext.h"

#include <windows.h>

namespace {
constexpr UINT CODE_PAGE = 1252;

std::wstring Widen(UINT codePage, std::string_view text) {
    // At most one character for each byte.
    std::wstring wide(text.size(), L'\0');
    const int count = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                          static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(count));
    return wide;
}

STRING Narrow(UINT codePage, std::wstring_view text) {
    // At most four bytes for each character.
    std::string bytes(text.size() * 4, '\0');
    const int count = WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr, nullptr);
    return STRING(std::string_view(bytes).substr(0, static_cast<size_t>(count)));
}

}  // namespace

std::wstring WideText(std::string_view text) {
    return Widen(CODE_PAGE, text);
}

std::wstring WidePath(const STRING& path) {
    return Widen(CP_ACP, path.View());
}

STRING PathFromWide(std::wstring_view path) {
    return Narrow(CP_ACP, path);
}

STRING FromWide(std::wstring_view text) {
    return Narrow(CODE_PAGE, text);
}
