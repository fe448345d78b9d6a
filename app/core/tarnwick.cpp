#include "app/core/tarnwick.h"

#include <utility>

#include "app/check/dialup.h"
#include "app/check/pushwatch.h"
#include "app/core/datadir.h"
#include "app/filter/spamfilter.h"
#include "app/mailbox/mailhandling.h"
#include "app/notify/mailprogram.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/crashreport.h"

TARNWICK::TARNWICK(FRONTEND& frontEnd, NOTIFIER& listener, const ARGUMENTS& arguments, const TEXTS& texts,
                   const CHECKTIMES& times, PROGRAMSTARTER* programs)
    : pState(64, 64),
      Items(64, 64),
      Types(64, 64),
      FrontEnd(frontEnd),
      Arguments(arguments),
      TextTable(texts),
      NextHandle(FIRST_ITEM_HANDLE),
      Dialler(std::make_unique<WINRAS>()),
      Mail(std::make_unique<MAILHANDLING>(frontEnd, texts, pState)),
      Mx(std::make_unique<SYSTEMMXLOOKUP>()),
      Learnt(std::make_unique<LEARNING>(pState)),
      Spam(std::make_unique<SPAMFILTER>(pState, texts, frontEnd, *Mx)),
      OwnStarter(programs ? nullptr : MakeProgramStarter()),
      Starter(programs ? *programs : *OwnStarter),
      Teller(pState, Items, Types, frontEnd, texts, Starter),
      Push(std::make_unique<PUSHWATCH>([this](int handle) { Check->ForceRefreshItem(handle); },
                                       [this](int handle, bool active) { FrontEnd.ToldOfNews(handle, active); })),
      Check(std::make_unique<CHECKCYCLE>(
          CHECKPARTS{pState, Items, frontEnd, texts, *Mail, *Spam, TrashStore, Teller, *Dialler, times, Push.get()})),
      Store([this] { Check->ForceRefreshType(ITEMTYPE_MAPI); }) {
    Mail->SetMapi(&Store);
    Mail->SetRoomMaker([this](const STRINGARRAY& item) {
        return Push->MakeRoom(item.GetNumber("@Handle"), MAILACCOUNT::Address(item));
    });
    const STOPQUESTION stopAsked = [this] { return Check->IsStopRequested(); };
    Mail->SetStopQuestion(stopAsked);
    Spam->SetStopQuestion(stopAsked);
    Spam->SetLearning(Learnt.get());
    Mx->SetStopQuestion(stopAsked);
    Teller.SetListener(&listener);
    Teller.SetCycle(Check.get());
}

TARNWICK::~TARNWICK() {
    Stop();
    Check->Wait(WAIT_FOREVER);
    Push->End();
    Store.End();
    Trace("TARNWICK::~TARNWICK hMapiClass completed\n");
    Trace("TARNWICK::~TARNWICK hThread completed\n");
    if (Files && !Saved) {
        SaveAll();
    }
    Trace("TARNWICK::~TARNWICK done\n");
}

bool TARNWICK::Open() {
    STRING oldDirectory;
    if (!FindDataDir(oldDirectory)) {
        Trace("TARNWICK::Open %s\n", Error.Text());
        return false;
    }
    SettleOwnFiles();
    TrashStore.SetDirectory(Directory);
    // Each copy tries again, and tells.
    (void)OSYS::MakeDirectories(TrashStore.Directory().Text());
    Files = std::make_unique<DATAFILES>(DATATABLES{pState, Items, Types, NextHandle, FrontEnd, TextTable},
                                        Directory.Text());
    Files->RenameOldFiles();
    Files->LoadSettings();
    STRING unused;
    Mx->GetAddr(nullptr, unused, unused);
    Files->LoadTables();
    for (const bool sealed : {false, true})
        if (ASCII::Equal(Arguments.GetArgValue("PASSWORDS", 0).View(), sealed ? "sealed" : "plain"))
            (void)Files->StorePasswords(sealed);  // the end of the run writes them again
    Files->UpgradeSettings(Dialler->EnumEntries());
    if (oldDirectory.NotNull()) {
        // Settings of an older name have just been read, and a move may have left all files where they were.
        Files->MovePaths(oldDirectory.Text());
        (void)Files->SaveSettings();  // the end of the run writes them again
    }
    OpenLessons();
    return true;
}

void TARNWICK::OpenLessons() {
    const STRING file = DataFile(LEARNED_FILE);
    STRING kept;
    const LEARNING::OPENED opened = Learnt->Open(file, kept);
    if (opened == LEARNING::OPENED::GOOD)
        return;
    const bool damaged = opened == LEARNING::OPENED::DAMAGED;
    STRING text = TextTable.Get(damaged ? TEXT_LEARNED_DAMAGED : TEXT_LEARNED_LEFT_ALONE);
    text.Replace("$FILE", FILES::NativePath((damaged ? kept : file).Text()).Text());
    FrontEnd.ShowMessage(TextTable.Get(TEXT_PRODUCT), text);
}

