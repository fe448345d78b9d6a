#pragma once

#include <string>
#include <utility>

#include "corelib/base/strings.h"

/// One more bit of the flags of a STRING: its memory is overwritten before it is given back. Copies have it, and what
/// is cut from such a text, coded or made longer from it has it too.
inline constexpr uint32_t STRINGFLAG_SECRET = 4;

/// The same text with that flag.
inline STRING Secret(STRING text) {
    text.SetFlags(text.GetFlags() | STRINGFLAG_SECRET);
    return text;
}

/// Overwrites bytes, whatever a compiler thinks of their use.
void Wipe(char* bytes, size_t count);
/// The same of all memory that a text has, which is empty then.
void Wipe(std::string& text);
