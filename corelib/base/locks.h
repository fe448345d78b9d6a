#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

/// The lock of the tables: re-entrant within a thread.
class CRITSECT {
 public:
    void Enter() { CritSect.lock(); }
    void Leave() { CritSect.unlock(); }
    /// The names that std::lock_guard asks for.
    void lock() { Enter(); }
    void unlock() { Leave(); }

 private:
    std::recursive_mutex CritSect;
};

/// For the timeouts below: wait as long as it takes.
inline constexpr int WAIT_FOREVER = -1;

/// A manual-reset event. Traces at level 7.
class EVENTSEM {
 public:
    explicit EVENTSEM(bool initial);
    ~EVENTSEM();
    EVENTSEM(const EVENTSEM&) = delete;
    EVENTSEM& operator=(const EVENTSEM&) = delete;
    void Set();
    void Reset();
    /// True if the event is set, or becomes set within timeout ms (0: a look, WAIT_FOREVER: no limit).
    bool Wait(int timeout);

 private:
    struct STATE {
        std::mutex Guard;
        std::condition_variable Changed;
        bool Signalled = false;
    };
    uint32_t Id() const;
    std::shared_ptr<STATE> State;
};

/// A mutex, re-entrant within a thread, that can be asked for with a time limit. Traces at level 12.
class MUTEXSEM {
 public:
    MUTEXSEM();
    ~MUTEXSEM();
    MUTEXSEM(const MUTEXSEM&) = delete;
    MUTEXSEM& operator=(const MUTEXSEM&) = delete;
    /// True if obtained within timeout ms (0: at once or not at all, WAIT_FOREVER: no limit).
    bool Request(int timeout);
    /// Each Request that gave true needs one Release by the same thread.
    void Release();

 private:
    uint32_t Id() const;
    std::mutex Guard;
    std::condition_variable Freed;
    std::thread::id Owner;
    int Depth = 0;
};

/// Holds a MUTEXSEM without limit for the length of a scope.
class MUTEXHOLD {
 public:
    explicit MUTEXHOLD(MUTEXSEM& mutex) : Mutex(mutex) { Mutex.Request(WAIT_FOREVER); }
    ~MUTEXHOLD() { Mutex.Release(); }
    MUTEXHOLD(const MUTEXHOLD&) = delete;
    MUTEXHOLD& operator=(const MUTEXHOLD&) = delete;

 private:
    MUTEXSEM& Mutex;
};
