#include <algorithm>
#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <resolv.h>
#include <string>
#include <sys/socket.h>

#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/net/mxlookup.h"
#include "corelib/net/sockets.h"
#include "corelib/net/tcpio.h"

namespace {

constexpr size_t ANSWER_BYTES = 65535;  // the longest that a name server can send
constexpr size_t NUMBER_BYTES = 2;
constexpr size_t HEADER_BYTES = 12;
constexpr size_t LENGTH_BYTES = 2;  // in front of each message over TCP
constexpr unsigned RESPONSE_BIT = 0x80, CUT_OFF_BIT = 0x02;

unsigned Byte(std::string_view packet, size_t at) {
    return static_cast<unsigned char>(packet[at]);
}

unsigned Number(std::string_view packet, size_t at) {
    return Byte(packet, at) << 8 | Byte(packet, at + 1);
}

// Of a packet with a whole header.
int ResultCode(std::string_view packet) {
    return static_cast<int>(Byte(packet, 3) & 15);
}

unsigned AnswerCount(std::string_view packet) {
    return Number(packet, 6);
}

bool IsCutOff(std::string_view packet) {
    return Byte(packet, 2) & CUT_OFF_BIT;
}

// What another server may do better.
bool IsRefusal(std::string_view packet) {
    const int code = ResultCode(packet);
    return code == ns_r_servfail || code == ns_r_notimpl || code == ns_r_refused;
}

struct ADDRESS {
    explicit ADDRESS(const sockaddr_in& address) : Size(sizeof address) { memcpy(&Bytes, &address, sizeof address); }
    explicit ADDRESS(const sockaddr_in6& address) : Size(sizeof address) { memcpy(&Bytes, &address, sizeof address); }
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&Bytes); }
    sockaddr_storage Bytes{};
    socklen_t Size;
};

std::vector<ADDRESS> Servers(const struct __res_state& resolver) {
    std::vector<ADDRESS> servers;
    for (int i = 0; i < resolver.nscount && i < MAXNS; ++i) {
        if (resolver.nsaddr_list[i].sin_family == AF_INET)
            servers.emplace_back(resolver.nsaddr_list[i]);
        else if (resolver._u._ext.nsaddrs[i])
            servers.emplace_back(*resolver._u._ext.nsaddrs[i]);
    }
    return servers;
}

