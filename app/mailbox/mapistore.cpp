#include "app/mailbox/mapistore.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "corelib/base/trace.h"
#include "corelib/mapi/mapiwait.h"

namespace SHRINKABLE {
MAPITIMES MapiTimes;
}
constinit const MAPITIMES& MapiTimes = SHRINKABLE::MapiTimes;

namespace {

/// A piece of work; under the lock of what the threads share.
struct TASK {
    MAPISTORE::KIND Kind;
    MAPISTORE::WORK Work;
    std::atomic<bool> Abandoned = false;
    bool Done = false;
    std::optional<bool> Result;
};

}  // namespace

/// What the thread of the session and the program share. The thread may outlive the program's end of it.
struct MAPISTORE::SHARED {
    void Tell() {
        const std::lock_guard hold(TellGuard);
        if (Changed)
            Changed();
    }
    void Run();
    std::unique_ptr<MAPICLASS> LogOn();
    void LogOnAnew(std::unique_ptr<MAPICLASS>& mapi, const TASK& task);
    std::shared_ptr<TASK> Next(MAPIWAIT& wait);
    static void Callback(void* lpvContext);

    STRING Library;
    std::mutex TellGuard;
    std::function<void()> Changed;
    std::atomic<bool> ChangesItself = false;

    std::mutex Guard;
    std::condition_variable Finished;
    std::deque<std::shared_ptr<TASK>> Tasks;
    std::shared_ptr<TASK> Current;
    MAPIWAIT* Wait = nullptr;  // while the thread runs
    bool Begun = false, Ending = false;
    bool LoggedOn = false;  // not while it is at it
    std::vector<STRING> FolderNames;
};

// ---- the session's thread ----

void MAPISTORE::SHARED::Callback(void* lpvContext) {
    Trace("TARNWICK::MapiCallbackFunction reached\n");
    if (ASSERTION(lpvContext, "lpvContext")) {
        auto& shared = *static_cast<SHARED*>(lpvContext);
        if (!shared.ChangesItself)
            shared.Tell();
    }
    Trace("TARNWICK::MapiCallbackFunction done\n");
}

std::unique_ptr<MAPICLASS> MAPISTORE::SHARED::LogOn() {
    auto mapi = std::make_unique<MAPICLASS>(Library);
    std::vector<STRING> names;
    if (mapi->IsUpAndRunning()) {
        mapi->TraceAllFolders();
        for (int i = 0; i < mapi->QueryHowManyMailFolders(); ++i)
            names.push_back(mapi->GetMailFolderName(i));
        // Without it the checks are made by the clock alone.
        if (mapi->OpenInboxFolder())
            (void)mapi->SetInboxCallback(Callback, this);
    }
    const std::lock_guard hold(Guard);
    FolderNames = std::move(names);
    LoggedOn = true;
    return mapi;
}

void MAPISTORE::SHARED::LogOnAnew(std::unique_ptr<MAPICLASS>& mapi, const TASK& task) {
    {
        const std::lock_guard hold(Guard);
        LoggedOn = false;
    }
    mapi.reset();
    mapi = LogOn();
    if (task.Abandoned)
        Tell();
}

std::shared_ptr<TASK> MAPISTORE::SHARED::Next(MAPIWAIT& wait) {
    for (;; wait.Wait()) {
        const std::lock_guard hold(Guard);
        if (Ending)
            return nullptr;
        while (!Tasks.empty()) {
            const std::shared_ptr<TASK> task = Tasks.front();
            Tasks.pop_front();
            if (!task->Abandoned) {
                Current = task;
                return task;
            }
        }
    }
}

