#pragma once

#include <atomic>
#include <functional>

#include "corelib/base/stopquestion.h"
#include "corelib/system/osys.h"

/// Work in a thread of its own, for a window that goes on meanwhile.
class BACKGROUND {
 public:
    /// Begins at once. `work` ends soon after its question is answered by yes; `done` is called in the other thread as
    /// its last act.
    BACKGROUND(std::function<void(const STOPQUESTION& stopAsked)> work, std::function<void()> done)
        : Work(std::move(work)), Done(std::move(done)), Thread(OSYS::CreateThread(Body, this, nullptr)) {}
    /// Breaks the work off, and waits for that.
    ~BACKGROUND() {
        Stopped = true;
        OSYS::WaitThread(Thread, WAIT_FOREVER);
    }
    BACKGROUND(const BACKGROUND&) = delete;
    BACKGROUND& operator=(const BACKGROUND&) = delete;

 private:
    static unsigned Body(void* object) {
        auto& self = *static_cast<BACKGROUND*>(object);
        self.Work([&self] { return self.Stopped.load(); });
        self.Done();
        return 0;
    }

    const std::function<void(const STOPQUESTION&)> Work;
    const std::function<void()> Done;
    std::atomic<bool> Stopped = false;
    OSYS::THREADHANDLE Thread;
};
