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
      WriteIdle(false) {
    if (Usable) {
        memset(ReadAhead, 0, sizeof ReadAhead);
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
    std::string_view text = FailOnNull(destination, "Resolv");
    text = ASCII::TrimLeft(text, " :*");
    size_t split = text.find(' ');
    if (split == std::string_view::npos)
        split = text.find(':');
    portText = "23";
    if (split != std::string_view::npos)
        portText = STRING(text.substr(split + 1));
    hostText = STRING(text.substr(0, split));

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
    const char first = portText.Text()[0];
    const uint16_t port =
        ASCII::IsDigit(first) ? static_cast<uint16_t>(atoi(portText)) : SOCKETS::ServiceByName(portText.Text());
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
    PaceIn = PaceOut = PACE();
    PaceIn.Asked();
    // The call counts as made even if the peer has ended it by now: what it sent before that is there to be read.
    const bool made = Connect(destination) != nullptr;
    Trace("TCPIPIO::~MakeCall last error = %d WSABASEERR+%d\n", static_cast<int>(LastError.load()),
          SOCKETS::LastErrorOverBase());
    return made;
}

bool TCPIPIO::DropCall() {
    Drop(PresentCall());
    return !IsOnline();
}

void TCPIPIO::Drop(const SOCKETREF& connection) {
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
        received = SOCKETS::Recv(connection->Number, ReadAhead, sizeof ReadAhead);
        if (received <= 0)
            break;
        drained = received < static_cast<int>(sizeof ReadAhead);
        {
            std::lock_guard hold(Guard);
            // The owner has dropped the call meanwhile: nobody wants its bytes, least of all as those of a new call.
            if (Connection != connection)
                break;
            ReadAheadFill = received;
            ReadAheadPos = 0;
        }
        HexDump("RECV", ReadAhead, received);
    }
    if (received < 0) {
        ReadError(connection, TCPERR_RECV);
        Trace("TCPIPIO::DevRead read error rc=%d, lasterror= %d\n", received, static_cast<int>(LastError.load()));
        if (atoi(KeepOnError) == 0)
            Drop(connection);
        *length = 0;
        return false;
    }
    if (received == 0) {
        ReadError(connection, TCPERR_DISCONNECTED);
        Trace("TCPIPIO::DevRead read disconnect rc=%d, lasterror= %d\n", received, static_cast<int>(LastError.load()));
        Drop(connection);
    }
    *length = count;
    LastActivity = CLOCK::Seconds();
    return true;
}

int TCPIPIO::DevWrite(const char* buffer, int length) {
    BUSY busy(WriteIdle);
    const SOCKETREF connection = PresentCall();
    if (!connection)
        return 0;
    int looked = 0;
    const int rc = SOCKETS::SendAll(connection->Number, buffer, length, TcpTimes.StopLookMs, [&](int sent) {
        PaceOut.Moved(sent - looked);
        PaceOut.Waited(TcpTimes.StopLookMs);
        looked = sent;
        return !IsStopped() && !PaceOut.IsTooSlow();
    });
    PaceOut.Moved(length - looked);
    if (rc < 0) {
        Trace("TCPIPIO::DevWrite error rc=%d \n", rc);
        Drop(connection);
        return rc;
    }
    HexDump("SEND", buffer, length);
    LastActivity = CLOCK::Seconds();
    return 1;
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
    const int32_t error = IsTooSlow() ? TCPERR_TOO_SLOW : LastError.load();
    const auto* row = std::find_if(std::begin(ErrorTable), std::end(ErrorTable),
                                   [&](const auto& entry) { return entry.Error == error; });
    const bool known = row != std::end(ErrorTable);
    if (upper == "LASTERROR")
        return Decimal(error);
    if (upper == "LASTERRORSTRING")
        return known ? STRING(row->Text) : Decimal(error);
    if (upper == "LASTERRORCLASS")
        return Decimal(known ? row->Class : 599);
    ASSERTION_INFO(false, "FALSE", (STRING("*") || upper || "*").Text());
    return "";
}
