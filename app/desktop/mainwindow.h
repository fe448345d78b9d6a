#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "app/common/frontend.h"
#include "app/core/commands.h"
#include "app/desktop/alertwindow.h"
#include "app/desktop/formpage.h"
#include "app/desktop/itemlist.h"
#include "app/desktop/uicalls.h"
#include "app/notify/mailprogram.h"
#include "corelib/window/controls.h"
#include "corelib/window/menus.h"
#include "corelib/window/taskbaricon.h"
#include "corelib/window/toolbar.h"
#include "corelib/window/window.h"

class INBOX;
class SPLITTER;
class TARNWICK;
class TRASHCAN;
class VELMORAAPP;

/// The main window's class, by which a second start finds the first.
inline constexpr const char* MAINWINDOW_CLASS = "VelmoraTWWinClass";

/// Pauses in ms.
struct DESKTOPTIMES {
    int TrayStartMs = 300;        // the shell settles before the tray icon is made
    int AlertReadMs = 2000;       // an alert that is replaced can be read a little longer
    int AlertRightClickMs = 800;  // an alert after which the mail program starts
    int AlertDeafMs = 500;        // a click so soon was meant for the alert that stood there before
};

/// The window with the list of items, its menus and tool bar, the tray icon and the alert: the front end of Windows.
/// Lives on the user-interface thread; the operations of FRONTEND may come from any.
class MAINWINDOW : public WINDOW, public FRONTEND {
 public:
    explicit MAINWINDOW(VELMORAAPP& app, const DESKTOPTIMES& times = {});
    ~MAINWINDOW() override;
    MAINWINDOW(const MAINWINDOW&) = delete;
    MAINWINDOW& operator=(const MAINWINDOW&) = delete;

    /// Before the application is opened.
    void SetApplication(TARNWICK* application);
    /// Shows the window with what the application has read.
    void Begin(bool minimized);
    /// After the application's start: what is done once the user sees the window.
    void Started();
    /// From now on a tip comes by itself when the user opens the window, once a day.
    void BeginTips();
    /// Handles messages, with the keys of that table, until PostQuit has been called.
    void MainDispatchLoop(int accelerators);
    /// Before the application goes: keeps what the next run shows again.
    void End();

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;
    /// A command of the menus by its number.
    void DoCommand(int command);
    /// The selected items' handles, in the order of the rows.
    std::vector<int> SelectedItems() const;
    /// The first of these items, null if none is selected.
    STRINGARRAY* FirstSelected() const;
    ITEMLIST& List() { return *Rows; }
    SEMITOOLTIP* Alert() { return AlertWindow.get(); }
    const TASKBARICON* ShownIcon() const { return Tray.get(); }
    /// Null while they are closed.
    INBOX* InboxWindow() { return Inbox.get(); }
    /// Has the Inbox show the one account that is selected, soon.
    void FollowSelection();
    /// The list that has the keyboard whenever the window itself gets it, say after a dialog.
    void KeepFocusAt(HWND list) { FocusedList = list; }
    TRASHCAN* TrashcanWindow() { return Trashcan.get(); }

    // FRONTEND
    void MakeTaskbarIcon() override;
    void MakeNewTooltip() override;
    void SetMainTitle() override;
    void SetStatusLine(const STRING& text) override;
    void ShowStatusLine(bool show) override;
    void ArrangeControls() override;
    void StopBlinking() override;
    void RefreshRow(int handle) override;
    void SetCell(int handle, int column, const STRING& text) override;
    void SetItemStatus(int handle, const STRING& text) override;
    void ListingChanged(int handle) override;
    void PostAlert(const ALERTREQUEST& request) override;
    void PlaySoundFile(const STRING& file) override;
    void StartTimer(int timer, int ms) override;
    void StopTimer(int timer) override;
    void PostStartMailProgram(int handle) override;
    void UpdateCommands() override;
    void ShowMessage(const STRING& title, const STRING& text) override;
    bool AskYesNo(const STRING& title, const STRING& text) override;
    void OfferMailProgram() override;
    void ShowHelp(int topic) override;
    void RunSetupWizard() override;
    void PostQuit() override;

