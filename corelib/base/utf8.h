#pragma once

#include <string>
#include <string_view>

/// UTF-8 (RFC 3629).
namespace UTF8 {

/// What stands in place of a character where the bytes are none.
inline constexpr char32_t INVALID = 0xFFFFFFFF;

/// What some editors put in front of a file.
inline constexpr std::string_view MARK = "\xef\xbb\xbf";

/// Takes the first character off the text, which is not empty; INVALID if there is none, and one byte is taken then.
char32_t Take(std::string_view& text);
/// Whether the byte at that place belongs to a character that begins before it.
bool IsWithin(std::string_view text, size_t at);
/// Is all of the text UTF-8?
bool IsValid(std::string_view text);
/// What of the text has room in so many bytes, without a part of a character at its end.
std::string_view Cut(std::string_view text, size_t bytes);
/// Appends the character; nothing for a number that is none.
void Append(std::string& out, char32_t character);

}  // namespace UTF8
