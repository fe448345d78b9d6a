#include "app/notify/alertlayout.h"

#include "resources/commands.h"
#include "tests/support/testsupport.h"

namespace {

constexpr const char* FONT_NAMES[] = {"normal", "bold", "smallbold", "small"};

// Every byte is as wide as any other of its font.
class METRICS : public ALERTMETRICS {
 public:
    bool Measure(ALERTFONT font, std::string_view text, ALERTSIZE& size) override {
        const ALERTSIZE letters[] = {{8, 15}, {9, 16}, {7, 12}, {6, 12}};
        const ALERTSIZE letter = letters[static_cast<int>(font)];
        size = {letter.Width * static_cast<int>(text.size()), letter.Height};
        Measured += text.size();
        return !Fails;
    }
    bool Fails = false;
    size_t Measured = 0;
};

std::string Shown(const ALERTRECT& rect) {
    return std::to_string(rect.Left) + "," + std::to_string(rect.Top) + "-" + std::to_string(rect.Right) + "," +
           std::to_string(rect.Bottom);
}

// Writes down what is drawn, a line for each piece.
class RECORDER : public ALERTCANVAS {
 public:
    void Fill(const ALERTRECT& rect, int32_t color) override {
        Steps += "fill " + Shown(rect) + " " + std::to_string(color) + " ";
    }
    void Button(const ALERTRECT& rect, int32_t text, int32_t back, ALERTPRESS state) override {
        const char* const states[] = {"plain", "pointed", "pressed"};
        Steps += "button " + Shown(rect) + " " + std::to_string(text) + " " + std::to_string(back) + " " +
                 states[static_cast<int>(state)] + " ";
    }
    void Write(ALERTFONT font, ALERTPOINT at, int32_t color, std::string_view text) override {
        Steps += std::string("write ") + FONT_NAMES[static_cast<int>(font)] + " " + std::to_string(at.X) + "," +
                 std::to_string(at.Y) + " " + std::to_string(color) + " '" + std::string(text) + "'\n";
    }
    std::string Steps;
};

struct ALERT {
    explicit ALERT(std::string_view text, ALERTSIZE room = {MAX_ALERT_EXTENT, MAX_ALERT_EXTENT})
        : Layout(text, Metrics, room) {
        Look.Client = Layout.WindowSize();
        Look.TextColor = 1;
        Look.BackColor = 2;
    }
    std::string Drawn() const {
        RECORDER recorder;
        Layout.Paint(recorder, Look);
        return recorder.Steps;
    }
    METRICS Metrics;
    ALERTLAYOUT Layout;
    ALERTLOOK Look;
};

std::pair<int, int> Size(const ALERTLAYOUT& layout) {
    return {layout.WindowSize().Width, layout.WindowSize().Height};
}

const char* const POPUP =
    "New mail\n"
    "Home: 2 mails (1 new)\n"
    "\n"
    "\x1b[bs]! Ann: Lunch \n"
    "\x1b[s;B=255;F=7] Bob: Offer\n"
    "\x1b[s]\n"
    "\x1b[sb;*=" NUMBER(COMMAND_MAIL_PROGRAM) "]Mail\x1b[s]  \x1b[sb;*=" NUMBER(
        COMMAND_REMIND_LATER) "]Later\x1b[s]  \x1b[sb;*=0]Close\x1b[s]  ";

}  // namespace

TEST(AlertLayout, DrawsWholePopup) {
    ALERT alert(POPUP);
    // The widest line is that of the buttons; the margins are 8 and 5.
    EXPECT_EQ(Size(alert.Layout), std::make_pair(170 + 16, 3 * 16 + 3 * 13 + 22 + 10));
    EXPECT_EQ(alert.Drawn(),
              "fill 0,0-186,119 2 fill 8,3-72,18 2 write normal 8,3 1 'New mail'\n"
              "fill 8,19-176,34 2 write normal 8,19 1 'Home: 2 mails (1 new)'\n"
              "fill 8,35-8,50 2 write normal 8,35 1 ''\n"
              "fill 8,51-99,63 2 write smallbold 8,51 1 '! Ann: Lunch '\n"
              "fill 8,64-74,76 255 write small 8,64 7 ' Bob: Offer'\n"
              "fill 8,77-8,89 2 write small 8,77 1 ''\n"
              "button 8,90-48,111 1 2 plain write smallbold 14,94 1 'Mail'\n"
              "fill 48,90-60,102 2 write small 48,90 1 '  '\n"
              "button 60,90-107,111 1 2 plain write smallbold 66,94 1 'Later'\n"
              "fill 107,90-119,102 2 write small 107,90 1 '  '\n"
              "button 119,90-166,111 1 2 plain write smallbold 125,94 1 'Close'\n"
              "fill 166,90-178,102 2 write small 166,90 1 '  '\n");
    EXPECT_EQ(alert.Layout.ClickValue({165, 90}, false, 70000), 0) << "a command that is none is a hit";
}

