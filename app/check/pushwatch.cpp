#include "app/check/pushwatch.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <utility>

#include "app/mailbox/imap.h"
#include "app/mailbox/imapidle.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/abandon.h"
#include "corelib/net/sockets.h"
#include "corelib/net/tcpio.h"

bool PUSHTARGET::operator==(const PUSHTARGET& other) const {
    return Handle == other.Handle && Address == other.Address && Password == other.Password &&
           Security.Kind == other.Security.Kind && Security.IsModern == other.Security.IsModern &&
           Security.TrustedCertificate == other.Security.TrustedCertificate && Folder == other.Folder;
}

std::optional<PUSHTARGET> PushTargetOf(const STRINGARRAY& item) {
    if (item.GetNumber("Push") == 0 || item.GetNumber("UpdateSuspended") != 0 || !MAILACCOUNT::Kind(item).CanPush ||
        MAILACCOUNT::IsPasswordLocked(item))
        return {};
    return PUSHTARGET{item.GetNumber("@Handle"), MAILACCOUNT::Address(item), MAILACCOUNT::Password(item),
                      MAILACCOUNT::Security(item), WatchedFolder(item)};
}

namespace {

// The conversations of watchers are shown nowhere.
struct NOTEXTS : TEXTS {
    STRING Get(int /*id*/) const override { return ""; }
};

/// When news are told: what comes together once, and ever less often while there are only marks to tell of. A person
/// who goes through mails elsewhere makes many of these, and so might a check. Mail that comes without a rest may be
/// none at all: a server that counts now so and now so would have its folder listed each second.
class TELLING {
 public:
    explicit TELLING(const PUSHTIMES& times) : Times(times), Gap(times.GapMs), MailGap(times.GapMs) {}

    void Heard(NEWS news) {
        if (news == NEWS::NONE)
            return;
        if (Pending == NEWS::NONE)
            Since = CLOCK::STOPWATCH();
        Pending = std::max(Pending, news);
    }
    bool IsPending() const { return Pending != NEWS::NONE; }
    /// ms until they are to be told.
    int64_t Left() {
        const int64_t gap = Pending == NEWS::MAIL ? MailGap : Gap;
        const int64_t apart = EverTold ? gap - LastTold.Passed() : 0;
        return std::max<int64_t>({Times.SettleMs - Since.Passed(), apart, 0});
    }
    void Told() {
        constexpr int AGAIN = 4;  // times the gap
        constexpr int MANY = 10;
        const bool isMail = Pending == NEWS::MAIL;
        const bool again = EverTold && LastTold.Passed() < int64_t{AGAIN} * (isMail ? MailGap : Gap);
        Gap = again && !isMail ? std::min(Gap * 2, Times.MostGapMs) : Times.GapMs;
        if (isMail) {
            InARow = again ? InARow + 1 : 0;
            MailGap = InARow < MANY ? Times.GapMs : std::min(MailGap * 2, Times.MostMailGapMs);
        }
        Pending = NEWS::NONE;
        EverTold = true;
        LastTold = CLOCK::STOPWATCH();
    }

 private:
    const PUSHTIMES& Times;
    NEWS Pending = NEWS::NONE;
    CLOCK::STOPWATCH Since, LastTold;
    bool EverTold = false;
    int Gap, MailGap;
    int InARow = 0;  // tellings of mail
};

/// How long to wait after failures.
class BACKOFF {
 public:
    explicit BACKOFF(const PUSHTIMES& times) : Times(times) {}

    void Reset() { NextMs = Times.BackOffMs; }
    void SetToMost() { NextMs = Times.MostBackOffMs; }
    /// Watchers that were all cut off together do not come back together.
    int Take() {
        const int ms = std::min(NextMs, Times.MostBackOffMs);
        NextMs = std::min(ms * 2, Times.MostBackOffMs);
        return std::uniform_int_distribution<int>(ms - ms / 4, ms)(Random);
    }

 private:
    const PUSHTIMES& Times;
    int NextMs = Times.BackOffMs;
    std::minstd_rand Random{std::random_device()()};
};

/// So many call their servers at the same time: look-ups and certificates that hang must leave the checks theirs.
constexpr int MOST_CALLING = MOST_ABANDONABLE_CALLS / 2;

}  // namespace

/// What all watchers have in common.
struct PUSHWATCH::SHARED {
    SHARED(std::function<void(int handle)> news, std::function<void(int handle, bool active)> active,
           const PUSHTIMES& times)
        : News(std::move(news)), Active(std::move(active)), Times(times) {}

