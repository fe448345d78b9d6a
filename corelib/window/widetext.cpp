#include "corelib/window/widetext.h"

#include <windows.h>

namespace {
constexpr UINT CODE_PAGE = 1252;
}

std::wstring WideText(std::string_view text) {
    // One character for each byte.
    std::wstring wide(text.size(), L'\0');
    MultiByteToWideChar(CODE_PAGE, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                        static_cast<int>(wide.size()));
    return wide;
}

STRING FromWide(std::wstring_view text) {
    std::string bytes(text.size() * 2, '\0');
    const int count = WideCharToMultiByte(CODE_PAGE, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr, nullptr);
    return STRING(std::string_view(bytes).substr(0, static_cast<size_t>(count)));
}
