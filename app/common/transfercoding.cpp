#include "app/common/transfercoding.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/base/strings.h"

namespace {

/// The byte that "=" and two hexadecimal digits at the beginning of the text stand for; -1 for anything else.
int CodedByte(std::string_view text) {
    return text.starts_with('=') ? ASCII::HexByte(text.substr(1)) : -1;
}

}  // namespace

void AppendBase64(std::string& out, std::string_view text) {
    // The sign that nothing follows has the bytes of a last group read that was cut off.
    STRING whole(text);
    whole.AppendBytes("=");
    out += whole.FromBase64().View();
}

void AppendQuotedPrintable(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const size_t plain = std::min(text.find('='), text.size());
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const int byte = CodedByte(text);
        const size_t lineEnd = std::min(text.find_first_not_of(" \t\r", 1), text.size());
        if (byte >= 0) {
            out += static_cast<char>(byte);
            text.remove_prefix(3);
        } else if (lineEnd == text.size() || text[lineEnd] == '\n') {
            text.remove_prefix(std::min(lineEnd + 1, text.size()));
        } else {
            out += '=';
            text.remove_prefix(1);
        }
    }
}

void AppendQEncoding(std::string& out, std::string_view text) {
    while (!text.empty()) {
        const int byte = CodedByte(text);
        out += byte >= 0 ? static_cast<char>(byte) : text[0] == '_' ? ' ' : text[0];
        text.remove_prefix(byte >= 0 ? 3 : 1);
    }
}
