// The first has names that those of windows would shadow.
// clang-format off
#include "tests/app/apptest.h"
#include "app/desktop/dialogs.h"
// clang-format on

#include "app/check/items.h"
#include "app/core/datadir.h"
#include "app/notify/mailtypes.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "corelib/window/controls.h"
#include "corelib/window/widetext.h"
#include "tests/servers/scriptedserver.h"
#include "tests/servers/tlsserver.h"
#include "tests/support/windowtest.h"

namespace {

constexpr int MESSAGE_TEXT = 0xFFFF;

/// A dialog of the tables over a record that has an unlike value in every key.
struct SHEET {
    const char* Name;
    std::vector<int> Pages;
    std::function<bool(const DIALOGPARTS&, STRINGARRAY&)> Run;
};

bool RunType(const DIALOGPARTS& parts, STRINGARRAY& record) {
    RECORDARRAY types(2, 2);
    types.Add(record);
    const bool stored = EditType(parts, types, 0);
    record = types[0];
    return stored;
}

const std::vector<int> LIST_PAGES = {PAGE_SPAM_POINTS, PAGE_SPAM_WORDS, PAGE_SPAM_INTERESTS, PAGE_SPAM_RECIPIENTS};
const std::vector<int> EXPERT_PAGES = {PAGE_SPAM_POINTS, PAGE_SPAM_SENDERS, PAGE_SPAM_FILES, PAGE_SPAM_SENDING};
const std::vector<int> ALL_SPAM_PAGES = {PAGE_SPAM_POINTS,  PAGE_SPAM_WORDS, PAGE_SPAM_INTERESTS, PAGE_SPAM_RECIPIENTS,
                                         PAGE_SPAM_SENDERS, PAGE_SPAM_FILES, PAGE_SPAM_SENDING};
const SHEET SHEETS[] = {
    {"item",
     {PAGE_ITEM_GENERAL, PAGE_ITEM_MAILBOX, PAGE_ITEM_MORE},
     [](const DIALOGPARTS& parts, STRINGARRAY& record) { return EditItem(parts, record, record); }},
    {"type", {DIALOG_TYPE}, RunType},
    {"options",
     {PAGE_OPTIONS_PROGRAM, PAGE_OPTIONS_NOTICE, PAGE_OPTIONS_POPUP, PAGE_OPTIONS_MAILPROGRAM, PAGE_OPTIONS_CONNECTION},
     [](const DIALOGPARTS& parts, STRINGARRAY& record) { return EditOptions(parts, record, "one|two"); }},
    {"spam lists", LIST_PAGES,
     [](const DIALOGPARTS& parts, STRINGARRAY& record) { return EditSpamSettings(parts, record, true, false, true); }},
    {"spam expert", EXPERT_PAGES,
     [](const DIALOGPARTS& parts, STRINGARRAY& record) { return EditSpamSettings(parts, record, false, true, false); }},
    {"spam", ALL_SPAM_PAGES,
     [](const DIALOGPARTS& parts, STRINGARRAY& record) { return EditSpamSettings(parts, record, true, true, true); }},
};

class Dialogs : public ::testing::Test {
 protected:
    Dialogs() { Speak(LANGUAGE_ENGLISH); }
    void Speak(int language) {
        const STRING directory = OSYS::FileDirectory(OSYS::ProgramPath().Text());
        STRING path;
        EXPECT_EQ(Texts.Load(directory.Text(), language, path), language);
        Resources.reset();
        Resources = std::make_unique<RESOURCELIBRARY>(path);
    }

    DIALOGPARTS Parts() { return {nullptr, Texts, Programs}; }

