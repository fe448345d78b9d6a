#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"
#include "corelib/base/widepath.h"

/// Texts in memory are UTF-8, or bytes of code page 1252, whatever the machine's own code page is: a byte that is not
/// of valid UTF-8 is taken for one of these. Windows is asked in its wide form. Paths are bytes of the machine's code
/// page instead: see WidePath.
std::wstring WideText(std::string_view text);
inline std::wstring WideText(const STRING& text) {
    return WideText(text.View());
}
/// The other way; what the code page does not have becomes the nearest character, or "?". Never null.
STRING FromWide(std::wstring_view text);