    const std::function<void(int handle)> News;
    const std::function<void(int handle, bool active)> Active;
    const PUSHTIMES Times;
    std::atomic<int> Calling = 0;
};

/// The connection to one account, and its thread.
class PUSHWATCH::WATCHER {
 public:
    WATCHER(const std::shared_ptr<SHARED>& shared, const PUSHTARGET& target)
        : Shared(shared), Target(target), Handle(target.Handle), Address(target.Address), Pace(shared->Times) {
        Start();
    }
    ~WATCHER() {
        Stop();
        if (Thread)
            OSYS::WaitThread(Thread, WAIT_FOREVER);
    }
    WATCHER(const WATCHER&) = delete;
    WATCHER& operator=(const WATCHER&) = delete;

    int ItemHandle() const { return Handle; }
    bool IsActive() const { return Active; }
    bool IsConnected() const { return !Closed.Wait(0); }
    const MAILADDRESS& CalledAddress() const { return Address; }
    bool IsLeaving() const { return StopAsked; }
    bool HasEnded() const { return Ended; }

    /// The target as it is by now. Watch's thread.
    void Attend(const PUSHTARGET& target);
    void Renew() {
        RenewAsked = true;
        Woken.Set();
    }
    void Reached() {
        if (Lost)
            Renew();
    }
    /// True if its connection is gone.
    bool Yield() {
        YieldAsked = true;
        Woken.Set();
        return Closed.Wait(Shared->Times.RoomMs);
    }
    void Stop() {
        StopAsked = true;
        Woken.Set();
    }

 private:
    using STATE = IMAPIDLE::STATE;

    void Start();
    void Rest(int64_t ms) {
        RestMs = ms;
        Rests = CLOCK::STOPWATCH();
        Ended = true;
    }
    static unsigned Body(void* self) {
        static_cast<WATCHER*>(self)->Run();
        return 0;
    }
    void Run();
    STATE Converse(const PUSHTARGET& target, bool& lastedWell);
    STATE Listen(IMAPIDLE& talk, const PUSHTARGET& target);
    bool AwaitTurn();
    void Pause(int ms);
    bool IsToEnd() const { return StopAsked || Changed || YieldAsked; }
    void TellIfDue(bool atOnce);
    void SetActive(bool active);

    const std::shared_ptr<SHARED> Shared;
    mutable EVENTSEM Woken{false};
    mutable EVENTSEM Closed{true};  // there is no connection
    std::mutex Guard;               // of the target
    PUSHTARGET Target;
    const int Handle;
    MAILADDRESS Address;  // Watch's thread, under the guard of all watchers
    std::atomic<bool> StopAsked = false, Changed = false, YieldAsked = false, RenewAsked = false, Active = false,
                      Lost = false, Ended = false;
    int64_t RestMs = 0;      // of a server that is unable, as is the next one; before Ended
    CLOCK::STOPWATCH Rests;  // which a clock that is set back does not prolong
    TELLING Pace;            // the watcher's thread
    OSYS::THREADHANDLE Thread;
};

// ---- Watch's thread ----

void PUSHWATCH::WATCHER::Start() {
    Ended = Changed = YieldAsked = false;
    Thread = OSYS::CreateThread(Body, this, nullptr);
    if (!Thread) {
        Rest(Shared->Times.MostBackOffMs);
    }
}

void PUSHWATCH::WATCHER::Attend(const PUSHTARGET& target) {
    bool same;
    {
        const std::lock_guard hold(Guard);
        same = Target == target;
        if (!same)
            Target = target;
    }
    if (!same) {
        Address = target.Address;
        Changed = true;
        Woken.Set();
    }
    // A change may have come when the thread no longer asked for one.
    if (!Ended || (same && !Changed && Rests.Passed() < RestMs))
        return;
    if (Thread)
        OSYS::WaitThread(Thread, WAIT_FOREVER);
    Start();
}

// ---- the watcher's thread ----

void PUSHWATCH::WATCHER::SetActive(bool active) {
    if (Active.exchange(active) != active && Shared->Active)
        Shared->Active(Handle, active);
}

void PUSHWATCH::WATCHER::TellIfDue(bool atOnce) {
    if (!Pace.IsPending() || (!atOnce && Pace.Left() > 0))
        return;
    Pace.Told();
    Trace("PUSHWATCH::Tell item %d has news\n", Handle);
    if (Shared->News && !StopAsked)
        Shared->News(Handle);
}

