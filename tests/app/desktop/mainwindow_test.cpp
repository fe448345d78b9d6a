#include "app/desktop/mainwindow.h"

#include "app/notify/traydisplay.h"
#include "corelib/system/registry.h"
#include "corelib/window/fontvalue.h"
#include "tests/app/desktop/desktopsupport.h"
#include "tests/support/accesstest.h"

namespace {

class MainWindow : public DESKTOPTEST {};

TEST_F(MainWindow, TheListShowsTheItemsByNameAndTurnsRound) {
    Open(TWO_ITEMS);
    EXPECT_EQ(Rows(), (std::vector<std::string>{"Alpha|", "beta|3 mails"}));
    NMLISTVIEW click{};
    click.hdr = {Window->List().Handle(), 0, LVN_COLUMNCLICK};
    click.iItem = -1;
    SendMessageW(Window->hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(Rows(), (std::vector<std::string>{"beta|3 mails", "Alpha|"}));
    click.iSubItem = 1;
    SendMessageW(Window->hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click));
    EXPECT_EQ(Rows().front(), "beta|3 mails");  // the other column keeps the order
    HDITEMW head{};
    head.mask = HDI_FORMAT;
    Header_GetItem(ListView_GetHeader(Window->List().Handle()), 0, &head);
    EXPECT_TRUE(head.fmt & HDF_SORTDOWN) << "the names are what is sorted";
}

TEST_F(MainWindow, AFailedCheckSaysWhy) {
    Open(
        "[#0]\r\nName=a\r\nType=1\r\nUpdateSuspended=1\r\nSource=pop.x:995|me\r\nLastRC=0E|0E\r\nLastValue=Error: "
        "\r\n\r\n",
        "", "GER");
    const std::string shown = "Fehler: Port 995 des Servers nimmt nur verschl";
    EXPECT_EQ(Rows().front().substr(0, 2 + shown.size()), "a|" + shown);
    // Whole in a tip, wherever the pointer rests in the row.
    Engine->Items[0].Set("LastRefreshString", "1.2. / 3:04");
    RECT row;
    ListView_GetItemRect(Window->List().Handle(), 0, &row, LVIR_BOUNDS);
    POINT place = {row.right - 5, (row.top + row.bottom) / 2};
    MoveMouse(Window->List().Handle(), place.x, place.y);
    ClientToScreen(Window->List().Handle(), &place);
    SetCursorPos(place.x, place.y);
    wchar_t words[1000] = L"";
    const auto isShown = [&] {
        TTTOOLINFOW tool{};
        tool.cbSize = TTTOOLINFOW_V1_SIZE;
        tool.lpszText = words;
        for (const HWND hints : HintWindows())
            if (IsWindowVisible(hints) && SendMessageW(hints, TTM_GETCURRENTTOOLW, 0, reinterpret_cast<LPARAM>(&tool)))
                return true;
        return false;
    };
    EXPECT_TRUE(PumpUntil(isShown));
    EXPECT_EQ("a|" + Std(FromWide(words)).substr(3), Rows().front() + "\nLetzte Prüfung: 1.2. / 3:04");
}

TEST_F(MainWindow, TheColumnsFillTheListWhateverIsInIt) {
    const auto edges = [this] {
        const HWND list = Window->List().Handle();
        RECT client;
        GetClientRect(list, &client);
        const int name = ListView_GetColumnWidth(list, 0), result = ListView_GetColumnWidth(list, 1);
        EXPECT_GE(result, Window->ScalePixels(100));
        EXPECT_EQ(name + result, client.right);  // no scroll bar below
    };
    Open("[#0]\r\nName=" + std::string(30, 'n') + "\r\nType=1\r\n\r\n");
    edges();
    const int fitting = ListView_GetColumnWidth(Window->List().Handle(), 0);
    // Room that comes back is used again.
    for (const int width : {260, 800}) {
        Window->Move(0, 0, Window->ScalePixels(width), Window->ScalePixels(300));
        Window->Show(SW_MINIMIZE);
        Window->Show(SW_RESTORE);
        Pump();
        edges();
        EXPECT_EQ(ListView_GetColumnWidth(Window->List().Handle(), 0) < fitting, width == 260);
    }
    // Dragged, the first keeps its width as far as that is at most half, and the second follows.
    const HWND head = ListView_GetHeader(Window->List().Handle());
    for (const auto& [dragged, kept] : {std::pair{90, 90}, {700, 700}}) {
        HDITEMW item{};
        item.mask = HDI_WIDTH;
        item.cxy = dragged;
        Header_SetItem(head, 0, &item);
        Window->Move(0, 0, Window->ScalePixels(800), Window->ScalePixels(310 + dragged));
        Window->List().FillListview();
        Pump();
        edges();
        EXPECT_EQ(ListView_GetColumnWidth(Window->List().Handle(), 0),
                  std::min(kept, static_cast<int>(Window->ClientRect().right) / 2));
    }
    Close();
    std::string many;
    for (int i = 0; i < 60; ++i)
        many += "[#" + std::to_string(i) + "]\r\nName=n\r\nType=1\r\n\r\n";
    Open(many);
    edges();
}

TEST_F(MainWindow, TheListHasTheRoomBetweenToolBarAndStatusLine) {
    Open(TWO_ITEMS);
    const WINDOW list(Window->List().Handle()), bar(GetDlgItem(Window->hWnd, 3)), line(GetDlgItem(Window->hWnd, 2));
    for (const auto& [hidden, shown] : {std::pair{"0", false}, {"0", true}, {"1", true}}) {
        Engine->pState.Set("DlgHideToolbar", hidden);
        Window->SetStatusLine("dialling");
        Window->ShowStatusLine(shown);
        Window->ArrangeControls();
        Pump();
        EXPECT_EQ(line.IsVisible(), shown);
        EXPECT_EQ(list.Rect().top, bar.IsVisible() ? bar.Rect().bottom : 0);
        EXPECT_EQ(list.Rect().bottom, shown ? line.Rect().top : Window->ClientRect().bottom);
    }
    EXPECT_FALSE(bar.IsVisible());
    EXPECT_EQ(Std(line.Title()), "dialling");
}

TEST_F(MainWindow, ImagesFollowTheItemsState) {
    const std::tuple<const char*, const char*, ITEMIMAGE> steps[] = {
        {"LastRC", "0|0", ITEMIMAGE_EMPTY},     {"LastRC", "2|1", ITEMIMAGE_MAIL},
        {"LastRC", "0E|0E", ITEMIMAGE_FAILED},  {"UpdateSuspended", "1", ITEMIMAGE_SUSPENDED},
        {"@InUpdate", "1", ITEMIMAGE_CHECKING}, {"@Locked", "1", ITEMIMAGE_LOCKED}};
    Open("[#0]\r\nName=a\r\nType=1\r\n\r\n");
    STRINGARRAY& item = Engine->Items[0];
    for (const auto& [key, value, image] : steps) {
        item.Set(key, value);
        Window->RefreshRow(Handle("a"));
        Pump();
        LVITEMW row{};
        row.mask = LVIF_IMAGE;
        SendMessageW(Window->List().Handle(), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&row));
        EXPECT_EQ(row.iImage, image - ITEMIMAGE_EMPTY) << key;
    }
}

