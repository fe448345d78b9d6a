#include "app/common/displaytext.h"

#include <algorithm>
#include <iterator>

#include "corelib/base/codepage.h"
#include "corelib/base/files.h"
#include "corelib/base/utf8.h"

namespace DISPLAYTEXT {

namespace {

bool IsControl(char32_t c) {
    return c < 32 || (c >= 127 && c < 160) || c == 0x061C ||
           (c >= 0x200B && c <= 0x200F && c != 0x200C && c != 0x200D) || (c >= 0x2028 && c <= 0x202E) ||
           (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF || c == 0xFFFD || (c >= 0xFFF9 && c <= 0xFFFB) ||
           (c >= 0xE0000 && c <= 0xE0FFF);
}

struct RANGE {
    char32_t First, Last;
};

// The blocks that matter in mail; each sorted.
constexpr RANGE ZERO_WIDTH[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x05BF, 0x05BF}, {0x05C1, 0x05C2}, {0x05C4, 0x05C5},
    {0x05C7, 0x05C7}, {0x0610, 0x061A}, {0x064B, 0x065F}, {0x0670, 0x0670}, {0x06D6, 0x06DC}, {0x06DF, 0x06E4},
    {0x06E7, 0x06E8}, {0x06EA, 0x06ED}, {0x0900, 0x0902}, {0x093C, 0x093C}, {0x0941, 0x0948}, {0x094D, 0x094D},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200C, 0x200D},
    {0x20D0, 0x20FF}, {0x302A, 0x302D}, {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}};
constexpr RANGE DOUBLE_WIDTH[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},  {0x23E9, 0x23EC}, {0x25FD, 0x25FE}, {0x2614, 0x2615},   {0x26A1, 0x26A1},
    {0x2705, 0x2705},   {0x2728, 0x2728},  {0x274C, 0x274C}, {0x2753, 0x2757}, {0x2795, 0x2797},   {0x2B50, 0x2B50},
    {0x2E80, 0x303E},   {0x3041, 0x33FF},  {0x3400, 0x4DBF}, {0x4E00, 0x9FFF}, {0xA000, 0xA4CF},   {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},  {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF},
    {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <size_t N>
bool In(const RANGE (&ranges)[N], char32_t c) {
    const auto* found = std::upper_bound(std::begin(ranges), std::end(ranges), c,
                                         [](char32_t value, const RANGE& range) { return value < range.First; });
    return found != std::begin(ranges) && c <= std::prev(found)->Last;
}

int CharacterWidth(char32_t c) {
    return In(ZERO_WIDTH, c) ? 0 : In(DOUBLE_WIDTH, c) ? 2 : 1;
}

/// Takes a character off the text, with the marks on it and what is joined to it; the columns that these take.
int TakeCharacter(std::string_view& text) {
    constexpr char32_t JOINER = 0x200D;
    constexpr int MARKS_MAX = 30;  // no language has more, only who wants to fill the screen
    char32_t c = UTF8::Take(text);
    int width = CharacterWidth(c);
    std::string_view rest = text;
    for (int marks = 0; marks < MARKS_MAX && !rest.empty(); ++marks) {
        const bool joined = c == JOINER;
        c = UTF8::Take(rest);
        if (!joined && CharacterWidth(c) != 0)
            break;
        width += CharacterWidth(c);
        text = rest;
    }
    return width;
}

}  // namespace

std::string Safe(std::string_view bytes) {
    std::string result;
    while (!bytes.empty()) {
        const std::string_view before = bytes;
        const char32_t c = UTF8::Take(bytes);
        if (c == '\n' || c == '\r' || c == '\t') {
            if (!result.ends_with(' '))
                result += ' ';
        } else if (c == UTF8::INVALID) {
            CODEPAGE::AppendUtf8(result, before.front());
        } else if (!IsControl(c)) {
            result += before.substr(0, before.size() - bytes.size());
        }
    }
    return result;
}

std::string Path(const STRING& path) {
    return Safe(FILES::NativePath(path.Text()).View());
}

int Width(std::string_view utf8) {
    int width = 0;
    while (!utf8.empty())
        width += CharacterWidth(UTF8::Take(utf8));
    return width;
}

std::string Fit(std::string_view utf8, int columns, bool alignRight) {
    const int width = Width(utf8);
    if (width <= columns) {
        const std::string filling(static_cast<size_t>(columns - width), ' ');
        return alignRight ? filling + std::string(utf8) : std::string(utf8) + filling;
    }
    const std::string_view mark = std::string_view("...").substr(0, static_cast<size_t>(std::clamp(columns, 0, 3)));
    const int room = columns - static_cast<int>(mark.size());
    std::string_view rest = utf8;
    int used = 0;
    size_t kept = 0;
    while (!rest.empty()) {
        used += TakeCharacter(rest);
        if (used > room)
            break;
        kept = utf8.size() - rest.size();
    }
    std::string result = std::string(utf8.substr(0, kept)) + std::string(mark);
    result.append(static_cast<size_t>(std::max(0, columns - Width(result))), ' ');
    return result;
}

std::string_view FirstCharacters(std::string_view utf8, int characters) {
    std::string_view rest = utf8;
    while (!rest.empty() && characters-- > 0)
        (void)TakeCharacter(rest);
    return utf8.substr(0, utf8.size() - rest.size());
}

}  // namespace DISPLAYTEXT
