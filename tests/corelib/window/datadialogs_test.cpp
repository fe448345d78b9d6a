#include "corelib/base/stringarray.h"
#include "corelib/window/controls.h"
#include "corelib/window/datapages.h"
#include "corelib/window/datapush.h"
#include "corelib/window/fontvalue.h"
#include "tests/support/windowtest.h"

namespace {

constexpr int FORM = 100, FRAME = 101, PAGE_ONE = 102, PAGE_TWO = 103, TAB = 300;
constexpr int EDIT = 201, NUMBER = 202, CHECK = 203, ONE = 204, TWO = 205, COMBO = 206, LIST = 207, TEXTS = 208,
              PUSH = 209, LABEL = 210, KIND = 401, ARROWS = 65000;

// Runs the dialog, in whose message loop the user then acts; it is cancelled if it is still there afterwards.
bool RunWith(DATADIALOG& dialog, const std::function<void()>& user) {
    Later([&] {
        dialog.Show();
        user();
        if (dialog.hWnd)
            PostMessageW(dialog.hWnd, WM_COMMAND, IDCANCEL, 0);
    });
    return dialog.Run();
}

void ClickOn(const DATADIALOG& dialog, int control) {
    SendDlgItemMessageW(dialog.hWnd, control, BM_CLICK, 0, 0);
}

// As a person does it, with the messages that tell the dialog.
void SelectIn(const DATADIALOG& dialog, int control, int place) {
    LISTBOX list(dialog.hWnd, control);
    list.Select(place);
    SendMessageW(dialog.hWnd, WM_COMMAND, MAKEWPARAM(control, LBN_SELCHANGE), reinterpret_cast<LPARAM>(list.Hwnd()));
}

bool IsOn(const DATADIALOG& dialog, int control) {
    return IsWindowEnabled(GetDlgItem(dialog.hWnd, control)) != 0;
}

int Focused() {
    return GetDlgCtrlID(GetFocus());
}

// Ends the window that comes up in front of this one, once: what it offers must be something that it takes.
void Answer(HWND window, WPARAM ending) {
    Later([window, ending] {
        const HWND front = GetActiveWindow();
        if (front && front != window)
            SendMessageW(front, WM_COMMAND, ending, 0);
        else
            Answer(window, ending);
    });
}

STRING AddX(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog) {
    dialog.SetControlText(argument.Control, "pushed");
    return value || "x";
}

const STRINGARRAY START("check=1\ncombo=1\nedit=text\nlist=2\nnumber=5\npush=p\nradio=2\ntexts=TWO\n", 8, 8);
// One begins with another, and has a letter beyond ASCII.
const std::vector<STRING> CHOICES = {"two μορε", "two", "three"};

void AddAll(DATADIALOG& dialog, STRINGARRAY& record) {
    dialog.Add<DATAEDIT>(EDIT, record["edit"], 10);
    dialog.Add<DATANUMBER>(NUMBER, record["number"], 1, 59);
    dialog.Add<DATACHECK>(CHECK, record["check"]);
    dialog.Add<DATARADIO>(ONE, record["radio"], 1);
    dialog.Add<DATARADIO>(TWO, record["radio"], 2);
    dialog.Add<DATALIST>(COMBO, record["combo"], CHOICES);
    dialog.Add<DATALIST>(LIST, record["list"], CHOICES);
    dialog.Add<DATATEXTLIST>(TEXTS, record["texts"], CHOICES);
    dialog.AddPush(PUSH, record["push"], AddX, {LABEL, ""});
}

TEST(DataDialog, ChecksStandForBitsOrTheWholeNumber) {
    const std::tuple<const char*, int, bool, const char*> table[] = {
        {"5", 3, false, "13"},
        {"13", 3, true, "5"},
        {"0", DATACHECK::NO_BIT, false, "1"},
        {"1", DATACHECK::NO_BIT, true, "0"},
    };
    for (const auto& [before, bit, checked, clicked] : table) {
        STRING value = before;
        DATADIALOG dialog(FORM, nullptr);
        dialog.Add<DATACHECK>(CHECK, value, bit);
        RunWith(dialog, [&] {
            EXPECT_EQ(IsDlgButtonChecked(dialog.hWnd, CHECK) != 0, checked) << before;
            ClickOn(dialog, CHECK);
            ClickOn(dialog, IDOK);
        });
        EXPECT_EQ(value, clicked) << before;
    }
}

TEST(DataDialog, LeavesAloneWhatItCannotShow) {
    STRINGARRAY record(
        "check=yes, always\ncombo=7\nedit=longer than the field is\nlist=-1\nnumber=500 \n"
        "push=red\nradio=9\ntexts=four\n",
        8, 8);
    const STRING before = record.AsText();
    DATADIALOG dialog(FORM, nullptr);
    AddAll(dialog, record);
    EXPECT_TRUE(RunWith(dialog, [&] { ClickOn(dialog, IDOK); }));
    EXPECT_EQ(Std(record.AsText()), Std(before));
}

TEST(DataDialog, WorksByTheKeyboard) {
    STRINGARRAY record = START;
    DATADIALOG dialog(FORM, nullptr);
    AddAll(dialog, record);
    EXPECT_TRUE(RunWith(dialog, [&] {
        DialogKey(dialog.hWnd, VK_TAB);
        EXPECT_EQ(Focused(), NUMBER);
        DialogKey(dialog.hWnd, VK_UP);
        EXPECT_EQ(dialog.ControlText(NUMBER), "6");
        for (const int next : {CHECK, TWO, COMBO, LIST, TEXTS, PUSH, IDOK, IDCANCEL, EDIT}) {
            DialogKey(dialog.hWnd, VK_TAB);
            EXPECT_EQ(Focused(), next);
        }
        SelectIn(dialog, TEXTS, 0);
        ClickOn(dialog, PUSH);
        EXPECT_EQ(dialog.ControlText(LABEL), "pushed");
        DialogKey(dialog.hWnd, VK_RETURN);
    }));
    EXPECT_EQ(Std(record.AsText()),
              "check=1\ncombo=1\nedit=text\nlist=2\nnumber=6\npush=px\nradio=2\ntexts=two "
              "\\xce\\xbc\\xce\\xbf\\xcf\\x81\\xce\\xb5\n");
    EXPECT_FALSE(RunWith(dialog, [&] {
        dialog.SetControlText(EDIT, "never");
        DialogKey(dialog.hWnd, VK_ESCAPE);
    }));
    EXPECT_EQ(record["edit"], "text");
}

TEST(DataPush, ChangesTheValueOnlyAsTheUserChooses) {
    LOGFONTW font{}, chosen{};
    font.lfHeight = -13;
    wcscpy(font.lfFaceName, L"Tahoma");
    EXPECT_ASSERTIONS(2);  // of the value that is no font
    const TEMPDIR dir;
    const STRING file = dir.File("mail Ü 日.exe"), folder = dir.Path();
    WriteBytes(file, "");
    const std::tuple<PUSHFUNCTION, STRING, STRING, STRING, STRING> table[] = {
        {PushColor, "8388863", "text", "text", "8388863"},
        {PushFont, FontValue(font), "text", "text", STRING()},  // this machine may lack the font
        {PushFont, "too short", "text", "text", STRING()},
        {PushFile, "old", file, file, file},
        {PushFolder, "old", folder || "|more", folder, folder},
    };
    for (const auto& [function, before, text, textAfter, picked] : table) {
        for (const int ending : {IDCANCEL, IDOK}) {
            SCOPED_TRACE(Std(before) + " ends with " + std::to_string(ending));
            STRING value = before;
            DATADIALOG dialog(FORM, nullptr);
            dialog.AddPush(PUSH, value, function, {EDIT, "Programs|*.exe"});
            RunWith(dialog, [&] {
                dialog.SetControlText(EDIT, text);
                Answer(dialog.hWnd, static_cast<WPARAM>(ending));
                ClickOn(dialog, PUSH);
                EXPECT_EQ(dialog.ControlText(EDIT), ending == IDOK ? textAfter : text);
                ClickOn(dialog, IDOK);
            });
            if (ending == IDCANCEL || picked.NotNull())
                EXPECT_EQ(value, ending == IDOK ? picked : before);
            else
                EXPECT_TRUE(FontFromValue(value, chosen) && chosen.lfFaceName[0] &&
                            value.GetFlags() & STRINGFLAG_BINARY);
        }
    }
}

TEST(Rules, AnswerByTheKindOfTheirSource) {
    const TEMPDIR dir;
    WriteBytes(dir.File("file"), "");
    const STRING file = dir.File("file");
    const RULESTATE checked{RULESTATE::CHECKABLE, true, ""}, list{RULESTATE::LIST, false, "POP3"},
        empty{RULESTATE::EDIT, false, ""}, named{RULESTATE::EDIT, false, file},
        folder{RULESTATE::EDIT, false, dir.Path()}, other{RULESTATE::OTHER, true, "x"};
    const std::tuple<const RULESTATE&, uint32_t, const char*, bool> table[] = {
        {checked, RULE_SET, "", true},         {checked, RULE_CLEAR | RULE_HIDES, "", false},
        {list, RULE_EQUALS, "pop3", true},     {list, RULE_DIFFERS, "imap", true},
        {list, RULE_EQUALS, nullptr, false},   {empty, RULE_SET, "", false},
        {empty, RULE_CLEAR, "", true},         {empty, RULE_FILE_EXISTS, "", false},
        {named, RULE_FILE_EXISTS, "", true},   {named, RULE_FILE_MISSING, "", false},
        {folder, RULE_IS_DIRECTORY, "", true}, {named, RULE_NO_DIRECTORY, "", true},
        {other, RULE_SET, "", false},
    };
    for (const auto& [source, mode, compare, disabled] : table)
        EXPECT_EQ(RuleHolds(source, mode, compare), disabled) << Std(source.Text) << " " << mode;
    EXPECT_ASSERTIONS(3);
    EXPECT_FALSE(RuleHolds(checked, RULE_EQUALS, ""));
    EXPECT_FALSE(RuleHolds(list, RULE_SET, ""));
    EXPECT_FALSE(RuleHolds(named, 8, ""));
}

TEST(Rules, KeepTheirTargetsRight) {
    STRINGARRAY record = START;
    DATADIALOG dialog(FORM, nullptr);
    AddAll(dialog, record);
    dialog.Disable(EDIT, ONE, RULE_SET);        // a neighbour of the button that will be clicked
    dialog.Disable(NUMBER, CHECK, RULE_CLEAR);  // either of two
    dialog.Disable(NUMBER, COMBO, RULE_EQUALS, "three");
    dialog.Disable(LABEL, COMBO, RULE_DIFFERS | RULE_HIDES, "TWO");
    dialog.Disable(PUSH, EDIT, RULE_CLEAR);
    RunWith(dialog, [&] {
        const HWND label = GetDlgItem(dialog.hWnd, LABEL);
        EXPECT_TRUE(IsOn(dialog, EDIT) && IsOn(dialog, NUMBER) && IsOn(dialog, PUSH) && IsWindowVisible(label));
        ClickOn(dialog, ONE);
        EXPECT_FALSE(IsOn(dialog, EDIT));
        ClickOn(dialog, TWO);
        EXPECT_TRUE(IsOn(dialog, EDIT));

        ClickOn(dialog, CHECK);
        EXPECT_FALSE(IsOn(dialog, NUMBER) || IsOn(dialog, ARROWS));
        SelectIn(dialog, COMBO, 2);
        EXPECT_FALSE(IsWindowVisible(label));
        ClickOn(dialog, CHECK);
        EXPECT_FALSE(IsOn(dialog, NUMBER));
        SelectIn(dialog, COMBO, 1);
        EXPECT_TRUE(IsOn(dialog, NUMBER) && IsOn(dialog, ARROWS) && IsWindowVisible(label));

        SetFocus(GetDlgItem(dialog.hWnd, PUSH));
        dialog.SetControlText(EDIT, "");
        EXPECT_FALSE(IsOn(dialog, PUSH));
        EXPECT_NE(Focused(), PUSH);

        // A hook takes a click before the rules see it.
        dialog.SetHook([](DATADIALOG&, UINT message, WPARAM, LPARAM, void*) { return message == WM_COMMAND; }, nullptr);
        ClickOn(dialog, ONE);
        EXPECT_TRUE(IsOn(dialog, EDIT));
        dialog.SetHook(nullptr, nullptr);
    });
}

// Complains of an empty field.
class CAREFUL : public DATADIALOG {
 public:
    using DATADIALOG::DATADIALOG;