TEST_F(MainWindow, RowsFollowWhatTheWorkThreadWrites) {
    Open(TWO_ITEMS);
    const int handle = Handle("Alpha");
    std::atomic<bool> done = false;
    std::thread worker([&] {
        for (int i = 1; i <= 5000; ++i)
            Window->SetItemStatus(handle, std::to_string(i).c_str());
        Window->SetItemStatus(999, "nobody's");
        done = true;
    });
    while (!done)
        Pump();
    worker.join();
    Pump();
    EXPECT_EQ(Rows().front(), "Alpha|5000");
}

TEST_F(MainWindow, AFillWaitsForTheMutexWithoutHoldingTheWindow) {
    Open(TWO_ITEMS);
    std::atomic<bool> held = false, released = false;
    std::thread worker([&] {
        const MUTEXHOLD hold(Engine->listviewMutex);
        held = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        released = true;
    });
    while (!held)
        std::this_thread::yield();
    Engine->Items[Engine->FindName("Alpha")].Set("Name", "a new name");
    Window->List().FillListview();
    EXPECT_TRUE(PumpUntil([&] { return Rows().front() == "a new name|"; }));
    EXPECT_TRUE(released);
    worker.join();
}

TEST_F(MainWindow, TheSelectionOfTheLastRunComesBackOnceAndOtherwiseTheFirst) {
    Open(TWO_ITEMS, "LastSelectedRecord=1\r\n");
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Engine->Items[1].GetNumber("@Handle")});
    EXPECT_EQ(Engine->pState.Get("LastSelectedRecord"), "-1");
    Window->List().FillListview();
    Pump();
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Engine->Items[1].GetNumber("@Handle")}) << "it stays";
    Engine->pState.Set("LastSelectedRecord", "7");
    Window->List().Deselect();
    Window->List().FillListview();
    Pump();
    EXPECT_EQ(Window->SelectedItems(), std::vector<int>{Engine->Items[0].GetNumber("@Handle")});
    Window->List().SelectOnly(Handle("Alpha"));
    Close();
    EXPECT_TRUE(IsStored("LastSelectedRecord=1"));
}