bool TARNWICK::FindDataDir(STRING& oldDirectory) {
    const STRING product = TextTable.Get(TEXT_REGISTRY_NAME);
    STRING pending;
    Directory = GetDataDir(Arguments, product.Text(), product.Text(), pending);
    if (!OSYS::FileIsDirectory(Directory.Text())) {
        Error = DataDirText(TextTable, TEXT_DIR_MISSING, Directory);
        return false;
    }
    if (!LockDataDir(Directory, DirectoryLock)) {
        return false;
    }
    RemoveLeftoversIfLocked();
    if (!pending.NotNull()) {
        return true;
    }
    STRING newDirectory = pending;
    newDirectory.ChopFirst('*');
    // The new place too must be nobody else's before files go there. Our own is not asked twice: it would look taken.
    OSYS::FILEHANDLE newLock;
    const bool made = OSYS::MakeDirectories(newDirectory.Text());
    const bool same = made && FILES::SamePlace(newDirectory.Text(), Directory.Text());
    if (made && !same && !LockDataDir(newDirectory, newLock)) {
        return false;
    }
    const auto settle = [this](const STRING& newDir) {
        return DATAFILES::MoveStoredPaths(Directory.Text(), newDir.Text());
    };
    if (MoveDataDir(FrontEnd, TextTable, product.Text(), Directory.Text(), pending.Text(), "*.*", settle) && !same) {
        oldDirectory = Directory;
        Directory = newDirectory;
        DirectoryLock = std::move(newLock);
        RemoveLeftoversIfLocked();
    }
    return true;
}

void TARNWICK::RemoveLeftoversIfLocked() {
    // Without the lock they may be what another copy is writing.
    if (DirectoryLock.IsOpen()) {
        RemoveLeftovers(Directory);
    }
}

void TARNWICK::SettleOwnFiles() {
    FILES::SetDataDirectory(Directory.Text());
    CRASHREPORT::Settle();
    // A directory that was named for this run has a last popup of its own: it tells of other mailboxes.
    Teller.SetPopupFile(Arguments.TestArgValue("WORKDIR", 0) ? DataFile(LAST_POPUP_FILE)
                                                             : FILES::OwnFile(LAST_POPUP_FILE));
    const STRING refused = SettleLog();
    if (refused.NotNull()) {
        STRING text = TextTable.Get(TEXT_LOG_REFUSED);
        text.Replace("$FILE", FILES::NativePath(refused.Text()).Text());
        FrontEnd.ShowMessage(TextTable.Get(TEXT_PRODUCT), text);
    }
}

bool TARNWICK::LockDataDir(const STRING& directory, OSYS::FILEHANDLE& lock) {
    const STRING path = OSYS::FilePath(directory.Ptr(), DATADIR_LOCKFILE);
    lock = OSYS::OpenFile(path.Text(), "w");
    if (!lock.IsOpen() && OSYS::FileExists(path.Text())) {
        Error = DataDirText(TextTable, TEXT_DIR_IN_USE, directory);
        return false;
    }
    return true;  // without a lock where none can be made: such a directory can be read all the same
}

void TARNWICK::Start() {
    for (int i = 0; i < Items.Count(); ++i) {
        if (MAILACCOUNT::Kind(Items[i]).HasSession) {
            Store.Begin();
        }
    }
    Check->Start();
    if (Arguments.TestArg("CHECK")) {
        ForceRefreshAll(true);
    }
}

void TARNWICK::Stop() {
    Check->Stop();
    Push->Stop();
}

bool TARNWICK::IsToldOfNews(int handle) const {
    return Push->IsActive(handle);
}

void TARNWICK::EndSession(const std::function<void()>& meanwhile) {
    Trace("WM_ENDSESSION\n");
    Stop();
    // The system may not wait until the check under way has ended.
    if (Files && Check->IsRunning())
        (void)SaveTables(SAVE_ITEMS);  // once more below
    if (meanwhile && Check->IsRunning())
        meanwhile();
    Check->Wait(WAIT_FOREVER);
    Push->End();
    Saved = true;
    if (Files) {
        SaveAll();
    }
    FrontEnd.PostQuit();
    Trace("WM_ENDSESSION -> saved all and QUIT posted\n");
}

void TARNWICK::SaveAll() {
    // The trace tells of a failure: the run is over, and nobody may be asked when the session ends.
    (void)Files->SaveTables(SAVE_ALL);
    (void)Learnt->Close();
    (void)Files->SaveSettings();
}

std::vector<int> TARNWICK::LockedAccounts() const {
    std::vector<int> locked;
    for (int i = 0; i < Items.Count(); ++i) {
        if (MAILACCOUNT::IsPasswordLocked(Items[i]))
            locked.push_back(Items[i].GetNumber("@Handle"));
    }
    return locked;
}

STRINGARRAY TARNWICK::NewItem() {
    STRINGARRAY item(64, 64);
    FixItem(item, pState, NextHandle, true);
    return item;
}

bool TARNWICK::AddItem(const STRINGARRAY& item) {
    auto record = std::make_unique<STRINGARRAY>(item);
    CHECKCYCLE::ForceRefresh(*record, false);
    Items.AddOwned(std::move(record));
    return SaveTables(SAVE_ITEMS);
}

bool TARNWICK::RemoveItem(int index) {
    return Check->RemoveItem(index);
}

void TARNWICK::ForceRefreshAll(bool popup) {
    for (int i = 0; i < Items.Count(); ++i) {
        CHECKCYCLE::ForceRefresh(Items[i], popup);
    }
}
