#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "corelib/base/strings.h"

/// Asks for the mail servers of a domain (MX records, RFC 1035 and RFC 5321 section 5).
class MXLOOKUP {
 public:
    virtual ~MXLOOKUP() = default;
    /// True if the name has a mail server. bestmx is the host of the lowest preference below 999, the first of equals,
    /// and never one with other bytes than a host name has; list gets a line "MX:preference|host" for each record, in
    /// their order. Both are emptied first. With a null name it only makes sure that the name service can be used, and
    /// tells whether it can. Blocks for as long as the system's resolver waits.
    virtual bool GetAddr(const char* name, STRING& bestmx, STRING& list) = 0;
};

/// An answer's record. Other types than MX carry no more than their type.
struct DNSRECORD {
    int Type = 0;
    int Preference = 0;
    STRING Host;
};
inline constexpr int DNSTYPE_MX = 15;

/// Reads the records of an answer as a name server sends it (RFC 1035 section 4), up to what is malformed or cut off.
/// Posix: elsewhere the system reads them.
void ReadDnsAnswer(std::string_view answer, std::vector<DNSRECORD>& records);

/// The system's resolver.
class DNSCLIENT {
 public:
    DNSCLIENT();
    ~DNSCLIENT();
    DNSCLIENT(const DNSCLIENT&) = delete;
    DNSCLIENT& operator=(const DNSCLIENT&) = delete;

    /// Loads the resolver's library, once; the other two tell what was found. Its life is that of this object. One
    /// thread loads while others may look and ask.
    void Load();
    bool IsLoaded() const;
    bool HasQuery() const;
    /// Numbers for the trace.
    unsigned LibraryNumber() const;
    unsigned QueryNumber() const;
    /// Asks for the MX records of a name; 0 on success, else the system's number.
    int Query(const char* name, std::vector<DNSRECORD>& records);

    /// Where the resolver can be told: the dotted address and the port of the server to ask instead of the system's.
    /// False where it cannot.
    bool UseServer(const char* address, int port);

 private:
    struct LIBRARY;
    std::unique_ptr<LIBRARY> Library;
};

/// MX look-up through the system's resolver.
class SYSTEMMXLOOKUP final : public MXLOOKUP {
 public:
    bool GetAddr(const char* name, STRING& bestmx, STRING& list) override;
    DNSCLIENT& Client() { return Dns; }

 private:
    DNSCLIENT Dns;
};
