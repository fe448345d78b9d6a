#include "app/notify/alertlayout.h"

#include <algorithm>
#include <utility>

#include "app/common/displaytext.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

namespace {

constexpr int BOLD_WEIGHT = 700;
constexpr std::string_view CUT_MARK = "...";

int Extent(int pixels) {
    return std::clamp(pixels, 0, MAX_ALERT_EXTENT);
}

// Two extents together are far from the end of an int.
int Sum(int extent, int more) {
    return std::min(extent + more, MAX_ALERT_EXTENT);
}

// An empty text has the height of its font all the same.
ALERTSIZE MeasureText(ALERTMETRICS& metrics, ALERTFONT font, std::string_view text) {
    ALERTSIZE size;
    if (!metrics.Measure(font, text.empty() ? " " : text, size))
        return {};
    return {text.empty() ? 0 : Extent(size.Width), Extent(size.Height)};
}

// The text, as far as it and a mark at its end fit into that width; what is too narrow for the mark stays empty.
std::string CutText(ALERTMETRICS& metrics, ALERTFONT font, std::string_view text, int width) {
    const std::string_view bare = ASCII::TrimRight(text, " ");
    if (MeasureText(metrics, font, bare).Width <= width)
        return std::string(bare);
    std::string best;
    // No letter is narrower than a pixel.
    int low = 0, high = static_cast<int>(std::min(bare.size(), static_cast<size_t>(width)));
    while (low <= high) {
        const int middle = (low + high) / 2;
        std::string tried = std::string(DISPLAYTEXT::FirstCharacters(bare, middle)).append(CUT_MARK);
        if (MeasureText(metrics, font, tried).Width <= width) {
            best = std::move(tried);
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    return best;
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

ALERTLAYOUT::ALERTLAYOUT(std::string_view text, ALERTMETRICS& metrics, ALERTSIZE room) {
    ALERTSIZE letter;
    const bool rc = metrics.Measure(ALERTFONT::NORMAL, "o", letter);
    if (ASSERTION(rc, "rc"))
        Margin = {Extent(letter.Width), Extent(letter.Height) / 3};
    std::vector<ALERTLINE> lines = ParseAlertMarkup(text);
    OneLine = lines.size() == 1;
    if (OneLine)
        lines[0] = Plain(lines[0]);
    std::vector<ROW> rows;
    for (ALERTLINE& line : lines)
        AddRows(line, std::max(room.Width - 2 * Margin.Width, 0), metrics, rows);
    LimitHeight(rows, room.Height - 2 * Margin.Height, metrics);
    for (ROW& row : rows) {
        ALERTPOINT at{Margin.Width, Margin.Height - 2 + TextSize.Height};
        for (FITTED& piece : row.Pieces) {
            const int width = piece.Text.Width + piece.Padding.Width;
            Place(piece, at);
            at.X = Sum(at.X, width);
        }
        TextSize = {std::max(TextSize.Width, row.Size.Width), Sum(TextSize.Height, row.Size.Height)};
    }
}

void ALERTLAYOUT::ROW::Add(FITTED piece) {
    Size.Width = Sum(Size.Width, piece.Text.Width + piece.Padding.Width);
    // One pixel parts the rows.
    Size.Height = std::max(Size.Height, Sum(piece.Text.Height + piece.Padding.Height, 1));
    HasButton = HasButton || piece.Piece.Button;
    Pieces.push_back(std::move(piece));
}

// A piece in at most that width, if it is not a button's padding alone that is wider.
ALERTLAYOUT::FITTED ALERTLAYOUT::Fit(ALERTPIECE piece, int width, ALERTMETRICS& metrics) {
    width = std::max(width, 0);
    // More letters than pixels are too wide however they look: the rest need not be measured.
    piece.Text.resize(DISPLAYTEXT::FirstCharacters(piece.Text, width + 1).size());
    FITTED fitted{std::move(piece), {}, {}};
    const auto measure = [&] {
        fitted.Text = MeasureText(metrics, fitted.Piece.Font, fitted.Piece.Text);
        if (fitted.Piece.Button)
            fitted.Padding = {fitted.Text.Height, 3 * fitted.Text.Height / 4};
    };
    measure();
    if (fitted.Text.Width + fitted.Padding.Width > width) {
        const int room = std::max(width - fitted.Padding.Width, 0);
        fitted.Piece.Text = CutText(metrics, fitted.Piece.Font, fitted.Piece.Text, room);
        measure();
    }
    return fitted;
}

void ALERTLAYOUT::AddRows(ALERTLINE& line, int width, ALERTMETRICS& metrics, std::vector<ROW>& rows) {
    ROW row;
    for (ALERTPIECE& piece : line) {
        if (piece.Button && !row.Pieces.empty()) {
            FITTED button = Fit(piece, width, metrics);
            if (button.Text.Width + button.Padding.Width > width - row.Size.Width)
                rows.push_back(std::exchange(row, ROW()));
            row.Add(std::move(button));
        } else {
            row.Add(Fit(std::move(piece), width - row.Size.Width, metrics));
        }
    }
    rows.push_back(std::move(row));
}

// Of text that is too tall the end goes, from the last row without a button upwards; the first of these says so.
void ALERTLAYOUT::LimitHeight(std::vector<ROW>& rows, int height, ALERTMETRICS& metrics) {
    int64_t total = 0;
    for (const ROW& row : rows)
        total += row.Size.Height;
    ROW* mark = nullptr;
    for (size_t i = rows.size(); i-- > 0 && total > height;) {
        if (rows[i].HasButton)
            continue;
        total -= rows[i].Size.Height;
        ALERTPIECE dots;
        dots.Text = CUT_MARK;
        dots.Font = rows[i].Pieces.front().Piece.Font;
        if (mark) {
            total -= mark->Size.Height;
            mark->Pieces.clear();
        }
        mark = &rows[i];
        *mark = ROW();
        mark->Add(Fit(dots, MAX_ALERT_EXTENT, metrics));
        total += mark->Size.Height;
    }
    std::erase_if(rows, [](const ROW& row) { return row.Pieces.empty(); });
}

void ALERTLAYOUT::Place(FITTED& fitted, ALERTPOINT at) {
    const ALERTSIZE &text = fitted.Text, &padding = fitted.Padding;
    ALERTPIECE& piece = fitted.Piece;
    const ALERTRECT rect{at.X, at.Y, at.X + text.Width + padding.Width, at.Y + text.Height + padding.Height};
    if (piece.Button && ButtonTable.size() < MAX_ALERT_BUTTONS)
        ButtonTable.push_back({rect, piece.Command.value_or(static_cast<uint16_t>(ButtonTable.size()))});
    Pieces.push_back({std::move(piece), rect, {at.X + padding.Width / 2, at.Y + padding.Height / 2}});
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
    canvas.Button(outer, text, back, pressed ? ALERTPRESS::Pressed : under ? ALERTPRESS::Pointed : ALERTPRESS::Plain);
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
