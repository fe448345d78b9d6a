#include "app/desktop/splitter.h"

#include <algorithm>
#include <windowsx.h>

#include "app/desktop/windowids.h"

SPLITTER::SPLITTER(HWND parent)
    : WINDOW(WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS, "", 0, 0, 0, 0, parent, SPLITTER_ID, "TarnwickSplitter") {}

void SPLITTER::Place(int y, int width, int highest, int lowest) {
    Highest = highest;
    Lowest = lowest;
    Move(0, y, width, ScalePixels(HEIGHT));
}

LRESULT SPLITTER::WinProc(UINT message, WPARAM first, LPARAM second) {
    switch (message) {
        case WM_SETCURSOR:
            SetCursor(LoadCursorW(nullptr, IDC_SIZENS));
            return TRUE;
        case WM_LBUTTONDOWN:
            Grip = GET_Y_LPARAM(second);
            SetCapture(hWnd);
            return 0;
        case WM_MOUSEMOVE:
            if (GetCapture() == hWnd) {
                const int now = static_cast<int>(Rect().top);
                const int wanted = std::max(std::min(now + GET_Y_LPARAM(second) - Grip, Lowest), Highest);
                if (wanted == now)
                    return 0;
                Move(0, wanted);
                SendMessageW(Parent().hWnd, WM__SPLITTER, 0, 0);
            }
            return 0;
        case WM_LBUTTONUP:
            ReleaseCapture();
            return 0;
        default:
            return WINDOW::WinProc(message, first, second);
    }
}
