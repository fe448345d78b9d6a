// The incoming side of TCPIPIO.
#include <algorithm>
#include <iterator>

#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/tcpio.h"

TCPIPIO::LISTENER TCPIPIO::InSockets[16];
std::mutex TCPIPIO::InSocketsGuard;

// The listening socket of the own id's port: that of other devices, or a new one. Null, with LastError set, on failure.
SOCKETREF TCPIPIO::OpenListener() {
    const int port = atoi(OwnId);
    std::lock_guard hold(InSocketsGuard);
    auto* row = std::find_if(std::begin(InSockets), std::end(InSockets),
                             [&](const LISTENER& entry) { return entry.UseCount > 0 && entry.Port == port; });
    if (row != std::end(InSockets)) {
        ++row->UseCount;
        return row->Socket;
    }
    row = std::find_if(std::begin(InSockets), std::end(InSockets),
                       [](const LISTENER& entry) { return entry.UseCount == 0; });
    if (!ASSERTION(row != std::end(InSockets), "i<ARRAYMAX(TCPIPIO::InSockets)")) {
        LastError = TCPERR_LISTEN;
        return nullptr;
    }
    const SOCKETS::SOCK s = SOCKETS::Open();
    if (s == SOCKETS::NONE) {
        LastError = TCPERR_NO_SERVICE;
        return nullptr;
    }
    auto listener = std::make_shared<HELDSOCKET>(s);
    uint32_t address;
    STRING name;
    auto error = SOCKETS::LISTENERROR::Bind;
    if (SOCKETS::HostByName(SOCKETS::HostName().Left(31).Text(), &address, &name))
        error = SOCKETS::Listen(s, address, static_cast<uint16_t>(port), 0, nullptr);
    if (error != SOCKETS::LISTENERROR::None) {
        LastError = error == SOCKETS::LISTENERROR::Bind ? TCPERR_BIND : TCPERR_LISTEN;
        return nullptr;
    }
    *row = {1, port, listener};
    return listener;
}

void TCPIPIO::ReleaseListener(const SOCKETREF& listener, bool forced) {
    std::lock_guard hold(InSocketsGuard);
    auto* row = std::find_if(std::begin(InSockets), std::end(InSockets),
                             [&](const LISTENER& entry) { return entry.Socket == listener; });
    // Another device may have forced it shut.
    if (row == std::end(InSockets) || (--row->UseCount > 0 && !forced))
        return;
    SOCKETS::Interrupt(listener->Number);
    *row = {};
}

bool TCPIPIO::AcceptCall() {
    ForgetTls();
    BUSY busy(AcceptIdle);
    bool waiting;
    {
        std::lock_guard hold(Guard);
        waiting = InSocket != nullptr;
    }
    if (!ASSERTION(!IsOnline() && !waiting, "this->Socket==-1 && this->InSocket==-1"))
        return false;
    SOCKETREF listener = OpenListener();
    if (!listener)
        return false;
    {
        std::lock_guard hold(Guard);
        InSocket = listener;
    }
    uint32_t peer = 0;
    // No lock is held meanwhile: DropCall ends the wait from another thread, by closing the listener.
    const SOCKETS::SOCK s = SOCKETS::Accept(listener->Number, &peer);
    if (s == SOCKETS::NONE) {
        LastError = TCPERR_ACCEPT;
        bool held;
        {
            std::lock_guard hold(Guard);
            held = InSocket == listener;
            InSocket.reset();
        }
        if (held)
            ReleaseListener(listener, false);
        return false;
    }
    STRING callerId = SOCKETS::AddressText(peer);
    STRING name;
    if (ReverseLookup && SOCKETS::HostByAddress(peer, &name))
        callerId.Format("%s (%s)", name.Text(), SOCKETS::AddressText(peer).Text());
    PaceIn = PaceOut = PACE();
    GoOnline(std::make_shared<HELDSOCKET>(s), callerId);
    return true;
}
