#pragma once

#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>

#include "corelib/net/baseio.h"

/// A device with a server in it, for conversations that no script can hold: it greets, and answers each line at once.
class ANSWERINGDEVICE : public BASEIO {
 public:
    /// line: what the client sent, without its line break. What it gets comes back.
    using ANSWER = std::function<std::string(const std::string& line)>;

    ANSWERINGDEVICE(std::string greeting, ANSWER answer)
        : BASEIO("", "", "", true), Answer(std::move(answer)), Words(std::move(greeting)) {
        OpenStartGate();
    }
    ~ANSWERINGDEVICE() override { KillDaemon(); }
    bool DevRead(char* buffer, int* length) override {
        const std::lock_guard hold(Guard);
        const size_t n = Words.copy(buffer, static_cast<size_t>(*length), Said);
        Said += n;
        if (Said == Words.size()) {
            Words.clear();
            Said = 0;
        }
        *length = static_cast<int>(n);
        IsOver = n == 0;
        return n > 0;
    }
    int DevWrite(const char* buffer, int length) override {
        std::string answer;
        std::string_view lines(buffer, static_cast<size_t>(length));
        for (size_t end; (end = lines.find("\r\n")) != lines.npos; lines.remove_prefix(end + 2))
            answer += Answer(std::string(lines.substr(0, end)));
        const std::lock_guard hold(Guard);
        Words += answer;
        WakeDaemon();
        return 1;
    }
    int DevGetNumAvail() override {
        const std::lock_guard hold(Guard);
        return static_cast<int>(Words.size() - Said);
    }
    STRING GetInfo(const char* key) override { return strcmp(key, "ONLINE") == 0 ? STRING("1") : BASEIO::GetInfo(key); }
    bool IsUsable() override { return true; }
    bool MakeCall(const char*) override { return true; }
    bool AcceptCall() override { return false; }
    bool DropCall() override { return true; }

 protected:
    std::atomic<bool> IsOver = false;  // nothing was left at the last look, and all before is with the client

 private:
    const ANSWER Answer;
    std::mutex Guard;
    std::string Words;  // guarded, and from Said on still to be said
    size_t Said = 0;
};
