#include "app/demo/mailstore.h"
#include "app/demo/pop3service.h"
#include "app/desktop/dialogs.h"
#include "app/mailbox/account.h"
#include "corelib/window/controls.h"
#include "corelib/window/wizard.h"
#include "tests/app/desktop/desktopsupport.h"

namespace {

constexpr int MESSAGE_TEXT = 0xFFFF;

/// A first start, in which a user at the keyboard has the setup wizard before him.
class SetupWizard : public DESKTOPTEST {
 protected:
    using ACT = std::function<void()>;

    /// Begins the program without accounts, and does one act after the other, each as the wizard waits again.
    void Begin(std::vector<ACT> acts, const char* language = "ENGL") {
        Acts = {acts.begin(), acts.end()};
        Later([this] { Next(); });
        Open("", "ConnectionType=-1\r\n", language);
        EXPECT_TRUE(Acts.empty());
    }
    void Next() {
        Frame = GetActiveWindow();
        Page = FindWindowExW(Frame, nullptr, L"#32770", nullptr);
        const ACT act = Acts.front();
        Acts.pop_front();
        if (!Acts.empty())
            Later([this] { Next(); });
        act();
    }
    /// Alt and a letter, and the text that is then typed into the field.
    void Alt(char letter) const {
        MSG message{};
        message.hwnd = GetFocus();
        message.message = WM_SYSCHAR;
        message.wParam = static_cast<unsigned char>(letter);
        message.lParam = 1 << 29;
        EXPECT_TRUE(IsDialogMessageW(Frame, &message)) << letter;
    }
    void Type(char letter, std::string_view text) const {
        Alt(letter);
        for (const wchar_t c : WideText(text))
            SendMessageW(GetFocus(), WM_CHAR, c, 0);
    }
    /// The default button of the page.
    void Enter() const { DialogKey(Frame, VK_RETURN); }
    /// The box that comes up is ended with that button, and what it says is noted.
    ACT Answer(int ending) {
        return [this, ending] {
            Said = Std(WINDOW(GetDlgItem(Frame, MESSAGE_TEXT)).Title());
            SendMessageW(Frame, WM_COMMAND, static_cast<WPARAM>(ending), 0);
        };
    }
    /// The act, as soon as that is so. It waits as the wizard does: a pump of its own would let the next act come
    /// first.
    ACT Once(std::function<bool()> ready, ACT act) {
        return [this, ready, act] {
            if (ready())
                return act();
            Acts.push_front(Once(ready, act));
            Sleep(1);
        };
    }
    std::string Text(int control) const { return Std(WINDOW(GetDlgItem(Page, control)).Title()); }
    std::string Head() const { return Std(WINDOW(GetDlgItem(Frame, WIZARD::ID_TITLE)).Title()); }
    std::string Setting(const char* key) const { return Std(Engine->pState.Get(key)); }

