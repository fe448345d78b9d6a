#pragma once

#include <map>
#include <set>
#include <string>

#include "corelib/net/mxlookup.h"

/// What one check has learnt of the network, so that many mails of one sender cost one question, and a name server or a
/// mail server that is silent holds the check up once. Lives for one check and grows with its senders' domains.
class MXMEMORY final : public MXLOOKUP {
 public:
    /// source outlives it.
    explicit MXMEMORY(MXLOOKUP& source) : Source(source) {}
    /// False for every name that is not known yet once the source has given no answer: IsSilent tells.
    bool GetAddr(const char* name, STRING& bestmx, STRING& list) override;
    bool IsSilent() const override { return Silent; }
    /// True if the last name was asked for, now or before: then even no answer is a result.
    bool WasAsked() const { return Asked; }

    /// Mail servers with which no dialogue came about.
    std::set<std::string> DeadServers;

 private:
    struct ANSWER {
        bool Found, Silent;
        STRING BestMx, List;
    };
    MXLOOKUP& Source;
    std::map<std::string, ANSWER> Answers;  // by domain, in lower case
    bool SourceSilent = false;
    bool Silent = false;
    bool Asked = false;
};
