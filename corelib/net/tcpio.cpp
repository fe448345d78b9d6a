#include "corelib/net/tcpio.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/trace.h"
#include "corelib/net/abandon.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
TCPTIMES TcpTimes;
}
constinit const TCPTIMES& TcpTimes = SHRINKABLE::TcpTimes;
TCPLOOKUPS TcpLookups;

namespace {

constexpr uint32_t DUMP_LEVEL = 519;
constexpr uint32_t NO_ADDRESS = 0xffffffff;
// What a session may have to send without being asked to give anything.
constexpr size_t MOST_UNASKED_BYTES = 65536;
// Of a handshake, the longest chain of certificates and all: no server needs as much.
constexpr int64_t MOST_HANDSHAKE_BYTES = 262144;

// The kinds of records that a handshake can begin with.
constexpr char TLS_ALERT = 21;
constexpr char TLS_HANDSHAKE = 22;
constexpr const char* HUNG_UP = "the server hung up";
constexpr const char* UNFINISHED = "the server did not finish the handshake";
constexpr const char* UNCHECKED = "the certificate could not be checked";
constexpr const char* TALKATIVE = "the server says too much before the line is protected";

// The order is that of the search.
constexpr struct {
    int32_t Error;
    int Class;
    const char* Text;
} ErrorTable[] = {
    {TCPERR_NO_RESPONSE, 400, "No response"},
    {TCPERR_TOO_SLOW, 400, "Too slow"},
    {TCPERR_NO_SERVICE, 500, "No TCP/IP socket or service"},
    {TCPERR_HOST_NOT_FOUND, 500, "Host not found"},
    {TCPERR_DISCONNECTED, 500, "Remote disconnected"},
    {TCPERR_IOCTL, 500, "Error Ioctl failed"},
    {TCPERR_LISTEN, 500, "Listen failed"},
    {TCPERR_BIND, 500, "Bind failed"},
    {TCPERR_ACCEPT, 500, "Accept failed"},
    {TCPERR_RECV, 500, "Recv failed"},
    {TCPERR_TLS_FAILED, 500, "TLS failed"},
    {TCPERR_TLS_UNTRUSTED, 500, "Certificate not trusted"},
    {TCPERR_TLS_CUT, 400, "Connection cut off"},
    {TCPERR_NONE, 200, "No Error"},
};

STRING Decimal(int number) {
    STRING text;
    text.Format("%d", number);
    return text;
}

void HexDump(const char* tag, const char* bytes, int length) {
    if (!TraceWanted(DUMP_LEVEL))
        return;
    TraceLevel(DUMP_LEVEL, "TCPIPIO::%s : \n", tag);
    for (int start = 0; start < length; start += 16) {
        STRING row;
        for (int i = start; i < std::min(start + 16, length); ++i)
            row.AppendFormat("%02x ", static_cast<unsigned char>(bytes[i]));
        TraceLevel(DUMP_LEVEL, "    %s\n", row.Text());
    }
}

// The host of a destination; what comes back is the rest, from the separator on, or empty.
std::string_view SplitDestination(std::string_view text, STRING& host) {
    text = ASCII::TrimLeft(text, " :*");
    size_t split = text.find(' ');
    if (split == std::string_view::npos)
        split = text.find(':');
    host = STRING(text.substr(0, split));
    return split == std::string_view::npos ? std::string_view() : text.substr(split);
}

bool IsShaking(const TLSSESSION& session) {
    return session.State() == TLSSESSION::STATE::SHAKING || session.State() == TLSSESSION::STATE::CHECKING;
}

void TraceResolved(int error) {
    Trace("TCPIPIO::~Resolv LastError-WSABASEERR= %d\n", error);
}

}  // namespace

TCPIPIO::TCPIPIO(const char* ownId, const char* callType, const char* keepOnError)
    : BASEIO(ownId, callType, keepOnError, true),
      Usable(SOCKETS::Startup()),
      CallerId("<unknown>"),
      AcceptIdle(false),
      ReadIdle(false),
      WriteIdle(false),
      TlsMoved(false) {
    if (Usable) {
        memset(Received, 0, sizeof Received);
        HostName = SOCKETS::HostName();
    }
    ReadsWhatIsThere = true;
    AcceptIdle.Set();
    ReadIdle.Set();
    WriteIdle.Set();
    OpenStartGate();
}

