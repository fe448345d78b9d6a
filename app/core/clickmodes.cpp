#include "app/core/clickmodes.h"

#include <array>

#include "app/core/commands.h"
#include "corelib/base/trace.h"

namespace {

// By the settings' click modes.
constexpr CLICKACTION SINGLE_CLICKS[] = {{.Command = COMMAND_NEW_MAIL},  {.Command = COMMAND_SHOW_LAST_POPUP},
                                         {.Command = COMMAND_CHECK_ALL}, {.Command = COMMAND_CHECK_ALL_AS_NEW},
                                         {.MailProgram = true},          {.Command = COMMAND_SHOW_WINDOW}};
constexpr CLICKACTION DOUBLE_CLICKS[] = {
    {.MailProgram = true}, {.Command = COMMAND_SHOW_WINDOW}, {.Command = COMMAND_SHOW_LAST_POPUP}};

constexpr int NO_MODE = -1;

/// The row of a mode, which may be any number of a file that was edited by hand.
template <size_t N>
CLICKACTION ActionOf(const CLICKACTION (&table)[N], int mode) {
    return mode >= 0 && mode < static_cast<int>(N) ? table[mode] : CLICKACTION();
}

int SingleClickMode(bool shift, bool control, const STRINGARRAY& state) {
    if (shift)
        return state.GetNumber("DlgShiftClickMode");
    return control ? state.GetNumber("DlgCtrlClickMode") : NO_MODE;
}

}  // namespace

CLICKACTION TrayClickAction(TRAYCLICK click, bool shift, bool control, const STRINGARRAY& state) {
    CLICKACTION action;
    if (click == TRAYCLICK::UP) {
        const int mode = SingleClickMode(shift, control, state);
        Trace("TARNWICK:WM__TASKBAR shift %d, ctrl= %d, action =%d\n", shift, control, mode);
        ASSERTION(mode < static_cast<int>(std::size(SINGLE_CLICKS)), "FALSE");
        action = ActionOf(SINGLE_CLICKS, mode);
    } else if (click == TRAYCLICK::DOUBLE) {
        action = ActionOf(DOUBLE_CLICKS, state.GetNumber("DlgDblClickMode"));
    }
    action.Reset = state.GetNumber("DlgTaskbarClickReset") != 0;
    return action;
}

void ClickColumnHead(STRINGARRAY& state, int column, const char* columnKey, const char* orderKey) {
    if (state.GetNumber(columnKey) == column)
        state.SetNumber(orderKey, state.GetNumber(orderKey) == 0 ? 1 : 0);
    else
        state.SetNumber(columnKey, column);
}
