#include "app/notify/alertlayout.h"
#include "fuzz/fuzz.h"

namespace {

// Sizes as odd as the text.
class METRICS : public ALERTMETRICS {
 public:
    bool Measure(ALERTFONT font, std::string_view text, ALERTSIZE& size) override {
        Never(text.empty());
        const unsigned char first = static_cast<unsigned char>(text[0]);
        size.Width = first == 'W' ? INT32_MAX : first == 'w' ? INT32_MIN : static_cast<int>(text.size()) * 7;
        size.Height = first == 'H' ? INT32_MAX : 10 + static_cast<int>(font);
        return first != 'X';
    }
};

class CANVAS : public ALERTCANVAS {
 public:
    void Fill(const ALERTRECT&, int32_t) override {}
    void Button(const ALERTRECT&, int32_t, int32_t, ALERTPRESS) override {}
    void Write(ALERTFONT, ALERTPOINT, int32_t, std::string_view text) override { Bytes += text.size(); }
    size_t Bytes = 0;
};

}  // namespace

// Whatever the bytes: as many lines as line ends say, no more pieces and no more text than there were bytes for, and
// buttons that can be hit where they stand, and are all there in a small room too.
FUZZ_TARGET(text) {
    const std::vector<ALERTLINE> lines = ParseAlertMarkup(text);
    Always(lines.size() == 1u + static_cast<size_t>(std::count(text.begin(), text.end(), '\n')));
    size_t pieces = 0;
    size_t bytes = 0;
    for (const ALERTLINE& line : lines) {
        Always(!line.empty());
        pieces += line.size();
        for (const ALERTPIECE& piece : line)
            bytes += piece.Text.size();
    }
    Always(pieces <= text.size() + 1 && bytes <= text.size());

    METRICS metrics;
    const ALERTLAYOUT layout(text, metrics);
    Always(layout.Buttons().size() <= MAX_ALERT_BUTTONS);
    for (const ALERTBUTTON& button : layout.Buttons()) {
        const ALERTRECT& rect = button.Rect;
        Always(rect.Left <= rect.Right && rect.Top <= rect.Bottom);
        if (rect.Left < rect.Right && rect.Top < rect.Bottom)
            Always(layout.ButtonAt({rect.Left, rect.Top}) != nullptr);
    }
    const ALERTSIZE window = layout.WindowSize();
    Always(window.Width >= 0 && window.Height >= 0);
    PlaceAlert({0, 0, 1920, 1040}, window, static_cast<int>(text.size() % 7));
    for (int state = 0; state < 4; ++state) {
        CANVAS canvas;
        ALERTLOOK look;
        look.Client = window;
        look.Pointer = {window.Width / 2, window.Height / 2};
        look.Pressed = state & 1;
        look.Swapped = state & 2;
        layout.Paint(canvas, look);
        Always(canvas.Bytes <= bytes + 3 * pieces);  // the dots of what is too wide
    }

    const ALERTSIZE room{300, 200};
    const ALERTLAYOUT bounded(text, metrics, room);
    Always(bounded.Buttons().size() == layout.Buttons().size());
    if (text.find('H') == text.npos) {
        Always(bounded.WindowSize().Width <= room.Width);
        Always(bounded.WindowSize().Height <= room.Height || !bounded.Buttons().empty());
    }
}
