#include "app/desktop/inbox.h"
#include "app/desktop/mailviewer.h"
#include "app/desktop/trashcan.h"
#include "corelib/system/registry.h"
#include "tests/app/desktop/desktopsupport.h"
#include "tests/app/inbox/blocks.h"

namespace {

using STRINGS = std::vector<std::string>;

/// The windows of mails over the account "Alpha" with three of them.
class MailWindows : public DESKTOPTEST {
 protected:
    static constexpr const char* QUIET =
        "InboxVisible=0\r\nSpamDoMark=0\r\nInboxDeleteToTrash=0\r\nInboxAskApply=0\r\nInboxAskApplyAuto=0\r\n"
        "LastInboxSortColumn=0\r\n";
    void OpenInbox(const std::string& settings = {}) {
        Open(TWO_ITEMS, QUIET + settings);
        Alpha().Set("@FileStore", ListingOf({Block(1, "=?utf-8?q?Gr=C3=BC=C3=9Fe?=", 0, 3), Block(2, "beta", 60, 2000),
                                             Block(3, "Alpha", 100, 900)}));
        Window->List().SelectOnly(Handle("Alpha"));
        Command(COMMAND_INBOX);
        ASSERT_TRUE(Inbox());
    }
    STRINGARRAY& Alpha() { return Engine->Items[Engine->FindName("Alpha")]; }
    INBOX* Inbox() { return Window->InboxWindow(); }
    HWND Mails() { return Inbox()->ListOfMails().hWnd; }
    static void SelectMails(HWND list, const std::vector<int>& rows) {
        LISTVIEW(list).SelectRows(rows, rows.front());
        Pump();
    }
    /// The first letters of the subjects from top to bottom, a "*" after the marked ones.
    static std::string Shown(HWND list) {
        std::string shown;
        for (int row = 0; row < LISTVIEW(list).Count(); ++row) {
            LVITEMW item{};
            item.mask = LVIF_IMAGE;
            item.iItem = row;
            SendMessageW(list, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
            shown += Std(LISTVIEW(list).GetItemText(row, COLUMN_SUBJECT)).substr(0, 1);
            shown += item.iImage == PICTURE_MARKED - PICTURE_UNREAD ? "*" : "";
        }
        return shown;
    }
    /// Answers the dialog that comes next; `Said` gets its title.
    void Press(WPARAM id, const std::function<void(HWND)>& first = {}, int looks = 500) {
        Later([=, this] {
            const HWND box = GetActiveWindow();
            wchar_t name[16] = L"";
            GetClassNameW(box, name, 16);
            if (wcscmp(name, L"#32770") != 0) {
                if (looks > 0)
                    Press(id, first, looks - 1);
                return;
            }
            Said += Std(WINDOW(box).Title()) + ";";
            PostMessageW(box, WM_COMMAND, id, 0);
            if (first)
                first(box);
        });
    }
    std::string Queued() { return Std(Alpha().Get("@DeleteMessageId")); }
    std::string Said;
};

TEST_F(MailWindows, TheInboxIsAPaneWithASplitterOrAWindow) {
    OpenInbox();
    EXPECT_TRUE(Inbox()->IsPane());
    const WINDOW list(Window->List().Handle()), splitter(GetDlgItem(Window->hWnd, SPLITTER_ID));
    const auto edges = [&] {
        EXPECT_EQ(list.Rect().bottom, splitter.Rect().top);
        EXPECT_EQ(splitter.Rect().bottom, Inbox()->Rect().top);
        EXPECT_EQ(Inbox()->Rect().bottom, Window->ClientRect().bottom);
        EXPECT_EQ(Engine->pState.GetNumber("SplitRatio"), list.Rect().bottom - list.Rect().top);
        return Engine->pState.GetNumber("SplitRatio");
    };
    const int before = edges();
    PressMouse(splitter.hWnd, 50, 2);
    MoveMouse(splitter.hWnd, 50, 22);
    ReleaseMouse(splitter.hWnd, 50, 2);
    EXPECT_EQ(edges(), before + 20);
    for (const char* const ratio : {"4", "2000"}) {
        Engine->pState.Set("SplitRatio", ratio);
        Window->ArrangeControls();
        Pump();
        const LONG top = list.Rect().top;
        EXPECT_EQ(edges(), (top + Window->ClientRect().bottom) / 3 - top);
    }
    const WINDOW bar(GetDlgItem(Inbox()->hWnd, 3));
    EXPECT_TRUE(bar.IsVisible());
    Engine->pState.Set("InboxHideToolbar", "1");
    Window->ArrangeControls();
    Pump();
    Inbox()->ArrangeControls();
    EXPECT_FALSE(bar.IsVisible());

    Command(COMMAND_INBOX_WINDOW);
    ASSERT_TRUE(Inbox());
    EXPECT_FALSE(Inbox()->IsPane());
    EXPECT_EQ(Std(Inbox()->Title()), "Inbox Alpha");
    EXPECT_EQ(list.Rect().bottom, Window->ClientRect().bottom);
    EXPECT_EQ(GetDlgItem(Window->hWnd, SPLITTER_ID), nullptr);
    EXPECT_TRUE(WINDOW(GetDlgItem(Inbox()->hWnd, 3)).IsVisible());
    Inbox()->Move(40, 50, 420, 210);
    Close();
    EXPECT_TRUE(IsStored("InboxVisible=2"));
    Open(TWO_ITEMS, std::string("InboxVisible=2\r\nTrashcanVisible=1\r\n") + QUIET);
    Window->Started();
    Pump();
    ASSERT_TRUE(Inbox() && Window->TrashcanWindow());
    EXPECT_EQ(Inbox()->Rect().left, 40);
    EXPECT_EQ(Inbox()->Rect().bottom, 260);
    EXPECT_EQ(Inbox()->GetItemHandle(), Handle("beta")) << "the selected one";
    // Both at once.
    PostMessageW(Inbox()->hWnd, WM_CLOSE, 0, 0);
    PostMessageW(Window->TrashcanWindow()->hWnd, WM_CLOSE, 0, 0);
    Pump();
    EXPECT_FALSE(Inbox() || Window->TrashcanWindow());
    Close();
    EXPECT_TRUE(IsStored("InboxVisible=0") && IsStored("TrashcanVisible=0"));
}

TEST_F(MailWindows, RowsMenusAndKeysFollowTheSelection) {
    OpenInbox();
    const HWND list = Mails();
    EXPECT_EQ(Shown(list), "GbA");
    wchar_t cell[20] = L"";
    ListView_GetItemText(list, 0, COLUMN_SUBJECT, cell, 20);
    EXPECT_STREQ(cell, L"Gr\u00fc\u00dfe");
    EXPECT_EQ(Std(LISTVIEW(list).GetItemText(1, COLUMN_POINTS)), "60");
    const auto bar = [&] {
        const std::string look = MenuLook(GetMenu(Window->hWnd));
        std::string possible;
        for (int command = COMMAND_INBOX_FIRST; command <= COMMAND_MAIL_BAD_SENDER; ++command)
            if (look.find("-" + std::to_string(command)) == std::string::npos)
                possible += std::to_string(command % 10);
        return possible;
    };
    EXPECT_EQ(bar(), "3");
    SelectMails(list, {1});
    EXPECT_EQ(bar(), "0123678");
    SelectMails(list, {0, 2});
    EXPECT_EQ(bar(), "1378");

    // In the main window these keys are other commands.
    EXPECT_EQ(Given([&] {
                  for (const WPARAM key : {VK_DELETE, VK_F9})
                      PostMessageW(list, WM_KEYDOWN, key, 1);
                  PostQuitMessage(0);
                  Window->MainDispatchLoop(KEY_TABLE);
              }),
              NUMBER(COMMAND_CHECK_ALL) " ");
    Pump();
    EXPECT_EQ(Shown(list), "G*bA*");
    EXPECT_EQ(bar(), "34578");
    TypeKey(list, VK_INSERT);
    EXPECT_EQ(Shown(list), "GbA");
    TypeKey(list, VK_DELETE);
    TypeKey(list, VK_F8);
    EXPECT_EQ(Queued(), "1|id1\n3|id3\n");
    EXPECT_EQ(Shown(list), "GbA");

    // By size, with the same ones selected.
    NMLISTVIEW click{};
    click.hdr = {list, 0, LVN_COLUMNCLICK};
    click.iSubItem = COLUMN_SIZE;
    SendMessageW(Inbox()->hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(Shown(list), "AGb") << "by the number that is shown";
    EXPECT_EQ(LISTVIEW(list).FirstSelected(), 0);
    EXPECT_EQ(LISTVIEW(list).SelectedCount(), 2);
    EXPECT_EQ(PopupLook([&] { SendMessageW(Inbox()->hWnd, WM_CONTEXTMENU, WPARAM(list), -1); }),
              "-2162 -2160 -2166 -2165 -2164 ");

    SelectMails(list, {0});
    Command(COMMAND_MAIL_FETCH);
    EXPECT_EQ(Alpha().GetNumber("@ForceRefresh"), 1) << "without a popup";
    EXPECT_ASSERTIONS(1);
    Command(COMMAND_INBOX_LAST);
}

TEST_F(MailWindows, MarksGoWhenThePersonSaysSo) {
    const struct {
        const char* Ask;  // of commands and of what the window does by itself
        int Command;      // 0: the other account is selected
        WPARAM Answer;
        const char *Said, *Queued;
    } cases[] = {
        {"00", COMMAND_MAIL_APPLY, 0, "", "2|id2\n"},
        {"10", COMMAND_MAIL_APPLY, IDNO, "Tarnwick;", ""},
        {"10", COMMAND_MAIL_APPLY, IDYES, "Tarnwick;", "2|id2\n"},
        {"10", COMMAND_INBOX, 0, "", "2|id2\n"},
        {"01", COMMAND_INBOX, IDNO, "Tarnwick;", ""},
        {"01", COMMAND_INBOX, IDYES, "Tarnwick;", "2|id2\n"},
        {"01", 0, IDYES, "Tarnwick;", "2|id2\n"},
    };
    OpenInbox();
    for (const auto& step : cases) {
        Alpha().Set("@DeleteMessageId", "");
        Alpha().Set("@FileStore", ListingOf({Block(1, "Gamma", 0, 3), Block(2, "beta", 60, 2000)}));
        Window->List().SelectOnly(Handle("Alpha"));
        if (!Inbox())
            Command(COMMAND_INBOX);
        Window->ListingChanged(Handle("Alpha"));
        Pump();
        Engine->pState.Set("InboxAskApply", std::string(step.Ask, 1).c_str());
        Engine->pState.Set("InboxAskApplyAuto", step.Ask + 1);
        SelectMails(Mails(), {1});
        Command(COMMAND_MAIL_MARK);
        Said.clear();
        if (step.Answer)
            Press(step.Answer, [&](HWND) {
                EXPECT_EQ(GetDlgCtrlID(GetFocus()), IDNO) << "what Enter answers";
                // A listing that comes meanwhile does not change what the question is about.
                Alpha().Set("@FileStore", ListingOf({Block(9, "zeta", 0, 1), Block(2, "beta", 0, 1)}));
                Window->ListingChanged(Handle("Alpha"));
            });
        if (step.Command != 0) {
            Command(step.Command);
        } else {
            Window->List().SelectOnly(Handle("beta"));
            Pump();
            EXPECT_EQ(Inbox()->GetItemHandle(), Handle("beta"));
        }
        EXPECT_EQ(Said, step.Said) << step.Ask;
        EXPECT_EQ(Queued(), step.Queued) << step.Ask << step.Answer;
        if (Inbox() && Inbox()->GetItemHandle() == Handle("Alpha") && step.Answer) {
            EXPECT_EQ(Shown(Mails()), "zb");
        }
    }
}

TEST_F(MailWindows, ANewListingKeepsSelectionAndPlace) {
    OpenInbox();
    std::string many;
    const auto list = [&](int first, int count) {
        std::string listing = std::to_string(count) + " msgs|0 unread|0 bytes\n";
        for (int i = first; i < first + count; ++i)
            listing += Block(i, std::to_string(i), 0, 1) + '\1';
        Alpha().Set("@FileStore", STRING(std::string_view(listing)));
        Window->ListingChanged(Handle("Alpha"));
        Pump();
    };
    const auto text = [&](int row) { return Std(LISTVIEW(Mails()).GetItemText(row, COLUMN_SUBJECT)); };
    list(100, 200);
    SelectMails(Mails(), {120});
    LISTVIEW(Mails()).ScrollTo(119);
    Command(COMMAND_MAIL_MARK);
    EXPECT_EQ(text(LISTVIEW(Mails()).TopRow()), "219");
    list(50, 250);
    EXPECT_EQ(text(LISTVIEW(Mails()).TopRow()), "219");
    EXPECT_EQ(text(LISTVIEW(Mails()).FirstSelected()), "220");
    EXPECT_EQ(Shown(Mails()).find('*'), std::string::npos) << "marks are those of the listing";
    list(221, 100);
    EXPECT_EQ(LISTVIEW(Mails()).FirstSelected(), -1);
    list(1, 0);
    EXPECT_EQ(LISTVIEW(Mails()).Count(), 0);
}

TEST_F(MailWindows, TheViewerShowsAMailAndMarksIt) {
    OpenInbox();
    Alpha().Set("@FileStore",
                ListingOf({Block(1, "=?utf-8?q?Gr=C3=BC=C3=9Fe?=", 0, 3,
                                 "Content-Type: text/html; charset=utf-8\n\n<b>bold</b> \x1b[1m\xe2\x80\xaer")}));
    Window->ListingChanged(Handle("Alpha"));
    Pump();
    REGISTRY values(WINDOW_COMPANY, App->Texts().Get(TEXT_PRODUCT).Text(), ROOT_CURRENT_USER);
    values.Delete("MsgShowHdr");
    constexpr int SUBJECT = 202, TEXT = 203, HEADER = 204, RAW = 205;
    STRINGS texts;
    wchar_t subject[40] = L"", label[20] = L"";
    SelectMails(Mails(), {0});
    Press(VIEWER_DELETE, [&](HWND viewer) {
        GetDlgItemTextW(viewer, SUBJECT, subject, 40);
        GetDlgItemTextW(viewer, VIEWER_DELETE, label, 20);
        for (const int box : {0, RAW, HEADER}) {
            if (box != 0)
                SendMessageW(GetDlgItem(viewer, box), BM_CLICK, 0, 0);
            texts.push_back(Std(WINDOW(GetDlgItem(viewer, TEXT)).Title()));
        }
        // It grows with its frame.
        const LONG wide = WINDOW(GetDlgItem(viewer, TEXT)).Rect().right;
        WINDOW(viewer).Move(0, 0, 900, 600);
        EXPECT_GT(WINDOW(GetDlgItem(viewer, TEXT)).Rect().right, wide);
    });
    TypeKey(Mails(), VK_RETURN);
    EXPECT_STREQ(subject, L"Gr\u00fc\u00dfe");
    EXPECT_STREQ(label, L"&Delete");
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[0].substr(0, 4), "bold");
    EXPECT_EQ(texts[1].substr(0, 16), "<b>bold</b> [1mr");
    EXPECT_EQ(texts[2].find("X-Spam"), std::string::npos);
    EXPECT_NE(texts[2].find("\r\nFrom: Sender 1"), std::string::npos);
    EXPECT_NE(texts[2].find("\r\n\r\n" + texts[1]), std::string::npos);
    EXPECT_EQ(Shown(Mails()), "G*");
    EXPECT_EQ(Std(values.Read("MsgShowHdr")), "1");
}

TEST_F(MailWindows, ThePopupsButtonsLeadToInboxAndMail) {
    Open(TWO_ITEMS, QUIET);
    Window->List().SelectOnly(Handle("beta"));
    Alpha().Set("@FileStore", ListingOf({Block(1, "hello", 0, 1)}));
    const auto tell = [&] {
        MAILRECORDS records;
        BuildMailHash(Alpha().Get("@FileStore"), records);
        Engine->Notification().NewMail(Alpha(), {records, {0}, true, false, false, "", ""});
        Pump();
    };
    tell();
    Window->Show(SW_MINIMIZE);
    Command(COMMAND_SHOW_ITEM);
    EXPECT_TRUE(Window->IsVisible());
    ASSERT_TRUE(Inbox());
    EXPECT_EQ(Inbox()->GetItemHandle(), Handle("Alpha"));
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Handle("Alpha")});
    EXPECT_EQ(Shown(Mails()), "h");
    bool canDelete = true;
    Press(IDOK, [&](HWND viewer) { canDelete = IsWindowVisible(GetDlgItem(viewer, VIEWER_DELETE)); });
    Command(COMMAND_SHOW_MAIL);
    EXPECT_EQ(Said, "Mail;");
    EXPECT_FALSE(canDelete);
    // An account goes only when its window has.
    Press(IDYES);
    Command(COMMAND_DELETE_ITEMS);
    EXPECT_FALSE(Inbox());
    EXPECT_EQ(Engine->Items.Count(), 1);
}

