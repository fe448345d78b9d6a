#pragma once

#include <string>
#include <string_view>

#include "corelib/base/ascii.h"

/// Bytes as hexadecimal digits, two for each.
namespace HEX {

/// In lower case.
inline std::string ToHex(std::string_view bytes) {
    std::string digits;
    digits.reserve(2 * bytes.size());
    for (const char c : bytes)
        for (const int digit : {c >> 4 & 15, c & 15})
            digits += "0123456789abcdef"[digit];
    return digits;
}

/// In any case; empty for anything but digits by twos.
inline std::string FromHex(std::string_view digits) {
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (; !digits.empty(); digits.remove_prefix(2)) {
        const int byte = ASCII::HexByte(digits);
        if (byte < 0)
            return {};
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

}  // namespace HEX
