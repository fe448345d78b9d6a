#include "app/console/alertview.h"

#include <algorithm>
#include <optional>

#include "app/common/displaytext.h"
#include "app/notify/alertmarkup.h"

namespace {

constexpr const char* RESET = "\x1b[0m";

/// A colour 0x00BBGGRR as a control sequence; text or background.
std::string ColorCode(int color, bool text) {
    const auto part = [color](int shift) { return std::to_string(color >> shift & 0xFF); };
    return (text ? "\x1b[38;2;" : "\x1b[48;2;") + part(0) + ";" + part(8) + ";" + part(16) + "m";
}

std::string Cut(const std::string& text, int room) {
    return DISPLAYTEXT::Width(text) > room ? DISPLAYTEXT::Fit(text, room) : text;
}

std::string PieceText(const ALERTPIECE& piece, bool colors, int room) {
    const std::string text = Cut(DISPLAYTEXT::Safe(piece.Text), room);
    if (!colors || text.empty())
        return text;
    std::string codes;
    if (piece.Font == ALERTFONT::BOLD || piece.Font == ALERTFONT::SMALLBOLD)
        codes += "\x1b[1m";
    if (piece.TextColor.value_or(-1) >= 0)
        codes += ColorCode(*piece.TextColor, true);
    if (piece.BackColor.value_or(-1) >= 0)
        codes += ColorCode(*piece.BackColor, false);
    return codes.empty() ? text : codes + text + RESET;
}

}  // namespace

ALERTVIEW DrawAlert(const ALERTREQUEST& request, bool colors, int columns, bool keys, const std::string& more) {
    ALERTVIEW view;
    const std::string bar = colors ? ColorCode(request.BackColor, false) + " " + RESET + " " : "  ";
    std::string keyLine;
    for (const ALERTLINE& line : ParseAlertMarkup(request.Text.View())) {
        std::string text;
        int room = std::max(columns - 3, 10);
        bool hasButton = false;
        for (const ALERTPIECE& piece : line) {
            if (piece.Button) {
                hasButton = true;
                const std::string label = DISPLAYTEXT::Safe(piece.Text);
                view.Keys.push_back({piece.Command.value_or(static_cast<uint16_t>(view.Keys.size())), label});
                keyLine += "[" + std::to_string(view.Keys.size()) + "] " + label + "  ";
            } else if (room > 0) {
                text += PieceText(piece, colors, room);
                room -= DISPLAYTEXT::Width(DISPLAYTEXT::Safe(piece.Text));
            }
        }
        if (!hasButton)
            view.Text += bar + text + "\n";
    }
    // The empty lines in front of the buttons go with them.
    while (view.Text.ends_with(bar + "\n"))
        view.Text.erase(view.Text.size() - bar.size() - 1);
    if (!more.empty())
        view.Text += bar + " " + Cut(more, std::max(columns - 4, 10)) + "\n";
    if (!keys)
        view.Keys.clear();
    else if (!keyLine.empty())
        view.Text += bar + keyLine + "\n";
    return view;
}
