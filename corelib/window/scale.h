#pragma once

#include "corelib/window/gdi.h"

/// How many dots per inch a screen has, and what follows from it: lengths, the system's measures, fonts and icons. Each
/// window has the scale of its screen, so two windows may have different ones, and one has others in time. Systems that
/// know one scale for all screens have that one here, too. User-interface thread.
class SCALE {
 public:
    explicit SCALE(int dots) : Count(dots) {}
    /// Of the top-level window that this one is in: what it has last been told, else that of its screen. Null: System.
    static SCALE Of(HWND window);
    /// That of the first screen as the program began. Fonts that the system's dialogs give are in its pixels.
    static SCALE System();
    static SCALE OfScreen(HMONITOR screen);
    /// Of the screen with the task bar, as it is now.
    static SCALE OfTaskbar();
    /// Keeps what a top-level window is made for, as the system tells of a change (WM_DPICHANGED) after it; until
    /// Forget.
    static void Keep(HWND window, SCALE scale);
    static void Forget(HWND window);

    int Dots() const { return Count; }
    /// A length in pixels at 96 dots per inch on this screen.
    int Pixels(int pixels) const { return From(SCALE(USER_DEFAULT_SCREEN_DPI), pixels); }
    /// A length in pixels of another screen.
    int From(SCALE other, int pixels) const { return MulDiv(pixels, Count, other.Count); }
    bool operator==(const SCALE&) const = default;

    /// As GetSystemMetrics.
    int Metric(int index) const;
    /// The system's fonts for texts in windows, and below the desktop's icons.
    LOGFONTW MessageLook() const;
    LOGFONTW IconTitleLook() const;
    /// The first of them. It stays with the process.
    HFONT MessageFont() const;
    /// The program's own icon, as ICON_SMALL or ICON_BIG; null where it has none. It stays with the process.
    HICON ProgramIcon(int size) const;

 private:
    int Count;
};
