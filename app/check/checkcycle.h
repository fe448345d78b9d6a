#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "app/check/items.h"
#include "app/check/notifier.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/mailboxes.h"
#include "corelib/base/locks.h"
#include "corelib/base/recordarray.h"
#include "corelib/base/stopquestion.h"
#include "corelib/system/osys.h"

class DIALUP;
class PUSHWATCH;
class SPAMFILTER;
class TRASHSTORE;

/// Periods and pauses of the check cycle.
struct CHECKTIMES {
    int TurnMs = 500;         // one turn of the work loop
    int SleepSeconds = 15;    // missing between two turns, in which the machine must have slept
    int SettleSeconds = 5;    // a connection that came up by itself is used when more than this has passed
    int PopupPauseMs = 2500;  // between the popups of two items
};

/// What the check cycle works with; all of it outlives the cycle.
struct CHECKPARTS {
    STRINGARRAY& State;  // the settings
    RECORDARRAY& Items;
    FRONTEND& FrontEnd;
    const TEXTS& Texts;
    MAILBOXES& Mailboxes;
    SPAMFILTER& Filter;
    TRASHSTORE& Trash;
    NOTIFIER& Notifier;
    DIALUP& Dialup;
    CHECKTIMES Times = {};
    PUSHWATCH* Push = nullptr;  // who is told of news by servers, if there is one
};

/// The work thread: decides twice a second whether the machine is online and which item is due, and checks one item
/// after the other.
class CHECKCYCLE {
 public:
    explicit CHECKCYCLE(CHECKPARTS parts);
    /// Stops the thread and waits for it without limit.
    ~CHECKCYCLE();
    CHECKCYCLE(const CHECKCYCLE&) = delete;
    CHECKCYCLE& operator=(const CHECKCYCLE&) = delete;

    /// Starts the work thread, unless it runs; Stop asks it to end (any thread), Wait waits for that (timeout in ms, or
    /// WAIT_FOREVER) and is true when no thread runs. Start and Wait belong to one thread. A check that is under way
    /// then leaves its item as it was.
    void Start();
    void Stop() { stopRequested = true; }
    bool Wait(int timeout);
    bool IsRunning() const { return running; }

    /// The work thread's body. It ends when Stop was called, and tells the front end by PostQuit.
    unsigned WorkThread();
    /// One turn of the loop without its pause.
    void Turn();

    /// Another reason to end, for callers that check items without the thread. Before the first check.
    void SetStopQuestion(STOPQUESTION stopAsked) { StopAsked = std::move(stopAsked); }

    /// Checks one item if it is due and free. Work thread.
    void UpdateItem(STRINGARRAY& item);
    /// True if the item is to be checked now. A LastRefresh that lies in the future (the clock was set back) is set to
    /// the present time.
    static bool NeedsRefresh(STRINGARRAY& item);
    /// Stamps the item as checked. forced: the check has answered a request, and not only its time had come.
    static void Refreshed(STRINGARRAY& item, bool forced = true);
    /// Requests one more check, for which popup means that the user wants an answer even if nothing is new. Any
    /// thread.
    static void ForceRefresh(STRINGARRAY& item, bool popup);
    /// A mailbox of that Type has said that it has changed: one more check of its items is enough, however often it
    /// says so, and nobody waits for an answer. Any thread.
    void ForceRefreshType(int type);
    /// The same of the mailbox of the item with that handle, if it still is there.
    void ForceRefreshItem(int handle);
    /// The machine may have slept. Any thread.
    void ConnectAnew();
    /// kind: ITEMSTATE_LOCKED or ITEMSTATE_INUPDATE; value 0 or 1: true on success, false if the other of the two
    /// states holds. value ITEMSTATE_ASK: true if the item is in a check. Any thread.
    bool SetItemState(STRINGARRAY& item, int kind, int value);
    /// Takes the item at index out of the table; false if it is in a check or just in the work thread's hands, or if
    /// there is none. The one safe way to delete an item while the thread runs.
    bool RemoveItem(int index);
    /// True if checks may run now.
    bool IsOnline();
    /// The mails of all items by their last checks: unread ones if mode is not 0, all if it is 0; -1 takes the mode
    /// from the settings. allUnknown: no item knows its unread mails (also without items); errorMark: an item has
    /// failed. Both may be null. Any thread.
    int CountMails(int mode, bool* allUnknown, bool* errorMark);
    /// The names of the items whose last check has failed, joined by ", ". Any thread.
    STRING FailedItems();

    bool IsUpdating() const { return updating; }
    bool IsSuspended() const { return suspended; }
    void SetSuspended(bool value) { suspended = value; }
    /// Any thread.
    bool IsStopRequested() const { return stopRequested || (StopAsked && StopAsked()); }
    /// The mail program was started in the present pass over the items.
    bool WasStartedThisPass() const { return startedThisPass; }
    void SetStartedThisPass() { startedThisPass = true; }
    /// Remembers a count that the tray shows, so that only a change of it draws the tray anew.
    void SetShownCount(int count) { shownCount = count; }

 private:
    static unsigned ThreadBody(void* cycle);
    void Pause(int ms);
    void LookForSleep();
    void Look();
    bool MayCheck();
    void WatchForNews();
    void NewsOf(STRINGARRAY& item);
    void DialIfDue();
    void WalkItems();
    void ShowCounts();
    void DialFailed(const STRING& error);
    void EndDialling();
    STRINGARRAY* TakeItem(int index);
    void GiveItemBack();
    bool CheckItem(STRINGARRAY& item, int handle, bool& popupOpened);
    [[nodiscard]] bool CarryOutDisposal(STRINGARRAY& item, STRING& error);

    CHECKPARTS Parts;
    STOPQUESTION StopAsked;
    MUTEXSEM itemMutex;  // transitions of @Locked and @InUpdate, and walks that the removal of an item must not meet
    STRINGARRAY* inHands = nullptr;  // the item that the work thread looks at; under itemMutex
    OSYS::THREADHANDLE hThread;
    std::atomic<bool> running = false;
    std::atomic<bool> stopRequested = false;
    std::atomic<bool> suspended = false;
    std::atomic<bool> updating = false;
    std::atomic<bool> startedThisPass = false;
    std::atomic<int> shownCount = 0;

    // The work thread's own.
    int lastCount = 0;
    int lastOnline = -1;
    int lastErrorMark = -999;
    STRING lastFailed;
    int64_t lastTurn = 0;     // seconds since 1970, at its end
    int64_t onlineSince = 0;  // seconds since 1970, 0 when offline or dialled by this cycle
    STRING dialledEntry;      // of the connection that this cycle has dialled; null without one
};
