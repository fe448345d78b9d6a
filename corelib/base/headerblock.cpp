#include "corelib/base/headerblock.h"

#include "corelib/base/ascii.h"

namespace {

/// Cuts the first line, without its end, off text.
std::string_view TakeLine(std::string_view& text) {
    std::string_view line = ASCII::Take(text, '\n');
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

bool BeginsWithField(std::string_view line, std::string_view name) {
    return ASCII::BeginsWith(line, name) && line.substr(name.size()).starts_with(':');
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
        return STRING(ASCII::TrimLeft(line, " \t"));
    }
    return STRING();
}
