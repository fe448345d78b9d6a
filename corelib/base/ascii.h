#pragma once

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

/// Looking at bytes, by the ASCII table alone: bytes above 127 are no letters, whatever the locale. Texts are views and
/// may hold zero bytes; pieces that come back point into them. "Case" is that of ASCII letters.
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
constexpr bool IsLetterOrDigit(char c) {
    return IsLetter(c) || IsDigit(c);
}
/// A blank, or one of the bytes from tab to carriage return.
constexpr bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Value of a hexadecimal digit, -1 for any other byte.
constexpr int HexValue(char c) {
    if (IsDigit(c))
        return c - '0';
    unsigned char l = Lower(c);
    return l >= 'a' && l <= 'f' ? l - 'a' + 10 : -1;
}
/// The byte that two hexadecimal digits at the beginning of the text stand for, -1 without them.
constexpr int HexByte(std::string_view text) {
    const int high = text.size() < 2 ? -1 : HexValue(text[0]), low = high < 0 ? -1 : HexValue(text[1]);
    return low < 0 ? -1 : high * 16 + low;
}

/// The same bytes without regard to case?
constexpr bool Equal(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}
/// Does the text begin with prefix, without regard to case?
constexpr bool BeginsWith(std::string_view text, std::string_view prefix) {
    return Equal(text.substr(0, prefix.size()), prefix);
}
/// The place of `what` from `start` on, without regard to case; npos if it is not there.
size_t Find(std::string_view text, std::string_view what, size_t start = 0);
inline bool Holds(std::string_view text, std::string_view what) {
    return Find(text, what) != std::string_view::npos;
}

/// The text with letters of one case.
std::string Lower(std::string_view text);
std::string Upper(std::string_view text);

/// The text without bytes of `chars` at its end, its beginning, or both.
constexpr std::string_view TrimRight(std::string_view text, std::string_view chars) {
    return text.substr(0, text.find_last_not_of(chars) + 1);
}
constexpr std::string_view TrimLeft(std::string_view text, std::string_view chars) {
    return text.substr(std::min(text.find_first_not_of(chars), text.size()));
}
constexpr std::string_view Trim(std::string_view text, std::string_view chars) {
    return TrimLeft(TrimRight(text, chars), chars);
}

/// Cuts the piece in front of the separator, or all, off the text; the separator goes.
constexpr std::string_view Take(std::string_view& text, char separator) {
    const std::string_view piece = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(piece.size() + 1, text.size()));
    return piece;
}

/// Digits and nothing else, at least one?
constexpr bool IsNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}
/// Reads a text of digits and nothing else. False for any other, where `number` becomes what digits at the start say,
/// and for a number that the type cannot hold; without digits `number` stays as it was.
template <class NUMBER>
[[nodiscard]] bool ReadNumber(std::string_view text, NUMBER& number) {
    if (text.starts_with('-'))
        return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

}  // namespace ASCII
