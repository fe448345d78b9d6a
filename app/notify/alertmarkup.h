#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The four fonts of an alert.
enum class ALERTFONT { NORMAL, BOLD, SMALLBOLD, SMALL };

/// A stretch of text in one font and colour, or a button with its label.
struct ALERTPIECE {
    /// Any bytes but line ends and tabs; other control bytes and zero bytes stay as they came.
    std::string Text;
    ALERTFONT Font = ALERTFONT::NORMAL;
    /// Own colours, 0x00BBGGRR, or -1 for one that was named without a number; unset ones are the alert's.
    std::optional<int32_t> TextColor, BackColor;
    bool Button = false;
    /// What a click on the button asks for; without one it is the button's index among the alert's buttons.
    std::optional<uint16_t> Command;
};

/// The pieces of a line from left to right, at least one.
using ALERTLINE = std::vector<ALERTPIECE>;

/// Divides an alert's text into lines at "\n" (at least one line), and each line into pieces. A piece begins at an
/// escape byte, and may have a code between "[" and "]" right after it. In a code, at any place: "n" normal size, "s"
/// small, "b" bold, "F=number" and "B=number" text and background colour, "*" a button, "*=number" a button with that
/// command (its low 16 bits). Numbers beyond 32 bits stay at the end of the range. Every piece starts afresh, nothing
/// carries over. Byte 0x0F stands for "\x1b[s]" and 0x0E for "\x1b[n]"; a tab is a blank. An escape byte without a
/// whole code stays in the text, and what a code has beside these elements is passed over: there is no wrong text.
/// Linear time.
std::vector<ALERTLINE> ParseAlertMarkup(std::string_view text);
