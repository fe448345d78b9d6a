#pragma once

#include "corelib/window/gdi.h"

/// What the program's own windows are drawn with.
enum class COLOR {
    PAPER,  // behind texts and rows
    TEXT,
    FACE,  // of tool bars, heads and what is between the windows
    LABEL,
    DISABLED,
    SHADOW,  // of lines that look like a groove
    SHINE,
    SELECTED,
    SELECTED_TEXT,
    IDLE,  // a selection while another window has the keyboard
    HOT,   // a button that the pointer is on
    DOWN,
    COUNT
};

/// The colours of the system; or dark ones, where the user wants programs dark. With a high contrast the system's come
/// first, whatever else is wanted. User-interface thread.
namespace COLORS {

/// Whether the dark ones are in use, by the last Read.
bool IsDark();
/// Looks what the system wants now.
void Read();
/// Whether dark ones are wanted: lightApps is the user's choice, 0 for dark ones.
bool IsDarkWanted(unsigned lightApps, bool highContrast);

COLORREF Of(COLOR color);
/// The dark ones, whatever is in use.
COLORREF Dark(COLOR color);
/// Belongs to the colours.
HBRUSH Brush(COLOR color);
/// For a control's WM_CTLCOLOR...: sets both in the device context, and gives the brush.
LRESULT Give(WPARAM dc, COLOR text, COLOR back);

/// Has the system draw a window's title and frame as dark as the rest, where it knows how.
void SetFrame(HWND window);

}  // namespace COLORS
