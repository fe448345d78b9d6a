#include "app/check/checkcycle.h"

#include <algorithm>
#include <climits>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "app/check/dialup.h"
#include "app/check/disposal.h"
#include "app/check/newmail.h"
#include "app/check/persontext.h"
#include "app/check/pushwatch.h"
#include "app/filter/spamfilter.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"

namespace {

constexpr int RESULT_COLUMN = 1;

// Values of the setting ConnectionType.
constexpr int CONNECTION_PERMANENT = 0;
constexpr int CONNECTION_DIALUP = 1;

constexpr const char* ERROR_PREFIX = "-ERR";
constexpr const char* BROKEN_LISTING = "-ERR Unknown Error";

/// True if a mailbox's text is a listing that can be believed; otherwise it is an error text afterwards. A text that no
/// server would send who has read the mailbox to its end may not make the item forget its mails.
bool TakeListing(STRING& text) {
    if (ASCII::BeginsWith(text.View(), ERROR_PREFIX))
        return false;
    const int count = LISTING::ReadSummary(text).Count;
    std::string_view block;
    const bool broken =
        !ASCII::IsDigit(std::as_const(text)[0]) || (count > 0 && !LISTING::BLOCKCURSOR(text).Next(block));
    if (broken) {
        Trace("TARNWICK::UpdateItem %d mails in a listing of %s\n", LISTING::CountBlocks(text),
              text.Line(0, WORD_NEVERNULL).Text());
        text = BROKEN_LISTING;
    }
    return !broken;
}

/// What the stamp of a check changes in its item.
class STAMP {
 public:
    explicit STAMP(const STRINGARRAY& item) {
        for (size_t i = 0; i < std::size(KEYS); ++i)
            Values[i] = item.Get(KEYS[i]);
    }
    void PutBack(STRINGARRAY& item) const {
        for (size_t i = 0; i < std::size(KEYS); ++i)
            item.Set(KEYS[i], Values[i]);
    }

 private:
    static constexpr const char* KEYS[] = {"LastRefresh", "LastRefreshString", "@ForceRefresh", "@ForcePopup"};
    STRING Values[std::size(KEYS)];
};

/// A check that is under way, which may have listed already, and the one after it.
constexpr int ENOUGH_FORCED = 2;

void ChangeForced(STRINGARRAY& item, int (*change)(int)) {
    item.Change("@ForceRefresh", [change](const STRING& text) {
        STRING number;
        number.Format("%d", change(atoi(text)));
        return number;
    });
}

/// Takes the line end off a list of ids.
void CutLineEnd(STRINGARRAY& item, const char* key) {
    item.Change(key, [](STRING ids) {
        ids.ChopLast('\n');
        return ids;
    });
}

}  // namespace

CHECKCYCLE::CHECKCYCLE(CHECKPARTS parts) : Parts(parts) {}

CHECKCYCLE::~CHECKCYCLE() {
    Stop();
    Wait(WAIT_FOREVER);
}

void CHECKCYCLE::Start() {
    if (running)
        return;
    Wait(WAIT_FOREVER);
    stopRequested = false;
    running = true;
    hThread = OSYS::CreateThread(ThreadBody, this, nullptr);
    if (!hThread) {
        running = false;
        Parts.FrontEnd.PostQuit();
    }
}

bool CHECKCYCLE::Wait(int timeout) {
    return !hThread || OSYS::WaitThread(hThread, timeout);
}

unsigned CHECKCYCLE::ThreadBody(void* cycle) {
    return static_cast<CHECKCYCLE*>(cycle)->WorkThread();
}

unsigned CHECKCYCLE::WorkThread() {
    while (!stopRequested) {
        CLOCK::Sleep(Parts.Times.TurnMs);
        if (!stopRequested)
            Turn();
    }
    Parts.FrontEnd.PostQuit();
    Trace("TARNWICK::~WorkThread posted WM_QUIT\n");
    running = false;
    return 0;
}

void CHECKCYCLE::Turn() {
    LookForSleep();
    Parts.Filter.Learn();
    if (suspended)
        WatchForNews();
    else
        Look();
    lastTurn = CLOCK::Seconds();
}

