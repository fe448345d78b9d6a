#pragma once

#include <string>
#include <utility>
#include <vector>

#include "app/mailbox/pop3.h"
#include "corelib/net/tcpio.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/testsupport.h"

/// A line of the client, without its line break, and what the server says to it. An empty reply is silence.
using EXCHANGE = std::pair<std::string, std::string>;

/// The server's side of a POP3 conversation: its greeting, then the exchanges.
inline SCRIPT Pop3Script(const std::string& greeting, const std::vector<EXCHANGE>& exchanges) {
    SCRIPT script{PLAY::Send(greeting)};
    for (const auto& [command, reply] : exchanges) {
        script.push_back(PLAY::Expect(command));
        script.push_back(PLAY::Send(reply));
    }
    return script;
}

/// What a client sends that holds all of these exchanges and no more.
inline std::string Commands(const std::vector<EXCHANGE>& exchanges) {
    std::string text;
    for (const auto& exchange : exchanges)
        text += exchange.first + "\r\n";
    return text;
}

/// Time-outs of this length, in ms, as long as the object lives.
class SHORTTIMES {
 public:
    explicit SHORTTIMES(int ms) { PopTimes.GreetingMs = PopTimes.ReplyMs = TcpTimes.ReadFailedMs = ms; }
    ~SHORTTIMES() {
        PopTimes = FormerPop;
        TcpTimes = FormerTcp;
    }
    SHORTTIMES(const SHORTTIMES&) = delete;
    SHORTTIMES& operator=(const SHORTTIMES&) = delete;

 private:
    POPTIMES FormerPop = PopTimes;
    TCPTIMES FormerTcp = TcpTimes;
};

/// Texts that show their numbers, and a row that keeps what it was told.
class RECORDINGROW : public FRONTEND, public TEXTS {
 public:
    void SetItemStatus(int handle, const STRING& text) override {
        Statuses.push_back(std::to_string(handle) + ": " + Std(text));
    }
    STRING Get(int id) const override {
        STRING text;
        text.Format("<%d>", id);
        return text;
    }
    PROGRESS Progress() { return {*this, *this, 4096}; }

    std::vector<std::string> Statuses;
};
