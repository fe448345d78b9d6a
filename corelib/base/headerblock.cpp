#include "corelib/base/headerblock.h"

#include "corelib/base/ascii.h"

namespace {

constexpr size_t NONE = std::string_view::npos;

/// Cuts the first line, without its end, off text.
std::string_view TakeLine(std::string_view& text) {
    const size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == NONE ? text.size() : end + 1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

bool BeginsWithField(std::string_view line, std::string_view name) {
    if (line.size() <= name.size() || line[name.size()] != ':')
        return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if (ASCII::Lower(line[i]) != ASCII::Lower(name[i]))
            return false;
    }
    return true;
}

}  // namespace

std::string_view HeaderBlock(std::string_view text) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t start = text.size() - rest.size();
        if (TakeLine(rest).empty())
            return text.substr(0, start);
    }
    return text;
}

std::string_view BodyBlock(std::string_view text) {
    while (!text.empty()) {
        if (TakeLine(text).empty())
            break;
    }
    return text;
}

STRING ReadHeaderField(std::string_view header, std::string_view name, int n) {
    while (!header.empty()) {
        std::string_view line = TakeLine(header);
        if (line.empty())
            break;
        if (!BeginsWithField(line, name) || n-- > 0)
            continue;
        line.remove_prefix(name.size() + 1);
        const size_t start = line.find_first_not_of(" \t");
        return STRING(start == NONE ? std::string_view("") : line.substr(start));
    }
    return STRING();
}
