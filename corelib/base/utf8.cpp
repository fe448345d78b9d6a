#include "corelib/base/utf8.h"

namespace UTF8 {

char32_t Take(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    size_t length = 1;
    char32_t code = first;
    char32_t lowest = 0;
    if (first >= 0xf0 && first <= 0xf4) {
        length = 4;
        code = first & 0x07U;
        lowest = 0x10000;
    } else if (first >= 0xe0 && first <= 0xef) {
        length = 3;
        code = first & 0x0fU;
        lowest = 0x800;
    } else if (first >= 0xc2 && first <= 0xdf) {
        length = 2;
        code = first & 0x1fU;
        lowest = 0x80;
    } else if (first >= 0x80) {
        code = INVALID;
    }
    bool valid = code != INVALID && length <= text.size();
    for (size_t i = 1; valid && i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        valid = (next & 0xc0U) == 0x80;
        code = (code << 6U) | (next & 0x3fU);
    }
    if (!valid || code < lowest || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) {
        text.remove_prefix(1);
        return INVALID;
    }
    text.remove_prefix(length);
    return code;
}

bool IsWithin(std::string_view text, size_t at) {
    constexpr size_t LONGEST = 4;
    const auto goesOn = [](char byte) { return (byte & 0xC0) == 0x80; };
    size_t begin = at;
    while (begin > 0 && at - begin < LONGEST && goesOn(text[begin]))
        --begin;
    std::string_view rest = text.substr(begin);
    return begin < at && Take(rest) != INVALID && text.size() - rest.size() > at;
}

bool IsValid(std::string_view text) {
    while (!text.empty())
        if (Take(text) == INVALID)
            return false;
    return true;
}

std::string_view Cut(std::string_view text, size_t bytes) {
    if (text.size() <= bytes)
        return text;
    size_t end = bytes;
    // A character has three bytes at most that go on with it; more of them are none.
    while (end > 0 && bytes - end < 3 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80)
        --end;
    std::string_view last = text.substr(end);
    const bool isSplit = end < bytes && Take(last) != INVALID;
    return text.substr(0, isSplit ? end : bytes);
}

void Append(std::string& out, char32_t character) {
    const auto put = [&out](char32_t byte) { out += static_cast<char>(byte); };
    const auto follow = [&](unsigned shift) { put(0x80U | ((character >> shift) & 0x3fU)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xc0U | (character >> 6U));
        follow(0);
    } else if (character < 0x10000 && (character < 0xd800 || character > 0xdfff)) {
        put(0xe0U | (character >> 12U));
        follow(6);
        follow(0);
    } else if (character >= 0x10000 && character <= 0x10ffff) {
        put(0xf0U | (character >> 18U));
        follow(12);
        follow(6);
        follow(0);
    }
}

}  // namespace UTF8