    // Runs a dialog, in which the user then acts; it is cancelled if it is still open afterwards.
    bool RunWith(const std::function<bool()>& dialog, const std::function<void()>& user) {
        Later([&] {
            Dialog = GetActiveWindow();
            ShowWindow(Dialog, SW_SHOW);
            user();
            if (IsWindow(Dialog))
                PostMessageW(Dialog, WM_COMMAND, IDCANCEL, 0);
        });
        return dialog();
    }
    bool Run(const SHEET& sheet, STRINGARRAY& record, const std::function<void()>& user) {
        return RunWith([&] { return sheet.Run(Parts(), record); }, user);
    }
    // A tried login goes to that server.
    bool RunItem(STRINGARRAY& item, const std::function<void()>& user) {
        STRINGARRAY settings;
        settings["DoHttpProxy"] = "0";
        return RunWith([&] { return EditItem(Parts(), item, settings); }, user);
    }
    // The pages of the open dialog, in their order; itself if it has none.
    std::vector<HWND> Pages() const {
        std::vector<HWND> pages;
        for (HWND child = nullptr; (child = FindWindowExW(Dialog, child, L"#32770", nullptr));)
            pages.insert(pages.begin(), child);
        return pages.empty() ? std::vector<HWND>{Dialog} : pages;
    }
    HWND On(size_t page, int control) const { return GetDlgItem(Pages()[page], control); }
    std::string Text(size_t page, int control) const { return Std(WINDOW(On(page, control)).Title()); }
    void Set(size_t page, int control, const char* text) const { WINDOW(On(page, control)).SetTitle(text); }
    void ClickOn(size_t page, int control) const { SendMessageW(On(page, control), BM_CLICK, 0, 0); }
    void Select(size_t page, int control, int place) const {
        LISTBOX(On(page, control)).Select(place);
        SendMessageW(Pages()[page], WM_COMMAND, MAKEWPARAM(control, CBN_SELCHANGE),
                     reinterpret_cast<LPARAM>(On(page, control)));
    }
    static bool IsPossible(HWND control) {
        return IsWindowEnabled(control) && (GetWindowLongW(control, GWL_STYLE) & WS_VISIBLE);
    }
    void PressOk() const { SendMessageW(GetDlgItem(Dialog, IDOK), BM_CLICK, 0, 0); }
    // Ends the window that comes up over the dialog with that button, and notes what it says.
    void Answer(int ending) {
        Later([this, ending] {
            const HWND box = GetActiveWindow();
            if (box == Dialog || !box)
                return Answer(ending);
            Said = Std(WINDOW(GetDlgItem(box, MESSAGE_TEXT)).Title());
            SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(ending), 0);
        });
    }

    // Every key that the sheet binds, with a value unlike all others as far as its kind has so many.
    static STRINGARRAY Unlike(const SHEET& sheet) {
        STRINGARRAY record(64, 64);
        if (sheet.Pages[0] == PAGE_ITEM_GENERAL || sheet.Pages[0] == DIALOG_TYPE) {
            int handle = FIRST_ITEM_HANDLE;
            STRINGARRAY state(STRING("PopupBackgroundColor=1\nPopupTextColor=2\n"), 8, 8);
            FixItem(record, state, handle);
            record.AllowNewKeys(true);
            record["Type"] = "2";
            record["Source"] = "server|user";
            record["TimingCyclic"] = "125";
            FillTypeDefaults(record);
        }
        for (const int page : sheet.Pages)
            for (const FIELD& field : FieldsOf(page))
                if (!strchr(field.Key, '.'))
                    record[field.Key] = Value(field, field.Control).c_str();
        return record;
    }
    // Key by key, whatever form a file would have.
    static std::string All(const STRINGARRAY& record) {
        std::string all;
        for (int i = 0; i < record.Count(); ++i)
            all += Std(record.KeyAt(i) || "=" || record.ValueAt(i)) + "\n";
        return all;
    }
    // One that the field can show, but for colours: the answer of their dialog is then a change.
    static std::string Value(const FIELD& field, int n) {
        if (STRING(field.Key) == "EmailCmdline")
            return Std(OSYS::ProgramPath());  // a program that is there
        if (STRING(field.Key) == "Name")
            return " stored with blanks ";
        if (STRING(field.Key) == "ConnectionDunAny")
            return "0";  // so that one can be chosen
        switch (field.Kind) {
            case FIELDKIND::EDIT:
                return "text " + std::to_string(n);
            case FIELDKIND::NUMBER:
                return std::to_string(field.Low + n % 50);
            case FIELDKIND::TEXTLIST:
                return "two";
            case FIELDKIND::COLOR:
                return "no colour";
            case FIELDKIND::FONT:
                return "";
            default:
                return "1";
        }
    }
    // Gives the field's control another value, and says which one is stored for it.
    std::string Change(size_t page, const FIELD& field) {
        const int control = field.Control;
        switch (field.Kind) {
            case FIELDKIND::EDIT: {
                const bool sound = STRING(field.Key).Pos("Sound") != -1;
                const STRING text =
                    sound ? OSYS::FileDirectory(OSYS::ProgramPath().Text()) || "\\jingling.wav" : "other";
                Set(page, control, text.Text());
                return Std(text);
            }
            case FIELDKIND::NUMBER:
                Set(page, control, std::to_string(field.Low + 51).c_str());
                return std::to_string(field.Low + 51);
            case FIELDKIND::CHECK:
                ClickOn(page, control);
                return "0";
            case FIELDKIND::RADIO:
                ClickOn(page, control);
                return std::to_string(field.Low);
            case FIELDKIND::LIST:
                Select(page, control, 0);
                return "0";
            case FIELDKIND::TEXTLIST:
                Select(page, control, 0);
                return "one";
            case FIELDKIND::COLOR:
                Answer(IDOK);
                ClickOn(page, control);
                return "0";
            default:
                return "";
        }
    }

