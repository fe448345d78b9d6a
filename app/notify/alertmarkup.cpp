#include "app/notify/alertmarkup.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

constexpr char ESCAPE = '\x1b';
constexpr char SHIFT_IN = '\x0f';
constexpr char SHIFT_OUT = '\x0e';

std::string TranslateControls(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (char c : text) {
        if (c == SHIFT_IN)
            result += "\x1b[s]";
        else if (c == SHIFT_OUT)
            result += "\x1b[n]";
        else
            result += c == '\t' ? ' ' : c;
    }
    return result;
}

bool Has(std::string_view code, char letter) {
    return code.find(letter) != std::string_view::npos;
}

// The number after the first `letter` and a "=".
std::optional<int32_t> Number(std::string_view code, char letter) {
    std::string_view digits = code.substr(code.find(letter) + 1);
    if (!digits.starts_with('='))
        return std::nullopt;
    digits.remove_prefix(std::min(digits.size(), digits.find_first_not_of(" \t+", 1)));
    int32_t value = 0;
    const std::errc error = std::from_chars(digits.data(), digits.data() + digits.size(), value).ec;
    if (error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return digits.starts_with('-') ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
    return value;
}

// A piece with its escape byte in front.
ALERTPIECE ParsePiece(std::string_view text) {
    ALERTPIECE piece;
    const size_t end = text.substr(1).starts_with('[') ? text.find(']') : std::string_view::npos;
    if (end == std::string_view::npos) {
        piece.Text = text;
        return piece;
    }
    const std::string_view code = text.substr(2, end - 2);
    piece.Text = text.substr(end + 1);
    if (Has(code, 's'))
        piece.Font = Has(code, 'b') ? ALERTFONT::SMALLBOLD : ALERTFONT::SMALL;
    else if (Has(code, 'b'))
        piece.Font = ALERTFONT::BOLD;
    if (Has(code, 'F'))
        piece.TextColor = Number(code, 'F').value_or(-1);
    if (Has(code, 'B'))
        piece.BackColor = Number(code, 'B').value_or(-1);
    if (Has(code, '*')) {
        piece.Button = true;
        piece.Command = Number(code, '*');
    }
    return piece;
}

ALERTLINE ParseLine(std::string_view line) {
    ALERTLINE pieces;
    size_t escape = line.find(ESCAPE);
    if (escape != 0) {
        pieces.emplace_back();
        pieces.back().Text = line.substr(0, escape);
    }
    while (escape != std::string_view::npos) {
        const size_t next = line.find(ESCAPE, escape + 1);
        pieces.push_back(ParsePiece(line.substr(escape, next - escape)));
        escape = next;
    }
    return pieces;
}

}  // namespace

std::vector<ALERTLINE> ParseAlertMarkup(std::string_view text) {
    const std::string translated = TranslateControls(text);
    std::vector<ALERTLINE> lines;
    std::string_view rest = translated;
    for (;;) {
        const size_t end = rest.find('\n');
        lines.push_back(ParseLine(rest.substr(0, end)));
        if (end == std::string_view::npos)
            return lines;
        rest.remove_prefix(end + 1);
    }
}
