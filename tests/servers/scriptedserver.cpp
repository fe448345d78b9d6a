#include "tests/servers/scriptedserver.h"

#include <algorithm>
#include <chrono>

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

// Long enough for the client's thread to see each byte of a drip alone, most of the time.
constexpr microseconds DRIP_PAUSE{100};

SOCKETREF OpenListener(uint16_t* port) {
    auto listener = std::make_shared<HELDSOCKET>(SOCKETS::Open());
    auto error = SOCKETS::Listen(listener->Number, SOCKETS::LOOPBACK, 0, 16, port);
    EXPECT_EQ(error, SOCKETS::LISTENERROR::None) << "no loopback port, error " << SOCKETS::LastError();
    return listener;
}

}  // namespace

SCRIPTEDSERVER::SCRIPTEDSERVER(std::vector<SCRIPT> scripts) : Scripts(std::move(scripts)) {
    SOCKETS::Startup();
    Listener = OpenListener(&BoundPort);
    Acceptor = std::thread([this] { AcceptAll(); });
}

SCRIPTEDSERVER::~SCRIPTEDSERVER() {
    Stop();
    if (!Asked) {
        EXPECT_EQ(Difference, "");
    }
    All.clear();
    Listener.reset();
    SOCKETS::Cleanup();
}

std::string SCRIPTEDSERVER::HostPort() const {
    return "127.0.0.1:" + std::to_string(BoundPort);
}

void SCRIPTEDSERVER::Stop() {
    if (Stopping.exchange(true))
        return;
    // A call of our own is what wakes an accept on every platform.
    HELDSOCKET waker(SOCKETS::Open());
    SOCKETS::Connect(waker.Number, SOCKETS::LOOPBACK, BoundPort);
    Acceptor.join();
    GoOn();  // whoever waits sees that it is over
    for (auto& connection : All) {
        SOCKETREF socket;
        {
            std::lock_guard hold(Guard);
            socket = connection->Socket;
        }
        if (socket)
            SOCKETS::Interrupt(socket->Number);
        connection->Thread.join();
    }
}

void SCRIPTEDSERVER::AcceptAll() {
    for (;;) {
        const SOCKETS::SOCK s = SOCKETS::Accept(Listener->Number, nullptr);
        if (s == SOCKETS::NONE)
            return;
        auto socket = std::make_shared<HELDSOCKET>(s);
        if (Stopping)
            return;
        SOCKETS::SetNoDelay(s);
        std::lock_guard hold(Guard);
        const SCRIPT& script = Scripts[std::min(All.size(), Scripts.size() - 1)];
        All.push_back(std::make_unique<CONNECTION>());
        CONNECTION& connection = *All.back();
        connection.Socket = std::move(socket);
        connection.Left = CutLimit;
        connection.Thread = std::thread([this, &connection, &script] { Serve(connection, script); });
    }
}

void SCRIPTEDSERVER::Serve(CONNECTION& connection, const SCRIPT& script) {
    auto step = script.begin();
    if (connection.Left != 0)
        while (step != script.end() && step->Kind != STEP::CUT && Play(connection, *step))
            ++step;
    if (step == script.end())
        while (More(connection)) {
        }
    {
        std::lock_guard hold(Guard);
        connection.Socket.reset();
        ++Ended;
    }
    Over.notify_all();
}

// False ends the connection.
bool SCRIPTEDSERVER::Play(CONNECTION& connection, const STEP& step) {
    std::string taken;
    switch (step.Kind) {
        case STEP::EXPECT:
        case STEP::EXPECT_PREFIX:
            return Take(connection, "\n", &taken) && !Differs(step, taken);
        case STEP::READ_UNTIL:
            return Take(connection, step.Text, &taken);
        case STEP::SEND:
            return Put(connection, step.Text);
        case STEP::DRIP:
            for (const char& byte : step.Text) {
                if (!Put(connection, {&byte, 1}))
                    return false;
                std::this_thread::sleep_for(DRIP_PAUSE);
            }
            return true;
        case STEP::SILENCE:
            while (More(connection)) {
            }
            return true;
        case STEP::DEAFNESS:
            while (!Stopping)
                std::this_thread::sleep_for(milliseconds(1));
            return false;
        case STEP::AWAIT: {
            std::unique_lock hold(Guard);
            Over.wait(hold, [&] { return Passes > 0 || Stopping; });
            --Passes;
            return !Stopping;
        }
        case STEP::CUT:
            break;
    }
    return false;
}

bool SCRIPTEDSERVER::More(CONNECTION& connection) {
    char buffer[4096];
    const int count = SOCKETS::Recv(connection.Socket->Number, buffer, sizeof buffer);
    if (count <= 0)
        return false;
    connection.Pending.append(buffer, static_cast<size_t>(count));
    std::lock_guard hold(Guard);
    Received.append(buffer, static_cast<size_t>(count));
    return true;
}

bool SCRIPTEDSERVER::Take(CONNECTION& connection, std::string_view end, std::string* taken) {
    size_t at;
    while ((at = connection.Pending.find(end)) == std::string::npos)
        if (!More(connection))
            return false;
    *taken = connection.Pending.substr(0, at + end.size());
    connection.Pending.erase(0, at + end.size());
    return true;
}

bool SCRIPTEDSERVER::Put(CONNECTION& connection, std::string_view bytes) {
    const bool cut = connection.Left >= 0 && connection.Left <= static_cast<int>(bytes.size());
    if (cut)
        bytes = bytes.substr(0, static_cast<size_t>(connection.Left));
    if (connection.Left >= 0)
        connection.Left -= static_cast<int>(bytes.size());
    while (!bytes.empty()) {
        const int sent = SOCKETS::Send(connection.Socket->Number, bytes.data(), static_cast<int>(bytes.size()));
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return !cut;
}

bool SCRIPTEDSERVER::Differs(const STEP& step, const std::string& line) {
    std::string text = line.substr(0, line.find_last_not_of("\r\n") + 1);
    const bool same = step.Kind == STEP::EXPECT ? text == step.Text : text.starts_with(step.Text);
    if (same)
        return false;
    std::lock_guard hold(Guard);
    if (Difference.empty())
        Difference = "expected \"" + step.Text + "\", the client sent \"" + text + "\"";
    return true;
}

bool SCRIPTEDSERVER::Wait(int connections) {
    std::unique_lock hold(Guard);
    return Over.wait_for(hold, seconds(10), [&] {
        return static_cast<int>(All.size()) >= connections && Ended == static_cast<int>(All.size());
    });
}

std::string SCRIPTEDSERVER::Transcript() {
    std::lock_guard hold(Guard);
    return Received;
}

void SCRIPTEDSERVER::GoOn() {
    const std::lock_guard hold(Guard);
    ++Passes;
    Over.notify_all();
}

int SCRIPTEDSERVER::Connections() {
    std::lock_guard hold(Guard);
    return static_cast<int>(All.size());
}

std::string SCRIPTEDSERVER::Mismatch() {
    std::lock_guard hold(Guard);
    Asked = true;
    return Difference;
}

int ServerBytes(const SCRIPT& script) {
    int total = 0;
    for (const STEP& step : script)
        if (step.Kind == STEP::SEND || step.Kind == STEP::DRIP)
            total += static_cast<int>(step.Text.size());
    return total;
}

uint16_t ClosedPort() {
    SOCKETS::Startup();
    uint16_t port = 0;
    OpenListener(&port);
    SOCKETS::Cleanup();
    return port;
}
