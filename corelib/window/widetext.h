#pragma once

#include <string>
#include <string_view>

#include "corelib/base/strings.h"
#include "corelib/base/widepath.h"

/// A text for Windows. In what mails and servers say, which may stand in it, a byte that is not of valid UTF-8 is taken
/// for one of code page 1252. The way back is FromWide.
std::wstring WideText(std::string_view text);
inline std::wstring WideText(const STRING& text) {
    return WideText(text.View());
}