    LANGUAGELIBRARY Texts;
    FAKESTARTER Programs;
    std::unique_ptr<RESOURCELIBRARY> Resources;
    HWND Dialog = nullptr;
    std::string Said;
};

TEST_F(Dialogs, LeaveAnUnchangedRecordAlone) {
    for (const int language : {LANGUAGE_GERMAN, LANGUAGE_ENGLISH}) {
        Speak(language);
        for (const SHEET& sheet : SHEETS) {
            SCOPED_TRACE(sheet.Name);
            STRINGARRAY record = Unlike(sheet);
            const std::string before = All(record);
            EXPECT_TRUE(Run(sheet, record, [&] {
                EXPECT_TRUE(IsChild(Pages()[0], GetFocus())) << "the keyboard is in it";
                PressOk();
            }));
            EXPECT_EQ(All(record), before);
            EXPECT_FALSE(Run(sheet, record, [&] {
                for (size_t page = 0; page < sheet.Pages.size(); ++page)
                    for (const FIELD& field : FieldsOf(sheet.Pages[page]))
                        if (field.Kind == FIELDKIND::EDIT)
                            Set(page, field.Control, "never");
            }));
            EXPECT_EQ(All(record), before);
        }
    }
}

// The fields of the same place on all pages are changed at once: so many openings are enough.
TEST_F(Dialogs, StoreEachFieldUnderItsKey) {
    for (const SHEET& sheet : {SHEETS[0], SHEETS[1], SHEETS[2], SHEETS[5]}) {
        bool more = true;
        for (size_t place = 0; more; ++place) {
            SCOPED_TRACE(std::string(sheet.Name) + " " + std::to_string(place));
            more = false;
            STRINGARRAY record = Unlike(sheet), expected = record;
            EXPECT_TRUE(Run(sheet, record, [&] {
                for (size_t page = 0; page < sheet.Pages.size(); ++page) {
                    const auto fields = FieldsOf(sheet.Pages[page]);
                    if (place >= fields.size())
                        continue;
                    more = true;
                    const FIELD& field = fields[place];
                    const HWND control = On(page, field.Control);
                    ASSERT_TRUE(control) << field.Page << " " << field.Control;
                    if (!IsPossible(control) || field.Kind == FIELDKIND::FONT)
                        continue;
                    const std::string stored = Change(page, field);
                    const std::map<std::string, std::pair<const char*, const char*>> PARTS = {
                        {"TimingCyclic.Minutes", {"TimingCyclic", "3065"}},
                        {"TimingCyclic.Seconds", {"TimingCyclic", "171"}},
                        {"Source.Server", {"Source", "other|user"}},
                        {"Source.User", {"Source", "server|other"}},
                        {"Type.Kind", {"Type", "1"}}};
                    const auto part = PARTS.find(field.Key);
                    if (part != PARTS.end())
                        expected[part->second.first] = part->second.second;
                    else
                        expected[field.Key] = stored.c_str();
                    if (part != PARTS.end() && part->second.second == std::string("other|user"))
                        expected["TrustedCertificate"] = "";
                }
                PressOk();
            }));
            EXPECT_EQ(All(record), All(expected));
        }
    }
}

