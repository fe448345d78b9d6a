#include "app/desktop/dialogs.h"
#include "app/desktop/inbox.h"
#include "corelib/window/controls.h"
#include "tests/app/desktop/desktopsupport.h"
#include "tests/servers/mapi/mapitestlibrary.h"

namespace {

/// The program with an account of the local message store, whose library is that of the tests.
class MapiAccount : public DESKTOPTEST {
 protected:
    MapiAccount() { Server.Reset(); }
    ~MapiAccount() override {
        Server.BlockLogOn(false);
        Close();
        EXPECT_EQ(Server.Leftovers(), "");
    }
    void Start(const std::string& settings, const STRING& library = MapiTestLibrary()) {
        Checks.TurnMs = Checks.PopupPauseMs = 1;
        Open(
            "[#0]\r\nName=local\r\nType=0\r\nTimingCyclic=0\r\nSource=mapi|Mapi\r\nDoSpamMove=1\r\n"
            "SpamFolder=Personal - Junk\r\n\r\n",
            "InboxVisible=0\r\nInboxAskApply=0\r\nInboxDeleteToTrash=0\r\nEmailDoSound=0\r\n" + settings);
        Engine->Mapi().SetLibrary(library);
        Engine->Start();
        Window->Started();
    }
    bool Shows(const std::string& row) {
        return PumpUntil([&] { return Rows() == std::vector<std::string>{row}; });
    }
    void Add(const char* subject) { Server.Add({"Anna", "anna@x.test", "Lena", subject, "text", "To: me@x.test\r\n"}); }

    MAPISERVER& Server = MapiServer();
};

TEST_F(MapiAccount, IsWatchedThroughItsSinkAndDisposedOf) {
    Add("first");
    Start("");
    ASSERT_TRUE(Shows("local|1 mail (1 unread)")) << Rows().front();
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    SendMessageW(Window->hWnd, WM_TIMER, TIMER_ALERT, 0);
    Add("Grüße");
    // Nothing but the store says so: the account has no period.
    ASSERT_TRUE(PumpUntil([&] { return Window->Alert() != nullptr; }));
    ASSERT_TRUE(Shows("local|2 mails (2 unread)")) << Rows().front();

    Select(0);
    Command(COMMAND_INBOX);
    ASSERT_TRUE(Window->InboxWindow());
    const HWND list = Window->InboxWindow()->ListOfMails().hWnd;
    ASSERT_TRUE(PumpUntil([&] { return LISTVIEW(list).Count() == 2; }));
    LISTVIEW(list).SelectRows({0}, 0);
    Pump();
    Command(COMMAND_MAIL_MARK);
    Command(COMMAND_MAIL_APPLY);
    EXPECT_TRUE(PumpUntil([&] { return Server.Count("Personal/Deleted Items") == 1; }));
    EXPECT_TRUE(Shows("local|1 mail (1 unread)")) << Rows().front();
    EXPECT_EQ(Server.Count("Personal/Inbox"), 1);
}

TEST_F(MapiAccount, SpamGoesToTheFolderThatItNames) {
    Add("first");
    Start("SpamDoMove=1\r\nSpamMovePoints=0\r\n");
    EXPECT_TRUE(PumpUntil([&] { return Server.Count("Personal/Junk") == 1; })) << Rows().front();
    EXPECT_TRUE(Shows("local|no mails")) << Rows().front();
}

TEST_F(MapiAccount, ALogOnThatStandsStillLeavesTheWindowAlive) {
    Server.BlockLogOn(true);
    Start("");
    ASSERT_TRUE(PumpUntil([&] { return Server.IsBlocked(); }));
    EXPECT_NE(SendMessageTimeoutW(Window->hWnd, WM_NULL, 0, 0, SMTO_BLOCK, 1000, nullptr), 0);
    Add("first");
    Server.BlockLogOn(false);
    EXPECT_TRUE(Shows("local|1 mail (1 unread)")) << Rows().front();
}

TEST_F(MapiAccount, TheDialogOffersFoldersOnceTheyAreKnown) {
    Open(TWO_ITEMS);
    Engine->Mapi().SetLibrary(MapiTestLibrary());
    Server.BlockLogOn(true);
    STRINGARRAY item(64, 64);
    int handle = FIRST_ITEM_HANDLE;
    FixItem(item, Engine->pState, handle);
    item["Type"] = "1";
    Later([&] {
        const HWND dialog = GetActiveWindow();
        std::vector<HWND> pages;
        for (HWND page = nullptr; (page = FindWindowExW(dialog, page, L"#32770", nullptr));)
            pages.insert(pages.begin(), page);
        EXPECT_EQ(pages.size(), 3U);
        const LISTBOX folders(pages[2], 203);
        WINDOW(folders.hWnd).SetTitle("Kept");
        const auto show = [&](int kind) {
            LISTBOX(pages[1], 401).Select(kind);
            for (const WPARAM open : {FALSE, TRUE})
                folders.Send(CB_SHOWDROPDOWN, open);
        };
        show(1);
        Pump();
        EXPECT_EQ(Server.LogOns(), 0) << "a server's folders are its user's business";
        show(3);
        EXPECT_TRUE(PumpUntil([&] { return Server.IsBlocked(); }));
        EXPECT_EQ(folders.Count(), 0);
        Server.BlockLogOn(false);
        EXPECT_TRUE(PumpUntil([&] { return folders.Count() == 6; }));
        EXPECT_EQ(Std(folders.TextAt(0) || " " || folders.Title()), "Archive - Junk Kept");
        EXPECT_EQ(folders.Send(CB_GETDROPPEDSTATE), TRUE);
        show(0);
        EXPECT_EQ(folders.Count(), 0);
        PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    EXPECT_FALSE(EditItem({Window->hWnd, App->Texts(), Engine->Programs(), &Engine->Mapi()}, item, Engine->pState));
}

TEST_F(MapiAccount, WithoutTheLibraryItSaysSoAndNothingWorse) {
    for (const STRING& library : {STRING("C:\\none\\mapi32.dll"), STRING()}) {
        Start("", library);
        EXPECT_TRUE(Shows("local|Error: There is no mail session on this machine")) << Rows().front();
        Close();
    }
}

}  // namespace
