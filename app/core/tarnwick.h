#pragma once

#include <functional>
#include <memory>

#include "app/check/checkcycle.h"
#include "app/check/items.h"
#include "app/check/notifier.h"
#include "app/check/trashstore.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/core/arguments.h"
#include "app/core/datafiles.h"
#include "app/mailbox/mapistore.h"
#include "app/notify/notification.h"
#include "corelib/base/locks.h"
#include "corelib/base/recordarray.h"
#include "corelib/system/osys.h"

class DIALUP;
class LEARNING;
class MAILHANDLING;
class MXLOOKUP;
class PROGRAMSTARTER;
class PUSHWATCH;
class SPAMFILTER;

/// The application: owns the settings, the items, the mail types, the mailboxes and the work thread, and wires them.
/// Made, opened, started and destroyed by the front end's thread; the front end, the notifier, the words and the texts
/// outlive it.
class TARNWICK {
 public:
    /// The listener is told of all that checks find, beside the user. programs: how programs are started, null for the
    /// platform's own way.
    TARNWICK(FRONTEND& frontEnd, NOTIFIER& listener, const ARGUMENTS& arguments, const TEXTS& texts,
             const CHECKTIMES& times = {}, PROGRAMSTARTER* programs = nullptr);
    /// The normal end: waits for the work thread without limit and saves everything, unless EndSession has.
    ~TARNWICK();
    TARNWICK(const TARNWICK&) = delete;
    TARNWICK& operator=(const TARNWICK&) = delete;

    /// Start-up before the work thread: finds (and moves) the data directory, reads all data files, and runs the wizard
    /// where it must; the front end may use this object while it does. False if the program cannot run; StartError()
    /// then says why, for a person, and nothing was written.
    [[nodiscard]] bool Open();
    const STRING& StartError() const { return Error; }

    /// Starts the work thread; with the switch "CHECK" all items are forced.
    void Start();
    /// Asks the work thread to end, which it tells by FRONTEND::PostQuit. Any thread.
    void Stop();
    /// The session ends: waits for the work thread and saves now, as the process may not get further. `meanwhile`
    /// keeps the front end's window alive until PostQuit has been called.
    void EndSession(const std::function<void()>& meanwhile = {});

    /// A new item's record, complete and with a handle of its own, not yet in the table. The caller sets its values.
    STRINGARRAY NewItem();
    /// Appends a copy of the record to the table, forces its check with popup 0 and saves the items, which sorts them;
    /// false if they could not be written.
    [[nodiscard]] bool AddItem(const STRINGARRAY& item);
    /// Takes the item out of the table; false if it is being checked, or there is none. The caller saves
    /// the table once it has taken the last one.
    bool RemoveItem(int index);
    /// The item with that handle, null if it is gone (0: there is none).
    STRINGARRAY* FindItem(int handle) { return ::FindItem(Items, handle); }
    /// Index of the item with that handle or name (without regard to case), -1 if none.
    int FindHandle(int handle) const { return ::FindHandle(Items, handle); }
    int FindName(const char* name) const { return Items.FindRecord("Name", name); }
    /// The handles of those whose sealed passwords could not be opened.
    std::vector<int> LockedAccounts() const;
    /// Requests a check of every item.
    void ForceRefreshAll(bool popup);

    /// See DATAFILES. Front end's thread; SAVE_ALL is the end's own.
    [[nodiscard]] bool SaveTables(int mask) { return Files && Files->SaveTables(mask); }
    [[nodiscard]] bool SaveSettings() { return Files && Files->SaveSettings(); }

    const STRING& DataDir() const { return Directory; }
    /// The path of a file in the data directory.
    STRING DataFile(const char* name) const { return OSYS::FilePath(Directory.Ptr(), name); }
    CHECKCYCLE& Cycle() { return *Check; }
    MAILHANDLING& Mailboxes() { return *Mail; }
    SPAMFILTER& Filter() { return *Spam; }
    /// The session of the local message store; Start begins it where an item needs it.
    MAPISTORE& Mapi() { return Store; }
    /// Whether the server of the item with that handle tells of news at the moment. Any thread.
    bool IsToldOfNews(int handle) const;
    LEARNING& Lessons() { return *Learnt; }
    TRASHSTORE& Trash() { return TrashStore; }
    NOTIFICATION& Notification() { return Teller; }
    /// The mail servers of domains, for whoever makes a filter of its own.
    MXLOOKUP& MailServers() { return *Mx; }
    /// How the platform starts programs.
    PROGRAMSTARTER& Programs() { return Starter; }
    const TEXTS& Texts() const { return TextTable; }

    STRINGARRAY pState;  // the settings
    RECORDARRAY Items;
    RECORDARRAY Types;

    /// Guards the item list on the screen, and the removal of an item against the one who draws it.
    MUTEXSEM listviewMutex;

 private:
    /// oldDirectory: where the data lay before, if they have moved.
    [[nodiscard]] bool FindDataDir(STRING& oldDirectory);
    /// False, with Error set, if another process has the directory.
    [[nodiscard]] bool LockDataDir(const STRING& directory, OSYS::FILEHANDLE& lock);
    void RemoveLeftoversIfLocked();
    /// The data directory is known: so is where logs and the last popup go.
    void SettleOwnFiles();
    void OpenLessons();
    void SaveAll();

    FRONTEND& FrontEnd;
    const ARGUMENTS& Arguments;
    const TEXTS& TextTable;

    int NextHandle;
    STRING Directory;
    STRING Error;
    OSYS::FILEHANDLE DirectoryLock;
    std::unique_ptr<DATAFILES> Files;
    std::unique_ptr<DIALUP> Dialler;
    std::unique_ptr<MAILHANDLING> Mail;
    std::unique_ptr<MXLOOKUP> Mx;
    std::unique_ptr<LEARNING> Learnt;
    std::unique_ptr<SPAMFILTER> Spam;
    TRASHSTORE TrashStore;
    const std::unique_ptr<PROGRAMSTARTER> OwnStarter;
    PROGRAMSTARTER& Starter;
    NOTIFICATION Teller;
    std::unique_ptr<PUSHWATCH> Push;
    std::unique_ptr<CHECKCYCLE> Check;
    MAPISTORE Store;
    bool Saved = false;
};
