#include "corelib/base/ascii.h"

namespace ASCII {

size_t Find(std::string_view text, std::string_view what, size_t start) {
    if (start > text.size() || what.size() > text.size() - start)
        return text.npos;
    if (what.empty())
        return start;
    const char lower = static_cast<char>(Lower(what[0])), upper = static_cast<char>(Upper(what[0]));
    const std::string_view tail = what.substr(1);
    // Most places fail at the first byte, which is compared without turning each byte's case.
    for (size_t at = start, last = text.size() - what.size(); at <= last; ++at)
        if ((text[at] == lower || text[at] == upper) && Equal(text.substr(at + 1, tail.size()), tail))
            return at;
    return text.npos;
}

std::string Lower(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = static_cast<char>(Lower(c));
    return result;
}

std::string Upper(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = static_cast<char>(Upper(c));
    return result;
}

}  // namespace ASCII
