#pragma once

#include <string>
#include <string_view>

/// A charset as mail and as the platforms call it.
struct CHARSETNAME {
    const char* Name;       // in lower case
    const char* Converter;  // for iconv
    unsigned CodePage;      // of Windows; 0: the system is asked for it by Name
};

/// Appends the text in UTF-8; false if the platform has no such charset. For charset.cpp alone.
bool ConvertToUtf8(const CHARSETNAME& charset, std::string_view text, std::string& out);
