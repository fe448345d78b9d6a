#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "app/notify/alertmarkup.h"

struct ALERTPOINT {
    int X = 0;
    int Y = 0;
};

struct ALERTSIZE {
    int Width = 0;
    int Height = 0;
};

/// Right and bottom are the first pixels outside.
struct ALERTRECT {
    int Left = 0;
    int Top = 0;
    int Right = 0;
    int Bottom = 0;

    bool Contains(ALERTPOINT point) const {
        return point.X >= Left && point.X < Right && point.Y >= Top && point.Y < Bottom;
    }
};

/// What the layout must know of the screen.
class ALERTMETRICS {
 public:
    virtual ~ALERTMETRICS() = default;
    /// Stores what one line of text (never empty, any bytes) takes, in pixels. False on failure; the size then counts
    /// as nothing.
    [[nodiscard]] virtual bool Measure(ALERTFONT font, std::string_view text, ALERTSIZE& size) = 0;
};

/// How a button stands: the pointer (or the focus) is on it, and the window was clicked there. A pressed one has its
/// colours the other way round.
enum class ALERTPRESS { Plain, Pointed, Pressed };

/// What an alert is drawn with. Positions are pixels of the client area.
class ALERTCANVAS {
 public:
    virtual ~ALERTCANVAS() = default;
    virtual void Fill(const ALERTRECT& rect, int32_t color) = 0;
    /// A button without its label, by the colours of its text and its background.
    virtual void Button(const ALERTRECT& rect, int32_t text, int32_t back, ALERTPRESS state) = 0;
    /// Text with its upper left corner at a point, over what is there already; `text` may be empty.
    virtual void Write(ALERTFONT font, ALERTPOINT at, int32_t color, std::string_view text) = 0;
};

/// How a font of the alert is made from the font of the settings: weight as in LOGFONT, height of either sign.
struct ALERTFONTSTYLE {
    int Height = 0;
    int Weight = 0;
};
ALERTFONTSTYLE AlertFontStyle(ALERTFONT font, ALERTFONTSTYLE normal);

/// Buttons that can be hit; further ones are only drawn.
inline constexpr size_t MAX_ALERT_BUTTONS = 32;

struct ALERTBUTTON {
    ALERTRECT Rect;
    uint16_t Command = 0;
};

/// The state of the window that its look depends on.
struct ALERTLOOK {
    ALERTSIZE Client;
    int32_t TextColor = 0;
    int32_t BackColor = 0;
    /// Last known position of the pointer; outside of everything before the first.
    ALERTPOINT Pointer{-1, -1};
    bool Pressed = false;
    /// In an odd tick of the blinking all text and background colours trade places.
    bool Swapped = false;
};

/// Extents of a layout end here, in pixels.
inline constexpr int MAX_ALERT_EXTENT = 1 << 24;

/// An alert's text with every piece in its place. A text of one line is shown as it reads, without codes and buttons,
/// in the middle of the window; several lines go down from the upper left margin.
class ALERTLAYOUT {
 public:
    /// Measures the text; `metrics` is not kept. The window gets no larger than `room`: a line that is wider ends in
    /// "...", its buttons go on below, and the last lines without buttons become one of "...". Buttons are never left
    /// out, a label that is wider than all the room is cut.
    ALERTLAYOUT(std::string_view text, ALERTMETRICS& metrics, ALERTSIZE room = {MAX_ALERT_EXTENT, MAX_ALERT_EXTENT});

    /// The text and a margin on each side.
    ALERTSIZE WindowSize() const;
    /// In the order of the text, at most MAX_ALERT_BUTTONS.
    const std::vector<ALERTBUTTON>& Buttons() const { return ButtonTable; }
    /// The button that holds the point, or null. Valid as long as the layout.
    const ALERTBUTTON* ButtonAt(ALERTPOINT point) const;
    /// What a click stands for: the command of the button that the left mouse button hits, else `outside`.
    intptr_t ClickValue(ALERTPOINT point, bool right, intptr_t outside) const;
    void Paint(ALERTCANVAS& canvas, const ALERTLOOK& look) const;

 private:
    struct PLACED {
        ALERTPIECE Piece;
        // Of a button with its padding.
        ALERTRECT Rect;
        ALERTPOINT TextAt;
    };
    // A piece with the size of its text, and with what its padding adds.
    struct FITTED {
        ALERTPIECE Piece;
        ALERTSIZE Text;
        ALERTSIZE Padding;
    };
    // Pieces beside each other: a line of the text, or a part of one whose buttons need more room.
    struct ROW {
        std::vector<FITTED> Pieces;
        ALERTSIZE Size;
        bool HasButton = false;

        void Add(FITTED piece);
    };
    static FITTED Fit(ALERTPIECE piece, int width, ALERTMETRICS& metrics);
    static void AddRows(ALERTLINE& line, int width, ALERTMETRICS& metrics, std::vector<ROW>& rows);
    static void LimitHeight(std::vector<ROW>& rows, int height, ALERTMETRICS& metrics);
    void Place(FITTED& piece, ALERTPOINT at);
    static void PaintButton(ALERTCANVAS& canvas, const ALERTLOOK& look, const PLACED& placed, int32_t text,
                            int32_t back);

    ALERTSIZE Margin;
    ALERTSIZE TextSize;
    bool OneLine = false;
    std::vector<PLACED> Pieces;
    std::vector<ALERTBUTTON> ButtonTable;
};

/// Where a window of that size stands on the screen. Position 1 top left, 2 top right, 3 bottom left, 4 bottom right, 5
/// in the middle; any other is top right. What does not fit shows its left and its top.
ALERTRECT PlaceAlert(const ALERTRECT& workArea, ALERTSIZE window, int position);
