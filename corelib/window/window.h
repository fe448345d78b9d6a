#pragma once

#include <functional>
#include <string>

#include "corelib/base/strings.h"
#include "corelib/window/gdi.h"
#include "corelib/window/scale.h"

/// Where menus, dialogs and pictures come from: the language library, which the application names once. Null is the
/// program file.
void SetResourceModule(HMODULE module);
HMODULE ResourceModule();
/// Whether its texts are German; for the few texts of the window library itself.
bool IsGermanResourceModule();

/// A library that is the resource module for as long as the object lives. Without the file, the program is again.
class RESOURCELIBRARY {
 public:
    explicit RESOURCELIBRARY(const STRING& path);
    ~RESOURCELIBRARY();
    RESOURCELIBRARY(const RESOURCELIBRARY&) = delete;
    RESOURCELIBRARY& operator=(const RESOURCELIBRARY&) = delete;

 private:
    HMODULE Module;
};

/// Shows help on a control of a window (F1, or the question mark of a dialog's frame); without one set, nothing.
using HELPFUNCTION = std::function<void(HWND window, int control)>;
void SetHelp(HELPFUNCTION help);

/// Sent to a window from its own thread: stores its id where the first parameter points.
inline constexpr UINT WM__GETID = 1091;

/// Sent to the windows in a window whose screen has got another scale; first: the dots per inch so far.
inline constexpr UINT WM__RESCALED = WM_APP + 0x101;

/// Sent to the windows in a window when the colours may have changed.
inline constexpr UINT WM__RECOLORED = WM_APP + 0x102;

/// An object bound to a window. Made and used on the user-interface thread.
class WINDOW {
 public:
    /// Sees every message first: true if it has dealt with it and stored the result.
    using HOOKFUNCTION = bool (*)(WINDOW& window, UINT message, WPARAM first, LPARAM second, LRESULT* result);

    /// Makes a window, of a class that is registered for it if need be ("AppWindow%d" with a running number for null).
    /// id: the resource number of its menu, 0 for none; a child's id. hWnd stays null if there is no window.
    WINDOW(DWORD style, const STRING& title, int x, int y, int width, int height, HWND parent, int id,
           const char* className, DWORD extendedStyle = 0);
    /// Binds to a window that is somebody else's, and stays.
    explicit WINDOW(HWND window) : hWnd(window) {}
    virtual ~WINDOW();
    WINDOW(const WINDOW&) = delete;
    WINDOW& operator=(const WINDOW&) = delete;

    /// The handler of the window's messages, if this object has made it. A derived class sees WM_CREATE, without
    /// parameters, once its constructor has ended.
    virtual LRESULT WinProc(UINT message, WPARAM first, LPARAM second);

    void SetHook(HOOKFUNCTION hook) { Hook = hook; }
    int Id() const { return WindowId; }
    HWND Hwnd() const { return hWnd; }
    explicit operator HWND() const { return hWnd; }

    STRING Title() const;
    void SetTitle(const STRING& text);
    /// Width and height -1: they stay.
    void Move(int x, int y, int width = -1, int height = -1);
    /// The window's edges: a child's in its parent's coordinates, the desktop's (also as HWND_DESKTOP) as the work
    /// area.
    RECT Rect() const;
    RECT ClientRect() const;
    WINDOW Parent() const { return WINDOW(GetAncestor(hWnd, GA_PARENT)); }
    WINDOW Owner() const { return WINDOW(GetWindow(hWnd, GW_OWNER)); }
    bool IsVisible() const { return IsWindowVisible(hWnd) != 0; }
    /// Gives the focus to the next control that Tab reaches in this one's top-level window, or to the one before. Panes
    /// between the two have WS_EX_CONTROLPARENT.
    void PassFocus(bool back) { ::SetFocus(GetNextDlgTabItem(GetAncestor(hWnd, GA_ROOT), hWnd, back)); }
    void Enable(bool enable) { EnableWindow(hWnd, enable); }
    void Show(int how = SW_SHOW) { ShowWindow(hWnd, how); }

    /// Moves it so that its client area has this size.
    void SetClientSize(int width, int height);
    /// How large things are on the screen that the window is on; and a length in pixels at 96 dots per inch there.
    SCALE Scale() const { return SCALE::Of(hWnd); }
    int ScalePixels(int pixels) const { return Scale().Pixels(pixels); }

    /// Keeps a visible window's edges as the value `name` of the product's, and the scale that they are for as the one
    /// of that name and "Dots"; and moves the window there again, as large as it was to the eye, and back onto a screen
    /// if its title would be on none. True if it moved.
    void StoreWindowPos(const char* product, const char* name);
    bool RestoreWindowPos(const char* product, const char* name);
    /// Puts the window into the middle of a visible reference, else of the work area, and inside the work area of that
    /// screen, its left and top first.
    void Center(HWND reference);
    /// Shows the icons of that window, or of its class, as its own: a dialog has none, and would show the system's.
    void TakeIconsOf(HWND other);
    /// alpha 0 (invisible) to 255 (nothing happens); or, with a key other than -1, makes that colour invisible.
    void SetTransparency(int alpha, int key);

    HWND hWnd = nullptr;

 protected:
    /// The hook, then WinProc, for those that have a window's messages come to them in a way of their own.
    LRESULT Dispatch(UINT message, WPARAM first, LPARAM second);

    /// The screen has got another scale, or the window another screen: makes anew what it has in pixels. The windows in
    /// it have done so. A top-level window is laid out after it, by TakePlace.
    virtual void Rescaled(SCALE /*before*/) {}
    /// The colours may be others: gives them to what keeps them. The windows in it have done so, and all is drawn anew.
    virtual void Recolored() {}
    /// Takes the place that the system proposes for the new scale; WM_SIZE comes in any case, unless it is minimised.
    virtual void TakePlace(const RECT& place);

    int WindowId = 0;
    bool AutoDestroy = false;

 private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second);
    void TakeScale(SCALE before);
    void TakeColors();
    void ShowProgramIcons();

    HOOKFUNCTION Hook = nullptr;
    std::wstring OwnClass;  // registered for this window alone
};

/// Under this name of company the windows' values lie in the registry.
inline constexpr const char* WINDOW_COMPANY = "Velmora";
