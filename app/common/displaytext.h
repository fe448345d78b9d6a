#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Texts as a terminal may have them: UTF-8, without any byte that could act as a control. What is cut is cut between
/// characters.
namespace DISPLAYTEXT {

/// Bytes from a mail, a server or our own texts. Valid UTF-8 stays, other bytes are Windows code page 1252. Control
/// characters of every kind (below 32, 127, 128..159, and the marks that turn the direction of writing) are dropped;
/// line ends and tabs become a blank.
std::string Safe(std::string_view bytes);

/// A path of the program as the system writes it, made safe.
std::string Path(const STRING& path);

/// Columns that a text of Safe takes on a terminal: 0 for combining marks, 2 for wide characters.
int Width(std::string_view utf8);

/// The text in exactly `columns` columns: filled up with blanks on the right, or on the left, or cut with "..." at its
/// end.
std::string Fit(std::string_view utf8, int columns, bool alignRight = false);

/// The text's beginning, up to so many characters. Marks belong to the letter before them, and what is joined is one
/// character; a character has 128 bytes at most.
std::string_view FirstCharacters(std::string_view utf8, int characters);

}  // namespace DISPLAYTEXT
