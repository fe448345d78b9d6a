#pragma once

// The second needs the first.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include "tests/support/testsupport.h"

/// Handles the messages that wait; and goes on until `condition` holds: false after ten seconds.
void Pump();
bool PumpUntil(const std::function<bool()>& condition);

/// Acts in a message loop that runs next, such as a dialog's.
void Later(std::function<void()> act);
/// A key on its way to the control with the focus, through the filter and the keys of the dialog.
void DialogKey(HWND dialog, int key);

/// Mouse messages at a place of a window's client area, through its queue. Click is move, press and release.
void MoveMouse(HWND window, int x, int y);
void PressMouse(HWND window, int x, int y);
void ReleaseMouse(HWND window, int x, int y);
void Click(HWND window, int x, int y);
/// A key pressed and released in a window, through its queue.
void TypeKey(HWND window, int key);

/// Tells a window that its screen has so many dots per inch in place of those, with the place that the system would
/// propose: as large to the eye.
void TellScale(HWND window, int before, int dots);
/// The height of a window's font, and the width of a picture, in pixels.
int FontHeight(HWND window);
int IconWidth(HICON icon);

/// How many pixels of a part of a window are of another colour, once all that waits is drawn.
int PixelsUnlike(HWND window, const RECT& part, COLORREF colour);

/// This thread's windows of hints, whether they show or not.
std::vector<HWND> HintWindows();

/// Handles of this process: pictures, fonts and the like, and windows, menus and icons.
int GdiHandles();
int UserHandles();

/// Runs `open` often enough that a handle left each time stands out, and expects that none is. Callers announce
/// nothing.
void ExpectNoHandleGrowth(const std::function<void()>& open, int times = 40);