void CHECKCYCLE::LookForSleep() {
    if (lastTurn != 0 && CLOCK::Seconds() - lastTurn > Parts.Times.SleepSeconds)
        ConnectAnew();
}

void CHECKCYCLE::ConnectAnew() {
    if (Parts.Push)
        Parts.Push->Renew();
}

// The items whose servers may tell of news now. A line that was dialled for one pass is none to wait on.
void CHECKCYCLE::WatchForNews() {
    if (!Parts.Push)
        return;
    std::vector<PUSHTARGET> targets;
    if (!suspended && !dialledEntry.NotNull() && MayCheck()) {
        const MUTEXHOLD hold(itemMutex);
        for (int i = 0; i < Parts.Items.Count(); ++i)
            if (std::optional<PUSHTARGET> target = PushTargetOf(Parts.Items[i]))
                targets.push_back(*std::move(target));
    }
    Parts.Push->Watch(targets);
}

bool CHECKCYCLE::MayCheck() {
    return IsOnline() && (Parts.State.GetNumber("ConnectionType") == CONNECTION_PERMANENT ||
                          CLOCK::Seconds() - onlineSince > Parts.Times.SettleSeconds);
}

void CHECKCYCLE::Look() {
    if (static_cast<int>(IsOnline()) != lastOnline) {
        lastOnline = IsOnline();
        onlineSince = lastOnline ? CLOCK::Seconds() : 0;
    }
    WatchForNews();
    const int type = Parts.State.GetNumber("ConnectionType");
    if (type != CONNECTION_PERMANENT && Parts.State.GetNumber("ConnectionDunDial") != 0 && !IsOnline())
        DialIfDue();
    if (MayCheck()) {
        WalkItems();
        EndDialling();
    }
    ShowCounts();
}

/// Pauses in pieces of a turn, so that the end of the program is not held up.
void CHECKCYCLE::Pause(int ms) {
    while (ms > 0 && !stopRequested) {
        const int piece = std::min(ms, Parts.Times.TurnMs);
        CLOCK::Sleep(piece);
        ms -= piece;
    }
}

bool CHECKCYCLE::IsOnline() {
    switch (Parts.State.GetNumber("ConnectionType")) {
        case CONNECTION_PERMANENT:
            return true;
        case CONNECTION_DIALUP: {
            const bool any = Parts.State.GetNumber("ConnectionDunAny") != 0;
            return Parts.Dialup.IsConnected(any ? STRING("") : Parts.State.Get("EntryToMonitor"));
        }
        default:
            return false;
    }
}

void CHECKCYCLE::DialIfDue() {
    bool due = false;
    {
        MUTEXHOLD hold(itemMutex);
        for (int i = 0; i < Parts.Items.Count(); ++i)
            due |= NeedsRefresh(Parts.Items[i]);
    }
    if (!due)
        return;
    const STRING entry = Parts.State.Get("EntryToMonitor");
    Parts.FrontEnd.SetStatusLine(Parts.Texts.Part(TEXT_DIAL_STATES, PART_DIAL_DIALLING) || entry);
    Parts.FrontEnd.ShowStatusLine(true);
    Parts.FrontEnd.ArrangeControls();
    STRING error("");
    const bool dialled = Parts.Dialup.Dial(entry, error);
    dialledEntry = dialled ? entry : STRING();
    // A connection of our own is no change that somebody else made, and is used without waiting for it to settle.
    lastOnline = dialled;
    if (dialled)
        Parts.FrontEnd.SetStatusLine(Parts.Texts.Part(TEXT_DIAL_STATES, PART_DIAL_CONNECTED) || entry);
    else
        DialFailed(error);
}

void CHECKCYCLE::DialFailed(const STRING& error) {
    Parts.FrontEnd.ShowMessage(Parts.Texts.Get(TEXT_TITLE), Parts.Texts.Get(TEXT_DIAL_FAILED) || " (" || error || ")");
    {
        // No item dials again before its next period.
        MUTEXHOLD hold(itemMutex);
        for (int i = 0; i < Parts.Items.Count(); ++i)
            Refreshed(Parts.Items[i]);
    }
    Parts.FrontEnd.ShowStatusLine(false);
    Parts.FrontEnd.ArrangeControls();
}

