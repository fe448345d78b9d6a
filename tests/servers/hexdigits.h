#pragma once

#include <string>
#include <string_view>

inline std::string ToHex(std::string_view bytes) {
    std::string digits;
    for (const char c : bytes)
        for (const int digit : {c >> 4 & 15, c & 15})
            digits += "0123456789abcdef"[digit];
    return digits;
}

inline std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}
