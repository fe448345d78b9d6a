#pragma once

#include "corelib/net/mxlookup.h"
#include "tests/servers/serverprocess.h"

/// A private name server on loopback that knows the records given and no others.
class NAMESERVER : public LOCALSERVER {
 public:
    struct RECORD {
        const char* Domain;
        const char* Host;
        int Preference;
    };
    /// An SRV record: such as "_imap._tcp.a.example,imap.a.example,143,0,1" (host, port, priority, weight).
    using SERVICE = const char*;
    /// MX records; domains of `known` exist without having mail servers.
    NAMESERVER(const std::vector<RECORD>& records, const std::vector<const char*>& known,
               const std::vector<SERVICE>& services = {});
    /// Lets a client ask this server and no other.
    bool Serves(DNSCLIENT& client) const { return client.UseServer("127.0.0.1", Port); }
};
