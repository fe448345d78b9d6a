#pragma once

#include <string>
#include <vector>

#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private name server on loopback, as long as the object lives, that knows the MX records given and no others.
class NAMESERVER {
 public:
    struct RECORD {
        const char* Domain;
        const char* Host;
        int Preference;
    };
    /// Domains of `known` exist without having mail servers.
    NAMESERVER(const std::vector<RECORD>& records, const std::vector<const char*>& known);
    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    int Port() const { return BoundPort; }

 private:
    TEMPDIR Directory;
    std::string Trouble;
    int BoundPort = 0;
    SERVERPROCESS Process;
};
