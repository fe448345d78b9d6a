#include "corelib/window/widetext.h"

#include <windows.h>

#include "corelib/base/codepage.h"

std::wstring WideText(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    CODEPAGE::AppendGuessed(utf8, text);
    return Widen(CP_UTF8, utf8);
}
