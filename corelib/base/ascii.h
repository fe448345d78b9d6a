#pragma once

/// Character classes and case by the ASCII table alone: bytes above 127 are no letters, whatever the locale.
namespace ASCII {

constexpr unsigned char Lower(char c) {
    return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}
constexpr unsigned char Upper(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
}
constexpr bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool IsLetter(char c) {
    return IsLower(c) || IsUpper(c);
}
constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Value of a hexadecimal digit, -1 for any other byte.
constexpr int HexValue(char c) {
    if (IsDigit(c))
        return c - '0';
    unsigned char l = Lower(c);
    return l >= 'a' && l <= 'f' ? l - 'a' + 10 : -1;
}

}  // namespace ASCII