// What hangs on what, as a person sees it: the act, and the controls of its page that are possible afterwards.
TEST_F(Dialogs, OfferWhatIsPossible) {
    constexpr const char* CLICK = nullptr;
    const std::vector<int> mailbox = {204, LabelOf(204), 205, 206, 247, 207, LabelOf(207), 280, 402},
                           more = {249, 243, 203, LabelOf(203)}, program = {203, 243, 245, 246},
                           line = {225, 226, 401, 242}, sender = {246, 242, 202, 204},
                           points = {245, 205, 244, 241, 201, 242, 202, UnitOf(202), 243, 203};
    const struct {
        size_t Sheet, Page;
        int Control;          // 0: nothing is done
        const char* Entered;  // of the lists the place
        std::vector<int> Controls;
        const char* Possible;
    } rows[] = {
        {0, 1, 401, "0", mailbox, "111100001"},
        {0, 2, 0, CLICK, more, "1000"},
        {0, 1, 401, "1", mailbox, "111111101"},
        {0, 2, 0, CLICK, more, "1111"},
        {0, 1, 401, "2", mailbox, "001100010"},
        {0, 2, 0, CLICK, more, "0000"},
        {0, 1, 401, "1", mailbox, "111111101"},
        {0, 2, 0, CLICK, more, "1111"},
        {0, 1, 247, CLICK, {247, 207}, "10"},
        {0, 2, 243, CLICK, more, "1100"},
        {0, 0, 243, CLICK, {101, 103}, "00"},
        {0, 2, 242, CLICK, {204, 102}, "00"},
        {2, 3, 0, CLICK, program, "1111"},
        {2, 3, 243, CLICK, program, "1101"},
        {2, 3, 202, "no such program", program, "1000"},
        {2, 3, 202, "", program, "0000"},
        {2, 4, 0, CLICK, line, "1111"},
        {2, 4, 225, CLICK, line, "1100"},
        {2, 4, 221, CLICK, line, "0000"},
        {2, 1, 241, CLICK, {204, 104, 114, 248, 208, UnitOf(208)}, "000000"},
        {3, 0, 0, CLICK, points, "1111100000"},
        {4, 0, 0, CLICK, points, "1111111111"},
        {4, 1, 246, CLICK, sender, "0000"},  // without a name service nothing can be asked of it
        {5, 0, 0, CLICK, points, "1111111111"},
        {5, 4, 0, CLICK, sender, "1111"},
        {5, 4, 242, CLICK, sender, "1100"},
    };
    for (const size_t sheet : {0, 2, 3, 4, 5}) {
        STRINGARRAY record = Unlike(SHEETS[sheet]);
        Run(SHEETS[sheet], record, [&] {
            EXPECT_EQ(Pages().size(), SHEETS[sheet].Pages.size());
            EXPECT_EQ(WINDOW(Dialog).Title().Pos(Texts.Part(TEXT_SPAM_TITLES, 1).Text()) != -1, sheet > 3);
            for (const auto& row : rows) {
                if (row.Sheet != sheet)
                    continue;
                if (row.Entered && row.Control == 401)
                    Select(row.Page, row.Control, atoi(row.Entered));
                else if (row.Entered)
                    Set(row.Page, row.Control, row.Entered);
                else if (row.Control != 0)
                    ClickOn(row.Page, row.Control);
                std::string possible;
                for (const int control : row.Controls)
                    possible += IsPossible(On(row.Page, control)) ? '1' : '0';
                EXPECT_EQ(possible, row.Possible) << sheet << row.Page << " after " << row.Control;
            }
        });
    }
}

