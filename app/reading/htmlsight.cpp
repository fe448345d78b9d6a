#include "app/reading/htmlsight.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>

#include "corelib/base/ascii.h"

namespace {

constexpr size_t NONE = std::string_view::npos;
constexpr std::string_view BLANKS = " \t\r\n\f";
constexpr size_t DEEPEST = 256;   // elements within elements; deeper ones say nothing
constexpr size_t LOOK_BACK = 64;  // for the element that an end tag ends, so that each costs the same
constexpr size_t STYLE_BYTES = 2000;
constexpr std::string_view LENGTHS[] = {"height", "max-height", "width", "max-width"};
constexpr uint32_t LINK_COLOUR = 0x0000EE;
constexpr uint32_t ALIKE = 12;  // a difference of colours, in each of their parts, that no eye sees

template <size_t N>
constexpr std::array<uint64_t, N> Packed(const std::string_view (&names)[N]) {
    std::array<uint64_t, N> packed{};
    std::ranges::transform(names, packed.begin(), HtmlName);
    return packed;
}
constexpr auto WITHOUT_END =
    Packed({"area", "base", "basefont", "bgsound", "br", "col", "embed", "frame", "hr", "image", "img", "input",
            "keygen", "link", "meta", "param", "source", "track", "wbr"});
// What holds paragraphs, and those that end one that is open.
constexpr auto HOLDERS = Packed({"div", "td", "th", "table", "li", "body", "html", "center", "form", "dd", "blockquote",
                                 "section", "article", "header", "footer", "main", "aside", "nav", "button"});
constexpr auto END_PARAGRAPH =
    Packed({"p",  "div", "table", "ul",  "ol",   "dl",         "li",     "h1",      "h2",      "h3",     "h4",
            "h5", "h6",  "hr",    "pre", "form", "blockquote", "center", "section", "article", "header", "footer"});
constexpr auto HEADINGS = Packed({"h1", "h2", "h3", "h4", "h5", "h6"});
constexpr auto SECTIONS = Packed({"thead", "tbody", "tfoot"});
constexpr uint64_t CELL = HtmlName("td"), HEAD_CELL = HtmlName("th"), ROW = HtmlName("tr"), TABLE = HtmlName("table"),
                   LIST_ITEM = HtmlName("li"), PARAGRAPH = HtmlName("p"), LINK = HtmlName("a"), BODY = HtmlName("body");

template <class LIST>
bool In(const LIST& list, uint64_t name) {
    return std::ranges::find(list, name) != std::end(list);
}

/// An element with one of these ends an open one with the same, unless one that may hold it stands between; or 0.
uint64_t SiblingsOf(uint64_t name) {
    if (name == LIST_ITEM || name == LINK)
        return name;
    if (name == HtmlName("dd") || name == HtmlName("dt"))
        return HtmlName("dd");
    return In(HEADINGS, name) ? HEADINGS[0] : 0;
}

bool IsAlike(uint32_t a, uint32_t b) {
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const uint32_t x = a >> shift & 0xFFU, y = b >> shift & 0xFFU;
        if (std::max(x, y) - std::min(x, y) > ALIKE)
            return false;
    }
    return true;
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && ASCII::IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && ASCII::IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Of a length of letters: is it one that nobody reads, or is one at all? Percentages and the like are of another size,
/// and one inch can be read.
enum class SIZE { Tiny, Good, Relative };
SIZE ReadSize(std::string_view value) {
    if (value.empty() || !(ASCII::IsDigit(value[0]) || value[0] == '.'))
        return SIZE::Good;
    const double number = strtod(std::string(value.substr(0, 20)).c_str(), nullptr);
    const std::string_view unit = ASCII::TrimLeft(value, "0123456789.");
    if (ASCII::Equal(unit, "em") || unit == "%" || ASCII::Equal(unit, "rem"))
        return number < 0.05 ? SIZE::Tiny : SIZE::Relative;
    const bool isSmall = unit.empty() || ASCII::Equal(unit, "px") || ASCII::Equal(unit, "pt");
    return number == 0 || (isSmall && number <= 1) ? SIZE::Tiny : SIZE::Good;
}

}  // namespace

