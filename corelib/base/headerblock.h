#pragma once

#include <string_view>

#include "corelib/base/strings.h"

/// Texts that consist of header lines, an empty line and a body, as mails (RFC 822) and HTTP replies do. Lines end in
/// "\n" or "\r\n". All operations are linear in the text.

/// All of text up to the first empty line; the whole of it if there is none. Points into text.
std::string_view HeaderBlock(std::string_view text);
/// All after that line; empty if there is none. Points into text.
std::string_view BodyBlock(std::string_view text);
/// The value of the n-th (from 0) line that begins with name and ":", without regard to case and without blanks and
/// tabs on its left. An empty line ends the search. Null if there is no such line. Continuation lines are not looked
/// at.
STRING ReadHeaderField(std::string_view header, std::string_view name, int n = 0);