void MAPISTORE::SHARED::Run() {
    MAPIWAIT wait;
    {
        const std::lock_guard hold(Guard);
        Wait = &wait;
    }
    using TIME = std::chrono::steady_clock;
    std::unique_ptr<MAPICLASS> mapi = LogOn();
    TIME::time_point tried = TIME::now();
    const bool everUp = mapi->IsUpAndRunning();
    bool lost = false;
    Finished.notify_all();
    Tell();
    while (const std::shared_ptr<TASK> task = Next(wait)) {
        if (lost && everUp && TIME::now() - tried >= std::chrono::milliseconds(MapiTimes.RetryMs)) {
            LogOnAnew(mapi, *task);
            tried = TIME::now();
        }
        const bool isOpen = mapi->IsUpAndRunning() && mapi->IsInboxOpen();
        std::optional<bool> result;
        if (isOpen && !task->Abandoned) {
            // What others have changed until now is news.
            MAPIWAIT::HandleMessages();
            ChangesItself = task->Kind == CHANGES;
            result = task->Work(*mapi, [&] { return task->Abandoned.load(); });
            // What has been changed is told while it is known by whom.
            MAPIWAIT::HandleMessages();
            ChangesItself = false;
        }
        lost = !isOpen || (task->Kind == LISTS && result == false);
        const std::lock_guard hold(Guard);
        Current.reset();
        task->Done = true;
        task->Result = result;
        Finished.notify_all();
    }
    mapi.reset();
    const std::lock_guard hold(Guard);
    Wait = nullptr;
}

unsigned MAPISTORE::Body(void* shared) {
    const std::unique_ptr<std::shared_ptr<SHARED>> own(static_cast<std::shared_ptr<SHARED>*>(shared));
    (*own)->Run();
    return 0;
}

// ---- its users ----

MAPISTORE::MAPISTORE(std::function<void()> changed) : Shared(std::make_shared<SHARED>()) {
    Shared->Changed = std::move(changed);
}

MAPISTORE::~MAPISTORE() {
    End();
}

void MAPISTORE::SetLibrary(const STRING& path) {
    Shared->Library = path;
}

void MAPISTORE::Begin() {
    if (Thread)
        return;
    auto own = std::make_unique<std::shared_ptr<SHARED>>(Shared);
    Thread = OSYS::CreateThread(Body, own.get(), nullptr);
    if (!Thread)
        return;
    const std::lock_guard hold(Shared->Guard);
    Shared->Begun = own.release() != nullptr;  // it is the thread's now
}

void MAPISTORE::End() {
    {
        const std::lock_guard hold(Shared->TellGuard);
        Shared->Changed = nullptr;
    }
    {
        const std::lock_guard hold(Shared->Guard);
        Shared->Ending = true;
        if (Shared->Wait)
            Shared->Wait->Wake();
    }
    // One that waits for something that does not come is left behind.
    if (Thread && !OSYS::WaitThread(Thread, MapiTimes.LogOffMs)) {
        Trace("TARNWICK::~TARNWICK hMapiClass does not end\n");
        Thread = {};
    }
}

std::vector<STRING> MAPISTORE::FolderNames() const {
    const std::lock_guard hold(Shared->Guard);
    return Shared->FolderNames;
}

std::optional<bool> MAPISTORE::Do(KIND kind, WORK work, const STOPQUESTION& stopAsked) {
    SHARED& shared = *Shared;
    std::unique_lock hold(shared.Guard);
    const auto await = [&](const std::function<bool()>& isThere) {
        const std::chrono::milliseconds look(MapiTimes.LookMs);
        int logOnMs = MapiTimes.LogOnMs, callMs = MapiTimes.CallMs;
        while (!isThere() && !(stopAsked && stopAsked())) {
            int& left = shared.LoggedOn ? callMs : logOnMs;
            if (left <= 0)
                break;
            left -= MapiTimes.LookMs;
            shared.Finished.wait_for(hold, look);
        }
        return isThere();
    };
    if (!shared.Begun || !await([&] { return shared.LoggedOn; }) || !shared.Wait)
        return {};
    // Held up for good, as it seems.
    if (shared.Current && shared.Current->Abandoned)
        return false;
    const auto task = std::make_shared<TASK>();
    task->Kind = kind;
    task->Work = std::move(work);
    shared.Tasks.push_back(task);
    shared.Wait->Wake();
    if (await([&] { return task->Done; }))
        return task->Result;
    task->Abandoned = true;
    // It stands still at a log-on that it has needed.
    return shared.LoggedOn ? std::optional<bool>(false) : std::optional<bool>();
}
