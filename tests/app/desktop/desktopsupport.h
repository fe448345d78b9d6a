#pragma once

#include "app/check/items.h"
#include "app/check/mailrecords.h"
#include "app/check/notifier.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "corelib/window/widetext.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"
#include "tests/support/windowtest.h"

/// Two accounts, one with mail and one that failed, of which none is checked.
inline constexpr const char* TWO_ITEMS =
    "[#0]\r\nName=beta\r\nType=1\r\nUpdateSuspended=1\r\nLastValue=3 mails|x\r\nLastRC=3|1\r\n\r\n"
    "[#1]\r\nName=Alpha\r\nType=1\r\nUpdateSuspended=1\r\nLastRC=0E|0E\r\n\r\n";

/// How a menu's entries look, in their order: "-" before a command that is not possible, "+" before one with a mark.
inline std::string MenuLook(HMENU menu) {
    std::string look;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        if (const HMENU below = GetSubMenu(menu, i)) {
            look += MenuLook(below);
            continue;
        }
        const UINT state = GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION);
        const std::string mark = std::string(state & MF_GRAYED ? "-" : "") + (state & MF_CHECKED ? "+" : "");
        if (!mark.empty() && !(state & MF_SEPARATOR))
            look += mark + std::to_string(GetMenuItemID(menu, i)) + " ";
    }
    return look;
}

/// How the menu looks that pops up; "no menu" if none does. It is closed again, as soon as `close` says so.
inline std::string PopupLook(
    const std::function<void()>& open, const std::function<bool()>& close = [] { return true; }) {
    constexpr UINT MN_GETMENU = 0x1E1;
    std::string look = "no menu";
    bool seen = false;
    std::function<void()> see = [&] {
        if (!close()) {
            Later(see);
            return;
        }
        const HWND window = FindWindowW(L"#32768", nullptr);
        if (window && IsWindowVisible(window))
            look = MenuLook(reinterpret_cast<HMENU>(SendMessageW(window, MN_GETMENU, 0, 0)));
        EndMenu();
        seen = true;
    };
    Later(see);
    open();
    EXPECT_TRUE(seen || PumpUntil([&] { return seen; }));
    return look;
}

/// The program's window over data of a test's own, in English, with the work thread only where a test starts it.
class DESKTOPTEST : public ::testing::Test {
 protected:
    DESKTOPTEST() { SHRINKABLE::ScrollLockSettleMs = 1; }
    ~DESKTOPTEST() override {
        Close();
        SHRINKABLE::ScrollLockSettleMs = 1000;
    }

    /// items: the content of accounts.ini, settings: that of tarnwick.ini.
    void Open(const std::string& items, const std::string& settings = {}, const char* language = "ENGL") {
        WriteBytes(Data.File("tarnwick.ini"), "ConnectionType=0\r\nVersion=" + Version + "\r\n" + settings);
        WriteBytes(Data.File("accounts.ini"), items);
        const STRING line = STRING("/LANG:") || language || " \"/WORKDIR:" || Data.Path() || "\"";
        App = std::make_unique<VELMORAAPP>(ARGUMENTS("tarnwick", line.Text()));
        ASSERT_EQ(App->Start(NoFrontEnd), 0);
        Resources = std::make_unique<RESOURCELIBRARY>(App->LibraryPath());
        Window = std::make_unique<MAINWINDOW>(
            *App, DESKTOPTIMES{.TrayStartMs = 1, .AlertReadMs = 1, .AlertRightClickMs = 1, .AlertDeafMs = 0});
        Engine = std::make_unique<TARNWICK>(*Window, Nobody, App->Arguments(), App->Texts(), Checks, Programs);
        Window->SetApplication(Engine.get());
        ASSERT_TRUE(Engine->Open()) << Std(Engine->StartError());
        Window->Begin(false);
        Pump();
    }
    void Close() {
        if (!Window)
            return;
        Window->End();
        Engine.reset();
        Window->SetApplication(nullptr);
        Window.reset();
        App.reset();
        Resources.reset();
        Pump();
    }
    int Handle(const char* name) { return Engine->Items[Engine->FindName(name)].GetNumber("@Handle"); }
    /// Name and result of each row, as the list shows them.
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        const LISTVIEW list(Window->List().Handle());
        for (int i = 0; i < list.Count(); ++i)
            rows.push_back(Std(list.GetItemText(i, 0) || "|" || list.GetItemText(i, 1)));
        return rows;
    }
    void Select(int row, bool selected = true) {
        LISTVIEW(Window->List().Handle()).Select(row, selected);
        Pump();
    }
    /// Whether the settings have been stored with that line.
    bool IsStored(const std::string& line) {
        return ("\n" + ReadBytes(Data.File("tarnwick.ini"))).find("\n" + line + "\r") != std::string::npos;
    }
    void Command(int command) {
        SendMessageW(Window->hWnd, WM_COMMAND, static_cast<WPARAM>(command), 0);
        Pump();
    }
    /// The numbers of the commands that come to the window while `act` runs. None of them is carried out.
    std::string Given(const std::function<void()>& act) {
        static std::string given;
        given.clear();
        Window->SetHook([](WINDOW&, UINT message, WPARAM first, LPARAM, LRESULT*) {
            if (message == WM_COMMAND)
                given += std::to_string(LOWORD(first)) + " ";
            return message == WM_COMMAND;
        });
        act();
        Window->SetHook(nullptr);
        return given;
    }
    /// A check of the first account has found a mail, as the work thread tells it.
    void TellNewMail() {
        Engine->pState.Set("SoundEmail", Data.File("accounts.ini"));  // any file that is there
        std::thread([this] {
            MAILRECORDS records;
            const std::vector<int> none;
            Engine->Notification().NewMail(Engine->Items[0], {records, none, false, false, false, "", ""});
        }).join();
        Pump();
    }
    /// Is the window's timer running? Its next tick is then a long time off: tests give the ticks.
    bool HasTimer(UINT_PTR timer) {
        const bool has = KillTimer(Window->hWnd, timer);
        if (has)
            SetTimer(Window->hWnd, timer, 3600000, nullptr);
        return has;
    }
    void Tick(UINT_PTR timer) {
        SendMessageW(Window->hWnd, WM_TIMER, timer, 0);
        Pump();
    }

    TEMPDIR Data;
    FRONTEND NoFrontEnd;
    NOTIFIER Nobody;
    std::unique_ptr<RESOURCELIBRARY> Resources;
    std::unique_ptr<VELMORAAPP> App;
    std::unique_ptr<MAINWINDOW> Window;
    CHECKTIMES Checks;                   // of the engine that Open makes
    PROGRAMSTARTER* Programs = nullptr;  // its own, null: the platform's
    std::string Version = "2.02";        // that has written the settings
    std::unique_ptr<TARNWICK> Engine;
};