TEST_F(Dialogs, SayWhatIsWrong) {
    const struct {
        int Sheet;
        size_t Page;
        int Control;
        const char* Entered;
        int Text;  // 0: of a number
    } table[] = {{0, 0, 201, " \t", TEXT_NO_NAME},
                 {0, 1, 204, "", TEXT_NO_SERVER},
                 {0, 1, 204, "server:65679", TEXT_BAD_SERVER_PORT},
                 {0, 1, 205, "a|b", TEXT_BAR},
                 {0, 0, 202, "9999", 0},
                 {0, 0, 202, "", 0},
                 {0, 0, 202, "99999999999", 0},
                 {0, 0, 203, "75", 0},
                 {1, 0, 201, "", TEXT_TYPE_NO_NAME},
                 {1, 0, 204, "none", TEXT_NO_SOUND},
                 {1, 0, 207, "0", 0},
                 {2, 2, 202, "61", 0},
                 {2, 1, 204, "no.wav", TEXT_NO_SOUND},
                 {5, 5, 210, "101", 0}};
    for (const auto& row : table) {
        SCOPED_TRACE(std::to_string(row.Control) + " " + row.Entered);
        STRINGARRAY record = Unlike(SHEETS[row.Sheet]);
        const std::string before = All(record);
        EXPECT_FALSE(Run(SHEETS[row.Sheet], record, [&] {
            Set(row.Page, row.Control, row.Entered);
            Answer(IDOK);
            PressOk();
            STRING text = row.Text != 0 ? Texts.Get(row.Text) : STRING("number from");
            text.Replace("$FILE", row.Entered);
            EXPECT_NE(Said.find(Std(text)), Said.npos) << Said;
            EXPECT_EQ(GetFocus(), On(row.Page, row.Control));
        }));
        EXPECT_EQ(All(record), before);
    }
}

TEST_F(Dialogs, KeepWhatTheyCannotShowAndTellOfTheShortestPeriod) {
    STRINGARRAY item = Unlike(SHEETS[0]);
    item["Type"] = "9";
    item["TimingCyclic"] = "864000";
    const std::string before = All(item);
    EXPECT_ASSERTIONS(1);
    EXPECT_TRUE(RunItem(item, [&] {
        EXPECT_EQ(LISTBOX(On(1, 401)).Selected(), -1);
        Select(1, 401, 1);
        Select(1, 401, -1);
        Answer(IDOK);
        PressOk();
        EXPECT_EQ(Said, Std(Texts.Get(TEXT_NO_KIND)));
        Set(1, 204, "");
        Set(1, 205, "");
        Said.clear();
        Answer(IDOK);
        ClickOn(1, 101);  // there is nothing that a login could be tried with
        EXPECT_EQ(Said, Std(Texts.Get(TEXT_NO_KIND)));
        PressOk();
    }));
    EXPECT_EQ(All(item), before);
    item["Type"] = "1";
    item["TimingCyclic"] = "30";
    const std::string password = "ΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩΩ";
    EXPECT_TRUE(RunItem(item, [&] {
        Set(1, 206, password.c_str());
        Select(1, 401, 2);
        Answer(IDOK);
        PressOk();
    }));
    EXPECT_EQ(Said, Std(Texts.Get(TEXT_PERIOD_RAISED)));
    EXPECT_EQ(Std(item.Get("Type") || " " || item.Get("TimingCyclic") || " " || item.Get("Source2")),
              "3 60 " + password);
}

TEST_F(Dialogs, TryALogin) {
    SCRIPTEDSERVER server({PLAY::Send("+OK\r\n"), PLAY::Expect("USER user"), PLAY::Send("+OK\r\n"),
                           PLAY::Expect("PASS other"), PLAY::Send("-ERR not today\r\n")});
    STRINGARRAY item = Unlike(SHEETS[0]);
    item["Type"] = "1";
    item["Security"] = "";
    EXPECT_FALSE(RunItem(item, [&] {
        Set(1, 206, "other");
        Set(1, 204, server.HostPort().c_str());
        ClickOn(1, 101);
        EXPECT_FALSE(IsWindowEnabled(On(1, 101)));
        EXPECT_EQ(Text(1, 290), Std(Texts.Get(TEXT_LOGGING_IN)));
        EXPECT_TRUE(PumpUntil([&] { return IsWindowEnabled(On(1, 101)) != 0; }));
        EXPECT_NE(Text(1, 290).find("not today"), std::string::npos);
        Set(1, 206, "another");
        EXPECT_EQ(Text(1, 290), "") << "that was another password";
        Set(1, 206, "other");
        ClickOn(1, 101);  // the dialog goes in the middle of this one
    }));
    EXPECT_EQ(Std(item.Get("Source")), "server|user");
}

