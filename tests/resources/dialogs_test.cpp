#include <cmath>
#include <cwchar>
#include <cwctype>

#include "app/common/texts.h"
#include "tests/support/testsupport.h"

// After what has names that it has, too.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

namespace {

/// A control of a template, in dialog units.
struct CONTROLTEXT {
    DWORD Style;
    int X, Y, Width, Height, Id;
    int Class;  // 0x80 button, 0x81 edit, 0x82 static, 0x83 list box, 0x85 combo box; 0: another one
    std::wstring Text;
    bool IsGroup() const { return Class == 0x80 && (Style & BS_TYPEMASK) == BS_GROUPBOX; }
    bool IsField() const { return Class == 0x81 || Class == 0x83 || Class == 0x85; }
    bool IsText() const { return Class == 0x82; }
    int Right() const { return X + Width; }
    // A closed combo box is as high as an edit field, whatever its list has.
    int Bottom() const { return Y + (Class == 0x85 ? 13 : Height); }
};

struct TEMPLATE {
    DWORD Style = 0;
    int Width = 0, Height = 0;
    std::wstring Title;
    std::vector<CONTROLTEXT> Controls;
};

constexpr int ANSWER = 290, TABS = 300;                            // where a button's work is told; a dialog's pages
constexpr int VIEWER = 2040;                                       // whose button says what the program wants
constexpr int WIZARD = 2070, FIRST_STEP = 2071, LAST_STEP = 2077;  // the frame, and its pages

/// Reads a template of the extended form, as the resource compiler writes it.
class READER {
 public:
    explicit READER(const WORD* words) : At(words) {}
    TEMPLATE Read() {
        TEMPLATE read;
        At += 2 + 4;  // version, signature; help and extended style
        read.Style = Long();
        const int count = *At++;
        At += 2;  // its place
        read.Width = *At++;
        read.Height = *At++;
        Name();
        Name();
        read.Title = Name();
        At += 3;  // size of the font, and its look
        Name();
        for (int i = 0; i < count; ++i) {
            Align();
            CONTROLTEXT control{};
            At += 4;  // help and extended style
            control.Style = Long();
            for (int* edge : {&control.X, &control.Y, &control.Width, &control.Height})
                *edge = static_cast<short>(*At++);
            control.Id = static_cast<int>(Long());
            control.Class = *At == 0xFFFF ? At[1] : 0;
            Name();
            control.Text = Name();
            At += 1 + *At / 2;
            read.Controls.push_back(control);
        }
        return read;
    }

 private:
    void Align() { At += reinterpret_cast<uintptr_t>(At) % 4 / 2; }
    DWORD Long() {
        const DWORD value = MAKELONG(At[0], At[1]);
        At += 2;
        return value;
    }
    std::wstring Name() {
        if (*At == 0xFFFF) {
            At += 2;
            return {};
        }
        const std::wstring text = reinterpret_cast<const wchar_t*>(At);
        At += text.size() + 1;
        return text;
    }
    const WORD* At;
};

class DialogTemplates : public testing::TestWithParam<const wchar_t*> {
 protected:
    DialogTemplates() {
        EnumResourceNamesW(
            Module, MAKEINTRESOURCEW(5),
            [](HMODULE module, LPCWSTR, LPWSTR name, LONG_PTR self) -> BOOL {
                const HRSRC found = FindResourceW(module, name, MAKEINTRESOURCEW(5));
                const auto* words = static_cast<const WORD*>(LockResource(LoadResource(module, found)));
                reinterpret_cast<DialogTemplates*>(self)->All[static_cast<int>(reinterpret_cast<intptr_t>(name))] =
                    READER(words).Read();
                return TRUE;
            },
            reinterpret_cast<LONG_PTR>(this));
    }
    ~DialogTemplates() override { FreeLibrary(Module); }

