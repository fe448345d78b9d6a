#include "app/reading/letterfold.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "corelib/base/codepage.h"
#include "corelib/base/utf8.h"

namespace {

/// Characters that follow each other, and the ASCII letters that they look like; a blank stands for one that looks
/// like none.
struct LOOKALIKES {
    char32_t First;
    std::string_view Letters;
};
constexpr std::string_view ABC = "ABCDEFGHIJKLMNOPQRSTUVWXYZ", SMALL_ABC = "abcdefghijklmnopqrstuvwxyz";

// In the order of their numbers.
constexpr LOOKALIKES LIKE[] = {
    {0x0131, "i"},
    {0x0251, "a"},
    {0x0261, "g"},
    {0x0262, "g"},
    {0x026A, "i"},
    {0x0274, "n"},
    {0x0280, "r"},
    {0x028F, "y"},
    {0x0299, "b"},
    {0x029C, "h"},
    {0x029F, "l"},
    {0x0391, "AB  EZH IK MN O P  TY X"},
    {0x03B1, "a       ik  v o p   u x"},
    {0x03F2, "cj"},
    {0x03F9, "C"},
    {0x0405, "SI J"},
    {0x0410, "A B  E    K MHO PCTY X"},
    {0x0430, "a    e    k m o pcty x"},
    {0x0455, "si j"},
    {0x04AE, "Yy"},
    {0x04BB, "h"},
    {0x04C0, "I"},
    {0x04CF, "l"},
    {0x0501, "d"},
    {0x051A, "QqWw"},
    {0x0570, "h"},
    {0x0578, "n"},
    {0x057D, "u"},
    {0x0585, "o"},
    {0x1D00, "a  bcd e"},
    {0x1D0A, "jklm o"},
    {0x1D18, "p"},
    {0x1D1B, "tu"},
    {0x1D20, "vwz"},
    {0x2070, "0i  456789"},
    {0x2080, "0123456789"},
    {0x2102, "C"},
    {0x210A, "gHHHh"},
    {0x2110, "IILl"},
    {0x2115, "N"},
    {0x2119, "PQRRR"},
    {0x2124, "Z"},
    {0x2128, "Z K"},
    {0x212C, "BC eEF Mo"},
    {0x2160, "I"},
    {0x2164, "V"},
    {0x2169, "X"},
    {0x216C, "LCDM"},
    {0x2170, "i"},
    {0x2174, "v"},
    {0x2179, "x"},
    {0x217C, "lcdm"},
    {0x249C, SMALL_ABC},
    {0x24B6, ABC},
    {0x24D0, SMALL_ABC},
    {0xA730, "fs"},
    {0x1F130, ABC},
    {0x1F150, ABC},
    {0x1F170, ABC},
};

struct RANGE {
    char32_t First, Last;
};
constexpr bool In(char32_t c, const RANGE& range) {
    return c >= range.First && c <= range.Last;
}

// Of no width, and the marks that are put upon the letter in front.
constexpr RANGE UNSEEN[] = {{0xAD, 0xAD},     {0x300, 0x36F},   {0x61C, 0x61C},   {0x115F, 0x1160}, {0x17B4, 0x17B5},
                            {0x180B, 0x180F}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x206F}, {0x3164, 0x3164},
                            {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFFC, 0xFFFC}, {0xE0000, 0xE0FFF}};
constexpr RANGE BLANKS[] = {{0xA0, 0xA0},     {0x1680, 0x1680}, {0x2000, 0x200A}, {0x2028, 0x2029},
                            {0x202F, 0x202F}, {0x205F, 0x205F}, {0x2800, 0x2800}, {0x3000, 0x3000}};
// Whole scripts, for speed.
constexpr RANGE NO_LIKENESS[] = {{0x0620, 0x10FF}, {0x3041, 0x3163}, {0x3165, 0x9FFF}, {0xAC00, 0xD7A3}};
constexpr char32_t DIAERESIS = 0x308;

constexpr bool InOrder() {
    return std::ranges::is_sorted(LIKE, {}, &LOOKALIKES::First);
}
static_assert(InOrder());

