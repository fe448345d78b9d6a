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
using BRUSHHANDLE = std::unique_ptr<std::remove_pointer_t<HBRUSH>, HANDLERELEASE<DeleteObject>>;
using BITMAPHANDLE = std::unique_ptr<std::remove_pointer_t<HBITMAP>, HANDLERELEASE<DeleteObject>>;
using ICONHANDLE = std::unique_ptr<std::remove_pointer_t<HICON>, HANDLERELEASE<DestroyIcon>>;
using MENUHANDLE = std::unique_ptr<std::remove_pointer_t<HMENU>, HANDLERELEASE<DestroyMenu>>;
using IMAGELISTHANDLE = std::unique_ptr<std::remove_pointer_t<HIMAGELIST>, HANDLERELEASE<ImageList_Destroy>>;

/// A length in pixels of a display with 96 dots per inch, on this one.
int ScalePixels(int pixels);

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
    const RECT& Area() const { return Paint.rcPaint; }

 private:
    HWND Window;
    PAINTSTRUCT Paint;
};

/// A picture in memory of the same kind as `model`, to be drawn on and then copied there in one go.
class PICTUREDC {
 public:
    PICTUREDC(HDC model, int width, int height)
        : Dc(CreateCompatibleDC(model)),
          Bitmap(CreateCompatibleBitmap(model, width > 0 ? width : 1, height > 0 ? height : 1)),
          State(SaveDC(Dc)) {
        ASSERTION_QUIET(Dc != nullptr, "hdc", nullptr);
        ASSERTION_QUIET(Bitmap != nullptr, "hbm", nullptr);
        SelectObject(Dc, Bitmap);
    }
    ~PICTUREDC() {
        RestoreDC(Dc, State);
        DeleteObject(Bitmap);
        DeleteDC(Dc);
    }
    PICTUREDC(const PICTUREDC&) = delete;
    PICTUREDC& operator=(const PICTUREDC&) = delete;
    operator HDC() const { return Dc; }

 private:
    HDC Dc;
    HBITMAP Bitmap;
    int State;
};
