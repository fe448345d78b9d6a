#pragma once

#include <atomic>
#include <functional>

#include "app/common/texts.h"
#include "corelib/base/stringarray.h"
#include "corelib/system/osys.h"

/// A trial login in a thread of its own, for a window that goes on meanwhile.
class LOGINTEST {
 public:
    /// Begins at once, with copies of the item's record and of the settings. `done` is called in the other thread as
    /// its last act. The texts outlive the object.
    LOGINTEST(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts, std::function<void()> done);
    /// Breaks the login off, and waits for that.
    ~LOGINTEST();
    LOGINTEST(const LOGINTEST&) = delete;
    LOGINTEST& operator=(const LOGINTEST&) = delete;

    /// How it went, for a person; once `done` has been called.
    const STRING& Outcome() const { return Said; }

 private:
    static unsigned Body(void* test);
    void Run();

    STRINGARRAY Item;
    STRINGARRAY Settings;
    const TEXTS& TextTable;
    std::function<void()> Done;
    STRING Said;
    std::atomic<bool> Stopped = false;
    OSYS::THREADHANDLE Thread;
};
