#pragma once

#include <string>
#include <string_view>

/// Folds UTF-8 to the bytes in which lists of words are written, so that a word is found however it was disguised:
/// letters that look like those of ASCII (Cyrillic, Greek, wide, mathematical, in circles) become these, typographic
/// quotes, dashes and blanks their plain forms, characters that take no room and marks upon letters go. What code page
/// 1252 has is its byte then; all others stay UTF-8. Tabs and line ends stay, other control characters become blanks.
namespace LETTERFOLD {

/// Bytes that are no UTF-8 stay. `disguised`, if it is asked for, becomes true if a letter was a look-alike; else it
/// stays as it was.
std::string Folded(std::string_view utf8, bool* disguised = nullptr);
/// The word of a list: one that is no UTF-8 is in the bytes of the code page already.
std::string FoldedWord(std::string_view word);

}  // namespace LETTERFOLD