/// A connection that the cycle dialled lives for one pass over the items.
void CHECKCYCLE::EndDialling() {
    if (!dialledEntry.NotNull())
        return;
    // Not what the settings name now: they may have changed during the pass.
    const STRING entry = std::exchange(dialledEntry, STRING());
    Parts.FrontEnd.SetStatusLine(Parts.Texts.Part(TEXT_DIAL_STATES, PART_DIAL_HANGING_UP) || entry);
    if (Parts.Dialup.IsConnected(entry))
        Parts.Dialup.HangUp(entry);
    Parts.FrontEnd.ShowStatusLine(false);
    Parts.FrontEnd.ArrangeControls();
}

void CHECKCYCLE::WalkItems() {
    startedThisPass = false;
    for (int i = 0; !stopRequested; ++i) {
        STRINGARRAY* item = TakeItem(i);
        if (!item)
            break;
        UpdateItem(*item);
        GiveItemBack();
    }
}

STRINGARRAY* CHECKCYCLE::TakeItem(int index) {
    MUTEXHOLD hold(itemMutex);
    inHands = index < Parts.Items.Count() ? &Parts.Items[index] : nullptr;
    return inHands;
}

void CHECKCYCLE::GiveItemBack() {
    MUTEXHOLD hold(itemMutex);
    inHands = nullptr;
}

bool CHECKCYCLE::RemoveItem(int index) {
    MUTEXHOLD hold(itemMutex);
    if (index < 0 || index >= Parts.Items.Count())
        return false;
    const STRINGARRAY& item = Parts.Items[index];
    if (&item == inHands || item.GetNumber("@InUpdate") != 0)
        return false;
    Parts.Items.Delete(index);
    return true;
}

void CHECKCYCLE::ShowCounts() {
    bool failed = false;
    const int count = CountMails(-1, nullptr, &failed);
    const int errorMark = failed ? 1 : 0;
    const STRING names = FailedItems();
    if (count != shownCount || errorMark != lastErrorMark || names != lastFailed) {
        Parts.FrontEnd.MakeTaskbarIcon();
        Parts.FrontEnd.MakeNewTooltip();
        if (count < lastCount) {
            Parts.FrontEnd.StopBlinking();
            Parts.Notifier.StopSoundLoop();
        }
        lastCount = count;
        shownCount = count;
    }
    lastErrorMark = errorMark;
    lastFailed = names;
}

int CHECKCYCLE::CountMails(int mode, bool* allUnknown, bool* errorMark) {
    if (mode == -1)
        mode = Parts.State.GetNumber("EmailTaskbarUnread");
    // Counts are what servers claim: the sum of two may pass all numbers.
    int64_t total = 0;
    int64_t unread = 0;
    int unknown = 0;
    bool failed = false;
    MUTEXHOLD hold(itemMutex);
    const int items = Parts.Items.Count();
    for (int i = 0; i < items; ++i) {
        const MAILCOUNTS counts = MAILACCOUNT::Counts(Parts.Items[i]);
        total += counts.Total;
        unread += counts.Unread;
        unknown += !counts.UnreadKnown;
        failed |= counts.Failed;
    }
    if (allUnknown)
        *allUnknown = unknown == items;
    if (errorMark)
        *errorMark = failed;
    return static_cast<int>(std::clamp<int64_t>(mode ? unread : total, INT_MIN, INT_MAX));
}

STRING CHECKCYCLE::FailedItems() {
    STRING names("");
    const MUTEXHOLD hold(itemMutex);
    for (int i = 0; i < Parts.Items.Count(); ++i) {
        if (MAILACCOUNT::Counts(Parts.Items[i]).Failed)
            names += (names.Length() > 0 ? ", " : "") || Parts.Items[i].Get("Name");
    }
    return names;
}

