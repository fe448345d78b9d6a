#include "app/desktop/itemdialog.h"

#include "app/check/items.h"
#include "corelib/system/osys.h"
#include "corelib/window/controls.h"
#include "corelib/window/widetext.h"
#include "tests/support/windowtest.h"

namespace {

constexpr int NAME = 201, MINUTES = 202, SECONDS = 203, SERVER = 204, USER = 205, PASSWORD = 206, KIND = 401,
              FIRST_LABEL = 280;
constexpr int WEBMAIL = 2;  // in the list of kinds

class ItemDialog : public ::testing::TestWithParam<int> {
 protected:
    ItemDialog() {
        const STRING directory = OSYS::FileDirectory(OSYS::ProgramPath().Text());
        STRING path;
        EXPECT_EQ(Texts.Load(directory.Text(), GetParam(), path), GetParam());
        Resources = std::make_unique<RESOURCELIBRARY>(path);
    }

    static STRINGARRAY Item(const char* type, const char* source, const char* period) {
        STRINGARRAY state(STRING("PopupBackgroundColor=1\nPopupTextColor=2\n"), 8, 8);
        STRINGARRAY item;
        item["Name"] = "Όνομα 日";
        item["Type"] = type;
        item["Source"] = source;
        item["Source2"] = "secret";
        item["TimingCyclic"] = period;
        int handle = FIRST_ITEM_HANDLE;
        FixItem(item, state, handle);
        return item;
    }
    // What of a record the dialog changes.
    static std::string Summary(const STRINGARRAY& item) {
        std::string all;
        for (const char* key : {"Name", "Type", "Source", "Source2", "TimingCyclic"})
            all += Std(item.Get(key)) + ";";
        return all;
    }

    // Opens the dialog, in which the user then acts; it is cancelled if it is still open afterwards.
    bool Edit(STRINGARRAY& item, const std::function<void()>& user) {
        Later([&] {
            Dialog = GetActiveWindow();
            ShowWindow(Dialog, SW_SHOW);
            user();
            if (IsWindow(Dialog))
                PostMessageW(Dialog, WM_COMMAND, IDCANCEL, 0);
        });
        return EditItem(nullptr, Texts, item);
    }
    HWND Control(int control) const { return GetDlgItem(Dialog, control); }
    std::string Text(int control) const { return Std(WINDOW(Control(control)).Title()); }
    void Set(int control, const char* text) const { WINDOW(Control(control)).SetTitle(text); }
    // Presses OK, and closes the message that comes of it.
    void PressOk() {
        Later([this] {
            const HWND box = GetActiveWindow();
            constexpr int MESSAGE_TEXT = 0xFFFF;
            Said = Std(WINDOW(GetDlgItem(box, MESSAGE_TEXT)).Title());
            EndDialog(box, IDOK);
        });
        SendMessageW(Control(IDOK), BM_CLICK, 0, 0);
    }

