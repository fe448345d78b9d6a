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
    /// False for every name that is not known yet once the source has given no answer to the first one, or to several:
    /// IsSilent tells.
    bool GetAddr(const char* name, STRING& bestmx, STRING& list) override;
    bool IsSilent() const override { return Silent; }

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
    int SilentNames = 0;
    bool Silent = false;
};
