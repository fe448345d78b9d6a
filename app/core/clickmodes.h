#pragma once

#include "corelib/base/stringarray.h"

/// Clicks of the left mouse button on the tray icon.
enum class TRAYCLICK { DOWN, UP, DOUBLE };

/// What a click does: first, with Reset, the command COMMAND_RESET_COUNT; then the command, or, with MailProgram, the
/// start of the user's mail program for no item, or nothing.
struct CLICKACTION {
    bool Reset = false;
    bool MailProgram = false;
    int Command = 0;  // 0: none
};

/// `state`: the settings. Shift goes before Control; a plain single click has no action of its own.
CLICKACTION TrayClickAction(TRAYCLICK click, bool shift, bool control, const STRINGARRAY& state);

/// A click on a column head of a list: turns the order round, or sorts by another column in the present order. The keys
/// are those of the settings in which that list keeps the two.
void ClickColumnHead(STRINGARRAY& state, int column, const char* columnKey, const char* orderKey);
