#pragma once

#include <memory>
#include <vector>

#include "app/inbox/mailrows.h"
#include "corelib/window/listview.h"
#include "corelib/window/menus.h"
#include "corelib/window/toolbar.h"
#include "corelib/window/window.h"

class MAINWINDOW;
class TARNWICK;

/// The window with the mails of one account as they lie on the server: a pane of the main window, or a window of its
/// own. What it shows and does is decided by MAILROWS. User-interface thread.
class INBOX : public WINDOW {
 public:
    /// Both outlive it.
    INBOX(MAINWINDOW& main, TARNWICK& application, bool isPane);
    ~INBOX() override;
    INBOX(const INBOX&) = delete;
    INBOX& operator=(const INBOX&) = delete;
    /// Makes what is in the window, and shows it. Once, before anything else.
    void Open();

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;
    /// Shows which of its commands are possible.
    virtual void UpdateMenu(MENU& menu) const;
    virtual void FillListview();
    virtual void CreateToolbar();
    virtual void CreateColumns();
    virtual void AutoWidth();
    /// Carries the marks out, after a question where the settings want one. automatic: not by a command of the person.
    virtual void ApplyChanges(bool automatic);
    virtual int GetIcon(int mail) const { return Mails->Picture(mail); }
    /// True if it has done something.
    virtual bool DoCommand(int command);
    virtual void ArrangeControls();
    /// The mails of that item, after the marks of the one so far have been carried out; null: the present item's anew,
    /// without their marks.
    virtual void Show(const STRINGARRAY* item);
    /// Handle of the item shown, -1 if there is none.
    virtual int GetItemHandle() const { return Item; }
    virtual bool IsPane() const { return IsChild; }

    /// Shows the mails anew, with the same ones selected and in sight as far as they are still there. If somebody is
    /// just being asked about them, afterwards.
    void Reload();
    /// True while a dialog of its own is open; the window must not be closed or filled then.
    bool IsBusy() const { return Busy > 0; }
    /// Whether a key that control gets is one of the Inbox's: never means an account then.
    bool TakesKey(HWND control, WPARAM key) const {
        return (control == hWnd || ::IsChild(hWnd, control)) && KeyCommand(key) != 0;
    }
    const LISTVIEW& ListOfMails() const { return *List; }

 protected:
    /// What another window of mails has in place of the Inbox's.
    struct FORM {
        int Menu, PopupMenuId;
        const char *Position, *HidesToolbar;  // a value of the registry; a setting, or null
        UINT Closed;                          // told to the main window
        bool HasFetchButton;
    };
    INBOX(MAINWINDOW& main, TARNWICK& application, bool isPane, const FORM& form, std::unique_ptr<MAILROWS> mails);

    /// For as long as a dialog of the window is open.
    class BUSYHOLD {
     public:
        explicit BUSYHOLD(INBOX& inbox) : Inbox(inbox) { ++Inbox.Busy; }
        ~BUSYHOLD();
        BUSYHOLD(const BUSYHOLD&) = delete;
        BUSYHOLD& operator=(const BUSYHOLD&) = delete;

     private:
        INBOX& Inbox;
    };

    /// Whether the marked mails may go: there are some, and the person does not say no. what: whose they are.
    bool MayApply(bool automatic, const STRING& what);
    void ShowCount(int text, int howMany);
    /// The selected mails, from top to bottom.
    std::vector<int> SelectedMails() const;
    std::vector<COMMANDSTATE> States() const;
    /// The window's own menu and tool bar, and the main window's menu.
    void UpdateCommands();
    /// The command of a key in the list, 0 for none; and as the table of keys has it, for other windows too.
    int KeyCommand(WPARAM key) const;
    static int KeyTableCommand(WPARAM key);
    STRING ProgramName() const;

    MAINWINDOW& Main;
    TARNWICK& Application;
    const FORM Form;
    const bool IsChild;
    std::unique_ptr<MAILROWS> Mails;

 private:
    void Rescaled(SCALE /*before*/) override { ArrangeControls(); }
    LRESULT OnNotify(NMHDR& notice);
    void Answer(NMLVDISPINFOW& question);
    void OnToolTip(NMTTDISPINFOW& notice) const;
    void OnColumnClick(int column);
    void PlaceFirst();
    void ShowContextMenu(LPARAM place);
    bool Do(int command, const std::vector<int>& selected);
    void Mark(const std::vector<int>& mails, bool marked);
    void AnswerSender(const STRINGARRAY& mail);
    void View(int mail);
    void FetchItem();
    void ShowReason(const STRINGARRAY& mail);
    void ListSenders(int command, const std::vector<int>& mails);
    /// None or one.
    std::vector<int> FocusedMail() const;
    void Select(const std::vector<int>& mails, const std::vector<int>& focused);
    /// Rows for these mails, in the order of the list.
    std::vector<int> RowsOf(const std::vector<int>& mails) const;

    std::unique_ptr<NEWTOOLBAR> Toolbar;
    std::unique_ptr<LISTVIEW> List;
    STRING DefaultMailer;
    std::vector<int> Order;  // the mail of each row
    int Item = -1;
    int Busy = 0;
    bool ReloadWanted = false;
    bool Filling = false;  // what the list tells meanwhile is our own doing
    bool CommandsPosted = false;
};
