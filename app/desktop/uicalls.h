#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "corelib/window/gdi.h"

/// Work for the user-interface thread. Other threads leave calls here and go on at once, so that neither thread ever
/// waits for the other; a message to a window says that there are some.
class UICALLS {
 public:
    using CALL = std::function<void()>;
    /// What a call draws, and for which item: of several that wait, only the newest is made.
    using KEY = std::pair<int, int>;

    explicit UICALLS(UINT message) : Message(message) {}
    /// From now on calls are told to this window; null: they wait.
    void SetWindow(HWND window);

    /// Any thread.
    void Post(CALL call) { Add(nullptr, std::move(call)); }
    void PostLatest(const KEY& key, CALL call) { Add(&key, std::move(call)); }
    /// Makes the calls that wait, in their order. The window's thread, when the message comes.
    void Run();

 private:
    void Add(const KEY* key, CALL call);

    const UINT Message;
    std::mutex Guard;
    HWND Window = nullptr;
    std::vector<CALL> Calls;
    std::map<KEY, size_t> Places;
};
