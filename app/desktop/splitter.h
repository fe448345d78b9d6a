#pragma once

#include "corelib/window/window.h"

/// The bar between two panes of its parent, one above the other. Dragged, it moves and tells the parent by
/// WM__SPLITTER.
class SPLITTER : public WINDOW {
 public:
    static constexpr int HEIGHT = 5;  // at 96 dots per inch

    explicit SPLITTER(HWND parent);
    /// Its place, and between which lines of the parent it can be dragged.
    void Place(int y, int width, int highest, int lowest);

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

 private:
    int Highest = 0, Lowest = 0;
    int Grip = 0;  // where the mouse holds it
};