TEST_F(Dialogs, AskWhetherToTrustACertificate) {
    using namespace TLSPLAY;
    const TLSSERVER server("self",
                           {Tls(), Send("+OK\r\n"), Expect("USER user"), Send("+OK\r\n"), Expect("PASS"),
                            Send("+OK\r\n"), Expect("STAT"), Send("+OK 3 90\r\n"), Expect("QUIT"), Send("+OK\r\n")},
                           2);
    STRINGARRAY item = Unlike(SHEETS[0]);
    item["Type"] = "1";
    item["Security"] = "1";
    item["TrustedCertificate"] = "";
    item["Source"] = server.HostPort() || "|user";
    const auto isTried = [&] { return IsWindowEnabled(On(1, 101)) != 0; };
    EXPECT_TRUE(RunItem(item, [&] {
        Answer(IDYES);
        ClickOn(1, 101);
        EXPECT_TRUE(PumpUntil([&] { return Text(1, 208).size() == 64; }));
        EXPECT_TRUE(PumpUntil(isTried));
        EXPECT_NE(Text(1, 290).find('3'), std::string::npos) << Text(1, 290);
        PressOk();
    }));
    std::erase(Said, ' ');
    EXPECT_NE(Said.find(Std(server.Sha256())), std::string::npos) << Said;
    EXPECT_EQ(Std(item.Get("TrustedCertificate")), Std(server.Sha256()));
}

TEST_F(Dialogs, EditTheListOfTypes) {
    RECORDARRAY types(4, 4);
    for (const char* name : {"one", "two", "three"}) {
        STRINGARRAY type;
        type["Name"] = name;
        FillTypeDefaults(type);
        types.Add(type);
    }
    EXPECT_TRUE(RunWith([&] { return EditTypes(Parts(), types); },
                        [&] {
                            EXPECT_FALSE(IsWindowEnabled(On(0, 105)));
                            ClickOn(0, 106);  // two one three
                            Set(0, 201, "TWO");
                            Answer(IDOK);
                            ClickOn(0, 101);
                            EXPECT_EQ(Said, Std(Texts.Get(TEXT_TYPE_EXISTS)));
                            Set(0, 201, "four");
                            ClickOn(0, 101);
                            EXPECT_EQ(LISTBOX(On(0, 401)).Selected(), 3);
                            EXPECT_FALSE(IsWindowEnabled(On(0, 106)));
                            ClickOn(0, 105);  // two one four three
                            Select(0, 401, 1);
                            for (const int ending : {IDNO, IDYES}) {
                                Answer(ending);
                                ClickOn(0, 102);
                                EXPECT_NE(Said.find("one"), Said.npos);
                                EXPECT_EQ(Said.find("erver"), Said.npos) << "a type has no mail there";
                            }
                            // The type at that place now, in its own dialog.
                            Later([] {
                                const HWND front = GetActiveWindow();
                                EXPECT_EQ(Std(WINDOW(GetDlgItem(front, 201)).Title()), "four");
                                WINDOW(GetDlgItem(front, 201)).SetTitle(" 4 ");
                                SendMessageW(GetDlgItem(front, IDOK), BM_CLICK, 0, 0);
                            });
                            ClickOn(0, 103);
                            EXPECT_EQ(Std(LISTBOX(On(0, 401)).TextAt(1)), "4");
                            PressOk();
                        }));
    std::string order;
    for (int i = 0; i < types.Count(); ++i)
        order += Std(types[i].Get("Name")) + " ";
    EXPECT_EQ(order, "two 4 three ");
}

