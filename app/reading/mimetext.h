#pragma once

#include <string>
#include <string_view>

#include "app/reading/htmltext.h"

/// The fields of a header one to a line: a line that begins with a blank or tab is joined with the one before (RFC 5322
/// section 2.2.3).
std::string JoinedFields(std::string_view header);

/// The value of a parameter, as in `text/plain; charset="utf-8"` (RFC 2045 section 5.1), also of one in pieces or with
/// a charset (RFC 2231), then in UTF-8; empty without it.
std::string HeaderParameter(std::string_view field, std::string_view name);

/// What a person reads of a mail, in UTF-8: its text/plain, or the text of its HTML, in their charset and encoding. The
/// parts of a mail follow each other (of those that say the same the plain one is taken); for an attachment its type
/// and name stand in brackets. What cannot be read as MIME (RFC 2045) is taken as plain text. A mail that was cut off
/// gives what is there. May hold control characters. `header` as from JoinedFields. For the filter, of parts that say
/// the same it is the page, which is what most mail programs show.
std::string ReadableText(std::string_view header, std::string_view body, READBY reader = READBY::Person);
