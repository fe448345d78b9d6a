#include "corelib/window/widetext.h"

namespace {
constexpr unsigned CODE_PAGE = 1252;
}

std::wstring WideText(std::string_view text) {
    return Widen(CODE_PAGE, text);
}

STRING FromWide(std::wstring_view text) {
    return Narrow(CODE_PAGE, text);
}
