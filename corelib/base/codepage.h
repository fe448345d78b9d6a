#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Between UTF-8, which files of texts and terminals speak, and Windows code page 1252, which the system's own texts
/// have in memory. Both never give a null string.
namespace CODEPAGE {

/// A character that the code page lacks, and a byte that is no UTF-8, becomes "?"; `exact`, if set, tells whether there
/// was none.
STRING FromUtf8(std::string_view utf8, bool* exact = nullptr);
/// The five bytes that the code page does not use become "?".
STRING ToUtf8(std::string_view text);
/// The same for one byte.
void AppendUtf8(std::string& out, char byte);

}  // namespace CODEPAGE
