#pragma once

#include <string>
#include <string_view>

/// UTF-8 (RFC 3629).
namespace UTF8 {

/// What stands in place of a character where the bytes are none.
inline constexpr char32_t INVALID = 0xFFFFFFFF;

/// Takes the first character off the text, which is not empty; INVALID if there is none, and one byte is taken then.
char32_t Take(std::string_view& text);
/// Is all of the text UTF-8?
bool IsValid(std::string_view text);
/// Appends the character; nothing for a number that is none.
void Append(std::string& out, char32_t character);

}  // namespace UTF8