/// The letter, or 0.
char LookOf(char32_t c) {
    constexpr RANGE MATHEMATICAL = {0x1D400, 0x1D6A3}, MATHEMATICAL_GREEK = {0x1D6A8, 0x1D7CB},
                    MATHEMATICAL_DIGITS = {0x1D7CE, 0x1D7FF}, WIDE_SIGNS = {0xFF01, 0xFF5E};
    if (In(c, MATHEMATICAL)) {
        const size_t place = (c - MATHEMATICAL.First) % 52;
        return place < 26 ? ABC[place] : SMALL_ABC[place - 26];
    }
    if (In(c, MATHEMATICAL_GREEK)) {
        const char32_t place = (c - MATHEMATICAL_GREEK.First) % 58;
        return LookOf(place < 25 ? 0x391 + place : 0x3B1 - 26 + place);
    }
    if (In(c, MATHEMATICAL_DIGITS))
        return static_cast<char>('0' + (c - MATHEMATICAL_DIGITS.First) % 10);
    const auto* const after = std::ranges::upper_bound(LIKE, c, {}, &LOOKALIKES::First);
    if (after != std::begin(LIKE)) {
        const LOOKALIKES& row = after[-1];
        if (c - row.First < row.Letters.size() && row.Letters[c - row.First] != ' ')
            return row.Letters[c - row.First];
    }
    return In(c, WIDE_SIGNS) ? static_cast<char>(c - WIDE_SIGNS.First + '!') : '\0';
}

std::string_view PlainSign(char32_t c) {
    switch (c) {
        case 0x2018:
        case 0x2019:
        case 0x201B:
        case 0x2032:
        case 0xB4:
            return "'";
        case 0x201C:
        case 0x201D:
        case 0x201E:
        case 0x201F:
        case 0x2033:
            return "\"";
        case 0x2010:
        case 0x2011:
        case 0x2012:
        case 0x2013:
        case 0x2014:
        case 0x2015:
        case 0x2212:
            return "-";
        case 0x2026:
            return "...";
        case 0x2024:
            return ".";
        case 0xFB00:
            return "ff";
        case 0xFB01:
            return "fi";
        case 0xFB02:
            return "fl";
        default:
            return {};
    }
}

/// A letter with the two dots that follow it is one of the code page.
void TakeDots(std::string& out) {
    constexpr std::string_view PLAIN_LETTERS = "AOUaou", DOTTED = "\xC4\xD6\xDC\xE4\xF6\xFC";
    const size_t place = out.empty() ? DOTTED.npos : PLAIN_LETTERS.find(out.back());
    if (place != DOTTED.npos)
        out.back() = DOTTED[place];
}

void AppendFolded(std::string& out, char32_t c, std::string_view bytes, bool* disguised) {
    const auto in = [c](const RANGE& range) { return In(c, range); };
    if (c == UTF8::INVALID || std::ranges::any_of(NO_LIKENESS, in)) {
        out += bytes;
    } else if (c > 0xA0 && c < 0x100 && c != 0xAD && c != 0xB4) {
        out += static_cast<char>(c);
    } else if (std::ranges::any_of(BLANKS, in) || c < 0xA0) {
        out += ' ';
    } else if (std::ranges::any_of(UNSEEN, in)) {
        if (c == DIAERESIS)
            TakeDots(out);
    } else if (const char letter = LookOf(c)) {
        out += letter;
        if (disguised)
            *disguised = true;
    } else if (const std::string_view sign = PlainSign(c); !sign.empty()) {
        out += sign;
    } else {
        const int byte = CODEPAGE::ByteOf(c);
        byte >= 0 ? out.append(1, static_cast<char>(byte)) : out.append(bytes);
    }
}

/// What stands for itself.
constexpr std::array<bool, 256> MakePlain() {
    std::array<bool, 256> plain{};
    for (size_t c = 0x20; c < 0x7F; ++c)
        plain[c] = true;
    plain['\n'] = plain['\t'] = true;
    return plain;
}
constexpr std::array<bool, 256> PLAIN = MakePlain();

}  // namespace

std::string LETTERFOLD::Folded(std::string_view utf8, bool* disguised) {
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const auto* const end =
            std::ranges::find_if_not(utf8, [](char c) { return PLAIN[static_cast<unsigned char>(c)]; });
        const auto plain = static_cast<size_t>(end - utf8.begin());
        out += utf8.substr(0, plain);
        utf8.remove_prefix(plain);
        if (utf8.empty())
            break;
        const std::string_view before = utf8;
        const char32_t c = UTF8::Take(utf8);
        if (c != '\r')
            AppendFolded(out, c, before.substr(0, before.size() - utf8.size()), disguised);
    }
    return out;
}

std::string LETTERFOLD::FoldedWord(std::string_view word) {
    return UTF8::IsValid(word) ? Folded(word) : std::string(word);
}