// Null if there is no way to the server.
SOCKETREF Connected(const ADDRESS& server, int type) {
    const int s = socket(server.Get()->sa_family, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (s < 0)
        return nullptr;
    auto line = std::make_shared<HELDSOCKET>(s);
    return connect(s, server.Get(), server.Size) == 0 || errno == EINPROGRESS ? line : nullptr;
}

bool IsPassing(ssize_t result) {
    return result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

// One question to the name servers. The resolver of the C library has no limit for a server that takes a connection and
// stays silent, and cannot be interrupted.
class EXCHANGE {
 public:
    EXCHANGE(std::string_view query, const STOPQUESTION& stopAsked) : Query(query), StopAsked(stopAsked) {}

    // The best answer that came; false without any.
    bool Ask(const std::vector<ADDRESS>& servers, std::string& answer) {
        std::vector<SOCKETREF> lines;
        for (const ADDRESS& server : servers)
            lines.push_back(Connected(server, SOCK_DGRAM));
        size_t turn = 0;
        int64_t askAt = 0;
        while (!IsOver() && std::any_of(lines.begin(), lines.end(), [](auto& line) { return line != nullptr; })) {
            if (Watch.Passed() >= askAt) {
                SOCKETREF& line = lines[turn++ % lines.size()];
                if (!line)
                    continue;
                if (send(static_cast<int>(line->Number), Query.data(), Query.size(), MSG_NOSIGNAL) < 0) {
                    line.reset();
                    continue;
                }
                askAt = Watch.Passed() + DnsTimes.AgainMs;
            }
            std::vector<pollfd> looks;
            for (const SOCKETREF& line : lines)
                looks.push_back({line ? static_cast<int>(line->Number) : -1, POLLIN, 0});
            poll(looks.data(), looks.size(), TcpTimes.StopLookMs);
            for (size_t i = 0; i < lines.size(); ++i) {
                if (looks[i].revents == 0)
                    continue;
                std::string packet(ANSWER_BYTES, '\0');
                const ssize_t length = recv(looks[i].fd, packet.data(), packet.size(), 0);
                packet.resize(static_cast<size_t>(std::max<ssize_t>(length, 0)));
                if (IsPassing(length) || (length >= 0 && !IsDnsAnswer(Query, packet)))
                    continue;
                if (length > 0) {
                    answer = packet;
                    if (IsCutOff(packet))
                        AskWhole(servers[i], answer);
                    if (!IsRefusal(answer))
                        return true;
                }
                // Not reachable, or of no use: the next one, at once.
                lines[i].reset();
                askAt = 0;
            }
        }
        return !answer.empty();
    }

 private:
    bool IsOver() { return (StopAsked && StopAsked()) || Watch.Passed() >= DnsTimes.AnswerMs; }

    // The same over TCP; leaves the answer alone if that does not succeed.
    void AskWhole(const ADDRESS& server, std::string& answer) {
        const SOCKETREF line = Connected(server, SOCK_STREAM);
        std::string out{static_cast<char>(Query.size() >> 8), static_cast<char>(Query.size())};
        out += Query;
        std::string in;
        while (in.size() < LENGTH_BYTES || in.size() < LENGTH_BYTES + Number(in, 0)) {
            if (!line || IsOver())
                return;
            pollfd look{static_cast<int>(line->Number), static_cast<short>(out.empty() ? POLLIN : POLLOUT), 0};
            if (poll(&look, 1, TcpTimes.StopLookMs) <= 0)
                continue;
            char buffer[4096];
            const ssize_t count = out.empty() ? recv(look.fd, buffer, sizeof buffer, 0)
                                              : send(look.fd, out.data(), out.size(), MSG_NOSIGNAL);
            if (count <= 0 && !IsPassing(count))
                return;
            const auto moved = static_cast<size_t>(std::max<ssize_t>(count, 0));
            if (out.empty())
                in.append(buffer, moved);
            else
                out.erase(0, moved);
        }
        const std::string_view whole = std::string_view(in).substr(LENGTH_BYTES, Number(in, 0));
        if (IsDnsAnswer(Query, whole))
            answer = whole;
    }

    const std::string_view Query;
    const STOPQUESTION& StopAsked;
    CLOCK::STOPWATCH Watch;
};

}  // namespace

bool IsDnsAnswer(std::string_view query, std::string_view packet) {
    if (packet.size() < HEADER_BYTES || packet.substr(0, 2) != query.substr(0, 2) || !(Byte(packet, 2) & RESPONSE_BIT))
        return false;
    const std::string_view question = query.substr(HEADER_BYTES);
    // A server that refuses may leave the question out.
    if (Number(packet, 4) == 0)
        return ResultCode(packet) != ns_r_noerror;
    const std::string_view same = packet.substr(HEADER_BYTES, question.size());
    return Number(packet, 4) == 1 && ASCII::Equal(same, question);
}

void ReadDnsAnswer(std::string_view answer, std::vector<DNSRECORD>& records) {
    ns_msg message;
    if (ns_initparse(reinterpret_cast<const unsigned char*>(answer.data()), static_cast<int>(answer.size()),
                     &message) != 0)
        return;
    for (int i = 0; i < ns_msg_count(message, ns_s_an); ++i) {
        ns_rr item;
        if (ns_parserr(&message, ns_s_an, i, &item) != 0)
            return;
        DNSRECORD record;
        record.Type = ns_rr_type(item);
        char host[NS_MAXDNAME];
        // The numbers in front of the host.
        const std::vector<int*> numbers = record.Type == DNSTYPE_MX ? std::vector{&record.Preference}
                                          : record.Type == DNSTYPE_SRV
                                              ? std::vector{&record.Preference, &record.Weight, &record.Port}
                                              : std::vector<int*>();
        if (!numbers.empty()) {
            const unsigned char* at = ns_rr_rdata(item);
            const size_t front = numbers.size() * NUMBER_BYTES;
            // A record that cannot be read is none.
            if (ns_rr_rdlen(item) <= front ||
                ns_name_uncompress(ns_msg_base(message), ns_msg_end(message), at + front, host, sizeof host) < 0)
                continue;
            for (int* number : numbers) {
                *number = static_cast<int>(ns_get16(at));
                at += NUMBER_BYTES;
            }
            record.Host = host;
        }
        records.push_back(record);
    }
}

struct DNSCLIENT::LIBRARY {
    std::atomic<bool> Loaded = false;
    sockaddr_in Server{};  // family 0: the system's servers
};

DNSCLIENT::DNSCLIENT() : Library(std::make_shared<LIBRARY>()) {}
DNSCLIENT::~DNSCLIENT() = default;

// The resolver is a part of the C library here, so it is always there.
void DNSCLIENT::Load() {
    Library->Loaded = true;
}

bool DNSCLIENT::IsLoaded() const {
    return Library->Loaded;
}

bool DNSCLIENT::HasQuery() const {
    return Library->Loaded;
}

unsigned DNSCLIENT::LibraryNumber() const {
    return Library->Loaded ? 1 : 0;
}

unsigned DNSCLIENT::QueryNumber() const {
    return LibraryNumber();
}

bool DNSCLIENT::UseServer(const char* address, int port) {
    Library->Server = {};
    if (inet_pton(AF_INET, address, &Library->Server.sin_addr) != 1)
        return false;
    Library->Server.sin_family = AF_INET;
    Library->Server.sin_port = htons(static_cast<uint16_t>(port));
    return true;
}

int DNSCLIENT::Query(const char* name, std::vector<DNSRECORD>& records, const STOPQUESTION& stopAsked, int type) {
    struct __res_state resolver{};
    if (res_ninit(&resolver) != 0)
        return NO_RECOVERY;
    std::vector<ADDRESS> servers = Servers(resolver);
    if (Library->Server.sin_family == AF_INET)
        servers = {ADDRESS(Library->Server)};
    unsigned char query[NS_PACKETSZ];
    const int length =
        res_nmkquery(&resolver, ns_o_query, name, ns_c_in, type, nullptr, 0, nullptr, query, sizeof query);
    res_nclose(&resolver);
    if (length <= 0)
        return NO_RECOVERY;
    std::string answer;
    EXCHANGE exchange({reinterpret_cast<const char*>(query), static_cast<size_t>(length)}, stopAsked);
    if (!exchange.Ask(servers, answer))
        return DNS_NO_ANSWER;
    ReadDnsAnswer(answer, records);
    if (IsCutOff(answer) && records.empty())
        return DNS_NO_ANSWER;
    switch (ResultCode(answer)) {
        case ns_r_noerror:
            return AnswerCount(answer) > 0 ? 0 : NO_DATA;
        case ns_r_nxdomain:
            return HOST_NOT_FOUND;
        case ns_r_servfail:
            return TRY_AGAIN;
        default:
            return NO_RECOVERY;
    }
}
