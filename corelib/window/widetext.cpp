#include "corelib/window/widetext.h"

#include "corelib/system/charset.h"

namespace {
constexpr unsigned CODE_PAGE = 1252, UTF8_PAGE = 65001;
}

std::wstring WideText(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    CHARSET::AppendGuessed(utf8, text);
    return Widen(UTF8_PAGE, utf8);
}

STRING FromWide(std::wstring_view text) {
    return Narrow(CODE_PAGE, text);
}
