#pragma once

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "corelib/net/sockets.h"

/// One step of a server's side of a conversation, made by the functions of PLAY.
struct STEP {
    enum KIND { EXPECT, EXPECT_PREFIX, READ_UNTIL, SEND, DRIP, CUT, SILENCE, DEAFNESS, AWAIT };
    KIND Kind;
    std::string Text;
};
using SCRIPT = std::vector<STEP>;

namespace PLAY {

struct MAKER {
    STEP::KIND Kind;
    STEP operator()(std::string text = "") const { return {Kind, std::move(text)}; }
};

/// The client's next line, without its line break, is exactly this (any other: see SCRIPTEDSERVER::Mismatch).
inline constexpr MAKER Expect{STEP::EXPECT};
/// The client's next line begins with this; "" takes any line.
inline constexpr MAKER ExpectPrefix{STEP::EXPECT_PREFIX};
/// Takes what the client sends up to and with these bytes: "\r\n\r\n" the head of an HTTP request, "\r\n.\r\n" a mail.
inline constexpr MAKER ReadUntil{STEP::READ_UNTIL};
/// Sends the bytes as they are, line breaks are the caller's; or one at a time, each as a packet of its own.
inline constexpr MAKER Send{STEP::SEND}, Drip{STEP::DRIP};
/// Closes the connection. If the client has sent bytes that no step has taken, it gets a reset.
inline constexpr MAKER Cut{STEP::CUT};
/// Says nothing more, and holds the connection until the client goes or the server is stopped. The end of a script does
/// the same.
inline constexpr MAKER Silence{STEP::SILENCE};
/// Reads nothing more either, until the server is stopped: what the client sends piles up.
inline constexpr MAKER Deafness{STEP::DEAFNESS};
/// Goes on when the test says so: see SCRIPTEDSERVER::GoOn.
inline constexpr MAKER Await{STEP::AWAIT};

}  // namespace PLAY

/// A server on a loopback port of the system's choice that plays scripts, each connection in a thread of its own. A
/// client that sends another line than a script expects is cut off and fails the test.
class SCRIPTEDSERVER {
 public:
    /// Each connection plays this script.
    explicit SCRIPTEDSERVER(SCRIPT script) : SCRIPTEDSERVER(std::vector<SCRIPT>{std::move(script)}) {}
    /// The first connection plays the first script and so on; the last one serves all that come after.
    explicit SCRIPTEDSERVER(std::vector<SCRIPT> scripts);
    /// Stops, and reports a mismatch that the test has not asked for as its failure.
    ~SCRIPTEDSERVER();
    SCRIPTEDSERVER(const SCRIPTEDSERVER&) = delete;
    SCRIPTEDSERVER& operator=(const SCRIPTEDSERVER&) = delete;

    uint16_t Port() const { return BoundPort; }
    /// "127.0.0.1:port".
    std::string HostPort() const;
    /// From now on each new connection is cut as soon as that many bytes have been sent to it; -1: none is.
    void CutAfter(int bytes) { CutLimit = bytes; }

    /// One more step that waits for this is passed, now or as soon as it comes.
    void GoOn();

    /// Waits until that many connections have come and all that came are over; false after ten seconds.
    bool Wait(int connections = 1);
    /// Ends all connections and takes no more. Nothing that the clients sent comes in any more.
    void Stop();

    /// All that the clients have sent so far, in the order of arrival. All that they ever sent, after Wait().
    std::string Transcript();
    int Connections();
    /// What differed from the script, or an empty text. Asking makes it the test's affair.
    std::string Mismatch();

 private:
    struct CONNECTION {
        SOCKETREF Socket;  // changes under Guard
        std::thread Thread;
        std::string Pending;  // come, and not yet taken by a step
        int Left = -1;        // bytes until the cut
    };

    void AcceptAll();
    void Serve(CONNECTION& connection, const SCRIPT& script);
    bool Play(CONNECTION& connection, const STEP& step);
    bool More(CONNECTION& connection);
    bool Take(CONNECTION& connection, std::string_view end, std::string* taken);
    bool Put(CONNECTION& connection, std::string_view bytes);
    bool Differs(const STEP& step, const std::string& line);

    std::vector<SCRIPT> Scripts;
    SOCKETREF Listener;
    uint16_t BoundPort = 0;
    std::atomic<int> CutLimit = -1;
    std::atomic<bool> Stopping = false;
    std::thread Acceptor;

    std::mutex Guard;  // of all below
    std::condition_variable Over;
    std::vector<std::unique_ptr<CONNECTION>> All;
    int Ended = 0;
    int Passes = 0;  // of steps that wait
    std::string Received;
    std::string Difference;
    bool Asked = false;
};

/// The bytes that the server's side of a script sends.
int ServerBytes(const SCRIPT& script);

/// Plays the script once for each byte of the server's side with the connection cut after that many bytes (0, 1, ...),
/// and once whole. conversation(server, sent, whole) holds the client's side against it; it is over when it returns.
template <class CONVERSATION>
void ForEveryCut(const SCRIPT& script, CONVERSATION conversation) {
    const int total = ServerBytes(script);
    for (int sent = 0; sent <= total && !testing::Test::HasFailure(); ++sent) {
        SCOPED_TRACE("cut after byte " + std::to_string(sent) + " of " + std::to_string(total));
        SCRIPTEDSERVER server(script);
        if (sent < total)
            server.CutAfter(sent);
        conversation(server, sent, sent == total);
    }
}

/// A loopback port on which nobody listens.
uint16_t ClosedPort();