    std::deque<ACT> Acts;
    HWND Frame = nullptr, Page = nullptr;
    std::string Said;
};

TEST_F(SetupWizard, LeadsToAnAccountAndItsFirstCheckByTheKeyboard) {
    DEMOSTORE store;
    for (const char* mail : {"Subject: one\r\n\r\n", "Subject: two\r\n\r\n"})
        store.Deliver(mail);
    POP3SERVICE service(store, "j\xc3\xb6@x.example", "p\xc3\xa4ss");
    ASSERT_TRUE(service.Start());
    const std::string server = "127.0.0.1:" + std::to_string(service.Port());
    std::vector<std::string> heads;
    const auto next = [&] {
        heads.push_back(Head());
        EXPECT_FALSE(Window->IsVisible()) << "the main window comes after it";
        Enter();
    };
    Checks.TurnMs = 1;
    Begin({[&] {
               EXPECT_EQ(GetFocus(), GetDlgItem(Frame, WIZARD::ID_NEXT)) << "the keyboard is in it";
               EXPECT_TRUE(GetWindowLongW(Frame, GWL_EXSTYLE) & WS_EX_APPWINDOW) << "nothing else is in the taskbar";
               EXPECT_TRUE(SendMessageW(Frame, WM_GETICON, ICON_BIG, 0));
               Alt('l');
               next();
           },
           // Nothing was entered: it is told, and the page stays.
           [&] { Enter(); }, Answer(IDOK),
           [&] {
               EXPECT_EQ(Said, "Please enter your user name.");
               EXPECT_EQ(GetFocus(), GetDlgItem(Page, 202));
               Alt('s');  // no address to ask about
           },
           Answer(IDOK),
           [&] {
               EXPECT_EQ(Said, "Please enter your whole mail address first, such as name@example.org.");
               // A domain of other bytes than host names have is asked of nobody.
               Type('u', "j\xc3\xb6@m\xc3\xbc.example");
               Alt('s');
           },
           Once([&] { return !Text(201).empty(); },
                [&] {
                    EXPECT_EQ(Text(201), "pop.m\xc3\xbc.example");
                    EXPECT_NE(Text(290).find("only the usual name"), std::string::npos) << Text(290);
                    Type('v', "2");
                    EXPECT_EQ(Text(290), "") << "it was said of another server";
                    Alt('b');
                }),
           next,
           [&] {
               heads.push_back(Head());
               Type('u', " j\xc3\xb6@x.example ");
               Type('v', server);
               Type('p', "p\xc3\xa4ss");
               EXPECT_EQ(LISTBOX(Page, 401).Selected(), SECURITY_TLS);
               LISTBOX(Page, 401).Select(SECURITY_NONE);
               Alt('n');
           },
           [&] {
               EXPECT_FALSE(IsWindowEnabled(GetDlgItem(Frame, WIZARD::ID_BACK))) << "the account would come twice";
               Type('y', "J\xc3\xb6rg");
               Type('a', "j\xc3\xb6@x.example; b");
               heads.push_back(Head());
               Enter();
           },
           [&] {
               EXPECT_EQ(Text(201), "127.0.0.1") << "without the port for reading";
               EXPECT_EQ(Text(202), "j\xc3\xb6@x.example");
               Type('v', server);
               Alt('t');
               EXPECT_EQ(Text(290), "Connecting to " + server);
           },
           Once([this] { return GetDlgItem(Frame, MESSAGE_TEXT) != nullptr; }, Answer(IDOK)),
           [&] {
               EXPECT_EQ(Said, server + " ok!");
               heads.push_back(Head());
               Alt('n');
           },
           [&] {
               EXPECT_GT(LISTBOX(GetDlgItem(Page, 401)).SelectedText().Length(), 0) << "the stored weight";
               Alt('i');  // no lists
               Alt('n');
           },
           [&] {
               EXPECT_EQ(Std(WINDOW(GetDlgItem(Frame, WIZARD::ID_NEXT)).Title()), "Done");
               next();
           }});
    EXPECT_EQ(heads, (std::vector<std::string>{"Connection and mail program", "Connection and mail program",
                                               "Your first account", "About you", "Sending on", "That is all"}));
    EXPECT_EQ(Setting("ConnectionType"), "0");
    EXPECT_EQ(Setting("SpamMyEmail"), "J\xc3\xb6rg\r\nj\xc3\xb6@x.example\r\nb");
    EXPECT_EQ(Setting("SpamHaveDistrLists"), "0");
    ASSERT_EQ(Engine->Items.Count(), 1);
    EXPECT_EQ(Std(Engine->Items[0].Get("TrayCheck")), "1");
    EXPECT_NE(ReadBytes(Data.File("accounts.ini")).find("Name=Mail " + server), std::string::npos) << "saved at once";
    Engine->Start();
    Window->Started();
    Command(COMMAND_CHECK_ALL);
    EXPECT_TRUE(PumpUntil([&] { return Rows()[0].find("2 mails") != std::string::npos; })) << Rows()[0];
    EXPECT_TRUE(IsWindowEnabled(Window->hWnd));
}

TEST_F(SetupWizard, CanBeCancelledOnEachPage) {
    // How many pages go before; whether an account is there then.
    for (const size_t before : {0, 1, 2, 5}) {
        std::vector<ACT> acts(before, [this] { Enter(); });
        if (before > 1)
            acts[1] = [this] {
                Type('b', "me");
                Type('s', "127.0.0.1:9");
                Enter();
            };
        std::string head;
        const ACT cancel = [&] {
            EXPECT_TRUE(head.empty() || head == Head());
            head = Head();
            DialogKey(Frame, VK_ESCAPE);
        };
        // Yes goes on with the setup, on the same page.
        acts.insert(acts.end(), {cancel, Answer(IDYES), cancel, Answer(IDNO)});
        Begin(acts, "GER");
        EXPECT_EQ(Engine->Items.Count(), before > 1 ? 1 : 0) << before;
        EXPECT_EQ(Setting("ConnectionType"), "0");
        EXPECT_EQ(Setting("SpamMyEmail").find("example") == std::string::npos, before > 2) << before;
        Window->Started();
        Pump();
        EXPECT_TRUE(IsWindowEnabled(Window->hWnd)) << "no other dialog comes up";
        Close();
    }
}

TEST_F(SetupWizard, OffersDialUpEntriesAndLeavesNoHandles) {
    Open(TWO_ITEMS);
    ExpectNoHandleGrowth([&] {
        Acts = {[this] {
                    const LISTBOX entries(Page, 401);
                    EXPECT_EQ(std::pair(entries.Count(), Std(entries.SelectedText())),
                              std::pair(2, std::string("one")));
                    EXPECT_FALSE(IsWindowEnabled(entries.Hwnd()));
                    Alt('d');
                    EXPECT_TRUE(IsWindowEnabled(entries.Hwnd()));
                    DialogKey(Frame, VK_ESCAPE);
                },
                Answer(IDNO)};
        Later([this] { Next(); });
        STRINGARRAY state = Engine->pState;
        RECORDARRAY items(1, 1);
        EXPECT_FALSE(RunSetup({Window->hWnd, App->Texts(), Engine->Programs()}, state, items, "one|two"));
        EXPECT_EQ(Std(state.Get("ConnectionType")), "0") << "a page that was cancelled stores nothing";
    });
}

}  // namespace
