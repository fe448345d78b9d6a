#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/check/items.h"
#include "app/check/notifier.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/windowids.h"
#include "corelib/window/widetext.h"
#include "tests/support/testsupport.h"
#include "tests/support/windowtest.h"

/// The program's window over data of a test's own, in English, with the work thread only where a test starts it.
class DESKTOPTEST : public ::testing::Test {
 protected:
    DESKTOPTEST() { DesktopTimes = {.TrayStartMs = 1, .AlertReadMs = 1, .AlertRightClickMs = 1}; }
    ~DESKTOPTEST() override {
        Close();
        SetResourceModule(nullptr);
        DesktopTimes = DESKTOPTIMES();
        CheckTimes = CHECKTIMES();
    }

    /// items: the content of accounts.ini, settings: that of tarnwick.ini.
    void Open(const std::string& items, const std::string& settings = {}, const char* language = "ENGL") {
        WriteBytes(Data.File("tarnwick.ini"), "ConnectionType=0\r\nVersion=2.02\r\n" + settings);
        WriteBytes(Data.File("accounts.ini"), items);
        const STRING line = STRING("/LANG:") || language || " \"/WORKDIR:" || Data.Path() || "\"";
        App = std::make_unique<VELMORAAPP>(ARGUMENTS("tarnwick", line.Text()));
        ASSERT_EQ(App->Start(NoFrontEnd), 0);
        Resources = LoadLibraryExW(ResourceFile ? ResourceFile : WideText(App->LibraryPath()).c_str(), nullptr,
                                   LOAD_LIBRARY_AS_DATAFILE);
        SetResourceModule(Resources);
        Window = std::make_unique<MAINWINDOW>(*App);
        Engine = std::make_unique<TARNWICK>(*Window, Nobody, App->Arguments(), App->Texts());
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
        FreeLibrary(Resources);
        Pump();
    }
    int Handle(const char* name) { return Engine->Items[Engine->FindName(name)].GetNumber("@Handle"); }
    /// Name and result of each row, as the list shows them.
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        const HWND list = Window->List().Handle();
        for (int i = 0; i < ListView_GetItemCount(list); ++i)
            rows.push_back(Cell(i, 0) + "|" + Cell(i, 1));
        return rows;
    }
    std::string Cell(int row, int column) {
        wchar_t text[300] = L"";
        LVITEMW item{};
        item.iSubItem = column;
        item.pszText = text;
        item.cchTextMax = 300;
        SendMessageW(Window->List().Handle(), LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                     reinterpret_cast<LPARAM>(&item));
        return Std(FromWide(text));
    }
    void Select(int row, bool selected = true) {
        ListView_SetItemState(Window->List().Handle(), row, selected ? LVIS_SELECTED : 0, LVIS_SELECTED);
        Pump();
    }
    bool IsEnabled(int command) {
        return !(GetMenuState(GetMenu(Window->hWnd), static_cast<UINT>(command), MF_BYCOMMAND) & MF_GRAYED);
    }
    bool IsChecked(int command) {
        return GetMenuState(GetMenu(Window->hWnd), static_cast<UINT>(command), MF_BYCOMMAND) & MF_CHECKED;
    }

    TEMPDIR Data;
    FRONTEND NoFrontEnd;
    NOTIFIER Nobody;
    const wchar_t* ResourceFile = nullptr;  // in place of the language library's menus, dialogs and pictures
    HMODULE Resources = nullptr;
    std::unique_ptr<VELMORAAPP> App;
    std::unique_ptr<MAINWINDOW> Window;
    std::unique_ptr<TARNWICK> Engine;
};
