#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"

/// Texts in memory are bytes of code page 1252, whatever the machine's own code page is; Windows is asked in its wide
/// form.
std::wstring WideText(std::string_view text);
inline std::wstring WideText(const STRING& text) {
    return WideText(text.View());
}
/// Paths are bytes of the machine's code page instead, as the file functions take them.
std::wstring WidePath(const STRING& path);
STRING PathFromWide(std::wstring_view path);
/// The other way; what the code page does not have becomes the nearest character, or "?". Never null.
STRING FromWide(std::wstring_view text);
