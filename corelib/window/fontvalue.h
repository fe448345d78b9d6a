#pragma once

#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"

/// A font as a value of a record: the bytes of a LOGFONTA, with the name in code page 1252. False, and the font stays
/// as it is, for a value of any other length.
[[nodiscard]] bool FontFromValue(const STRING& value, LOGFONTW& font);
/// A font as such a value, marked for Base64.
STRING FontValue(const LOGFONTW& font);
/// Such a value has this length.
inline constexpr int FONTVALUE_LENGTH = sizeof(LOGFONTA);
