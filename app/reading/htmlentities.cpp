#include "app/reading/htmlentities.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/utf8.h"

namespace {

struct ENTITY {
    std::string_view Name;
    char32_t Character;  // 0: nothing
};

// The names of U+00A1 to U+00FF, in their order.
constexpr std::string_view LATIN[] = {
    "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",    "copy",   "ordf",   "laquo",
    "not",    "shy",    "reg",    "macr",   "deg",    "plusmn", "sup2",   "sup3",   "acute",  "micro",  "para",
    "middot", "cedil",  "sup1",   "ordm",   "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute",
    "Acirc",  "Atilde", "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde", "Ouml",   "times",
    "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",  "szlig",  "agrave", "aacute", "acirc",
    "atilde", "auml",   "aring",  "aelig",  "ccedil", "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute",
    "icirc",  "iuml",   "eth",    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash",
    "ugrave", "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};
// Those of U+0391 and U+03B1 on; capitals begin with one. U+03A2 is no letter.
constexpr std::string_view GREEK[] = {
    "alpha", "beta",    "gamma", "delta", "epsilon", "zeta",  "eta", "theta",   "iota", "kappa", "lambda", "mu",   "nu",
    "xi",    "omicron", "pi",    "rho",   "sigmaf",  "sigma", "tau", "upsilon", "phi",  "chi",   "psi",    "omega"};
constexpr ENTITY OTHERS[] = {
    {"amp", '&'},       {"lt", '<'},        {"gt", '>'},        {"quot", '"'},      {"apos", '\''},
    {"nbsp", ' '},      {"ensp", ' '},      {"emsp", ' '},      {"thinsp", ' '},    {"zwnj", 0},
    {"zwj", 0},         {"lrm", 0},         {"rlm", 0},         {"euro", 0x20ac},   {"ndash", 0x2013},
    {"mdash", 0x2014},  {"lsquo", 0x2018},  {"rsquo", 0x2019},  {"sbquo", 0x201a},  {"ldquo", 0x201c},
    {"rdquo", 0x201d},  {"bdquo", 0x201e},  {"dagger", 0x2020}, {"Dagger", 0x2021}, {"bull", 0x2022},
    {"hellip", 0x2026}, {"permil", 0x2030}, {"prime", 0x2032},  {"Prime", 0x2033},  {"lsaquo", 0x2039},
    {"rsaquo", 0x203a}, {"trade", 0x2122},  {"larr", 0x2190},   {"uarr", 0x2191},   {"rarr", 0x2192},
    {"darr", 0x2193},   {"harr", 0x2194},   {"minus", 0x2212},  {"infin", 0x221e},  {"asymp", 0x2248},
    {"ne", 0x2260},     {"le", 0x2264},     {"ge", 0x2265},     {"hearts", 0x2665}, {"check", 0x2713},
    {"OElig", 0x0152},  {"oelig", 0x0153},  {"Scaron", 0x0160}, {"scaron", 0x0161}, {"Yuml", 0x0178},
    {"fnof", 0x0192},   {"circ", 0x02c6},   {"tilde", 0x02dc}};
constexpr size_t LONGEST_NAME = 8;

template <class LIST>
char32_t PlaceIn(const LIST& names, std::string_view name) {
    const auto* const found = std::ranges::find(names, name);
    return found == std::end(names) ? 0 : static_cast<char32_t>(found - std::begin(names)) + 1;
}

bool FindName(std::string_view name, char32_t& character) {
    if (const auto* const found = std::ranges::find(OTHERS, name, &ENTITY::Name); found != std::end(OTHERS)) {
        character = found->Character;
        return true;
    }
    if (const char32_t place = PlaceIn(LATIN, name)) {
        character = name == "shy" ? 0 : 0xa0 + place;
        return true;
    }
    std::string lower(name);
    lower[0] = static_cast<char>(ASCII::Lower(lower[0]));
    const char32_t place = PlaceIn(GREEK, lower);
    if (place == 0 || (ASCII::IsUpper(name[0]) && lower == "sigmaf"))
        return false;
    character = (ASCII::IsUpper(name[0]) ? 0x390 : 0x3b0) + place;
    return true;
}

}  // namespace

void TakeEntity(std::string_view& text, std::string& out) {
    const bool numbered = text.size() > 1 && text[1] == '#';
    const bool hexadecimal = numbered && text.size() > 2 && ASCII::Lower(text[2]) == 'x';
    const size_t start = hexadecimal ? 3 : numbered ? 2 : 1;
    size_t end = start;
    char32_t character = 0;
    if (numbered) {
        for (; end < text.size(); ++end) {
            const int digit = ASCII::HexValue(text[end]);
            if (digit < 0 || (!hexadecimal && digit > 9))
                break;
            character =
                std::min<char32_t>(character * (hexadecimal ? 16 : 10) + static_cast<char32_t>(digit), 0x110000);
        }
    } else {
        while (end < text.size() && end - start < LONGEST_NAME && ASCII::IsLetterOrDigit(text[end]))
            ++end;
    }
    if (end == start || (!numbered && !FindName(text.substr(start, end - start), character))) {
        out += '&';
        text.remove_prefix(1);
        return;
    }
    text.remove_prefix(end);
    if (text.starts_with(';'))
        text.remove_prefix(1);
    if (character == 0xa0)
        character = ' ';
    if (character >= 0x80 && character < 0xa0) {
        const char byte = static_cast<char>(character);  // written by who took code page 1252 for Unicode
        CODEPAGE::AppendGuessed(out, {&byte, 1});
    } else if (character != 0) {
        UTF8::Append(out, character);
    }
}
