#include "corelib/base/locks.h"

#include <chrono>

#include "corelib/base/trace.h"

namespace {

constexpr uint32_t EVENT_LEVEL = 7;
constexpr uint32_t MUTEX_LEVEL = 12;
// What the trace tells of a wait: it ended well, or by its time-out.
constexpr int WAIT_DONE = 0;
constexpr int WAIT_TIMED_OUT = 258;

uint32_t IdOf(const void* object) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(object));
}

// Waits on `changed` until `done` holds; false when timeout ms have passed before.
template <class DONE>
bool WaitFor(std::condition_variable& changed, std::unique_lock<std::mutex>& hold, int timeout, DONE done) {
    if (timeout < 0) {
        changed.wait(hold, done);
        return true;
    }
    if (timeout == 0)
        return done();
    return changed.wait_for(hold, std::chrono::milliseconds(timeout), done);
}

}  // namespace

EVENTSEM::EVENTSEM(bool initial) : State(std::make_shared<STATE>()) {
    State->Signalled = initial;
    TraceLevel(EVENT_LEVEL, "EVENTSEM::EVENTSEM created %08x\n", Id());
}

EVENTSEM::~EVENTSEM() {
    TraceLevel(EVENT_LEVEL, "EVENTSEM::~EVENTSEM deleted %08x\n", Id());
}

uint32_t EVENTSEM::Id() const {
    return IdOf(this);
}

void EVENTSEM::Set() {
    const uint32_t id = Id();
    // Whoever waits may destroy the event as soon as it is set: what follows works on the state alone. The waiters are
    // called after the lock, as they would only run into it.
    const std::shared_ptr<STATE> state = State;
    {
        std::lock_guard hold(state->Guard);
        state->Signalled = true;
    }
    state->Changed.notify_all();
    TraceLevel(EVENT_LEVEL, "EVENTSEM::Set %08x\n", id);
}

void EVENTSEM::Reset() {
    std::lock_guard hold(State->Guard);
    State->Signalled = false;
    TraceLevel(EVENT_LEVEL, "EVENTSEM::Reset %08x\n", Id());
}

bool EVENTSEM::Wait(int timeout) {
    bool signalled;
    {
        std::unique_lock hold(State->Guard);
        signalled = WaitFor(State->Changed, hold, timeout, [this] { return State->Signalled; });
    }
    TraceLevel(EVENT_LEVEL, "EVENTSEM::Wait %08x rc=%d\n", Id(), signalled ? WAIT_DONE : WAIT_TIMED_OUT);
    return signalled;
}

MUTEXSEM::MUTEXSEM() {
    TraceLevel(MUTEX_LEVEL, "MUTEXSEM::MUTEXSEM created %08x\n", Id());
}

MUTEXSEM::~MUTEXSEM() {
    TraceLevel(MUTEX_LEVEL, "MUTEXSEM::MUTEXSEM deleted %08x\n", Id());
}

uint32_t MUTEXSEM::Id() const {
    return IdOf(this);
}

bool MUTEXSEM::Request(int timeout) {
    auto self = std::this_thread::get_id();
    bool obtained;
    {
        std::unique_lock hold(Guard);
        obtained = WaitFor(Freed, hold, timeout, [&] { return Depth == 0 || Owner == self; });
        if (obtained) {
            Owner = self;
            ++Depth;
        }
    }
    TraceLevel(MUTEX_LEVEL, "MUTEXSEM::MUTEXSEM obtained %08x rc= %d\n", Id(), obtained ? WAIT_DONE : WAIT_TIMED_OUT);
    return obtained;
}

void MUTEXSEM::Release() {
    bool released = false;
    {
        std::lock_guard hold(Guard);
        if (Depth > 0 && Owner == std::this_thread::get_id()) {
            released = true;
            if (--Depth == 0) {
                Owner = {};
                Freed.notify_one();
            }
        }
    }
    TraceLevel(MUTEX_LEVEL, "MUTEXSEM::MUTEXSEM released %08x rc= %d\n", Id(), released ? 1 : 0);
}
