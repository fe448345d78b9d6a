#pragma once

#include "corelib/net/tcpio.h"
#include "fuzz/fuzz.h"
#include "tests/servers/answeringdevice.h"
#include "tests/support/times.h"

/// A server that has said all that it will ever say before it is asked; and then hangs up, if it does so.
class SAIDSERVER : public ANSWERINGDEVICE {
 public:
    explicit SAIDSERVER(std::string_view words, bool hangsUp = false)
        : ANSWERINGDEVICE(std::string(words.substr(0, 32768)), nullptr), HangsUp(hangsUp) {
        SHRINKABLE::TcpTimes.ReadFailedMs = 1;
    }
    ~SAIDSERVER() override { KillDaemon(); }
    int DevWrite(const char* bytes, int length) override {
        Heard.append(bytes, static_cast<size_t>(length));
        return 1;
    }
    STRING GetInfo(const char* key) override {
        return !HangsUp                               ? BASEIO::GetInfo(key)
               : IsOver && strcmp(key, "ONLINE") == 0 ? "0"
                                                      : ANSWERINGDEVICE::GetInfo(key);
    }

    std::string Heard;

 private:
    const bool HangsUp;
};
