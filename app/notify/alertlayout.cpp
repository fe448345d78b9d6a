#include "app/notify/alertlayout.h"

#include <algorithm>
#include <utility>

#include "corelib/base/trace.h"

namespace {

constexpr int MAX_EXTENT = 1 << 24;
constexpr int BOLD_WEIGHT = 700;

int Extent(int pixels) {
    return std::clamp(pixels, 0, MAX_EXTENT);
}

// Two extents together are far from the end of an int.
int Add(int extent, int more) {
    return std::min(extent + more, MAX_EXTENT);
}

// An empty text has the height of its font all the same.
ALERTSIZE MeasureText(ALERTMETRICS& metrics, ALERTFONT font, std::string_view text) {
    ALERTSIZE size;
    if (!metrics.Measure(font, text.empty() ? " " : text, size))
        return {};
    return {text.empty() ? 0 : Extent(size.Width), Extent(size.Height)};
}

// The only line of a text, as it reads.
ALERTLINE Plain(const ALERTLINE& line) {
    ALERTPIECE whole;
    for (const ALERTPIECE& piece : line)
        whole.Text += piece.Text;
    return {whole};
}

}  // namespace

ALERTFONTSTYLE AlertFontStyle(ALERTFONT font, ALERTFONTSTYLE normal) {
    ALERTFONTSTYLE style = normal;
    if (font == ALERTFONT::SMALL || font == ALERTFONT::SMALLBOLD)
        style.Height = static_cast<int>(int64_t{normal.Height} * 9 / 10);
    if (font == ALERTFONT::BOLD || font == ALERTFONT::SMALLBOLD)
        style.Weight = BOLD_WEIGHT;
    return style;
}

ALERTLAYOUT::ALERTLAYOUT(std::string_view text, ALERTMETRICS& metrics) {
    ALERTSIZE letter;
    const bool rc = metrics.Measure(ALERTFONT::NORMAL, "o", letter);
    if (ASSERTION(rc, "rc"))
        Margin = {Extent(letter.Width), Extent(letter.Height) / 3};
    std::vector<ALERTLINE> lines = ParseAlertMarkup(text);
    OneLine = lines.size() == 1;
    if (OneLine)
        lines[0] = Plain(lines[0]);
    for (ALERTLINE& line : lines) {
        const ALERTSIZE size = PlaceLine(line, {Margin.Width, Margin.Height - 2 + TextSize.Height}, metrics);
        TextSize = {std::max(TextSize.Width, size.Width), Add(TextSize.Height, size.Height)};
    }
}

ALERTSIZE ALERTLAYOUT::PlaceLine(ALERTLINE& line, ALERTPOINT at, ALERTMETRICS& metrics) {
    ALERTSIZE size;
    for (ALERTPIECE& piece : line) {
        const ALERTSIZE taken = PlacePiece(piece, {at.X + size.Width, at.Y}, metrics);
        size = {Add(size.Width, taken.Width), std::max(size.Height, taken.Height)};
    }
    return {size.Width, Add(size.Height, 1)};
}

ALERTSIZE ALERTLAYOUT::PlacePiece(ALERTPIECE& piece, ALERTPOINT at, ALERTMETRICS& metrics) {
    const ALERTSIZE text = MeasureText(metrics, piece.Font, piece.Text);
    const ALERTSIZE padding = piece.Button ? ALERTSIZE{text.Height, 3 * text.Height / 4} : ALERTSIZE{};
    const ALERTSIZE taken{text.Width + padding.Width, text.Height + padding.Height};
    const ALERTRECT rect{at.X, at.Y, at.X + taken.Width, at.Y + taken.Height};
    if (piece.Button && ButtonTable.size() < MAX_ALERT_BUTTONS)
        ButtonTable.push_back({rect, piece.Command.value_or(static_cast<uint16_t>(ButtonTable.size()))});
    Pieces.push_back({std::move(piece), rect, {at.X + padding.Width / 2, at.Y + padding.Height / 2}});
    return taken;
}

ALERTSIZE ALERTLAYOUT::WindowSize() const {
    return {TextSize.Width + 2 * Margin.Width, TextSize.Height + 2 * Margin.Height};
}

const ALERTBUTTON* ALERTLAYOUT::ButtonAt(ALERTPOINT point) const {
    for (const ALERTBUTTON& button : ButtonTable) {
        if (button.Rect.Contains(point))
            return &button;
    }
    return nullptr;
}

intptr_t ALERTLAYOUT::ClickValue(ALERTPOINT point, bool right, intptr_t outside) const {
    const ALERTBUTTON* hit = right ? nullptr : ButtonAt(point);
    return hit ? hit->Command : outside;
}

void ALERTLAYOUT::Paint(ALERTCANVAS& canvas, const ALERTLOOK& look) const {
    canvas.Fill({0, 0, look.Client.Width, look.Client.Height}, look.Swapped ? look.TextColor : look.BackColor);
    for (const PLACED& placed : Pieces) {
        const ALERTPIECE& piece = placed.Piece;
        int32_t text = piece.TextColor.value_or(look.TextColor);
        int32_t back = piece.BackColor.value_or(look.BackColor);
        if (look.Swapped)
            std::swap(text, back);
        if (piece.Button) {
            PaintButton(canvas, look, placed, text, back);
        } else if (OneLine) {
            const ALERTRECT& rect = placed.Rect;
            const ALERTPOINT at{(look.Client.Width - (rect.Right - rect.Left)) / 2,
                                (look.Client.Height - (rect.Bottom - rect.Top)) / 2};
            canvas.Write(piece.Font, at, text, piece.Text);
        } else {
            canvas.Fill(placed.Rect, back);
            canvas.Write(piece.Font, placed.TextAt, text, piece.Text);
        }
    }
}

void ALERTLAYOUT::PaintButton(ALERTCANVAS& canvas, const ALERTLOOK& look, const PLACED& placed, int32_t text,
                              int32_t back) {
    const ALERTRECT& outer = placed.Rect;
    const bool under = outer.Contains(look.Pointer);
    const bool pressed = under && look.Pressed;
    canvas.Fill(outer, back);
    canvas.Frame(outer, text);
    if (under) {
        const ALERTRECT inner{outer.Left + 1, outer.Top + 1, outer.Right - 1, outer.Bottom - 1};
        if (pressed)
            canvas.Fill(inner, text);
        canvas.Frame(inner, pressed ? back : text);
    }
    canvas.Write(placed.Piece.Font, placed.TextAt, pressed ? back : text, placed.Piece.Text);
}

ALERTRECT PlaceAlert(const ALERTRECT& workArea, ALERTSIZE window, int position) {
    const int freeX = std::max(0, workArea.Right - workArea.Left - window.Width);
    const int freeY = std::max(0, workArea.Bottom - workArea.Top - window.Height);
    int x = freeX;
    int y = 0;
    switch (position) {
        case 1:
            x = 0;
            break;
        case 3:
            x = 0;
            y = freeY;
            break;
        case 4:
            y = freeY;
            break;
        case 5:
            x = freeX / 2;
            y = freeY / 2;
            break;
        default:
            break;
    }
    const int left = workArea.Left + x;
    const int top = workArea.Top + y;
    return {left, top, left + window.Width, top + window.Height};
}