TCPIPIO::~TCPIPIO() {
    if (IsOnline())
        TCPIPIO::DropCall();
    SOCKETREF listener;
    {
        std::lock_guard hold(Guard);
        listener.swap(InSocket);
    }
    if (listener)
        ReleaseListener(listener, true);
    ASSERTION(!IsOnline(), "this->Socket==-1");
    AcceptIdle.Wait(WAIT_FOREVER);
    ReadIdle.Wait(WAIT_FOREVER);
    WriteIdle.Wait(WAIT_FOREVER);
    KillDaemon();
    if (Usable)
        SOCKETS::Cleanup();
}

bool TCPIPIO::IsUsable() {
    return Usable;
}

SOCKETREF TCPIPIO::PresentCall() {
    std::lock_guard hold(Guard);
    return Connection;
}

void TCPIPIO::SetCallerId(const STRING& text) {
    std::lock_guard hold(Guard);
    CallerId = text.Left(255);
}

void TCPIPIO::GoOnline(const SOCKETREF& connection, const STRING& callerId) {
    {
        std::lock_guard hold(Guard);
        ReadAheadFill = ReadAheadPos = 0;
        CallerId = callerId.Left(255);
        InCallListener.swap(InSocket);
        LastError = TCPERR_NONE;
        LastActivity = CLOCK::Seconds();
        Connection = connection;
        Socket = connection->Number;
        WasOnline = true;
    }
    WakeDaemon();
}

bool TCPIPIO::Resolv(const char* destination, STRING& hostText, STRING& portText, bool noReverse, int limitMs,
                     HOST& host) const {
    const std::string_view text = SplitDestination(FailOnNull(destination, "Resolv"), hostText);
    portText = text.empty() ? STRING("23") : STRING(text.substr(1));

    const std::string_view name = hostText.View();
    const bool isName = std::any_of(name.begin(), name.end(), ASCII::IsLetter);
    const bool isAddress = !isName && SOCKETS::ParseAddress(hostText.Text(), &host.Address);
    if (!isName && !isAddress)
        host.Address = NO_ADDRESS;
    host.Name = "<unnamed>";
    if (!isName && (noReverse || !isAddress)) {
        TraceResolved(SOCKETS::LastErrorOverBase());
        return true;
    }
    struct FOUND {
        bool Known;
        HOST Host;
        int Error;
    };
    // The look-up owns all that it works with: it may outlive the call and the device.
    const auto lookUp = [lookups = TcpLookups, given = std::string(name), address = host.Address, isName] {
        SOCKETS::Startup();
        FOUND found{false, {"<unnamed>", address}, 0};
        if (isName)
            found.Known = lookups.HostByName(given.c_str(), &found.Host.Address, &found.Host.Name);
        else
            found.Known = lookups.HostByAddress(address, &found.Host.Name);
        found.Error = SOCKETS::LastErrorOverBase();
        SOCKETS::Cleanup();
        return found;
    };
    const std::optional<FOUND> found = AwaitOrAbandon<FOUND>(lookUp, StopQuestion(), limitMs, TcpTimes.StopLookMs);
    TraceResolved(found ? found->Error : 0);
    if (found && found->Known)
        host = found->Host;
    // An address can be called without a name.
    return !isName || (found && found->Known);
}