bool CHECKCYCLE::NeedsRefresh(STRINGARRAY& item) {
    const int64_t now = CLOCK::Seconds();
    int64_t last = atoi64(item.Get("LastRefresh"));
    if (last > now) {
        last = now;
        item.SetNumber("LastRefresh", now);
    }
    if (item.GetNumber("UpdateSuspended") != 0)
        return false;
    if (item.GetNumber("@ForceRefresh") >= 1 || item.Get("@DeleteMessageId").Length() > 0)
        return true;
    const int period = item.GetNumber("TimingCyclic");
    return period >= 1 && last + period <= now;
}

void CHECKCYCLE::Refreshed(STRINGARRAY& item, bool forced) {
    item.SetNumber("LastRefresh", CLOCK::Seconds());
    item.Set("LastRefreshString", OSYS::DateText() || " / " || OSYS::TimeText());
    // What was asked for while it ran may not have been there yet when it listed.
    if (forced)
        ChangeForced(item, [](int checks) { return std::max(checks - 1, 0); });
    item.Set("@ForcePopup", "0");
}

void CHECKCYCLE::ForceRefresh(STRINGARRAY& item, bool popup) {
    item.SetNumber("@ForcePopup", popup);
    ChangeForced(item, [](int forced) { return forced + 1; });
}

void CHECKCYCLE::ForceRefreshType(int type) {
    const MUTEXHOLD hold(itemMutex);
    for (int i = 0; i < Parts.Items.Count(); ++i)
        if (Parts.Items[i].GetNumber("Type") == type)
            NewsOf(Parts.Items[i]);
}

void CHECKCYCLE::ForceRefreshItem(int handle) {
    const MUTEXHOLD hold(itemMutex);
    if (STRINGARRAY* const item = FindItem(Parts.Items, handle))
        NewsOf(*item);
}

// Under itemMutex. One that waits to be checked will be told all.
void CHECKCYCLE::NewsOf(STRINGARRAY& item) {
    if (&item == inHands)
        ChangeForced(item, [](int forced) { return std::max(forced, std::min(forced + 1, ENOUGH_FORCED)); });
    else
        ChangeForced(item, [](int forced) { return std::max(forced, 1); });
}

bool CHECKCYCLE::SetItemState(STRINGARRAY& item, int kind, int value) {
    if (!ASSERTION(kind == ITEMSTATE_LOCKED || kind == ITEMSTATE_INUPDATE, "kind"))
        return false;
    MUTEXHOLD hold(itemMutex);
    if (value == ITEMSTATE_ASK)
        return item.GetNumber("@InUpdate") != 0;
    const char* own = kind == ITEMSTATE_LOCKED ? "@Locked" : "@InUpdate";
    const char* other = kind == ITEMSTATE_LOCKED ? "@InUpdate" : "@Locked";
    if (value != 0 && item.GetNumber(other) != 0)
        return false;
    item.SetNumber(own, value);
    return true;
}

void CHECKCYCLE::UpdateItem(STRINGARRAY& item) {
    if (IsStopRequested() || !NeedsRefresh(item) || !SetItemState(item, ITEMSTATE_INUPDATE, 1))
        return;
    const int handle = item.GetNumber("@Handle");
    Parts.FrontEnd.RefreshRow(handle);
    updating = true;
    Parts.FrontEnd.MakeTaskbarIcon();
    Parts.State.Set("ResetCounter", "0");

    bool popupOpened = false;
    if (!CheckItem(item, handle, popupOpened))
        Trace("TARNWICK::UpdateItem the program is to end, the check is thrown away\n");

    SetItemState(item, ITEMSTATE_INUPDATE, 0);
    Parts.FrontEnd.RefreshRow(handle);
    updating = false;
    Parts.FrontEnd.MakeTaskbarIcon();
    if (popupOpened)
        Pause(Parts.Times.PopupPauseMs);
    // Here and not where the title is drawn: the folder may be large, and the window must not wait for it.
    if (!IsStopRequested())
        Parts.Trash.Recount();
    Parts.FrontEnd.SetMainTitle();
    // It may have taken long, and accounts be others by now.
    if (running)
        WatchForNews();
}

