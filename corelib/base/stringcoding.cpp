// The coded forms of a text: backslash escapes, Base64, the checksum.

#include <array>
#include <cstring>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/strings.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"

namespace {

constexpr char BASE64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char PADDING = 255;
constexpr unsigned char NO_VALUE = 254;
constexpr int BASE64_LINE = 76;

constexpr auto BASE64_VALUES = [] {
    std::array<unsigned char, 256> table{};
    table.fill(NO_VALUE);
    for (unsigned char i = 0; i < 64; ++i)
        table[static_cast<unsigned char>(BASE64[i])] = i;
    table['='] = PADDING;
    return table;
}();

constexpr auto CRC_TABLE = [] {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = (value & 1) ? (value >> 1) ^ 0xEDB88320u : value >> 1;
        table[i] = value;
    }
    return table;
}();

}  // namespace

STRING STRING::Escape(const char* chars) const {
    static const char HEX[] = "0123456789abcdef";
    STRING result("");
    result.Flags = Flags & STRINGFLAG_SECRET;
    std::string_view text = View();
    size_t plain = 0;  // start of the bytes that stand as they are
    for (size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        char coded[4] = {'\\', 0, 0, 0};
        int length = 2;
        switch (c) {
            case '\\':
                coded[1] = '\\';
                break;
            case 0:
                coded[1] = '0';
                break;
            case 13:
                coded[1] = 'r';
                break;
            case 10:
                coded[1] = 'n';
                break;
            case 9:
                coded[1] = 't';
                break;
            case 26:
                coded[1] = 'z';
                break;
            default:
                if (c >= 32 && c <= 127 && !strchr(chars, text[i]))
                    continue;
                coded[1] = 'x';
                coded[2] = HEX[c >> 4];
                coded[3] = HEX[c & 15];
                length = 4;
        }
        result.AppendBytes(text.substr(plain, i - plain));
        result.AppendBytes(coded, length);
        plain = i + 1;
    }
    result.AppendBytes(text.substr(plain));
    return result;
}

STRING STRING::Unescape() const {
    STRING result("");
    std::string_view text = View();
    size_t i = 0;
    // Not the text itself: passwords of files come through here, and reports lie about.
    const auto place = [&] { return "byte " + std::to_string(i) + " of " + std::to_string(text.size()); };
    while (i < text.size()) {
        size_t slash = text.find('\\', i);
        result.AppendBytes(text.substr(i, slash == text.npos ? text.npos : slash - i));
        if (slash == text.npos)
            break;
        // The terminator stands after a backslash at the very end.
        char c = slash + 1 < text.size() ? text[slash + 1] : '\0';
        i = slash + 2;
        switch (c) {
            case '0':
                c = 0;
                break;
            case '\\':
                break;
            case 'n':
                c = 10;
                break;
            case 'r':
                c = 13;
                break;
            case 't':
                c = 9;
                break;
            case 'z':
                c = 26;
                break;
            case 'x': {
                // If one of the two digits is missing the other is the value, and the text goes on after it.
                int value = 0;
                int high = i < text.size() ? ASCII::HexValue(text[i]) : -1;
                if (ASSERTION_INFO(high >= 0, "isxdigit(xdigit[0])", place().c_str())) {
                    value = high;
                    ++i;
                }
                int low = i < text.size() ? ASCII::HexValue(text[i]) : -1;
                if (ASSERTION_INFO(low >= 0, "isxdigit(xdigit[1])", place().c_str())) {
                    value = value * 16 + low;
                    ++i;
                }
                c = static_cast<char>(value);
                break;
            }
            default:
                ASSERTION_INFO(false, "FALSE", place().c_str());
                if (slash + 1 >= text.size())
                    return result;
        }
        result.AppendBytes(&c, 1);
    }
    return result;
}

STRING STRING::ToBase64(bool breaklines) const {
    STRING result("");
    result.Flags = Flags & STRINGFLAG_SECRET;
    std::string_view text = View();
    int column = 0;
    auto breakLine = [&] {
        if (breaklines && column + 4 > BASE64_LINE) {
            result.AppendBytes("\r\n", 2);
            column = 0;
        }
    };
    auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    size_t i = 0;
    for (; i + 3 <= text.size(); i += 3) {
        breakLine();
        uint32_t bits = (uint32_t{byte(i)} << 16) | (uint32_t{byte(i + 1)} << 8) | byte(i + 2);
        const char group[4] = {BASE64[bits >> 18], BASE64[(bits >> 12) & 63], BASE64[(bits >> 6) & 63],
                               BASE64[bits & 63]};
        result.AppendBytes(group, 4);
        column += 4;
    }
    if (text.size() - i == 2) {
        breakLine();
        uint32_t bits = (uint32_t{byte(i)} << 16) | (uint32_t{byte(i + 1)} << 8);
        const char group[4] = {BASE64[bits >> 18], BASE64[(bits >> 12) & 63], BASE64[(bits >> 6) & 63], '='};
        result.AppendBytes(group, 4);
        column += 4;
    } else if (text.size() - i == 1) {
        // No look at the line's length here: the format lets this line reach 80.
        uint32_t bits = uint32_t{byte(i)} << 16;
        const char group[4] = {BASE64[bits >> 18], BASE64[(bits >> 12) & 63], '=', '='};
        result.AppendBytes(group, 4);
        column += 4;
    }
    if (breaklines && column > 0)
        result.AppendBytes("\r\n", 2);
    return result;
}

STRING STRING::FromBase64() const {
    STRING result("");
    result.Flags = Flags & STRINGFLAG_SECRET;
    unsigned char group[4] = {};
    int filled = 0;
    for (char c : View()) {
        unsigned char value = BASE64_VALUES[static_cast<unsigned char>(c)];
        if (value == NO_VALUE)
            continue;
        group[filled++] = value;
        if (value != PADDING && filled < 4)
            continue;
        // A full group, or one that the padding closes early: a byte for each value after the first.
        int bytes = value == PADDING ? filled - 2 : 3;
        const char decoded[3] = {static_cast<char>((group[0] << 2) | (group[1] >> 4)),
                                 static_cast<char>((group[1] << 4) | (group[2] >> 2)),
                                 static_cast<char>((group[2] << 6) | group[3])};
        if (bytes > 0)
            result.AppendBytes(decoded, bytes);
        if (value == PADDING)
            break;
        filled = 0;
    }
    return result;
}

uint32_t STRING::Crc() const {
    uint32_t value = 0;
    for (char c : View())
        value = (value >> 8) ^ CRC_TABLE[(value ^ static_cast<unsigned char>(c)) & 0xFF];
    return value;
}