SOCKETREF TCPIPIO::Connect(const char* destination) {
    STRING hostText;
    STRING portText;
    HOST host;
    const int limit = ConnectLimitMs != -1 ? ConnectLimitMs : TcpTimes.ConnectMs;
    bool known = Resolv(destination, hostText, portText, false, limit, host);
    SetCallerId(hostText);
    if (!known) {
        LastError = TCPERR_HOST_NOT_FOUND;
        return nullptr;
    }
    uint16_t port = 0;
    // A number that is none of a port must not become another one: a password would go there.
    if (ASCII::IsDigit(portText.Text()[0]))
        (void)ASCII::ReadNumber(portText.View(), port);
    else
        port = SOCKETS::ServiceByName(portText.Text());
    const SOCKETS::SOCK s = port != 0 ? SOCKETS::Open() : SOCKETS::NONE;
    if (s == SOCKETS::NONE) {
        LastError = TCPERR_NO_SERVICE;
        return nullptr;
    }
    auto connection = std::make_shared<HELDSOCKET>(s);
    // A connection that is made without blocking can be given up, at the limit and at the end of the program.
    SOCKETS::SetBlocking(s, false);
    auto ready = SOCKETS::Connect(s, host.Address, port) ? SOCKETS::READY::Nothing : SOCKETS::READY::Refused;
    for (int waited = 0; ready == SOCKETS::READY::Nothing && !IsStopped();) {
        ready = SOCKETS::WaitConnected(s, TcpTimes.StopLookMs);
        waited += TcpTimes.StopLookMs;
        if (ready == SOCKETS::READY::Nothing && waited >= limit) {
            Trace("TCPIPIO::MakeCall timed out\n");
            break;
        }
    }
    ASSERTION_INFO(ready != SOCKETS::READY::Error, "rc!=SOCKET_ERROR",
                   (STRING("WSAGetLastError=") || Decimal(SOCKETS::LastError())).Text());
    SOCKETS::SetBlocking(s, true);
    SOCKETS::SetNoDelay(s);
    SOCKETS::AcknowledgeAtOnce(s);
    SOCKETS::SetKeepAlive(s, TcpTimes.KeepAliveSeconds, TcpTimes.KeepAliveEverySeconds);
    if (ready != SOCKETS::READY::Writable) {
        LastError = TCPERR_NO_RESPONSE;
        return nullptr;
    }
    STRING callerId;
    callerId.Format("%s (%s)", host.Name.Text(), SOCKETS::AddressText(host.Address).Text());
    GoOnline(connection, callerId);
    return connection;
}

bool TCPIPIO::MakeCall(const char* destination) {
    if (!ASSERTION(!IsOnline(), "this->Socket==-1"))
        DropCall();
    ForgetTls();
    Destination = destination;
    PaceIn = PaceOut = PACE();
    PaceIn.Asked();
    // The call counts as made even if the peer has ended it by now: what it sent before that is there to be read.
    const bool made = Connect(destination) != nullptr;
    Trace("TCPIPIO::~MakeCall last error = %d WSABASEERR+%d\n", static_cast<int>(LastError.load()),
          SOCKETS::LastErrorOverBase());
    return made;
}

bool TCPIPIO::DropCall() {
    const SOCKETREF connection = PresentCall();
    if (connection) {
        const std::string notice = [&] {
            std::lock_guard hold(TlsGuard);
            if (Tls)
                Tls->Close();
            return Tls ? Tls->TakeOutgoing() : std::string();
        }();
        // A courtesy: a peer that does not take it at once goes without.
        if (!notice.empty())
            SOCKETS::SendAll(connection->Number, notice.data(), static_cast<int>(notice.size()), 0,
                             [](int) { return false; });
    }
    Drop(connection);
    return !IsOnline();
}

void TCPIPIO::Drop(const SOCKETREF& connection, int32_t tlsError) {
    Trace("TCPIPIO::DropCall socket= %d\n", static_cast<int>(Socket.load()));
    SOCKETREF listener;
    bool present;
    {
        std::lock_guard hold(Guard);
        // The other thread may have been first, and a new call be up.
        present = connection && Connection == connection;
        if (present) {
            Socket = SOCKETS::NONE;
            Connection.reset();
            listener.swap(InCallListener);
            LastError = TCPERR_NONE;
            TlsError = tlsError;
            CallerId = "<unknown>";
        }
    }
    if (present)
        SOCKETS::Interrupt(connection->Number);
    if (listener)
        ReleaseListener(listener, false);
    Trace("TCPIPIO::~DropCall\n");
}

int TCPIPIO::TakeReadAhead(char* buffer, int room) {
    std::lock_guard hold(Guard);
    const int count = std::max(std::min(room, ReadAheadFill - ReadAheadPos), 0);
    memcpy(buffer, ReadAhead + ReadAheadPos, static_cast<size_t>(count));
    ReadAheadPos += count;
    return count;
}

void TCPIPIO::ReadError(const SOCKETREF& connection, int32_t error) {
    std::lock_guard hold(Guard);
    if (Connection == connection)
        LastError = error;
}

