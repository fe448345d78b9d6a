#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "corelib/base/stopquestion.h"
#include "corelib/base/strings.h"

/// Limits of a look-up, in ms. Tests shrink them.
struct DNSTIMES {
    int AnswerMs = 3000;  // for all that is asked about one name
    int AgainMs = 1000;   // until the next server is asked, or the only one again
};
extern const DNSTIMES& DnsTimes;

/// True for what may be called: the owner of a domain writes its records, and must not be able to name a port, too.
bool IsHostName(std::string_view host);
/// True for what stands in place of a host where the domain does not offer the service.
bool IsNoHost(std::string_view host);

/// Asks for the mail servers of a domain (MX records, RFC 1035 and RFC 5321 section 5).
class MXLOOKUP {
 public:
    virtual ~MXLOOKUP() = default;
    /// True if the name has a mail server. bestmx is the host of the lowest preference below 999, the first of equals,
    /// and never one with other bytes than a host name has; list gets a line "MX:preference|host" for each record, in
    /// their order. Both are emptied first. A record with the host "." says that there is no mail server (RFC 7505),
    /// and is none. With a null name it only makes sure that the name service can be used, and tells whether it can.
    /// Blocks for DnsTimes.AnswerMs at most.
    virtual bool GetAddr(const char* name, STRING& bestmx, STRING& list) = 0;
    /// True if the last name got no answer at all, in which case it is not known whether it has a mail server.
    virtual bool IsSilent() const { return false; }
    /// A look-up ends as soon as the answer is yes. Before the first look-up.
    virtual void SetStopQuestion(STOPQUESTION /*stopAsked*/) {}  // NOLINT(performance-unnecessary-value-param)
};

/// An answer's record. Other types than MX and SRV carry no more than their type.
struct DNSRECORD {
    int Type = 0;
    int Preference = 0;  // the lowest first; of SRV its priority
    int Weight = 0;      // of SRV: among those of one priority the most is asked most often
    int Port = 0;        // of SRV
    STRING Host;         // as it came, "." for none; whatever bytes a name may have
};
inline constexpr int DNSTYPE_MX = 15;
inline constexpr int DNSTYPE_SRV = 33;
inline constexpr int DNS_NO_ANSWER = 1460;

/// True if a packet answers a query (RFC 1035 section 4, with one question), whatever else is in it. Posix, as is the
/// next one: elsewhere the system reads the packets.
bool IsDnsAnswer(std::string_view query, std::string_view packet);
/// Reads the records of an answer as a name server sends it, up to what is malformed or cut off.
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
    /// Asks for the records of a name, of the type given; 0 on success, DNS_NO_ANSWER if none came in time or before a
    /// stop, else the system's number. An answer that was cut off counts as it is if the whole cannot be had.
    [[nodiscard]] int Query(const char* name, std::vector<DNSRECORD>& records, const STOPQUESTION& stopAsked = {},
                            int type = DNSTYPE_MX);

    /// Where the resolver can be told: the dotted address and the port of the server to ask instead of the system's.
    /// False where it cannot.
    [[nodiscard]] bool UseServer(const char* address, int port);

 private:
    struct LIBRARY;
    std::shared_ptr<LIBRARY> Library;  // with queries that are still under way when nobody waits for them any more
};

/// MX look-up through the system's resolver. Names are asked for by one thread at a time.
class SYSTEMMXLOOKUP final : public MXLOOKUP {
 public:
    bool GetAddr(const char* name, STRING& bestmx, STRING& list) override;
    bool IsSilent() const override { return Silent; }
    void SetStopQuestion(STOPQUESTION stopAsked) override { StopAsked = std::move(stopAsked); }
    DNSCLIENT& Client() { return Dns; }

 private:
    DNSCLIENT Dns;
    STOPQUESTION StopAsked;
    bool Silent = false;
};
