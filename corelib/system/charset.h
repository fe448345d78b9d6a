#pragma once

#include <string>
#include <string_view>

/// The charsets of mail (names as IANA registers them, in any case) and UTF-8.
namespace CHARSET {

/// Appends the text in UTF-8; false, and nothing appended, if the platform does not know the charset. Names that are
/// commonly used for a wider relative are taken as that, say iso-8859-1 as windows-1252. Bytes that are nothing in the
/// charset become "?" or are left out, as the platform does it.
bool AppendUtf8(std::string& out, std::string_view charset, std::string_view text);

}  // namespace CHARSET