TCPIPIO::TAKEN TCPIPIO::TakeReceived(const SOCKETREF& connection, int count) {
    std::unique_lock holdTls(TlsGuard);
    std::unique_lock hold(Guard);
    // The owner has dropped the call meanwhile: nobody wants its bytes, least of all as those of a new call.
    if (Connection != connection)
        return TAKEN::OVER;
    ReadAhead = Received;
    ReadAheadFill = count;
    ReadAheadPos = 0;
    if (!Tls)
        return TAKEN::MORE;
    using STATE = TLSSESSION::STATE;
    const bool wasShaking = Tls->State() == STATE::SHAKING;
    Decrypted.clear();
    // In the words of a library this would be the wrong version of something.
    if (TlsReceived == 0 && Received[0] != TLS_HANDSHAKE && Received[0] != TLS_ALERT)
        Tls->Break(TLS_IN_CLEAR);
    TlsReceived += count;
    if (wasShaking && TlsReceived > MOST_HANDSHAKE_BYTES)
        Tls->Break(TALKATIVE);
    STATE state = Tls->Take({Received, static_cast<size_t>(count)}, Decrypted);
    if (state == STATE::CHECKING) {
        const std::function<TLSVERDICT()> check = Tls->Check();
        hold.unlock();
        holdTls.unlock();
        const std::optional<TLSVERDICT> verdict = AwaitOrAbandon<TLSVERDICT>(
            check, [&] { return PresentCall() != connection; }, TcpTimes.HandshakeMs, TcpTimes.StopLookMs);
        holdTls.lock();
        hold.lock();
        if (Connection != connection)
            return TAKEN::OVER;
        // Who waits for the handshake may have given up meanwhile.
        if (verdict && Tls->State() == STATE::CHECKING)
            Tls->Judge(*verdict);
        else
            Tls->Break(UNCHECKED);
        state = Tls->Take({}, Decrypted);
    }
    ReadAhead = Decrypted.data();
    ReadAheadFill = static_cast<int>(Decrypted.size());
    if (wasShaking) {
        TlsMoved.Set();
        // Who waits for the handshake takes a failure from there, and has an alert to send before the end.
        if (state == STATE::SHAKING || state == STATE::FAILED)
            return TAKEN::MORE;
        Ring.Clear();
        return TAKEN::STARTED;
    }
    if (state == STATE::UP && Tls->OutgoingBytes() > MOST_UNASKED_BYTES) {
        Tls->Break("the server asks for too much");
        state = STATE::FAILED;
    }
    return state == STATE::UP ? TAKEN::MORE : TAKEN::OVER;
}

bool TCPIPIO::DevRead(char* buffer, int* length) {
    BUSY busy(ReadIdle);
    const int room = *length;
    const SOCKETREF connection = PresentCall();
    if (!connection) {
        *length = TakeReadAhead(buffer, room);
        return *length > 0;
    }
    int count = 0;
    int received = 1;
    bool drained = false;
    while (count < room) {
        count += TakeReadAhead(buffer + count, room - count);
        if (count >= room || (count > 0 && (drained || DevGetNumAvail() < 1)))
            break;
        // Blocks only if nothing is there, and only until something is. Asking for a bufferful delivers the same as
        // asking first how much there is, with one system call for each arrival instead of three.
        received = SOCKETS::Recv(connection->Number, Received, sizeof Received);
        if (received <= 0)
            break;
        HexDump("RECV", Received, received);
        drained = received < static_cast<int>(sizeof Received);
        if (drained)
            SOCKETS::AcknowledgeAtOnce(connection->Number);
        const TAKEN taken = TakeReceived(connection, received);
        if (taken == TAKEN::STARTED)
            count = 0;
        if (taken != TAKEN::OVER)
            continue;
        // What it said before its end is read after the drop, as far as it does not fit.
        count += TakeReadAhead(buffer + count, room - count);
        Drop(connection, TlsVerdict(connection));
        break;
    }
    if (received < 0) {
        ReadError(connection, TCPERR_RECV);
        Trace("TCPIPIO::DevRead read error rc=%d, lasterror= %d\n", received, static_cast<int>(LastError.load()));
        if (atoi(KeepOnError) == 0)
            Drop(connection, TlsVerdict(connection));
        *length = 0;
        return false;
    }
    if (received == 0) {
        ReadError(connection, TCPERR_DISCONNECTED);
        Trace("TCPIPIO::DevRead read disconnect rc=%d, lasterror= %d\n", received, static_cast<int>(LastError.load()));
        Drop(connection, TlsVerdict(connection));
    }
    *length = count;
    LastActivity = CLOCK::Seconds();
    return true;
}

