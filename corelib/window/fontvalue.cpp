#include "corelib/window/fontvalue.h"

#include <algorithm>
#include <cstring>

#include "corelib/base/widepath.h"

namespace {
constexpr unsigned CODE_PAGE = 1252;
}

// Both forms are the same up to the name.

bool FontFromValue(const STRING& value, LOGFONTW& font) {
    if (value.Length() != FONTVALUE_LENGTH)
        return false;
    LOGFONTA bytes;
    memcpy(&bytes, value.Ptr(), sizeof bytes);
    bytes.lfFaceName[LF_FACESIZE - 1] = '\0';
    font = {};
    memcpy(&font, &bytes, offsetof(LOGFONTA, lfFaceName));
    wcsncpy(font.lfFaceName, Widen(CODE_PAGE, bytes.lfFaceName).c_str(), LF_FACESIZE - 1);
    return true;
}

STRING FontValue(const LOGFONTW& font) {
    LOGFONTA bytes{};
    memcpy(&bytes, &font, offsetof(LOGFONTA, lfFaceName));
    const STRING name = Narrow(CODE_PAGE, font.lfFaceName);
    memcpy(bytes.lfFaceName, name.View().data(), std::min<size_t>(name.View().size(), LF_FACESIZE - 1));
    STRING value(std::string_view(reinterpret_cast<const char*>(&bytes), sizeof bytes));
    value.SetFlags(STRINGFLAG_BINARY);
    return value;
}