TEST_F(MainWindow, CommandsFollowTheStateInMenusAndToolBar) {
    Open("[#0]\r\nName=a\r\nType=1\r\nUpdateSuspended=1\r\n\r\n[#1]\r\nName=b\r\nType=1\r\n\r\n",
         "EmailDoSound=1\r\nEmailDoSoundLoop=1\r\nEmailSoundLoopRep=60\r\n");
    const auto listed = [](const char* mark, const std::vector<int>& commands) {
        std::string list;
        for (const int command : commands)
            list += mark + std::to_string(command) + " ";
        return list;
    };
    const std::string mails = listed("-", {COMMAND_INBOX_WINDOW, COMMAND_MAIL_VIEW, COMMAND_MAIL_ANSWER,
                                           COMMAND_MAIL_REASON, COMMAND_MAIL_MARK, COMMAND_MAIL_UNMARK,
                                           COMMAND_MAIL_APPLY, COMMAND_MAIL_FRIEND, COMMAND_MAIL_BAD_SENDER}),
                      silent = listed("-", {COMMAND_STOP_SOUND}),
                      none = listed("-", {COMMAND_EDIT_ITEM, COMMAND_DELETE_ITEMS, COMMAND_CHECK_ITEMS,
                                          COMMAND_CHECK_ITEMS_QUIETLY, COMMAND_SHOW_ITEMS_MAILS, COMMAND_SUSPEND_ITEMS,
                                          COMMAND_ITEM_MAIL_PROGRAM, COMMAND_INBOX}) +
                             mails + silent,
                      always = listed("", {COMMAND_MAIL_PROGRAM, COMMAND_NEW_MAIL, COMMAND_ADD_ITEM}),
                      ofOne = always +
                              listed("", {COMMAND_EDIT_ITEM, COMMAND_INBOX, COMMAND_TRASHCAN, COMMAND_CHECK_ITEMS}),
                      spam = listed("", {COMMAND_SPAM_LISTS});
    // In the bar "-": not possible, "+": with a mark. Buttons: that can be pressed.
    const std::tuple<const char*, std::function<void()>, std::string, std::string> steps[] = {
        {"none selected", [&] { Select(0, false); }, none, always + listed("", {COMMAND_TRASHCAN}) + spam},
        {"one", [&] { Select(1); }, mails + silent, ofOne + spam},
        {"both", [&] { Select(0); },
         listed("-", {COMMAND_EDIT_ITEM, COMMAND_SHOW_ITEMS_MAILS, COMMAND_INBOX}) + mails + silent,
         always + listed("", {COMMAND_TRASHCAN, COMMAND_CHECK_ITEMS}) + spam},
        {"the other, which is suspended, as all is and the filter, while the sound goes on",
         [&] {
             Select(1, false);
             Command(COMMAND_SPAM_FILTER_OFF);
             Command(COMMAND_SUSPEND);
             TellNewMail();
         },
         listed("+", {COMMAND_SUSPEND_ITEMS}) + mails + listed("+", {COMMAND_SUSPEND}) +
             listed("-", {COMMAND_SPAM_LISTS}) + listed("+", {COMMAND_SPAM_FILTER_OFF}),
         ofOne},
    };
    const auto& bar = *static_cast<NEWTOOLBAR*>(
        reinterpret_cast<WINDOW*>(GetWindowLongPtrW(GetDlgItem(Window->hWnd, 3), GWLP_USERDATA)));
    for (const auto& [name, make, inBar, buttons] : steps) {
        make();
        EXPECT_EQ(MenuLook(GetMenu(Window->hWnd)), inBar) << name;
        EXPECT_EQ(Given([&] {
                      for (const TOOLBUTTON& button : TOOLBUTTONS) {
                          const RECT place = bar.ButtonRect(button.Command);
                          Click(bar.hWnd, place.right - 1, place.top);
                      }
                  }),
                  buttons)
            << name;
    }
    EXPECT_EQ(PopupLook([&] { SendMessageW(Window->hWnd, WM_CONTEXTMENU, WPARAM(Window->List().Handle()), -1); }),
              "+" NUMBER(COMMAND_SUSPEND_ITEMS) " ");
    EXPECT_EQ(PopupLook([&] { SendMessageW(Window->hWnd, WM__TASKBAR, 0, WM_RBUTTONDOWN); }),
              "+" NUMBER(COMMAND_TRAY_SUSPEND) " ");
    SendMessageW(bar.hWnd, WM_CONTEXTMENU, WPARAM(bar.hWnd), MAKELPARAM(300, 60));  // would wait: it has no menu
    for (const int command : {COMMAND_TRAY_SUSPEND, COMMAND_SPAM_FILTER_OFF, COMMAND_SUSPEND_ITEMS})
        Command(command);
    EXPECT_EQ(MenuLook(GetMenu(Window->hWnd)), none) << "the last one takes the selection off";
    EXPECT_EQ(Rows().front(), "a|-");
}