TEST(AlertLayout, ShowsButtonUnderPointer) {
    ALERT alert("\n\x1b[*;F=5;B=6]Go\x1b[b]!");
    const std::string texts = "fill 0,0-56,53 2 fill 8,3-8,18 2 write normal 8,3 1 ''\n";
    const std::string button = "button 8,19-39,45 5 6 ";
    const std::string behind = "fill 39,19-48,35 2 write bold 39,19 1 '!'\n";
    EXPECT_EQ(alert.Drawn(), texts + button + "plain write normal 15,24 5 'Go'\n" + behind);

    alert.Look.Pointer = {38, 44};
    EXPECT_EQ(alert.Drawn(), texts + button + "pointed write normal 15,24 5 'Go'\n" + behind);

    alert.Look.Pressed = true;
    EXPECT_EQ(alert.Drawn(), texts + button + "pressed write normal 15,24 6 'Go'\n" + behind);

    alert.Look.Pointer = {39, 44};
    EXPECT_EQ(alert.Drawn(), texts + button + "plain write normal 15,24 5 'Go'\n" + behind);

    ALERT single("Nothing");
    single.Look.Client = {70, 25};
    single.Look.Swapped = true;
    EXPECT_EQ(single.Drawn(), "fill 0,0-70,25 1 write normal 7,5 2 'Nothing'\n") << "in the middle";
}

TEST(AlertLayout, NumbersButtonsAndBoundsThem) {
    std::string text = "\x1b[*]a\x1b[*=500]b\x1b[*]c\n";
    for (int i = 3; i < 40; ++i)
        text += "\x1b[*]d";
    const ALERT alert(text);
    ASSERT_EQ(alert.Layout.Buttons().size(), MAX_ALERT_BUTTONS);
    EXPECT_EQ(alert.Layout.Buttons()[0].Command, 0);
    EXPECT_EQ(alert.Layout.Buttons()[1].Command, 500);
    EXPECT_EQ(alert.Layout.Buttons()[2].Command, 2);
    EXPECT_EQ(alert.Layout.Buttons()[31].Command, 31);
}

