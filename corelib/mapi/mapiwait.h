#pragma once

#include <memory>

/// How the thread of a MAPI session waits for work: what MAPI and its providers send to the thread by messages is
/// handled meanwhile. Made by that thread.
class MAPIWAIT {
 public:
    MAPIWAIT();
    ~MAPIWAIT();
    MAPIWAIT(const MAPIWAIT&) = delete;
    MAPIWAIT& operator=(const MAPIWAIT&) = delete;

    /// Waits until Wake has been called since the last time.
    void Wait();
    /// Any thread.
    void Wake();
    /// Handles what has been sent so far.
    static void HandleMessages();

 private:
    struct STATE;
    const std::unique_ptr<STATE> State;
};