TEST_F(Dialogs, AskForAnotherDataDirectory) {
    const TEMPDIR dir;
    const STRING current = dir.Path(), folder = dir.File("new Ω ü"), file = dir.File("file");
    WriteBytes(file, "");
    const struct {
        STRING Entered;
        int Answer;
        const char* Wanted;  // as the next start finds it, with $ for the new folder
        int Said;            // the last message, 0: none
    } table[] = {{"relative", IDOK, nullptr, TEXT_DIR_RELATIVE},
                 {file, IDOK, nullptr, TEXT_DIR_MISSING},
                 {folder, IDYES, "*$", TEXT_MOVE_NEXT_START},
                 {folder || "2", IDNO, "$2", TEXT_MOVE_NEXT_START},
                 {current, IDOK, nullptr, 0}};
    REGISTRY store("Velmora", "TarnwickDialogTest", ROOT_CURRENT_USER);
    for (const auto& row : table) {
        SCOPED_TRACE(Std(row.Entered));
        Said.clear();
        RunWith([&] { return EditDataDir(Parts(), "TarnwickDialogTest", current); },
                [&] {
                    Set(0, 201, row.Entered.Text());
                    if (row.Said != 0)
                        Later([&] {
                            const HWND box = GetActiveWindow();
                            Said = Std(WINDOW(GetDlgItem(box, MESSAGE_TEXT)).Title());
                            if (row.Said == TEXT_MOVE_NEXT_START) {
                                EXPECT_EQ(Said, Std(Texts.Get(TEXT_MOVE_FILES)));
                                Answer(IDOK);
                            }
                            SendMessageW(box, WM_COMMAND, static_cast<WPARAM>(row.Answer), 0);
                        });
                    PressOk();
                });
        EXPECT_EQ(Said, row.Said == 0 ? "" : Std(DataDirText(Texts, row.Said, row.Entered)));
        STRING wanted = row.Wanted ? STRING(row.Wanted) : STRING();
        wanted.Replace("$", folder.Text());
        EXPECT_EQ(store.Read("ApplicationDataDir.New"), wanted);
    }
}

// By the page's hint window: each field has its words.
TEST_F(Dialogs, HaveWordsOnEachField) {
    for (const SHEET& sheet : {SHEETS[0], SHEETS[1], SHEETS[2], SHEETS[5]}) {
        STRINGARRAY record = Unlike(sheet);
        Run(sheet, record, [&] {
            std::map<HWND, std::wstring> words;
            for (const HWND hints : HintWindows()) {
                for (LRESULT i = SendMessageW(hints, TTM_GETTOOLCOUNT, 0, 0); i-- > 0;) {
                    wchar_t text[512] = {};
                    TOOLINFOW tool{};
                    tool.cbSize = sizeof tool;
                    tool.lpszText = text;
                    SendMessageW(hints, TTM_ENUMTOOLSW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&tool));
                    SendMessageW(hints, TTM_GETTEXTW, 512, reinterpret_cast<LPARAM>(&tool));
                    words[reinterpret_cast<HWND>(tool.uId)] = text;
                }
            }
            for (size_t page = 0; page < sheet.Pages.size(); ++page)
                for (const FIELD& field : FieldsOf(sheet.Pages[page]))
                    EXPECT_EQ(words[On(page, field.Control)], WideText(HelpOf(Texts, sheet.Pages[page], field.Control)))
                        << field.Page << " " << field.Control;
        });
    }
}

TEST_F(Dialogs, OpenTheirFilesAndEndByEscape) {
    STRINGARRAY record = Unlike(SHEETS[5]);
    EXPECT_FALSE(Run(SHEETS[5], record, [&] {
        ClickOn(1, 105);
        for (const int ending : {IDNO, IDYES}) {
            Answer(ending);
            ClickOn(5, 101);
        }
        EXPECT_EQ(Programs.Take(), "notepad,\"text 205\",.notepad,\"text 202\",.");
        // A field of several lines has keys of its own.
        SetFocus(On(1, 202));
        DialogKey(Dialog, VK_ESCAPE);
        EXPECT_TRUE(PumpUntil([this] { return !IsWindowVisible(Dialog); }));
    }));
}

bool IsDialog(HWND window) {
    wchar_t name[16] = L"";
    GetClassNameW(window, name, 16);
    return wcscmp(name, L"#32770") == 0;
}

