#include "corelib/net/mxlookup.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"

// No header of the program shows it: the tests alone write there (tests/support/times.h).
namespace SHRINKABLE {
DNSTIMES DnsTimes;
}
constinit const DNSTIMES& DnsTimes = SHRINKABLE::DnsTimes;

namespace {

constexpr int PREFERENCE_LIMIT = 999;  // a record from here on can't become the best

}  // namespace

bool IsNoHost(std::string_view host) {
    return host.empty() || host == ".";
}

bool IsHostName(std::string_view host) {
    return !host.empty() && std::all_of(host.begin(), host.end(), [](char c) {
        return ASCII::IsLetterOrDigit(c) || c == '-' || c == '.' || c == '_';
    });
}

bool SYSTEMMXLOOKUP::GetAddr(const char* name, STRING& bestmx, STRING& list) {
    Trace("TARNWICK::GetAddrViaDnsDLL %s\n", FailOnNull(name, "GetAddr"));
    bestmx = "";
    list = "";
    int best = PREFERENCE_LIMIT;
    bool ok = false;
    if (name)
        Silent = false;
    if (!name && !Dns.IsLoaded()) {
        Dns.Load();
        Trace("TARNWICK::GetAddrViaDnsDLL library %08x\n", Dns.LibraryNumber());
    }
    if (Dns.IsLoaded()) {
        ok = !name;
        Trace("TARNWICK::GetAddrViaDnsDLL pDnsQuery %08x, ok= %d\n", Dns.QueryNumber(), ok);
    }
    if (Dns.HasQuery() && name) {
        Trace("TARNWICK::GetAddrViaDnsDLL before DnsQuery\n");
        std::vector<DNSRECORD> records;
        const int status = Dns.Query(name, records, StopAsked);
        Silent = status == DNS_NO_ANSWER;
        Trace("TARNWICK::GetAddrViaDnsDLL after DnsQuery, x= %d\n", status);
        for (const DNSRECORD& record : records) {
            if (status != 0 || record.Type != DNSTYPE_MX)
                continue;
            Trace("TARNWICK::GetAddrViaDnsDLL type 15 (MX) found \n");
            list.AppendFormat("MX:%d|%s", record.Preference, record.Host.Text());
            list += "\n";
            // A domain that says it takes no mail (RFC 7505) is listed, and has no server all the same.
            if (IsNoHost(record.Host.View()))
                continue;
            if (record.Preference < best && IsHostName(record.Host.View())) {
                best = record.Preference;
                bestmx = record.Host;
            }
            ok = true;
        }
    }
    Trace("TARNWICK::GetAddr returns %d %s\n", ok, bestmx.Text());
    return ok;
}