TEST_F(MainWindow, AccountsAreAddedEditedAndDeleted) {
    Open(TWO_ITEMS);
    constexpr int NAME = 201, SERVER = 204, USER = 205;
    std::string said;
    const auto fill = [](const char* name, WPARAM end) {
        Later([=] {
            const HWND dialog = GetActiveWindow();
            for (HWND page = nullptr; (page = FindWindowExW(dialog, page, L"#32770", nullptr));)
                for (const int control : {NAME, SERVER, USER})
                    SetDlgItemTextA(page, control, name);
            SendMessageW(dialog, WM_COMMAND, end, 0);
        });
    };
    std::function<void(WPARAM, WPARAM)> press = [&](WPARAM answer, WPARAM next) {
        Later([&said, &press, answer, next] {
            const bool no = GetDlgCtrlID(GetFocus()) == IDNO;  // what Enter presses
            said += Std(WINDOW(GetActiveWindow()).Title()) + (no ? ", rather not;" : ";");
            PostMessageW(GetActiveWindow(), WM_COMMAND, answer, 0);
            if (next != 0)
                press(next, 0);
        });
    };
    const auto all = [&] { LISTVIEW(Window->List().Handle()).SelectAll(true); };
    // At the end the names of what is there afterwards, of the first that is selected, and of the messages.
    const std::tuple<const char*, int, std::function<void()>, const char*, const char*, const char*> steps[] = {
        {"cancelled", COMMAND_ADD_ITEM, [&] { fill("gamma", IDCANCEL); }, "Alpha beta ", "beta", ""},
        {"added", COMMAND_ADD_ITEM, [&] { fill("gamma", IDOK); }, "Alpha beta gamma ", "gamma", ""},
        {"edited", COMMAND_EDIT_ITEM,
         [&] {
             Window->List().SelectOnly(Handle("gamma"));
             fill("delta", IDOK);
         },
         "Alpha beta delta ", "delta", ""},
        {"not edited while it is being checked", COMMAND_EDIT_ITEM,
         [&] {
             Engine->Items[Engine->FindName("delta")].Set("@InUpdate", "1");
             press(IDOK, 0);
         },
         "Alpha beta delta ", "delta", "Tarnwick;"},
        {"kept", COMMAND_DELETE_ITEMS, [&] { press(IDNO, 0); }, "Alpha beta delta ", "delta", "Tarnwick, rather not;"},
        {"up to the one that is being checked", COMMAND_DELETE_ITEMS,
         [&] {
             all();
             Engine->Items[Engine->FindName("delta")].Set("@InUpdate", "0");
             Engine->Items[Engine->FindName("beta")].Set("@InUpdate", "1");
             press(IDYES, IDOK);
         },
         "beta delta ", "beta", "Tarnwick, rather not;Tarnwick - beta;"},
        {"the rest", COMMAND_DELETE_ITEMS,
         [&] {
             all();
             Engine->Items[0].Set("@InUpdate", "0");
             press(IDYES, 0);
         },
         "", "", "Tarnwick, rather not;"},
    };
    for (const auto& [step, command, user, wantedNames, wantedSelected, wantedSaid] : steps) {
        said.clear();
        user();
        Command(command);
        std::string names, stored = ReadBytes(Data.File("accounts.ini"));
        for (const std::string& row : Rows()) {
            names += row.substr(0, row.find('|')) + " ";
            EXPECT_NE(stored.find("Name=" + row.substr(0, row.find('|'))), std::string::npos) << step;
        }
        const STRINGARRAY* const selected = Window->FirstSelected();
        EXPECT_EQ(selected ? Std(selected->Get("Name")) : "", wantedSelected) << step;
        EXPECT_EQ(names, wantedNames) << step;
        EXPECT_EQ(said, wantedSaid) << step;
        EXPECT_EQ(Engine->Items.Count(), std::count(names.begin(), names.end(), ' ')) << step;
        EXPECT_EQ(Engine->Items.Count(), std::count(stored.begin(), stored.end(), '#')) << step;
    }
}