    LANGUAGELIBRARY Texts;
    std::unique_ptr<RESOURCELIBRARY> Resources;
    HWND Dialog = nullptr;
    std::string Said;
};

TEST_P(ItemDialog, EditsARecord) {
    STRINGARRAY item = Item("1", "mail.example|anna", "30");
    EXPECT_TRUE(Edit(item, [&] {
        EXPECT_EQ(Text(NAME) + " " + Text(SERVER) + " " + Text(USER), "Όνομα 日 mail.example anna");
        EXPECT_NE(GetWindowLongW(Control(PASSWORD), GWL_STYLE) & ES_PASSWORD, 0);
        Set(NAME, " New ");
        LISTBOX(Dialog, KIND).Select(WEBMAIL);
        SendMessageW(Dialog, WM_COMMAND, MAKEWPARAM(KIND, CBN_SELCHANGE), reinterpret_cast<LPARAM>(Control(KIND)));
        EXPECT_FALSE(IsWindowEnabled(Control(SERVER)));
        EXPECT_TRUE(IsWindowEnabled(Control(USER)));
        PressOk();
    }));
    EXPECT_EQ(Said, Std(Texts.Get(TEXT_PERIOD_RAISED)));
    EXPECT_EQ(Summary(item), "New;3;hotmail|anna;secret;60;");
    EXPECT_EQ(item.Get("Source2").GetFlags() & STRINGFLAG_BINARY, STRINGFLAG_BINARY);
    EXPECT_FALSE(Edit(item, [&] { Set(NAME, "other"); }));
    EXPECT_EQ(item.Get("Name"), "New");
}

TEST_P(ItemDialog, KeepsWhatItShows) {
    const std::tuple<const char*, const char*, const char*, const char*, const char*> table[] = {
        {"1", "pop.example|anna", "125", "2:5", "Όνομα 日;1;pop.example|anna;secret;125;"},
        {"2", "imap.example|anna", "", "0:0", "Όνομα 日;2;imap.example|anna;secret;0;"},
        {"3", "|anna", "0", "0:0", "Όνομα 日;3;hotmail|anna;secret;0;"},
        {"5", "hotmail|anna", "60", "1:0", "Όνομα 日;3;hotmail|anna;secret;60;"},
        {"0", "mapi|", "600", "10:0", "Όνομα 日;0;mapi|;;600;"},
    };
    for (const auto& [type, source, period, shown, stored] : table) {
        STRINGARRAY item = Item(type, source, period);
        EXPECT_TRUE(Edit(item, [&] {
            EXPECT_EQ(Text(MINUTES) + ":" + Text(SECONDS), shown);
            EXPECT_EQ(LISTBOX(Dialog, KIND).Count(), *type == '0' ? 4 : 3);
            EXPECT_EQ(IsWindowEnabled(Control(PASSWORD)) != 0, *type != '0');
            SendMessageW(Control(IDOK), BM_CLICK, 0, 0);
        }));
        EXPECT_EQ(Summary(item), stored);
    }
}

TEST_P(ItemDialog, SaysWhatIsMissing) {
    STRINGARRAY item = Item("1", "mail.example|anna", "600");
    const std::string before = Summary(item);
    EXPECT_FALSE(Edit(item, [&] {
        const std::tuple<int, const char*, int> table[] = {
            {NAME, " ", TEXT_NO_NAME}, {SERVER, "", TEXT_NO_SERVER}, {USER, "", TEXT_NO_USER}, {USER, "a|b", TEXT_BAR}};
        for (const auto& [control, content, text] : table) {
            const std::string good = Text(control);
            Set(control, content);
            PressOk();
            EXPECT_EQ(Said, Std(Texts.Get(text)));
            EXPECT_EQ(GetFocus(), Control(control));
            Set(control, good.c_str());
        }
    }));
    EXPECT_EQ(Summary(item), before);
}

TEST_P(ItemDialog, HasRoomForItsTextsAndALetterForEachField) {
    STRINGARRAY item = Item("2", "mail.example|anna", "600");
    Edit(item, [&] {
        const WINDOWDC dc(Dialog);
        SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(Dialog, WM_GETFONT, 0, 0)));
        std::set<int> letters;
        for (HWND child = GetWindow(Dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
            const STRING text = WINDOW(child).Title();
            const std::wstring wide = WideText(text);
            RECT needed{}, room;
            DrawTextW(dc, wide.c_str(), -1, &needed, DT_CALCRECT | DT_SINGLELINE);
            GetClientRect(child, &room);
            const int id = GetDlgCtrlID(child), mark = text.Pos('&');
            const bool button = id <= IDCANCEL;
            if (button || (id > FIRST_LABEL && id < KIND)) {
                EXPECT_LE(needed.right + (button ? ScalePixels(8) : 0), room.right) << Std(text);
            }
            EXPECT_LE(needed.bottom, room.bottom) << Std(text);
            if (mark != -1) {
                EXPECT_TRUE(letters.insert(tolower(text[mark + 1])).second) << Std(text);
            }
        }
        EXPECT_EQ(letters.size(), 6u);
    });
}

TEST_P(ItemDialog, LeavesNoHandles) {
    STRINGARRAY item = Item("1", "mail.example|anna", "600");
    ExpectNoHandleGrowth([&] { Edit(item, [] {}); });
}

INSTANTIATE_TEST_SUITE_P(Languages, ItemDialog, testing::Values(LANGUAGE_ENGLISH, LANGUAGE_GERMAN));

}  // namespace
