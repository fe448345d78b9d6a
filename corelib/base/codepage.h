#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Texts that people read are UTF-8. Windows code page 1252 is what earlier versions wrote, and what senders mostly
/// mean whose bytes are not UTF-8.
namespace CODEPAGE {

/// A value as it was read or typed, in UTF-8: one that is not valid is of the code page as a whole. Null stays null,
/// and flags stay.
STRING ToUtf8(STRING value);
/// Appends bytes of several sources, say a server's words in a sentence of ours: what is UTF-8 stays, any other byte
/// stands as in the code page.
void AppendGuessed(std::string& out, std::string_view text);
/// Appends the character of one byte; "?" for the five bytes that the code page does not use.
void AppendUtf8(std::string& out, char byte);
/// The byte of a character; -1 if the code page lacks it.
int ByteOf(char32_t code);
/// For whoever reads nothing else. A character that the code page lacks becomes "?", and so does a byte that is no
/// UTF-8. Never null.
STRING FromUtf8(std::string_view utf8);

}  // namespace CODEPAGE