// Each control's place on the screen, "cut" where its words do not fit in or it lies outside, and its font.
std::map<HWND, std::pair<RECT, int>> PlacesIn(HWND dialog) {
    std::map<HWND, std::pair<RECT, int>> places;
    EnumChildWindows(
        dialog,
        [](HWND window, LPARAM all) -> BOOL {
            const WINDOW control(window);
            // Combo boxes see to what is in them, and dialogs have the font that they began with.
            if (FontHeight(window) == 0 || IsDialog(window) || !IsDialog(GetParent(window)))
                return TRUE;
            const RECT place = control.Rect(), around = control.Parent().ClientRect();
            const std::wstring words = WideText(control.Title());
            wchar_t name[16] = L"";
            GetClassNameW(window, name, 16);
            const bool oneLine = _wcsicmp(name, L"STATIC") == 0 || _wcsicmp(name, L"BUTTON") == 0;
            EXPECT_TRUE(place.left >= 0 && place.top >= 0 && place.right <= around.right &&
                        (place.bottom <= around.bottom || _wcsicmp(name, L"COMBOBOX") == 0))
                << Std(control.Title()) << " is outside";
            if (oneLine && GetDlgCtrlID(window) != 290) {
                const WINDOWDC dc(window);
                const HGDIOBJ former =
                    SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0)));
                RECT needed{};
                DrawTextW(dc, words.c_str(), -1, &needed, DT_CALCRECT | DT_SINGLELINE);
                SelectObject(dc, former);
                EXPECT_LE(needed.right, place.right - place.left) << Std(control.Title()) << " is cut";
                EXPECT_LE(needed.bottom, place.bottom - place.top + 1) << Std(control.Title()) << " is cut";
            }
            (*reinterpret_cast<std::map<HWND, std::pair<RECT, int>>*>(all))[window] = {place, FontHeight(window)};
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&places));
    return places;
}

TEST_F(Dialogs, AreAsLargeToTheEyeOnEachScreen) {
    constexpr int DOTS[] = {144, 192, 96};
    for (const int language : {LANGUAGE_GERMAN, LANGUAGE_ENGLISH}) {
        Speak(language);
        for (const SHEET& sheet : {SHEETS[0], SHEETS[1], SHEETS[2], SHEETS[5]}) {
            SCOPED_TRACE(sheet.Name);
            STRINGARRAY record = Unlike(sheet);
            Run(sheet, record, [&] {
                const int own = SCALE::Of(Dialog).Dots();
                const RECT client = WINDOW(Dialog).ClientRect();
                const auto before = PlacesIn(Dialog);
                for (int now = own; const int dots : DOTS) {
                    TellScale(Dialog, std::exchange(now, MulDiv(own, dots, 96)), MulDiv(own, dots, 96));
                    const double factor = dots / 96.0;
                    EXPECT_NEAR(WINDOW(Dialog).ClientRect().right, client.right * factor, client.right * 0.25);
                    EXPECT_NEAR(WINDOW(Dialog).ClientRect().bottom, client.bottom * factor, client.bottom * 0.25);
                    for (const auto& [window, place] : PlacesIn(Dialog)) {
                        const auto& [was, font] = before.at(window);
                        const double off = dots == 96 ? 2 : 3 + (was.right - was.left) * 0.25;
                        EXPECT_NEAR(place.first.right - place.first.left, (was.right - was.left) * factor, off);
                        EXPECT_NEAR(place.second, font * factor, 1);
                    }
                }
            });
        }
    }
}

TEST_F(Dialogs, LeaveNoHandles) {
    RECORDARRAY types(1, 1);
    ExpectNoHandleGrowth(
        [&] {
            for (const SHEET& sheet : {SHEETS[0], SHEETS[1], SHEETS[2], SHEETS[5]}) {
                STRINGARRAY record = Unlike(sheet);
                Run(sheet, record, [] {});
            }
            RunWith([&] { return EditTypes(Parts(), types); }, [] {});
            RunWith([&] { return EditDataDir(Parts(), "TarnwickDialogTest", "C:\\x"); }, [] {});
        },
        8);
}

}  // namespace
