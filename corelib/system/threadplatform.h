#pragma once

#include <functional>
#ifndef _WIN32
#include <thread>
#endif

/// A thread of the platform, for osys.cpp alone.
class PLATFORMTHREAD {
 public:
    PLATFORMTHREAD() = default;
    /// One that nobody has joined runs on.
    ~PLATFORMTHREAD();
    PLATFORMTHREAD(const PLATFORMTHREAD&) = delete;
    PLATFORMTHREAD& operator=(const PLATFORMTHREAD&) = delete;

    /// Runs work in a new thread, once; false if there is none to be had.
    bool Begin(std::function<void()> work);
    /// Waits for its end, without a limit.
    void Join();

 private:
#ifdef _WIN32
    void* Thread = nullptr;
#else
    std::thread Thread;
#endif
};
