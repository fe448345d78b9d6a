#pragma once

#include <string>
#include <string_view>

/// What a person reads of a page: UTF-8 in and out, in linear time. Tags, comments, scripts, styles and the title go,
/// blocks and line breaks become line ends, cells are parted by a blank, runs of blanks are one, but for <pre>. Nothing
/// is fetched, and no picture's or link's address shows.
std::string HtmlText(std::string_view html);

/// The charset that a page says it is in, in a <meta> near its beginning; empty if it does not.
std::string_view HtmlCharset(std::string_view html);