int TCPIPIO::SendBytes(const SOCKETREF& connection, std::string_view bytes) {
    int looked = 0;
    const int length = static_cast<int>(bytes.size());
    const int rc = SOCKETS::SendAll(connection->Number, bytes.data(), length, TcpTimes.StopLookMs, [&](int sent) {
        PaceOut.Moved(sent - looked);
        PaceOut.Waited(TcpTimes.StopLookMs);
        looked = sent;
        return !IsStopped() && !PaceOut.IsTooSlow();
    });
    PaceOut.Moved(length - looked);
    if (rc >= 0)
        HexDump("SEND", bytes.data(), length);
    return rc;
}

int TCPIPIO::DevWrite(const char* buffer, int length) {
    BUSY busy(WriteIdle);
    const SOCKETREF connection = PresentCall();
    if (!connection)
        return 0;
    HasWritten = true;
    std::string_view bytes(buffer, static_cast<size_t>(length));
    std::string encrypted;
    {
        std::lock_guard hold(TlsGuard);
        if (Tls) {
            if (!Tls->Give(bytes))
                return 0;
            encrypted = Tls->TakeOutgoing();
            bytes = encrypted;
        }
    }
    const int rc = SendBytes(connection, bytes);
    if (rc < 0) {
        Trace("TCPIPIO::DevWrite error rc=%d \n", rc);
        Drop(connection, TlsVerdict(connection));
        return rc;
    }
    LastActivity = CLOCK::Seconds();
    return 1;
}

void TCPIPIO::ForgetTls() {
    std::lock_guard hold(TlsGuard);
    Tls.reset();
    TlsError = TCPERR_NONE;
    TlsReceived = 0;
    HasWritten = false;
}

TLSREPORT TCPIPIO::TlsReport() {
    std::lock_guard hold(TlsGuard);
    return Tls ? Tls->Report() : TLSREPORT();
}

int32_t TCPIPIO::TlsVerdict(const SOCKETREF& connection) {
    std::lock_guard hold(TlsGuard);
    if (!Tls || Tls->State() == TLSSESSION::STATE::CLOSED || PresentCall() != connection)
        return TCPERR_NONE;
    if (Tls->State() == TLSSESSION::STATE::UP)
        return TCPERR_TLS_CUT;
    if (IsShaking(*Tls)) {
        Tls->Break(HUNG_UP);
        TlsMoved.Set();
    }
    const TLSREPORT& report = Tls->Report();
    return report.Faults != TLSFAULT_NONE && !report.Accepted ? TCPERR_TLS_UNTRUSTED : TCPERR_TLS_FAILED;
}

bool TCPIPIO::StartTls(const TLSWISH& wish) {
    const SOCKETREF connection = PresentCall();
    if (!WasOnline)
        return false;
    TLSWISH whole = wish;
    if (whole.ServerName.Length() == 0)
        SplitDestination(Destination.View(), whole.ServerName);
    {
        std::lock_guard hold(TlsGuard);
        if (!ASSERTION(!Tls, "!Tls"))
            return false;
        Tls = TLSSESSION::Create(whole, Destination);
        if (!connection) {
            Tls->Break(HUNG_UP);
            TlsError = TCPERR_TLS_FAILED;
            return false;
        }
    }
    PaceIn.Asked();
    int32_t error = Shake(connection);
    const TLSREPORT report = TlsReport();
    if (report.Protocol.Length() > 0)
        Trace("TCPIPIO::StartTls %s %s resumed= %d\n", report.Protocol.Text(), report.Cipher.Text(), report.Resumed);
    if (error == TCPERR_NONE && report.Failure.Length() == 0)
        return true;
    if (error == TCPERR_NONE)
        error = TlsVerdict(connection);
    Drop(connection, error);
    Trace("TCPIPIO::StartTls error: %s\n", GetInfo("LASTERRORSTRING").Text());
    return false;
}