bool HTMLATTRIBUTES::Next(std::string_view& name, std::string_view& value) {
    const auto skip = [this](size_t at, bool slashes) {
        while (at < Rest.size() && (ASCII::IsSpace(Rest[at]) || (slashes && Rest[at] == '/')))
            ++at;
        return at;
    };
    Rest.remove_prefix(skip(0, true));
    if (Rest.empty())
        return false;
    size_t end = 1;
    while (end < Rest.size() && !ASCII::IsSpace(Rest[end]) && Rest[end] != '/' && Rest[end] != '=')
        ++end;
    name = Rest.substr(0, end);
    value = {};
    const size_t sign = skip(end, false);
    if (sign == Rest.size() || Rest[sign] != '=') {
        Rest.remove_prefix(end);
        return true;
    }
    Rest.remove_prefix(skip(sign + 1, false));
    if (Rest.starts_with('"') || Rest.starts_with('\'')) {
        const char quote = Rest[0];
        Rest.remove_prefix(1);
        value = ASCII::Take(Rest, quote);
    } else {
        value = Rest.substr(0, static_cast<size_t>(std::ranges::find_if(Rest, ASCII::IsSpace) - Rest.begin()));
        Rest.remove_prefix(value.size());
    }
    return true;
}

bool HTMLSIGHT::ELEMENT::Shows() const {
    return !Gone && !Invisible && !Tiny && (Colour == UNKNOWN || Ground == UNKNOWN || !IsAlike(Colour, Ground));
}

uint32_t HTMLSIGHT::ReadColour(std::string_view value) {
    constexpr std::pair<std::string_view, uint32_t> NAMES[] = {
        {"white", 0xFFFFFF},      {"black", 0},       {"snow", 0xFFFAFA},  {"ivory", 0xFFFFF0}, {"red", 0xFF0000},
        {"whitesmoke", 0xF5F5F5}, {"gray", 0x808080}, {"silver", 0xC0C0C0}};
    const std::string text = ASCII::Lower(ASCII::Trim(value.substr(0, 40), BLANKS));
    if (text == "transparent" || text == "inherit")
        return UNCHANGED;
    std::string_view digits = text;
    if (digits.starts_with("rgb")) {
        uint32_t colour = 0;
        digits.remove_prefix(std::min(digits.find('(') + 1, digits.size()));
        for (int part = 0; part < 3; ++part) {
            const std::string number(ASCII::Trim(digits.substr(0, digits.find_first_of(",)")), BLANKS));
            if (number.empty() || !ASCII::IsDigit(number[0]) || number.find('%') != NONE)
                return UNKNOWN;
            colour = colour << 8 | (static_cast<uint32_t>(strtoul(number.c_str(), nullptr, 10)) & 0xFFU);
            digits.remove_prefix(std::min(digits.find_first_of(",)") + 1, digits.size()));
        }
        return colour;
    }
    if (digits.starts_with('#'))
        digits.remove_prefix(1);
    if (std::ranges::all_of(digits, [](char c) { return ASCII::HexValue(c) >= 0; })) {
        uint32_t colour = 0;
        for (const char c : digits.substr(0, 6)) {
            const auto digit = static_cast<uint32_t>(ASCII::HexValue(c));
            colour = digits.size() == 3 ? colour << 8 | digit << 4 | digit : colour << 4 | digit;
        }
        if (digits.size() == 3 || digits.size() == 6)
            return colour;
    }
    const auto* const name =
        std::ranges::find(NAMES, std::string_view(text), &std::pair<std::string_view, uint32_t>::first);
    return name != std::end(NAMES) ? name->second : UNKNOWN;
}

void HTMLSIGHT::Apply(ELEMENT& element, std::string_view property, std::string_view value, HIDINGS& hidings) {
    const auto set = [](uint32_t& colour, std::string_view name) {
        const uint32_t read = ReadColour(name);
        colour = read == UNCHANGED ? colour : read;
    };
    const auto is = [property](std::string_view name) { return ASCII::Equal(property, name); };
    switch (property.empty() ? 0 : ASCII::Lower(property[0])) {
        case 'd':
            if (is("display"))
                hidings.None = ASCII::Equal(value, "none");
            break;
        case 'v':
            if (is("visibility"))
                element.Invisible = ASCII::Equal(value, "hidden") || ASCII::Equal(value, "collapse");
            break;
        case 'o':
            if (is("opacity"))
                hidings.Clear = ASCII::TrimLeft(value, "0.%").empty();
            else if (is("overflow"))
                hidings.Cut = ASCII::Equal(value, "hidden");
            break;
        case 'f':
            if (is("font-size")) {
                const SIZE size = ReadSize(value);
                element.Tiny = size == SIZE::Tiny || (size == SIZE::Relative && element.Tiny);
            }
            break;
        case 'm':
        case 'h':
        case 'w':
            for (size_t i = 0; i < std::size(LENGTHS); ++i) {
                if (is(LENGTHS[i]))
                    hidings.Low.set(i, !value.empty() && ASCII::TrimLeft(value, "0pxPX").empty());
            }
            break;
        case 'c':
            if (is("color"))
                set(element.Colour, value);
            break;
        case 'b':
            if (is("background-color"))
                set(element.Ground, value);
            else if ((is("background") || is("background-image")) && value.find('(') != NONE &&
                     !ASCII::BeginsWith(value, "rgb"))
                element.Ground = UNKNOWN;
            else if (is("background"))
                set(element.Ground, ASCII::BeginsWith(value, "rgb") ? value : value.substr(0, value.find(' ')));
            break;
        default:
            break;
    }
}

