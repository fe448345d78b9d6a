#include <algorithm>
#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <atomic>
#include <netdb.h>
#include <netinet/in.h>
#include <resolv.h>
#include <string>

#include "corelib/net/mxlookup.h"

namespace {

constexpr int ANSWER_BYTES = 65535;  // the longest that a name server can send
constexpr int PREFERENCE_BYTES = 2;

}  // namespace

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
        if (record.Type == DNSTYPE_MX) {
            // A record that cannot be read is none.
            if (ns_rr_rdlen(item) <= PREFERENCE_BYTES ||
                ns_name_uncompress(ns_msg_base(message), ns_msg_end(message), ns_rr_rdata(item) + PREFERENCE_BYTES,
                                   host, sizeof host) < 0)
                continue;
            record.Preference = static_cast<int>(ns_get16(ns_rr_rdata(item)));
            record.Host = host;
        }
        records.push_back(record);
    }
}

struct DNSCLIENT::LIBRARY {
    std::atomic<bool> Loaded = false;
    sockaddr_in Server{};  // family 0: the system's servers
};

DNSCLIENT::DNSCLIENT() : Library(std::make_unique<LIBRARY>()) {}
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

int DNSCLIENT::Query(const char* name, std::vector<DNSRECORD>& records) {
    struct __res_state resolver {};
    if (res_ninit(&resolver) != 0)
        return NO_RECOVERY;
    if (Library->Server.sin_family == AF_INET) {
        resolver.nsaddr_list[0] = Library->Server;
        resolver.nscount = 1;
    }
    std::string answer(ANSWER_BYTES, '\0');
    const int length =
        res_nquery(&resolver, name, ns_c_in, ns_t_mx, reinterpret_cast<unsigned char*>(answer.data()), ANSWER_BYTES);
    const int status = length >= 0 ? 0 : resolver.res_h_errno != 0 ? resolver.res_h_errno : NO_RECOVERY;
    res_nclose(&resolver);
    if (length > 0)
        ReadDnsAnswer({answer.data(), static_cast<size_t>(std::min(length, ANSWER_BYTES))}, records);
    return status;
}