/// The check itself. False if the program is to end meanwhile: what came back may be half of the truth, and the item is
/// as it was, but for a disposal that is done.
bool CHECKCYCLE::CheckItem(STRINGARRAY& item, int handle, bool& popupOpened) {
    const bool forced = item.GetNumber("@ForceRefresh") > 0;
    STRING newdata;
    STRING error("");
    if (CarryOutDisposal(item, error)) {
        if (!IsStopRequested())
            newdata = Parts.Mailboxes.GetMailbox(item);
    } else {
        newdata = "-ERR ";
        newdata += error;
    }
    if (IsStopRequested())
        return false;
    ASSERTION(newdata.Length() > 0, "newdata.NotNull()");

    if (TakeListing(newdata)) {
        if (Parts.Push)
            Parts.Push->Reached(handle);
        STRING listing = Parts.Filter.SpamFilter(item, std::move(newdata));
        if (IsStopRequested())
            return false;
        const STAMP before(item);
        // Asked before the stamp of the check clears it.
        const bool asked = item.GetNumber("@ForcePopup") != 0;
        Refreshed(item, forced);
        newdata = HandleNewMail(
            item, listing, item.Get("LastSeenIds"), asked,
            {Parts.State, Parts.Texts, Parts.Trash, Parts.Notifier, [this] { return IsStopRequested(); }}, popupOpened);
        if (!newdata.NotNull()) {
            before.PutBack(item);
            return false;
        }
        item.Set("@FileStore", std::move(listing));
        item.Set("@KnownMails", item.Get("@ListedMails"));
        item.Set("@VerdictBasis", Parts.Filter.Basis());
        // The records of the mails are gone by now, in pieces that would else stay with the program until it ends.
        OSYS::ReleaseFreeMemory();
        Parts.FrontEnd.ListingChanged(handle);
    } else {
        Refreshed(item, forced);
        MAILACCOUNT::SetCounts(item, {.Failed = true});
        newdata = Parts.Texts.Get(TEXT_CHECK_FAILED) || newdata.Mid(5);
    }
    Trace("TARNWICK::AfterHandleMail newdata= %s\n", newdata.Line(0).Text());
    Parts.FrontEnd.SetCell(handle, RESULT_COLUMN, PersonText(newdata, item, Parts.Texts));
    item.Set("LastValue", newdata);
    return true;
}

/// Deletes and moves what was queued for the item. False with the mailbox's text (which may be empty) if one of it
/// failed; moves then wait if it was the deletion. What the end of the program cuts short stays queued.
bool CHECKCYCLE::CarryOutDisposal(STRINGARRAY& item, STRING& error) {
    item.Set("@MoveDelError", "0");
    RenewQueuedIds(item);
    CutLineEnd(item, "@DeleteMessageId");
    CutLineEnd(item, "@MoveMessageId");
    const auto carryOut = [&](const char* key, const auto& dispose) {
        const STRING ids = TakeIds(item, key);
        if (ids.Length() == 0 || dispose(ids))
            return true;
        if (IsStopRequested())
            item.Change(key, [&ids](const STRING& meanwhile) { return ids || "\n" || meanwhile; });
        else
            ForgetTries(item);
        return false;
    };
    // What the server has kept before may be gone by now, or be kept again: no reason to fail. Not together with
    // another conversation, which would give the mails other numbers in between.
    STRING again = TakeIds(item, "@RetryMessageId");
    again.ChopLast('\n');
    if (again.Length() > 0 && item.Get("@DeleteMessageId").Length() == 0) {
        STRING unheard;
        Parts.Mailboxes.DeleteMail(item, again, unheard);
    }
    const auto deleteMails = [&](const STRING& ids) {
        std::unordered_set<std::string_view> going;
        for (std::string_view rest = ids.View(); !rest.empty();)
            going.insert(ASCII::Take(rest, '\n'));
        ChangeQueued(item, [&](const MAILNAME& mail) { return !going.contains(mail.Id); });
        return Parts.Mailboxes.DeleteMail(item, ids, error);
    };
    return carryOut("@DeleteMessageId", deleteMails) &&
           (IsStopRequested() || carryOut("@MoveMessageId", [&](const STRING& ids) {
                return Parts.Mailboxes.MoveMail(item, ids, item.Get("SpamFolder"), error);
            }));
}