TEST_F(MainWindow, AsksForPasswordsThatCannotBeOpened) {
    std::string asked;
    int dialogs = 0;
    Open("[#0]\r\nName=open\r\nType=1\r\nSource2=x\r\n\r\n[#1]\r\nName=locked\r\nType=1\r\nSource2Sealed=k1:x\r\n\r\n");
    Later([&] {
        asked = Std(WINDOW(GetDlgItem(GetActiveWindow(), 0xFFFF)).Title());
        PostMessageW(GetActiveWindow(), WM_COMMAND, IDYES, 0);
        Later([&] {
            ++dialogs;
            PostMessageW(GetActiveWindow(), WM_COMMAND, IDCANCEL, 0);
        });
    });
    Window->Started();
    Pump();
    EXPECT_NE(asked.find("\nlocked\n"), std::string::npos) << asked;
    EXPECT_EQ(asked.find("open\n"), std::string::npos) << asked;
    EXPECT_EQ(dialogs, 1);
}

TEST_F(MainWindow, DialogsComeFromTheirCommandsOneAtATime) {
    Open(TWO_ITEMS);
    std::string seen;
    // The title of each window that comes up, which ends so.
    std::function<void(std::vector<int>)> end = [&](std::vector<int> endings) {
        Later([&, endings] {
            const HWND front = GetActiveWindow();
            seen += Std(WINDOW(front).Title()) + ";";
            Window->DoCommand(COMMAND_TRAY_SETTINGS);
            EXPECT_EQ(GetActiveWindow(), front) << "no second one";
            if (endings.size() > 1)
                end({endings.begin() + 1, endings.end()});
            PostMessageW(front, WM_COMMAND, static_cast<WPARAM>(endings[0]), 0);
        });
    };
    const std::tuple<int, std::vector<int>, const char*> table[] = {
        {COMMAND_SETTINGS, {IDCANCEL}, "Options;"},
        {COMMAND_TRAY_SETTINGS, {IDOK}, "Options;"},
        {COMMAND_TYPES, {IDOK}, "Mail types;"},
        {COMMAND_SPAM_LISTS, {IDOK}, "Spam settings;"},
        {COMMAND_SPAM_EXPERT, {IDOK}, "Spam settings - for experts;"},
        {COMMAND_SPAM_SETTINGS, {IDCANCEL}, "Spam settings - for experts;"},
        {COMMAND_DATA_DIRECTORY, {IDOK}, "Tarnwick;"},  // named on the command line here
        // Without a mail program one is offered.
        {COMMAND_MAIL_PROGRAM, {IDNO}, "Tarnwick;"},
        {COMMAND_NEW_MAIL, {IDYES, IDCANCEL}, "Tarnwick;Options;"},
    };
    for (const auto& [command, endings, titles] : table) {
        seen.clear();
        end(endings);
        Command(command);
        EXPECT_EQ(seen, titles) << command;
    }
}