    HMODULE Module = LoadLibraryExW(GetParam(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    std::map<int, TEMPLATE> All;
};

std::string Narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

TEST_P(DialogTemplates, HaveRoomForTheirWordsAtEverySize) {
    ASSERT_GT(All.size(), 20u);
    const HDC dc = CreateCompatibleDC(nullptr);
    for (const int dpi : {96, 120, 144}) {
        NONCLIENTMETRICSW metrics{};
        metrics.cbSize = sizeof metrics;
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
        LOGFONTW look = metrics.lfMessageFont;
        look.lfHeight = MulDiv(look.lfHeight, dpi, GetDeviceCaps(dc, LOGPIXELSY));
        const HFONT font = CreateFontIndirectW(&look);
        const HGDIOBJ former = SelectObject(dc, font);
        // The base units of a dialog, as the system takes them from its font.
        const wchar_t letters[] = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
        SIZE size;
        TEXTMETRICW text;
        GetTextExtentPoint32W(dc, letters, 52, &size);
        GetTextMetricsW(dc, &text);
        const int baseX = (size.cx / 26 + 1) / 2, baseY = text.tmHeight;
        for (const auto& [number, dialog] : All) {
            for (const CONTROLTEXT& control : dialog.Controls) {
                if (control.Text.empty() || (control.Class != 0x80 && control.Class != 0x82))
                    continue;
                RECT needed{};
                DrawTextW(dc, control.Text.c_str(), -1, &needed, DT_CALCRECT | DT_SINGLELINE);
                const int kind = static_cast<int>(control.Style & BS_TYPEMASK);
                const bool push = control.Class == 0x80 && (kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON);
                // The frame of a button, the box of a check box, the ends of a group's line.
                const int extra = control.IsText() ? 0 : MulDiv(push ? 10 : 18, dpi, 96);
                EXPECT_LE(needed.right + extra, MulDiv(control.Width, baseX, 4))
                    << number << " at " << dpi << ": " << Narrow(control.Text);
                EXPECT_LE(needed.bottom, MulDiv(control.Height, baseY, 8) + (push ? 0 : 1))
                    << number << " at " << dpi << ": " << Narrow(control.Text);
            }
        }
        SelectObject(dc, former);
        DeleteObject(font);
    }
    DeleteDC(dc);
}

TEST_P(DialogTemplates, HaveNothingOverAnotherOrOutside) {
    for (const auto& [number, dialog] : All) {
        for (size_t i = 0; i < dialog.Controls.size(); ++i) {
            const CONTROLTEXT& one = dialog.Controls[i];
            if (!(one.Style & WS_VISIBLE))
                continue;
            SCOPED_TRACE(std::to_string(number) + " " + std::to_string(one.Id) + " " + Narrow(one.Text));
            EXPECT_TRUE(one.X >= 7 && one.Y >= 7 && one.Right() <= dialog.Width - 7 &&
                        one.Bottom() <= dialog.Height - 7);
            for (size_t j = 0; j < i; ++j) {
                const CONTROLTEXT& other = dialog.Controls[j];
                const bool apart = !(other.Style & WS_VISIBLE) || one.Right() <= other.X || other.Right() <= one.X ||
                                   one.Bottom() <= other.Y || other.Bottom() <= one.Y;
                // A frame around: inside it, below its words.
                const auto inside = [](const CONTROLTEXT& in, const CONTROLTEXT& out) {
                    return out.IsGroup() && in.X >= out.X + 6 && in.Right() <= out.Right() - 6 && in.Y >= out.Y + 9 &&
                           in.Bottom() <= out.Bottom() - 4;
                };
                EXPECT_TRUE(apart || inside(one, other) || inside(other, one)) << "over " << other.Id;
            }
        }
    }
}

TEST_P(DialogTemplates, HaveALetterForEachFieldAndANameForTheBlind) {
    for (const auto& [number, dialog] : All) {
        std::set<wint_t> letters;
        if (number >= FIRST_STEP && number <= LAST_STEP)
            for (const CONTROLTEXT& control : All[WIZARD].Controls)
                if (const size_t mark = control.Text.find(L'&'); mark != control.Text.npos)
                    letters.insert(std::towupper(control.Text[mark + 1]));
        for (size_t i = 0; i < dialog.Controls.size(); ++i) {
            const CONTROLTEXT& control = dialog.Controls[i];
            SCOPED_TRACE(std::to_string(number) + " " + std::to_string(control.Id) + " " + Narrow(control.Text));
            const size_t mark = control.Text.find(L'&');
            if (mark != control.Text.npos) {
                const wint_t letter = std::towupper(control.Text[mark + 1]);
                EXPECT_TRUE(std::iswalnum(letter) && letter < 128) << "not to be typed on every keyboard";
                EXPECT_TRUE(letters.insert(letter).second) << "taken";
            }
            const bool button = control.Class == 0x80 && !control.IsGroup();
            EXPECT_FALSE(button && control.Text.empty() && number != VIEWER);
            // What a screen reader says of a field are the words in front of it.
            const bool answer = control.Class == 0x81 && (control.Style & ES_READONLY);
            if (control.IsField() && !answer) {
                ASSERT_GT(i, 0u);
                EXPECT_TRUE(dialog.Controls[i - 1].IsText() && !dialog.Controls[i - 1].Text.empty());
            }
            // Each way leads by the keyboard, but for the buttons of a group after its first.
            const bool radio = button && (control.Style & BS_TYPEMASK) == BS_AUTORADIOBUTTON;
            EXPECT_TRUE(radio || answer || !(button || control.IsField()) || (control.Style & WS_TABSTOP));
        }
    }
}

TEST_P(DialogTemplates, HaveAHintForEachFieldAndButton) {
    const std::set<int> plain = {0, -1, 65535, IDOK, IDCANCEL, ANSWER, TABS};
    for (const auto& [number, dialog] : All) {
        for (const CONTROLTEXT& control : dialog.Controls) {
            if (number == VIEWER || number == WIZARD || control.IsText() || control.IsGroup() ||
                plain.contains(control.Id))
                continue;
            wchar_t hint[2];
            EXPECT_GT(LoadStringW(Module, static_cast<UINT>(HELP_TEXT(number, control.Id)), hint, 2), 0)
                << number << " " << control.Id;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, DialogTemplates, testing::Values(L"english.dll", L"german.dll"));

}  // namespace
