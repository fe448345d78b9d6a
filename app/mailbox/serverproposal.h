#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "app/mailbox/account.h"
#include "corelib/base/stopquestion.h"
#include "corelib/net/mxlookup.h"

/// Where a domain offers one service for mail.
struct OFFEREDSERVICE {
    enum ORIGIN {
        ENCRYPTED,  // by the domain, for conversations over TLS
        NAMED,      // by the domain, for those that begin in the clear
        USUAL,      // the domain says nothing: its usual name
        NONE        // the domain says that there is none
    };
    ORIGIN Origin = USUAL;
    STRING Server;  // host, or host:port where that is not the service's own; empty for NONE

    /// Stands in that domain.
    bool IsOf(const STRING& domain) const;
    bool IsNamed() const { return Origin == NAMED || Origin == ENCRYPTED; }
    /// What a new account is to have there.
    int Security() const { return Origin == NAMED ? SECURITY_STARTTLS : SECURITY_TLS; }
};

/// What is proposed for a mail address (RFC 6186).
struct SERVERPROPOSAL {
    STRING Domain;
    OFFEREDSERVICE Imap, Pop, Sending;
    bool Silent = false;  // the name service has not answered, so that all names are the usual ones

    const OFFEREDSERVICE& Of(int type) const { return type == ITEMTYPE_IMAP ? Imap : Pop; }
    /// The kind of mailbox that the domain's own words speak for; `preferred` where they leave the choice.
    int BestType(int preferred) const;
};

/// Asks for the SRV records of a name, as DNSCLIENT::Query.
using SERVICEQUESTION = std::function<int(const char* name, std::vector<DNSRECORD>& records)>;

/// The domain of a mail address, without blanks around it; empty if there is none.
STRING MailDomain(std::string_view address);

/// Asks for the services of a domain, by its name and nothing else; without `ask`, and for a domain with other bytes
/// than a host name has, nobody. After the first question without an answer no other is asked.
SERVERPROPOSAL ProposeServers(const STRING& domain, const SERVICEQUESTION& ask);
/// The same from the system's name service. Blocks for six times DnsTimes.AnswerMs at most.
SERVERPROPOSAL ProposeServers(const STRING& domain, const STOPQUESTION& stopAsked);
