#pragma once

// The others need the first.
// clang-format off
#include <windows.h>
#include <commctrl.h>
#include <shellapi.h>
#include <uxtheme.h>
#include <vsstyle.h>
#include <vssym32.h>
// clang-format on
#include <memory>
#include <type_traits>

#include "corelib/base/trace.h"

/// Owners of handles: what is made is given back once.
template <auto RELEASE>
struct HANDLERELEASE {
    template <class HANDLE_TYPE>
    void operator()(HANDLE_TYPE handle) const {
        RELEASE(handle);
    }
};
using FONTHANDLE = std::unique_ptr<std::remove_pointer_t<HFONT>, HANDLERELEASE<DeleteObject>>;
using ICONHANDLE = std::unique_ptr<std::remove_pointer_t<HICON>, HANDLERELEASE<DestroyIcon>>;
using MENUHANDLE = std::unique_ptr<std::remove_pointer_t<HMENU>, HANDLERELEASE<DestroyMenu>>;
using IMAGELISTHANDLE = std::unique_ptr<std::remove_pointer_t<HIMAGELIST>, HANDLERELEASE<ImageList_Destroy>>;

// What cannot be had from here on is told without a question to the user: its box would have to be painted as well.

/// A window's device context; with a null window the screen's.
class WINDOWDC {
 public:
    explicit WINDOWDC(HWND window) : Window(window), Dc(GetDC(window)) {
        ASSERTION_QUIET(Dc != nullptr, "hdc", nullptr);
    }
    ~WINDOWDC() { ReleaseDC(Window, Dc); }
    WINDOWDC(const WINDOWDC&) = delete;
    WINDOWDC& operator=(const WINDOWDC&) = delete;
    operator HDC() const { return Dc; }

 private:
    HWND Window;
    HDC Dc;
};

/// One painting of a window, for the length of its WM_PAINT.
class PAINTER {
 public:
    explicit PAINTER(HWND window) : Window(window) {
        const HDC hdc = BeginPaint(window, &Paint);
        ASSERTION_QUIET(hdc != nullptr, "hdc", nullptr);
    }
    ~PAINTER() { EndPaint(Window, &Paint); }
    PAINTER(const PAINTER&) = delete;
    PAINTER& operator=(const PAINTER&) = delete;
    HDC Dc() const { return Paint.hdc; }

 private:
    HWND Window;
    PAINTSTRUCT Paint;
};

/// The same, into a picture in memory that goes to the screen in one piece: nothing flickers.
class PICTUREPAINTER {
 public:
    explicit PICTUREPAINTER(HWND window) : Painter(window), Dc(CreateCompatibleDC(Painter.Dc())), State(SaveDC(Dc)) {
        GetClientRect(window, &Area);
        Bitmap =
            CreateCompatibleBitmap(Painter.Dc(), Area.right > 0 ? Area.right : 1, Area.bottom > 0 ? Area.bottom : 1);
        ASSERTION_QUIET(Dc != nullptr, "hdc", nullptr);
        ASSERTION_QUIET(Bitmap != nullptr, "hbm", nullptr);
        SelectObject(Dc, Bitmap);
    }
    ~PICTUREPAINTER() {
        BitBlt(Painter.Dc(), 0, 0, Area.right, Area.bottom, Dc, 0, 0, SRCCOPY);
        RestoreDC(Dc, State);
        DeleteObject(Bitmap);
        DeleteDC(Dc);
    }
    PICTUREPAINTER(const PICTUREPAINTER&) = delete;
    PICTUREPAINTER& operator=(const PICTUREPAINTER&) = delete;
    operator HDC() const { return Dc; }
    /// The client area, all of which is painted.
    const RECT& Client() const { return Area; }

 private:
    PAINTER Painter;
    HDC Dc;
    int State;
    HBITMAP Bitmap;
    RECT Area{};
};
