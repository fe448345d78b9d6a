#pragma once

#include <string>
#include <string_view>

/// Who reads a mail: a person, who is shown all that there is to show, or the filter, which wants what the sender means
/// a person to see in an ordinary mail program, and where its links lead.
enum class READBY { Person, Filter };

/// What a person reads of a page: UTF-8 in and out, in linear time. Tags, comments, scripts, styles and the title go,
/// blocks and line breaks become line ends, cells are parted by a blank, runs of blanks are one, but for <pre>. Nothing
/// is fetched, and no picture's or link's address shows. For the filter hidden text goes, too, and the last line has
/// the hosts of links, forms and pictures, each once.
std::string HtmlText(std::string_view html, READBY reader = READBY::Person);

/// The charset that a page says it is in, in a <meta> near its beginning; empty if it does not.
std::string_view HtmlCharset(std::string_view html);
