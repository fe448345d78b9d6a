#pragma once

#include <atomic>
#include <cstdint>

#include "app/check/notifier.h"
#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/mailbox/mailboxes.h"
#include "corelib/base/locks.h"
#include "corelib/base/recordarray.h"
#include "corelib/system/osys.h"

class DIALUP;

/// Periods and pauses of the check cycle. Tests shrink them.
struct CHECKTIMES {
    int TurnMs = 500;        // one turn of the work loop
    int SettleSeconds = 5;   // a connection that came up by itself is used when more than this has passed
    int PopupPauseMs = 2500; // between the popups of two items
};
extern CHECKTIMES CheckTimes;

/// What the check cycle works with; all of it outlives the cycle.
struct CHECKPARTS {
    STRINGARRAY& State;  // the settings
    RECORDARRAY& Items;
    FRONTEND& FrontEnd;
    const TEXTS& Texts;
    MAILBOXES& Mailboxes;
    NOTIFIER& Notifier;
    DIALUP& Dialup;
};

/// The work thread: decides twice a second whether the machine is online and which item is due, and checks one item
/// after the other.
class CHECKCYCLE {
public:
    explicit CHECKCYCLE(CHECKPARTS parts);

    /// Starts the work thread; Stop asks it to end, Wait waits for that (timeout in ms) and is true when it has.
    void Start();
    void Stop() { stopRequested = true; }
    bool Wait(int timeout);
    bool IsRunning() const;

    /// The work thread's body. It ends when Stop was called, and tells the front end by PostQuit.
    unsigned WorkThread();
    /// One turn of the loop without its pause.
    void Turn();

    void UpdateItem(STRINGARRAY& item);
    bool NeedsRefresh(STRINGARRAY& item);
    void Refreshed(STRINGARRAY& item);
    void ForceRefresh(STRINGARRAY& item, int popup);
    /// kind: ITEMSTATE_LOCKED or ITEMSTATE_INUPDATE; value 0, 1, or -1 to ask. See items.h.
    int SetItemState(STRINGARRAY& item, int kind, int value);
    bool IsOnline();
    int CountMails(int mode, bool* allUnknown, bool* errorMark);

    bool IsUpdating() const { return updating; }
    bool IsSuspended() const { return suspended; }
    void SetSuspended(bool value) { suspended = value; }
    bool IsStopRequested() const { return stopRequested; }

private:
    // completed by the implementation
    CHECKPARTS Parts;
    std::atomic<bool> stopRequested = false;
    std::atomic<bool> suspended = false;
    std::atomic<bool> updating = false;
};
