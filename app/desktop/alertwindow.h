#pragma once

#include <array>
#include <memory>

#include "app/common/frontend.h"
#include "app/notify/alertlayout.h"
#include "corelib/base/stringarray.h"
#include "corelib/window/drawnaccess.h"
#include "corelib/window/window.h"

/// The alert's answer to a click, posted to its parent. First parameter 0 for the left button, 1 for the right one;
/// second the command of the button that was hit, else the click value.
inline constexpr UINT WM__ALERTCLICK = 1056;

/// Makes the setting PopupFont fit for alerts: a font of normal weight, as bold pieces are to stand out, and no bitmap
/// font, which has no smaller sizes. Without a font, or with none that can be read, the system's for icon titles.
void CheckPopupFont(STRINGARRAY& state);

/// How an alert looks and whom it tells of clicks.
struct ALERTSETUP {
    int TextColor = 0;  // 0x00BBGGRR
    int BackColor = 0;
    STRING Font;       // the bytes of a LOGFONTA; empty: the system's font for icon titles
    int FontDots = 0;  // per inch of the display that its pixels are for; 0: the alert's own
    int Position = 2;  // see PlaceAlert
    bool Blink = false;
    HWND Parent = nullptr;  // null: nobody is told
    LPARAM ClickValue = 0;  // of a click outside the buttons
    int Transparency = 0;   // low byte: 0 opaque to 255 invisible
    int DeafMs = 0;         // it takes no clicks before
};

/// The small window in front of all others that tells of new mail. It shows at once, takes the focus only by TakeFocus,
/// and hides itself when it is clicked; its owner destroys it. With the focus, Tab and the arrows go from button to
/// button, Space and Enter press one, Escape closes the alert, and F6 goes back to the parent.
class SEMITOOLTIP : public WINDOW, private DRAWNELEMENTS {
 public:
    SEMITOOLTIP(const STRING& text, const ALERTSETUP& setup);
    ~SEMITOOLTIP() override;
    SEMITOOLTIP(const SEMITOOLTIP&) = delete;
    SEMITOOLTIP& operator=(const SEMITOOLTIP&) = delete;

    /// Told by WM__ALERTCLICK, which may reach the parent when another one stands here.
    bool WasClicked() const { return Look.Pressed; }
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;
    /// For one who has no mouse. False if it cannot be seen.
    bool TakeFocus();

    /// The four fonts of an alert, by ALERTFONT.
    using FONTS = std::array<FONTHANDLE, 4>;

 private:
    // DRAWNELEMENTS: the buttons; the rest of the text is the window's name
    ELEMENT Whole() const override;
    int Count() const override { return Layout ? static_cast<int>(Layout->Buttons().size()) : 0; }
    ELEMENT Element(int index) const override;
    bool TakeFocus(int index) override;
    bool PressLater(int index) override;

    void Rescaled(SCALE /*before*/) override { Arrange(); }
    void TakePlace(const RECT& /*place*/) override {}
    void MakeFonts();
    /// Fonts, layout and place.
    void Arrange();
    void Paint();
    void Click(bool right, ALERTPOINT point);
    void MovePointer(ALERTPOINT point);
    void GiveFocusBack();
    bool OnKey(WPARAM key);
    ALERTPOINT Middle(int index) const;
    /// The button under the pointer; the focus moves it too. -1 is none.
    int Marked() const;
    void Mark(int index);
    void InvalidateButton(const ALERTBUTTON* button);

    const STRING Text;
    ALERTSETUP Setup;
    FONTS Fonts;
    std::unique_ptr<ALERTLAYOUT> Layout;
    ALERTLOOK Look;
    const ULONGLONG Born = GetTickCount64();
    bool Closing = false;
    DRAWNACCESS Access{*this};
};