 private:
    bool IsUserThread() const { return GetCurrentThreadId() == UserThread; }
    /// F6 goes from the window into the alert, if one is open. True if it did.
    bool EntersAlert(const MSG& message);
    /// Whether a key may be a command's: it is so once while it is held down, and the focused tool bar and the alert
    /// have keys of their own.
    bool MayBeCommandKey(const MSG& message) const;
    LRESULT OnMessage(UINT message, WPARAM first, LPARAM second);
    // The windows around the list.
    void MakeToolbar();
    void PlaceControls();
    void Rescaled(SCALE before) override;
    void ShowState();
    void ShowState(MENU& menu) const;
    COMMANDCONTEXT CommandContext() const;
    STRING ProgramName() const;
    /// message: the number of its text.
    void ShowSaveError(int message);
    // Messages.
    void OnClose();
    void OnEndSession();
    LRESULT OnNotify(NMHDR& notice);
    void OnToolTip(NMTTDISPINFOW& notice);
    void OnTimer(UINT_PTR timer);
    void Blink();
    void OnTray(WPARAM icon, UINT mouse);
    void OnAlertClick(WPARAM button, LPARAM value);
    void OpenAlert();
    bool HasNextAlert();
    void LetAlertBeRead();
    void ShowNextAlert();
    void CloseAlert();
    /// The end has been asked for, and the work thread may take its time.
    void Vanish();
    // Commands of the window itself.
    bool DoWindowCommand(int command);
    bool DoDialogCommand(int command);
    /// Unless a dialog is open already, which comes to the front then.
    void OpenDialog(void (*dialog)(MAINWINDOW&));
    DIALOGPARTS Parts() const;
    void EditTypes();
    void EditOptions(int page);
    void EditSpam(bool lists, bool expert);
    void EditDataDir();
    void ShowSettings();
    // The windows of mails.
    void OpenInbox(const STRINGARRAY* item);
    /// False if a dialog of it is open, which is brought to the front instead.
    bool CloseInbox();
    /// Opens it, or has an open one show the item.
    void ShowInbox(const STRINGARRAY* item);
    void DeleteInbox(WPARAM window);
    void DeleteTrashcan(WPARAM window);
    void SwitchInbox();
    void SwitchInboxWindow();
    void SwitchTrashcan();
    void OnSplitter();
    void PlaceInbox(int top, int width, int& bottom);
    bool GiveToInbox(int command);
    void ShowAlertItem();
    void ShowAlertMail();
    // The help, on a control of a window of the program, or on a topic of its own.
    void ShowHelpOf(HWND window, int control);
    void ShowHelpOn(int topic, int control = 0);
    // The tip of the day, by itself where that is wanted and in place, and on demand.
    void OfferTip();
    void ShowTip();
    void SaveReport();
    void AddItem();
    void EditItem();
    void EditItem(STRINGARRAY& item);
    void AskPasswords();
    void DeleteItems();
    void EditList(const char* key);
    void ShowContextMenu(LPARAM place);
    void ShowTrayMenu();
    void ShowInFront();

    VELMORAAPP& App;
    const DESKTOPTIMES Times;
    TARNWICK* Application = nullptr;
    const DWORD UserThread;
    UICALLS Calls;
    std::unique_ptr<COMMANDS> Engine;
    std::unique_ptr<NEWTOOLBAR> Toolbar;
    std::unique_ptr<STATUSLINE> StatusLine;
    std::unique_ptr<ITEMLIST> Rows;
    std::unique_ptr<SPLITTER> Splitter;
    HWND FocusedList = nullptr;  // may have gone
    std::unique_ptr<INBOX> Inbox;
    std::unique_ptr<TRASHCAN> Trashcan;
    std::unique_ptr<TASKBARICON> Tray;
    std::unique_ptr<SEMITOOLTIP> AlertWindow;
    std::mutex AlertGuard;
    std::deque<ALERTREQUEST> Alerts;  // that wait to be opened
    int WelcomeTopic = 0;             // of the help, once the window is there
    bool TipsComeByThemselves = true;
    bool TipsBegun = false;
    int TrayIcon = 0;  // its resource number, while it blinks too
    bool BlinkPhase = false;
    bool DialogOpen = false;
    bool AlertWaits = false;  // for the present one to be read
    bool Vanished = false;
    bool InboxIsPane = true;  // or will be, when it opens
    bool SessionEnded = false;
    std::atomic<bool> Quitting = false;  // also where the message of it has been lost
    const UINT TaskbarCreated = RegisterWindowMessageW(L"TaskbarCreated");
};