TEST_F(MainWindow, OptionsHoldAtOnce) {
    Open(TWO_ITEMS);
    // Clicks on a field of the first page; 0: on none.
    const auto change = [this](int field) {
        Later([field] {
            const HWND dialog = GetActiveWindow();
            for (HWND page = nullptr; field != 0 && (page = FindWindowExW(dialog, page, L"#32770", nullptr));)
                if (GetDlgItem(page, 403))
                    SendDlgItemMessageW(page, field, BM_CLICK, 0, 0);
            SendMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
        Command(COMMAND_SETTINGS);
    };
    constexpr int AUTO_RUN = 244, HIDE_TOOLBAR = 246;
    const HWND bar = GetDlgItem(Window->hWnd, 3);
    EXPECT_TRUE(IsWindowVisible(bar));
    change(HIDE_TOOLBAR);
    EXPECT_FALSE(IsWindowVisible(bar));
    EXPECT_TRUE(IsStored("DlgHideToolbar=1"));
    // Settings that got lost have left it there.
    const STRING name = App->Texts().Get(TEXT_REGISTRY_NAME);
    ASSERT_TRUE(OSYS::AutoStart(name.Text(), "left.exe"));
    for (const int field : {0, AUTO_RUN, AUTO_RUN, 0}) {
        change(field);
        REGISTRY entries(ROOT_CURRENT_USER, "Software\\Microsoft\\Windows\\CurrentVersion", "Run", REGISTRY_READ);
        EXPECT_EQ(entries.Read(name.Text()).NotNull(), Engine->pState.GetNumber("DlgAutoRun") != 0);
    }
    // The installer has made an entry, or taken it away: the setting follows.
    for (const char* const entry : {OSYS::AUTOSTART_SELF, static_cast<const char*>(nullptr)}) {
        ASSERT_TRUE(OSYS::AutoStart(name.Text(), entry));
        change(0);
        EXPECT_EQ(Engine->pState.GetNumber("DlgAutoRun") != 0, entry != nullptr);
    }
}

TEST_F(MainWindow, StaysInReachWhileTheShellIsGoneAndComesBackToIt) {
    Open(TWO_ITEMS);
    Window->MakeTaskbarIcon();
    Pump();
    NOTIFYICONDATAW icon{};
    icon.cbSize = sizeof icon;
    icon.hWnd = Window->hWnd;
    // It has the number of one of its pictures.
    for (icon.uID = TRAY_RESOURCES; icon.uID < TRAY_RESOURCES + 17; ++icon.uID)
        Shell_NotifyIconW(NIM_DELETE, &icon);
    Window->MakeNewTooltip();
    Pump();
    EXPECT_FALSE(Window->ShownIcon()->IsUp());
    Window->Show(SW_MINIMIZE);
    EXPECT_TRUE(Window->IsVisible());
    SendMessageW(Window->hWnd, RegisterWindowMessageW(L"TaskbarCreated"), 0, 0);
    Pump();
    EXPECT_TRUE(Window->ShownIcon()->IsUp());
}

TEST_F(MainWindow, TheAlertsFontIsOneThatItCanShow) {
    // As a file has it: 60 bytes, height -20, weight 700.
    LOGFONTW font{};
    font.lfHeight = -20;
    font.lfWeight = FW_BOLD;
    const std::tuple<const wchar_t*, const wchar_t*, STRING> cases[] = {
        {L"System", L"Arial", {}}, {L"Tahoma", L"Tahoma", {}}, {L"", nullptr, ""}, {L"", nullptr, "short"}};
    LOGFONTW icons{};
    SystemParametersInfoW(SPI_GETICONTITLELOGFONT, sizeof icons, &icons, 0);
    for (const auto& [face, wantedShown, value] : cases) {
        STRINGARRAY state;
        wcscpy(font.lfFaceName, face);
        state.Set("PopupFont", value.NotNull() ? value : FontValue(font));
        state.Set("PopupFontDots", "0");
        CheckPopupFont(state);
        LOGFONTW shown{};
        ASSERT_TRUE(FontFromValue(state.Get("PopupFont"), shown));
        EXPECT_STREQ(shown.lfFaceName, wantedShown ? wantedShown : icons.lfFaceName);
        EXPECT_EQ(shown.lfHeight, wantedShown ? -20 : icons.lfHeight);
        EXPECT_EQ(shown.lfWeight, FW_NORMAL);
        // Chosen for a display with half or twice as many dots per inch.
        for (const int factor : {1, 4}) {
            const int height = shown.lfHeight;
            state.SetNumber("PopupFontDots", SCALE::System().Dots() * factor / 2);
            CheckPopupFont(state);
            ASSERT_TRUE(FontFromValue(state.Get("PopupFont"), shown));
            EXPECT_EQ(shown.lfHeight, height * 2 / factor);
        }
    }
    Open(TWO_ITEMS);
    EXPECT_EQ(Engine->pState.Get("PopupFont").Length(), FONTVALUE_LENGTH);
}

TEST_F(MainWindow, AScreenReaderReadsAnAlertAndPressesItsButtons) {
    Open(TWO_ITEMS);
    Window->PostAlert({.Text = "New mail\n\x1b[b]Anna: \x1b[n]Hello\n\x1b[*=" NUMBER(
                           COMMAND_RESET_COUNT) "]Reset\x1b[*=" NUMBER(COMMAND_SUSPEND) "]Suspend"});
    Pump();
    ASSERT_TRUE(Window->Alert());
    const ACCESSIBLE alert(Window->Alert()->hWnd);
    EXPECT_EQ(alert.Text(&IAccessible::get_accName, 0), "New mail\nAnna: Hello");
    EXPECT_EQ(alert.Number(&IAccessible::get_accRole, 0), ROLE_SYSTEM_ALERT);
    EXPECT_EQ(alert.Count(), 2);
    EXPECT_EQ(alert.Text(&IAccessible::get_accName, 2), "Suspend");
    EXPECT_EQ(alert->accDoDefaultAction(ACCESSIBLE::Element(2)), S_OK);
    EXPECT_TRUE(PumpUntil([&] { return Engine->Cycle().IsSuspended(); }));
    EXPECT_EQ(Window->Alert(), nullptr);
}

TEST_F(MainWindow, KeysGiveTheirCommandsOnceAndNotWhereTheToolBarNeedsThem) {
    Open(TWO_ITEMS);
    const HWND list = Window->List().Handle(), bar = FindWindowExW(Window->hWnd, nullptr, L"NewToolbar", nullptr);
    PostMessageW(list, WM_KEYDOWN, VK_RETURN, 1);
    PostMessageW(list, WM_KEYDOWN, VK_RETURN, 1 | static_cast<LPARAM>(KF_REPEAT) << 16);
    PostMessageW(bar, WM_KEYDOWN, VK_RETURN, 1);
    PostMessageW(bar, WM_KEYDOWN, VK_F9, 1);
    PostQuitMessage(0);
    EXPECT_EQ(Given([&] { Window->MainDispatchLoop(KEY_TABLE); }),
              NUMBER(COMMAND_ITEM_MAIL_PROGRAM) " " NUMBER(COMMAND_CHECK_ALL) " ");
    BYTE keys[256] = {};
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys);
    SendMessageW(list, WM_KEYDOWN, 'A', 1);
    keys[VK_CONTROL] = 0;
    SetKeyboardState(keys);
    EXPECT_EQ(Window->SelectedItems().size(), 2U);
}

}  // namespace
