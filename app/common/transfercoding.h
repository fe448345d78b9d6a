#pragma once

#include <string>
#include <string_view>

/// The encodings in which mail carries bytes that lines of ASCII cannot (RFC 2045 section 6, RFC 2047 section 4). What
/// is no valid code stands as it is, or is passed over in Base64.

void AppendBase64(std::string& out, std::string_view text);
/// Quoted-printable as in a body: a "=" at the end of a line joins it with the next one.
void AppendQuotedPrintable(std::string& out, std::string_view text);
/// The form for header words: "_" is a blank.
void AppendQEncoding(std::string& out, std::string_view text);
