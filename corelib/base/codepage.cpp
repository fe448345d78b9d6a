#include "corelib/base/codepage.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "corelib/base/utf8.h"

namespace {

constexpr char UNKNOWN = '?';

/// The code points of the bytes 0x80 to 0x9f; 0 where the code page has none.
constexpr std::array<uint16_t, 32> UPPER_CONTROLS = {0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021,
                                                     0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017d, 0,
                                                     0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014,
                                                     0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178};

}  // namespace

int CODEPAGE::ByteOf(char32_t code) {
    if (code < 0x80 || (code >= 0xa0 && code <= 0xff)) {
        return static_cast<int>(code);
    }
    for (size_t i = 0; i < UPPER_CONTROLS.size(); ++i) {
        if (UPPER_CONTROLS[i] == code) {
            return static_cast<int>(0x80 + i);
        }
    }
    return -1;
}

STRING CODEPAGE::FromUtf8(std::string_view utf8) {
    STRING result(std::string_view{});
    result.Make(static_cast<int>(utf8.size()), nullptr);
    int count = 0;
    while (!utf8.empty()) {
        const int byte = ByteOf(UTF8::Take(utf8));
        result.Data()[count++] = byte >= 0 ? static_cast<char>(byte) : UNKNOWN;
    }
    result.Truncate(count);
    return result;
}

void CODEPAGE::AppendUtf8(std::string& out, char byte) {
    const auto code = static_cast<unsigned char>(byte);
    const bool mapped = code >= 0x80 && code < 0xa0;
    const char32_t character = mapped ? UPPER_CONTROLS[code - 0x80] : code;
    UTF8::Append(out, mapped && character == 0 ? UNKNOWN : character);
}

void CODEPAGE::AppendGuessed(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const auto* const end =
            std::ranges::find_if(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
        const auto plain = static_cast<size_t>(end - text.begin());
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return;
        const std::string_view before = text;
        if (UTF8::Take(text) == UTF8::INVALID)
            AppendUtf8(out, before.front());
        else
            out += before.substr(0, before.size() - text.size());
    }
}

STRING CODEPAGE::ToUtf8(STRING value) {
    if (UTF8::IsValid(value.View()))
        return value;
    std::string utf8;
    for (const char byte : value.View())
        AppendUtf8(utf8, byte);
    STRING result{std::string_view(utf8)};
    result.SetFlags(value.GetFlags());
    return result;
}
