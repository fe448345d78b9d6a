#pragma once

// The second needs the first.
// clang-format off
#include <windows.h>
#include <oleacc.h>
// clang-format on
#include <string>

/// What a window that draws its elements itself tells of them to screen readers and other helpers.
class DRAWNELEMENTS {
 public:
    struct ELEMENT {
        std::wstring Name;
        std::wstring Description;
        LONG Role = 0;   // ROLE_SYSTEM_x; buttons have one of the three for buttons
        LONG State = 0;  // STATE_SYSTEM_x
        RECT Place{};    // in the client area
    };
    /// The window itself; its place does not count.
    virtual ELEMENT Whole() const = 0;
    /// How many elements there are, and the one at a place from 0 on.
    virtual int Count() const = 0;
    virtual ELEMENT Element(int index) const = 0;
    /// Gives the element the focus; and presses a button, once messages are handled again. False if that cannot be.
    virtual bool TakeFocus(int /*index*/) { return false; }
    virtual bool PressLater(int index) = 0;

 protected:
    ~DRAWNELEMENTS() = default;
};

class DRAWNOBJECT;

/// Makes the elements known by the system's interface for helpers, IAccessible: there they are numbered from 1 on.
/// Objects that others still have fail when this one has gone. One thread.
class DRAWNACCESS {
 public:
    /// The elements outlive it.
    explicit DRAWNACCESS(DRAWNELEMENTS& elements) : Elements(elements) {}
    ~DRAWNACCESS();
    DRAWNACCESS(const DRAWNACCESS&) = delete;
    DRAWNACCESS& operator=(const DRAWNACCESS&) = delete;

    /// For a WM_GETOBJECT of the window with these parameters: true, with the result, if it asks for what is drawn.
    bool Answer(HWND window, WPARAM first, LPARAM second, LRESULT& result);

 private:
    DRAWNELEMENTS& Elements;
    DRAWNOBJECT* Object = nullptr;  // made for the first who asks; counts its references itself
};