// Of two declarations of one property the last one holds.
void HTMLSIGHT::ApplyStyle(ELEMENT& element, std::string_view style, HIDINGS& hidings) {
    for (style = style.substr(0, STYLE_BYTES); !style.empty();) {
        std::string_view value = ASCII::Take(style, ';');
        const std::string_view property = Trimmed(ASCII::Take(value, ':'));
        Apply(element, property, Trimmed(value.substr(0, value.find('!'))), hidings);
    }
}

// An element that no end tag ends is ended by what cannot stand in it.
void HTMLSIGHT::CloseImplied(uint64_t name) {
    const bool isRow = name == ROW, isCell = name == CELL || name == HEAD_CELL, isSection = In(SECTIONS, name),
               inTable = isRow || isCell || isSection, endsParagraph = In(END_PARAGRAPH, name);
    const uint64_t siblings = SiblingsOf(name);
    if (!inTable && !endsParagraph && siblings == 0)
        return;
    for (size_t at = Open.size(), looked = 0; at > 1 && looked < LOOK_BACK; --at, ++looked) {
        const uint64_t open = Open[at - 1].Name;
        const bool ends =
            inTable ? open == CELL || open == HEAD_CELL || (!isCell && open == ROW) || (isSection && In(SECTIONS, open))
                    : (endsParagraph && open == PARAGRAPH) || (siblings != 0 && SiblingsOf(open) == siblings);
        if (ends)
            Pop(at - 1);
        if (ends && !isSection && (!isRow || open == ROW))
            return;
        if (!ends && (inTable ? open == TABLE || (isCell && open == ROW) : In(HOLDERS, open)))
            return;
    }
}

void HTMLSIGHT::Pop(size_t to) {
    Open.resize(to);
    Hidden = !IsLost && !Open.back().Shows();
}

void HTMLSIGHT::Begin(uint64_t name, std::string_view attributes) {
    CloseImplied(name);
    if (Open.size() > DEEPEST || In(WITHOUT_END, name))
        return;
    ELEMENT element = Open.back();
    element.Name = name;
    if (name == LINK)
        element.Colour = LINK_COLOUR;
    HTMLATTRIBUTES walk(attributes);
    std::string_view style;
    bool hasClass = false;
    HIDINGS hidings;
    for (std::string_view key, value; walk.Next(key, value);) {
        if (ASCII::Equal(key, "style"))
            style = value;
        else if (ASCII::Equal(key, "class") || ASCII::Equal(key, "id"))
            hasClass = true;
        else if (ASCII::Equal(key, "hidden"))
            hidings.None = true;
        else if (ASCII::Equal(key, "color") || (name == BODY && ASCII::Equal(key, "text")))
            Apply(element, "color", value, hidings);
        else if (ASCII::Equal(key, "bgcolor"))
            Apply(element, "background-color", value, hidings);
        else if (ASCII::Equal(key, "background"))
            element.Ground = UNKNOWN;
    }
    if (hasClass && HasStyleSheet)
        element.Colour = element.Ground = UNKNOWN;
    if (!style.empty())
        ApplyStyle(element, style, hidings);
    element.Gone = element.Gone || hidings.None || hidings.Clear || (hidings.Cut && hidings.Low.any());
    // The page's ground is there for all that follows, whatever becomes of the element.
    if (name == BODY)
        Open.front() = element;
    Open.push_back(element);
    Hidden = !IsLost && !element.Shows();
}

void HTMLSIGHT::End(uint64_t name) {
    for (size_t at = Open.size(), looked = 0; at > 1 && looked < LOOK_BACK; --at, ++looked) {
        if (Open[at - 1].Name == name) {
            Pop(at - 1);
            return;
        }
        if (looked + 1 == LOOK_BACK && at > 2) {
            // It may be further down. Who knows what is hidden then?
            IsLost = true;
            Hidden = false;
        }
    }
}
