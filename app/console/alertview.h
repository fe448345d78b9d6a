#pragma once

#include <string>
#include <vector>

#include "app/common/frontend.h"

/// A popup as a terminal shows it.
struct ALERTVIEW {
    std::string Text;  // lines of UTF-8, with colours as control sequences if wanted
    struct KEY {
        int Command;
        std::string Label;  // UTF-8
    };
    std::vector<KEY> Keys;  // its buttons, the first for key 1
};

/// Draws a popup's text: a bar in the alert's colour in front of each line, small pieces plain, bold ones bold, pieces
/// in their own colours. Buttons become a line of keys at the end where there is someone to press them, and are left
/// out elsewhere. No byte of the text reaches the terminal as a control. more: a line after the list; empty for none.
ALERTVIEW DrawAlert(const ALERTREQUEST& request, bool colors, int columns, bool keys, const std::string& more = {});
