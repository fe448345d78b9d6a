#include "app/mailbox/serverproposal.h"

#include <algorithm>

#include "app/mailbox/imap.h"
#include "app/mailbox/pop3.h"
#include "corelib/base/ascii.h"

namespace {

constexpr int SUBMISSION_PORT = 587, SUBMISSIONS_PORT = 465;
constexpr size_t LONGEST_DOMAIN = 253;
constexpr const char* BLANKS = " \t\r\n";

struct SERVICE {
    OFFEREDSERVICE SERVERPROPOSAL::* Place;
    const char* Name;
    const char* Encrypted;
    const char* UsualHost;
    int Port, TlsPort;
};
constexpr SERVICE SERVICES[] = {
    {&SERVERPROPOSAL::Imap, "_imap", "_imaps", "imap.", IMAP_PORT, IMAPS_PORT},
    {&SERVERPROPOSAL::Pop, "_pop3", "_pop3s", "pop.", POP3_PORT, POP3S_PORT},
    {&SERVERPROPOSAL::Sending, "_submission", "_submissions", "smtp.", SUBMISSION_PORT, SUBMISSIONS_PORT},
};

bool IsDomain(std::string_view name) {
    return IsHostName(name) && name.size() <= LONGEST_DOMAIN;
}

bool IsUsable(const DNSRECORD& record) {
    const std::string_view host = record.Host.View();
    return record.Type == DNSTYPE_SRV && !IsNoHost(host) && IsDomain(host) && record.Port > 0;
}

/// Null if none can be used.
const DNSRECORD* Best(const std::vector<DNSRECORD>& records) {
    const DNSRECORD* best = nullptr;
    for (const DNSRECORD& record : records)
        if (IsUsable(record) && (!best || record.Preference < best->Preference ||
                                 (record.Preference == best->Preference && record.Weight > best->Weight)))
            best = &record;
    return best;
}

bool SaysNone(const std::vector<DNSRECORD>& records) {
    return std::ranges::any_of(
        records, [](const DNSRECORD& record) { return record.Type == DNSTYPE_SRV && IsNoHost(record.Host.View()); });
}

}  // namespace

bool OFFEREDSERVICE::IsOf(const STRING& domain) const {
    std::string_view host = Server.View();
    host = host.substr(0, host.find(':'));
    if (host.size() <= domain.View().size())
        return ASCII::Equal(host, domain.View());
    host.remove_prefix(host.size() - domain.View().size() - 1);
    return host[0] == '.' && ASCII::Equal(host.substr(1), domain.View());
}

int SERVERPROPOSAL::BestType(int preferred) const {
    // Both kinds that are named are safe.
    const auto rank = [this](int type) { return std::max(Of(type).Origin, OFFEREDSERVICE::NAMED); };
    const int other = preferred == ITEMTYPE_IMAP ? ITEMTYPE_POP3 : ITEMTYPE_IMAP;
    return rank(other) < rank(preferred) ? other : preferred;
}

STRING MailDomain(std::string_view address) {
    const size_t at = address.rfind('@');
    if (at == address.npos)
        return STRING("");
    STRING domain(address.substr(at + 1));
    domain.Strip('B', BLANKS);
    return domain;
}

SERVERPROPOSAL ProposeServers(const STRING& domain, const SERVICEQUESTION& ask) {
    SERVERPROPOSAL proposal;
    proposal.Domain = domain;
    const bool askable = ask && IsDomain(domain.View());
    for (const SERVICE& service : SERVICES) {
        const auto records = [&](const char* name) {
            std::vector<DNSRECORD> found;
            if (!askable || proposal.Silent)
                return found;
            const int status = ask((STRING(name) || "._tcp." || domain).Text(), found);
            proposal.Silent = status == DNS_NO_ANSWER;
            if (status != 0)
                found.clear();
            return found;
        };
        OFFEREDSERVICE& offered = proposal.*service.Place;
        const auto offer = [&offered](OFFEREDSERVICE::ORIGIN origin, const DNSRECORD& record, int usualPort) {
            offered = {origin, record.Host};
            if (record.Port != usualPort)
                offered.Server.AppendFormat(":%d", record.Port);
        };
        // What is protected from the first byte on leaves nobody in between a choice (RFC 8314).
        const std::vector<DNSRECORD> encrypted = records(service.Encrypted);
        const std::vector<DNSRECORD> plain = Best(encrypted) ? std::vector<DNSRECORD>() : records(service.Name);
        if (const DNSRECORD* best = Best(encrypted)) {
            offer(OFFEREDSERVICE::ENCRYPTED, *best, service.TlsPort);
        } else if (const DNSRECORD* named = Best(plain)) {
            offer(OFFEREDSERVICE::NAMED, *named, service.Port);
        } else if (SaysNone(plain) || SaysNone(encrypted)) {
            offered = {OFFEREDSERVICE::NONE, STRING("")};
        } else {
            offered = {OFFEREDSERVICE::USUAL, STRING(service.UsualHost) || domain};
        }
    }
    return proposal;
}

SERVERPROPOSAL ProposeServers(const STRING& domain, const STOPQUESTION& stopAsked) {
    DNSCLIENT dns;
    dns.Load();
    SERVICEQUESTION ask;
    if (dns.HasQuery())
        ask = [&](const char* name, std::vector<DNSRECORD>& records) {
            return dns.Query(name, records, stopAsked, DNSTYPE_SRV);
        };
    return ProposeServers(domain, ask);
}