TEST_F(MailWindows, SendersGoIntoTheListsOrThePersonIsTold) {
    OpenInbox();
    SelectMails(Mails(), {0, 1});
    const STRING friends = Engine->pState.Get("SpamMyFriends"), bad = Engine->pState.Get("SpamBadSenders");
    WriteBytes(friends, "");
    WriteBytes(bad, "");
    Command(COMMAND_MAIL_FRIEND);
    EXPECT_EQ(ReadBytes(friends), "Sender 1; s1@example.org\r\nSender 2; s2@example.org");
    std::string question;
    Press(IDCANCEL, [&](HWND box) { question = Std(WINDOW(GetDlgItem(box, 100)).Title()); });
    Command(COMMAND_MAIL_BAD_SENDER);
    EXPECT_NE(question.find(" s1@example.org, ... "), std::string::npos) << question;
    EXPECT_EQ(ReadBytes(bad), "");
    SetFileAttributesA(bad.Text(), FILE_ATTRIBUTE_READONLY);
    Press(IDOK, [&](HWND) { Press(IDOK); });
    Said.clear();
    Command(COMMAND_MAIL_BAD_SENDER);
    EXPECT_EQ(Said, "Tarnwick;Tarnwick;") << "the question, and what went wrong";
    SetFileAttributesA(bad.Text(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(ReadBytes(bad), "");
}

TEST_F(MailWindows, TheTrashcanEmptiesKeepsReadsAnewAndSendsOn) {
    Open(TWO_ITEMS, QUIET);
    const auto copy = [&](int number) {
        MAILRECORDS records;
        BuildMailHash(ListingOf({Block(number, std::to_string(number), 100, 1)}), records);
        ASSERT_TRUE(Engine->Trash().SaveToTrash(records[0]));
    };
    for (int i = 1; i <= 3; ++i)
        copy(i);
    Command(COMMAND_TRASHCAN);
    TRASHCAN* can = Window->TrashcanWindow();
    ASSERT_TRUE(can);
    const HWND list = can->ListOfMails().hWnd;
    EXPECT_EQ(Shown(list), "1*2*3*");
    EXPECT_EQ(Std(can->Title()), "Tarnwick - 3 mails in the trashcan");
    SelectMails(list, {1});
    TypeKey(list, VK_INSERT);
    EXPECT_EQ(Shown(list), "1*23*");
    EXPECT_EQ(PopupLook([&] { SendMessageW(can->hWnd, WM_CONTEXTMENU, WPARAM(list), -1); }), "-2165 ");
    copy(4);
    EXPECT_EQ(Shown(list), "1*23*");
    TypeKey(list, VK_F5);
    EXPECT_EQ(Shown(list), "1*2*3*4*");
    EXPECT_EQ(LISTVIEW(list).FirstSelected(), 1);

    Press(IDOK);
    SendMessageW(can->hWnd, WM_COMMAND, COMMAND_TRASH_SEND_ON, 0);
    EXPECT_TRUE(can->IsSending());
    EXPECT_TRUE(PumpUntil([&] { return !can->IsSending(); })) << "without a server";
    Pump();
    EXPECT_EQ(Said, "Tarnwick;");

    TypeKey(list, VK_INSERT);
    // The other window's keys are not the main one's.
    EXPECT_EQ(Given([&] {
                  PostMessageW(list, WM_KEYDOWN, VK_F9, 1);
                  PostMessageW(list, WM_KEYDOWN, VK_F11, 1);
                  PostQuitMessage(0);
                  Window->MainDispatchLoop(KEY_TABLE);
              }),
              "");
    EXPECT_TRUE(PumpUntil([&] { return !Window->TrashcanWindow(); }));
    EXPECT_NE(Std(Window->Title()).find(" - 1 in the trashcan"), std::string::npos);
    EXPECT_TRUE(OSYS::FileExists(OSYS::FilePath(Engine->Trash().Directory().Text(), "100000001.txt").Text()));
}

TEST_F(MailWindows, LeaveNoHandlesBehind) {
    OpenInbox();
    ExpectNoHandleGrowth([&] { Command(COMMAND_INBOX); });
}

}  // namespace
