#include "app/mailbox/serverproposal.h"

#include "tests/support/testsupport.h"

namespace {

constexpr int UNKNOWN_NAME = 9003;

DNSRECORD Service(const char* host, int port, int priority = 0, int weight = 0) {
    return {DNSTYPE_SRV, priority, weight, port, host};
}

const DNSRECORD ALIAS{5, 0, 0, 0, ""};

using ZONE = std::map<std::string, std::vector<DNSRECORD>>;

// What is proposed for x.example: each service with its origin, the kind of mailbox, and how many were asked for.
std::string Proposed(const ZONE& zone, const STRING& domain = "x.example") {
    int asked = 0;
    const SERVERPROPOSAL proposal = ProposeServers(domain, [&](const char* name, std::vector<DNSRECORD>& records) {
        ++asked;
        const std::string text(name);
        const size_t end = text.find("._tcp.");
        EXPECT_EQ(text.substr(end + 6), Std(domain)) << "nothing else leaves the machine";
        if (zone.contains("silent"))
            return DNS_NO_ANSWER;
        const auto found = zone.find(text.substr(0, end));
        if (found == zone.end())
            return UNKNOWN_NAME;
        records = found->second;
        return 0;
    });
    std::string text;
    for (const OFFEREDSERVICE* service : {&proposal.Imap, &proposal.Pop, &proposal.Sending})
        text += "ENU-"[service->Origin == OFFEREDSERVICE::NONE ? 3 : service->Origin] + Std(service->Server) + " ";
    return text + std::to_string(proposal.BestType(ITEMTYPE_POP3)) + std::to_string(proposal.BestType(ITEMTYPE_IMAP)) +
           (proposal.Silent ? " silent " : " ") + std::to_string(asked);
}

}  // namespace

TEST(ServerProposal, TakesWhatTheDomainSays) {
    const std::string longName = std::string(250, 'x') + ".example";
    const std::pair<ZONE, const char*> cases[] = {
        {{}, "Uimap.x.example Upop.x.example Usmtp.x.example 12 6"},
        {{{"_imap", {Service("i.y.example", 143)}}}, "Ni.y.example Upop.x.example Usmtp.x.example 22 6"},
        {{{"_pop3", {ALIAS, Service("p", 1110)}}, {"_imaps", {Service("i", 993)}}}, "Ei Np:1110 Usmtp.x.example 12 5"},
        // What is encrypted comes first.
        {{{"_imap", {Service("plain", 143)}}, {"_imaps", {Service("tls", 993)}}, {"_submissions", {Service("s", 465)}}},
         "Etls Upop.x.example Es 22 4"},
        {{{"_submission", {Service("s", 587)}}}, "Uimap.x.example Upop.x.example Ns 12 6"},
        // The lowest priority, then the most weight.
        {{{"_imap", {Service("a", 143, 9, 9), Service("b", 143, 1, 1), Service("c", 143, 1, 5), Service("d", 143, 2)}}},
         "Nc Upop.x.example Usmtp.x.example 22 6"},
        // "." is the domain's word that there is none; an encrypted one is better than that.
        {{{"_imap", {Service(".", 0)}}, {"_pop3", {Service(".", 0)}}, {"_pop3s", {Service("p", 995)}}},
         "- Ep Usmtp.x.example 11 5"},
        // No record chooses what is called beside a host and a port.
        {{{"_imap",
           {Service("h:110", 143, 1), Service("a b", 143, 1), Service("h\r\nx", 143, 1), Service("h|u", 143, 1),
            Service(longName.c_str(), 143), Service("good", 0), Service("last", 144, 8)}}},
         "Nlast:144 Upop.x.example Usmtp.x.example 22 6"},
        {{{"silent", {}}}, "Uimap.x.example Upop.x.example Usmtp.x.example 12 silent 1"},
    };
    for (const auto& [zone, result] : cases)
        EXPECT_EQ(Proposed(zone), result);
    for (const char* domain : {"m\xc3\xbcller.example", "", "a b", "x:1"})
        EXPECT_EQ(Proposed({}, domain),
                  std::string("Uimap.") + domain + " Upop." + domain + " Usmtp." + domain + " 12 0")
            << "is asked of nobody";
}

TEST(ServerProposal, FindsTheDomainOfAnAddress) {
    const std::pair<const char*, const char*> cases[] = {
        {"ann@x.example", "x.example"}, {" ann@b@ x.example\t", "x.example"}, {"ann", ""}, {"ann@", ""}, {"", ""}};
    for (const auto& [address, domain] : cases)
        EXPECT_EQ(Std(MailDomain(address)), domain) << address;
}

TEST(ServerProposal, TellsServersOfTheDomainFromOthers) {
    for (const char* own : {"x.example", "Mail.X.example:993", "a.b.x.example"})
        EXPECT_TRUE((OFFEREDSERVICE{OFFEREDSERVICE::NAMED, own}.IsOf("x.example"))) << own;
    for (const char* other : {"", "example", "evilx.example", "x.example.org", "host:1"})
        EXPECT_FALSE((OFFEREDSERVICE{OFFEREDSERVICE::NAMED, other}.IsOf("x.example"))) << other;
}