void TCPIPIO::ThrowAwayRing() {
    char bytes[8192];
    for (int count = sizeof bytes; Ring.Read(bytes, &count, 0, nullptr);)
        count = sizeof bytes;
}

int32_t TCPIPIO::Shake(const SOCKETREF& connection) {
    int64_t looked = CLOCK::DayMilliSeconds(), waited = 0, received = 0;
    for (;;) {
        std::string bytes;
        bool shaking;
        TlsMoved.Reset();
        {
            std::lock_guard hold(TlsGuard);
            // A server that waits for commands in clear would wait for ever.
            if (IsShaking(*Tls) && !HasWritten && Ring.Avail() > 0)
                Tls->Break(TLS_IN_CLEAR);
            // The daemon thread must find room for what came in clear, or it never gets to the handshake.
            if (IsShaking(*Tls))
                ThrowAwayRing();
            if (IsShaking(*Tls) && (IsTooSlow() || waited >= TcpTimes.HandshakeMs)) {
                Tls->Break(Tls->State() == TLSSESSION::STATE::CHECKING ? UNCHECKED : UNFINISHED);
                return TCPERR_TLS_FAILED;
            }
            bytes = Tls->TakeOutgoing();
            shaking = IsShaking(*Tls);
            PaceIn.Moved(TlsReceived - received);
            received = TlsReceived;
        }
        // What cannot be sent is noticed where the server's end is.
        if (!bytes.empty())
            SendBytes(connection, bytes);
        if (!shaking)
            return TCPERR_NONE;
        if (IsStopped())
            return TCPERR_NO_RESPONSE;
        TlsMoved.Wait(TcpTimes.StopLookMs);
        const int64_t now = CLOCK::DayMilliSeconds();
        PaceIn.Waited(now - looked);
        waited += std::max<int64_t>(now - looked, 0);
        looked = now;
    }
}

int TCPIPIO::DevGetNumAvail() {
    SOCKETREF connection;
    {
        std::lock_guard hold(Guard);
        if (ReadAheadPos < ReadAheadFill)
            return ReadAheadFill - ReadAheadPos;
        connection = Connection;
    }
    if (!connection)
        return 0;
    const int count = SOCKETS::Available(connection->Number);
    if (count < 0) {
        ReadError(connection, TCPERR_IOCTL);
        return 0;
    }
    return count;
}

STRING TCPIPIO::TlsReason(int32_t error) {
    const TLSREPORT report = TlsReport();
    if (error == TCPERR_TLS_UNTRUSTED)
        return STRING(": ") || report.WhyUntrusted();
    return error == TCPERR_TLS_FAILED && report.Failure.Length() > 0 ? STRING(": ") || report.Failure : STRING("");
}

STRING TCPIPIO::GetInfo(const char* key) {
    STRING upper = key;
    upper.ToUpper();
    if (upper == "OWNID")
        return HostName;
    if (upper == "CALLERID") {
        std::lock_guard hold(Guard);
        return CallerId;
    }
    if (upper == "DEVICENAME")
        return "TCPIP";
    if (upper == "ONLINE")
        return IsOnline() ? "1" : "0";
    if (upper == "BANDWIDTH")
        return "128000";
    if (upper == "IDLE_TIME") {
        const int64_t last = LastActivity;
        if (last == -1)
            return "-1";
        STRING idle;
        idle.Format("%lu", static_cast<unsigned long>(CLOCK::Seconds() - last));
        return idle;
    }
    int32_t error = IsTooSlow() ? TCPERR_TOO_SLOW : TlsError.load();
    if (error == TCPERR_NONE)
        error = LastError;
    const auto* row = std::find_if(std::begin(ErrorTable), std::end(ErrorTable),
                                   [&](const auto& entry) { return entry.Error == error; });
    const bool known = row != std::end(ErrorTable);
    if (upper == "LASTERROR")
        return Decimal(error);
    if (upper == "LASTERRORSTRING")
        return known ? STRING(row->Text) || TlsReason(error) : Decimal(error);
    if (upper == "LASTERRORCLASS")
        return Decimal(known ? row->Class : 599);
    ASSERTION_INFO(false, "FALSE", (STRING("*") || upper || "*").Text());
    return "";
}