 protected:
    STRING Complaint(int& control) const override {
        control = EDIT;
        return ControlText(EDIT).Length() > 0 ? STRING() : STRING("empty");
    }
};

struct PAGED {
    explicit PAGED(STRINGARRAY& record) : Dialog(FRAME, nullptr, TAB) {
        One = &Dialog.AddPage("One", std::make_unique<DATADIALOG>(PAGE_ONE, nullptr));
        Two = &Dialog.AddPage("Two", std::make_unique<CAREFUL>(PAGE_TWO, nullptr));
        One->Add<DATALIST>(KIND, record["combo"], CHOICES);
        One->Add<DATARADIO>(ONE, record["radio"], 1);
        One->Add<DATARADIO>(TWO, record["radio"], 2);
        Two->Add<DATAEDIT>(EDIT, record["edit"], 10);
        Two->Add<DATACHECK>(CHECK, record["check"]);
        Two->Disable(CHECK, *One, KIND, RULE_EQUALS, "two");
        One->Disable(*Two, EDIT, *One, ONE, RULE_SET);
    }
    DATAPAGES Dialog;
    DATADIALOG* One;
    DATADIALOG* Two;
};

TEST(DataPages, HaveRulesAcrossAndStoreTogether) {
    STRINGARRAY record = START;
    PAGED pages(record);
    EXPECT_TRUE(RunWith(pages.Dialog, [&] {
        EXPECT_EQ(Focused(), KIND);
        EXPECT_TRUE(pages.One->IsVisible());
        // Tabs that draw themselves anew leave the page alone.
        ShowWindow(pages.Dialog.hWnd, SW_SHOW);
        const HWND radio = GetDlgItem(pages.One->hWnd, ONE);
        const RECT part{0, 0, 12, 12};
        const int drawn = PixelsUnlike(radio, part, GetSysColor(COLOR_BTNFACE));
        EXPECT_GT(drawn, 20);
        RedrawWindow(GetDlgItem(pages.Dialog.hWnd, TAB), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE);
        EXPECT_EQ(PixelsUnlike(radio, part, GetSysColor(COLOR_BTNFACE)), drawn);
        EXPECT_FALSE(pages.Two->IsVisible());
        EXPECT_FALSE(IsOn(*pages.Two, CHECK));
        SelectIn(*pages.One, KIND, 2);
        EXPECT_TRUE(IsOn(*pages.Two, CHECK));
        // The page of a complaint comes to the front.
        pages.Two->SetControlText(EDIT, "");
        Answer(pages.Dialog.hWnd, IDOK);
        ClickOn(pages.Dialog, IDOK);
        EXPECT_TRUE(pages.Two->IsVisible());
        EXPECT_EQ(Focused(), EDIT);
        ClickOn(*pages.One, ONE);
        EXPECT_FALSE(IsOn(*pages.Two, EDIT));
        ClickOn(*pages.One, TWO);
        EXPECT_TRUE(IsOn(*pages.Two, EDIT));

        BYTE keys[256] = {};
        keys[VK_CONTROL] = 0x80;
        SetKeyboardState(keys);
        DialogKey(pages.Dialog.hWnd, VK_TAB);
        keys[VK_CONTROL] = 0;
        SetKeyboardState(keys);
        EXPECT_TRUE(pages.One->IsVisible());
        EXPECT_FALSE(pages.Two->IsVisible());
        EXPECT_EQ(Focused(), KIND);
        pages.Two->SetControlText(EDIT, "across");
        ClickOn(pages.Dialog, IDOK);
    }));
    EXPECT_EQ(record["combo"], "2");
    EXPECT_EQ(record["edit"], "across");
}

TEST(DataPages, DoWithoutWhatTheLanguageLacks) {
    EXPECT_ASSERTIONS(6);
    STRINGARRAY record = START;
    DATAPAGES dialog(FRAME, nullptr, TAB);
    DATADIALOG& missing = dialog.AddPage("Missing", std::make_unique<DATADIALOG>(998, nullptr));
    DATADIALOG& page = dialog.AddPage("Two", std::make_unique<DATADIALOG>(PAGE_TWO, nullptr));
    missing.Add<DATALIST>(KIND, record["combo"], CHOICES);
    page.Add<DATACHECK>(999, record["check"]);
    page.Add<DATAEDIT>(EDIT, record["edit"], 10);
    page.Disable(CHECK, missing, KIND, RULE_EQUALS, "two");
    page.Disable(EDIT, 999, RULE_SET);
    for (int i = 2; i < 65; ++i)  // one more than there is room for
        page.Disable(LABEL, CHECK, RULE_SET);
    EXPECT_TRUE(RunWith(dialog, [&] {
        dialog.Step(1);
        EXPECT_EQ(Focused(), EDIT);
        page.SetControlText(EDIT, "new");
        ClickOn(dialog, IDOK);
    }));
    record["edit"] = "text";
    EXPECT_EQ(Std(record.AsText()), Std(START.AsText()));
}

}  // namespace