TEST(AlertLayout, StaysInItsRoom) {
    const std::tuple<const char*, ALERTSIZE, const char*> cases[] = {
        // Text ends in dots, and trailing blanks are no text.
        {"0123456789", {96, 99}, "8,5 0123456789"},
        {"0123456789", {95, 99}, "8,5 012345..."},
        {"a\n0123456 ", {72, 99}, "8,3 a|8,19 0123456"},
        {"a\nbcde\x1b[b]fghij", {78, 99}, "8,3 a|8,19 bcde|40,19 ..."},
        {"a\nbcdefghi\x1b[b]f", {72, 99}, "8,3 a|8,19 bcde...|64,19 "},
        {"a\nbcd", {38, 99}, "8,3 a|8,19 "},
        // Between characters, of two bytes here, and of one with its mark.
        {"жжжжж", {86, 99}, "8,5 жж..."},
        {"a\no\xcc\x81o\xcc\x81ooo", {80, 99}, "8,3 a|8,19 o\xcc\x81..."},
        // A row of buttons goes on below, and only a label without any room for it is cut.
        {"a\n\x1b[*]bb\x1b[s]  \x1b[*]cc\x1b[s]  ", {101, 99}, "8,3 a|15,24 bb|39,19   |58,24 cc|82,19 "},
        {"a\n\x1b[*]bb\x1b[s]  \x1b[*]cc\x1b[s]  ", {85, 99}, "8,3 a|15,24 bb|39,19   |15,51 cc|39,46   "},
        {"a\nlong\x1b[*]bb\x1b[*]cc", {64, 99}, "8,3 a|8,19 long|15,40 bb|15,67 cc"},
        {"a\ntoo long\x1b[*]thisx\x1b[*]c", {63, 99}, "8,3 a|8,19 to...|15,40 t...|15,67 c"},
        // Of too many lines the last ones go, of buttons none.
        {"a\nb\nc\nd\n\x1b[*]x", {200, 10 + 4 * 16 + 27}, "8,3 a|8,19 b|8,35 c|8,51 d|15,72 x"},
        {"a\nb\nc\nd\n\x1b[*]x", {200, 10 + 4 * 16 + 26}, "8,3 a|8,19 b|8,35 ...|15,56 x"},
        {"a\nb\nc\n\x1b[*]x\nd", {200, 10 + 3 * 16 + 26}, "8,3 a|8,19 ...|15,40 x"},
        {"a\n\x1b[*]x\n\x1b[*]y", {200, 20}, "8,3 ...|15,24 x|15,51 y"},
    };
    for (const auto& [text, room, wantedWritten] : cases) {
        const ALERT alert(text, room);
        std::string written;
        const std::string drawn = alert.Drawn();
        for (size_t at = 0; (at = drawn.find("write ", at)) != std::string::npos;) {
            const size_t place = drawn.find(' ', at + 6) + 1, quote = drawn.find('\'', at);
            at = drawn.find('\n', quote);
            written += (written.empty() ? "" : "|") + drawn.substr(place, drawn.find(' ', place) - place + 1) +
                       drawn.substr(quote + 1, at - quote - 2);
        }
        EXPECT_EQ(written, wantedWritten) << text;
        const ALERTSIZE window = alert.Layout.WindowSize();
        EXPECT_TRUE(window.Width <= room.Width && (window.Height <= room.Height || room.Height == 20)) << text;
        for (const ALERTBUTTON& button : alert.Layout.Buttons())
            EXPECT_LE(button.Rect.Right, room.Width - 8) << text;
    }
}

TEST(AlertLayout, CostsNoMoreThanTheRoom) {
    std::string text;
    for (int i = 0; i < 15; ++i)
        text += "\x1b[s] " + std::string(10000, 'x') + " \n";
    METRICS metrics;
    const ALERTLAYOUT wide(text, metrics);
    EXPECT_EQ(Size(wide), std::make_pair(10002 * 6 + 16, 15 * 13 + 16 + 10));
    EXPECT_LE(metrics.Measured, text.size() + 2);
    // A whole mail as a name costs no more than the room.
    metrics.Measured = 0;
    const ALERTLAYOUT narrow("a\n" + std::string(1000000, 'x'), metrics, {1000, 700});
    EXPECT_EQ(narrow.WindowSize().Width, 1000);
    EXPECT_LE(metrics.Measured, 12000U);

    metrics.Fails = true;
    EXPECT_ASSERTIONS(1);
    const ALERTLAYOUT none("\x1b[*]a\n\n", metrics);
    EXPECT_EQ(Size(none), std::make_pair(0, 3));
    EXPECT_EQ(none.ButtonAt({0, -2}), nullptr);
}

TEST(AlertPlace, PutsWindowIntoWorkArea) {
    const ALERTRECT work{-100, 50, 900, 650};
    const std::tuple<int, ALERTSIZE, const char*> cases[] = {
        {1, {200, 100}, "-100,50-100,150"},   {2, {200, 100}, "700,50-900,150"},
        {3, {200, 100}, "-100,550-100,650"},  {4, {200, 100}, "700,550-900,650"},
        {5, {200, 101}, "300,299-500,400"},   {0, {200, 100}, "700,50-900,150"},
        {6, {200, 100}, "700,50-900,150"},    {-1, {200, 100}, "700,50-900,150"},
        {2, {1200, 100}, "-100,50-1100,150"}, {4, {1200, 700}, "-100,50-1100,750"},
        {5, {1200, 700}, "-100,50-1100,750"},
    };
    for (const auto& [position, window, rect] : cases)
        EXPECT_EQ(Shown(PlaceAlert(work, window, position)), rect) << position;
}
