#pragma once

#include <string>
#include <string_view>

/// What a person reads of a header field: UTF-8, with its encoded words (RFC 2047) decoded, also such as break a rule
/// but can be read: adjacent ones are joined where they split a character, and blanks in them are taken as they are.
/// Words of unknown charsets and encodings stand as they are. Bytes above 127 beside the words are UTF-8, or of
/// `charset` if that is told and they are not, or else of code page 1252. May hold control characters that were
/// encoded.
std::string HeaderWords(std::string_view value, std::string_view charset = {});