void PUSHWATCH::WATCHER::Pause(int ms) {
    for (CLOCK::STOPWATCH watch; !StopAsked && !Changed && !RenewAsked;) {
        Woken.Reset();
        const int64_t left = ms - watch.Passed();
        if (left <= 0 || StopAsked || Changed || RenewAsked)
            break;
        Woken.Wait(static_cast<int>(left));
    }
}

bool PUSHWATCH::WATCHER::AwaitTurn() {
    while (!IsToEnd()) {
        int calling = Shared->Calling;
        if (calling < MOST_CALLING && Shared->Calling.compare_exchange_strong(calling, calling + 1))
            return true;
        Woken.Reset();
        if (!IsToEnd())
            Woken.Wait(TcpTimes.StopLookMs);
    }
    return false;
}

PUSHWATCH::WATCHER::STATE PUSHWATCH::WATCHER::Listen(IMAPIDLE& talk, const PUSHTARGET& target) {
    const PUSHTIMES& times = Shared->Times;
    NEWS heard = NEWS::NONE;
    STATE state = talk.Begin(heard);
    --Shared->Calling;
    if (state != STATE::GOOD)
        return state;
    Trace("PUSHWATCH::Listen item %d: %s tells of news\n", Handle, target.Address.Server.Text());
    SetActive(true);
    // Something may have happened while nobody was told.
    heard = std::max(heard, NEWS::MARKS);
    for (CLOCK::STOPWATCH round; !IsToEnd();) {
        Pace.Heard(std::exchange(heard, NEWS::NONE));
        TellIfDue(false);
        Woken.Reset();
        state = talk.Hear(heard);
        if (state == STATE::GOOD && (RenewAsked || round.Passed() >= times.RenewMs)) {
            const bool asked = RenewAsked.exchange(false);
            Trace("PUSHWATCH::Listen item %d is renewed\n", Handle);
            state = talk.Renew(heard);
            // A connection that has not outlived the machine's sleep is no failure: the next one comes at once.
            if (state != STATE::GOOD && asked)
                RenewAsked = true;
            round = CLOCK::STOPWATCH();
        }
        if (state != STATE::GOOD)
            break;
        if (heard != NEWS::NONE || talk.HasMore() || IsToEnd())
            continue;
        int64_t wait = times.RenewMs - round.Passed();
        if (Pace.IsPending())
            wait = std::min(wait, Pace.Left());
        if (wait > 0)
            Woken.Wait(static_cast<int>(wait));
    }
    SetActive(false);
    Pace.Heard(heard);
    TellIfDue(true);
    return state;
}

PUSHWATCH::WATCHER::STATE PUSHWATCH::WATCHER::Converse(const PUSHTARGET& target, bool& lastedWell) {
    FRONTEND nobody;
    const NOTEXTS noTexts;
    const PROGRESS progress(nobody, noTexts, Handle);
    const STRINGARRAY noSettings;
    STRINGARRAY item;  // the call's own: what it finds out about certificates is a check's to tell
    const STOPQUESTION stopAsked = [this] { return IsToEnd(); };
    MAILBOXCALL call{item,           progress, noSettings, stopAsked, target.Address.Server, target.Address.User,
                     target.Password};
    call.Security = target.Security;
    if (!AwaitTurn())
        return STATE::LOST;
    Closed.Reset();
    CLOCK::STOPWATCH lasted;
    STATE state;
    {
        TCPIPIO device("", "", "");
        device.SetNotifyCallback([](void* woken) { static_cast<EVENTSEM*>(woken)->Set(); }, &Woken);
        IMAPIDLE talk(device, call, target.Folder);
        state = Listen(talk, target);
        if (state != STATE::GOOD && !IsToEnd())
            Trace("PUSHWATCH::Converse item %d: %s\n", Handle, talk.LastLine().Text());
    }
    Closed.Set();
    lastedWell = lasted.Passed() >= Shared->Times.WellMs;
    return state;
}

void PUSHWATCH::WATCHER::Run() {
    BACKOFF backOff(Shared->Times);
    while (!StopAsked) {
        Changed = false;
        RenewAsked = false;
        PUSHTARGET target;
        {
            const std::lock_guard hold(Guard);
            target = Target;
        }
        bool lastedWell = false;
        const STATE state = Converse(target, lastedWell);
        const bool yields = YieldAsked.exchange(false);
        if (StopAsked || Changed) {
            backOff.Reset();
            continue;
        }
        if (state == STATE::UNABLE) {
            Trace("PUSHWATCH::Run item %d: %s does not tell of news\n", Handle, target.Address.Server.Text());
            Rest(Shared->Times.UnableSeconds * 1000);
            return;
        }
        if (lastedWell)
            backOff.Reset();
        if (yields || state == STATE::CROWDED || state == STATE::REFUSED)
            backOff.SetToMost();
        const int pause = backOff.Take();
        Trace("PUSHWATCH::Run item %d calls again in %d s\n", Handle, (pause + 999) / 1000);
        Lost = state == STATE::LOST && !yields;
        Pause(pause);
        Lost = false;
        if (RenewAsked)
            backOff.Reset();
    }
    Rest(0);
}

// ---- any thread ----

PUSHWATCH::PUSHWATCH(std::function<void(int handle)> news, std::function<void(int handle, bool active)> active,
                     const PUSHTIMES& times)
    : Shared(std::make_shared<SHARED>(std::move(news), std::move(active), times)) {}

PUSHWATCH::~PUSHWATCH() {
    End();
}

PUSHWATCH::WATCHER* PUSHWATCH::Find(int handle) const {
    const auto found = std::ranges::find(Watchers, handle, [](const auto& watcher) { return watcher->ItemHandle(); });
    return found == Watchers.end() ? nullptr : found->get();
}

void PUSHWATCH::Watch(const std::vector<PUSHTARGET>& targets) {
    const std::lock_guard hold(Guard);
    if (Stopped)
        return;
    std::erase_if(Watchers, [](const auto& watcher) { return watcher->IsLeaving() && watcher->HasEnded(); });
    for (const auto& watcher : Watchers)
        if (std::ranges::find(targets, watcher->ItemHandle(), &PUSHTARGET::Handle) == targets.end())
            watcher->Stop();
    const int most = std::min(Shared->Times.MostWatched, SOCKETS::MostOpen() / 2);
    for (const PUSHTARGET& target : targets) {
        WATCHER* const known = Find(target.Handle);
        if (!known && static_cast<int>(Watchers.size()) >= most)
            continue;
        if (!known)
            Watchers.push_back(std::make_shared<WATCHER>(Shared, target));
        else if (!known->IsLeaving())  // else there would be two connections
            known->Attend(target);
    }
}

void PUSHWATCH::Renew() {
    const std::lock_guard hold(Guard);
    for (const auto& watcher : Watchers)
        watcher->Renew();
}

void PUSHWATCH::Reached(int handle) {
    const std::lock_guard hold(Guard);
    if (WATCHER* const watcher = Find(handle))
        watcher->Reached();
}

bool PUSHWATCH::MakeRoom(int handle, const MAILADDRESS& address) {
    std::shared_ptr<WATCHER> chosen;
    {
        const std::lock_guard hold(Guard);
        // Some servers count the connections of a user, some those of a machine.
        const auto weight = [&](const WATCHER& watcher) {
            const MAILADDRESS& called = watcher.CalledAddress();
            if (!watcher.IsConnected() || !ASCII::Equal(called.Server.View(), address.Server.View()))
                return 0;
            return watcher.ItemHandle() == handle ? 3 : called.User == address.User ? 2 : 1;
        };
        int best = 0;
        for (const auto& watcher : Watchers)
            if (const int is = weight(*watcher); is > best) {
                best = is;
                chosen = watcher;
            }
    }
    if (!chosen || !chosen->Yield())
        return false;
    Trace("PUSHWATCH::MakeRoom item %d gave way to item %d\n", chosen->ItemHandle(), handle);
    CLOCK::Sleep(Shared->Times.RoomPauseMs);
    return true;
}

bool PUSHWATCH::IsActive(int handle) const {
    const std::lock_guard hold(Guard);
    const WATCHER* const watcher = Find(handle);
    return watcher && watcher->IsActive();
}

void PUSHWATCH::Stop() {
    const std::lock_guard hold(Guard);
    Stopped = true;
    for (const auto& watcher : Watchers)
        watcher->Stop();
}

void PUSHWATCH::End() {
    Stop();
    // All have been asked by now, so that they end side by side. What they still tell may need the guard.
    std::vector<std::shared_ptr<WATCHER>> ending;
    {
        const std::lock_guard hold(Guard);
        ending.swap(Watchers);
    }
}
