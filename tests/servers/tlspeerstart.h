#pragma once

#include <memory>
#include <string>

#include "tests/support/testsupport.h"

/// Starts tests/servers/tlspeer.cpp, a program of this machine, also for a test that runs under Wine.
class PEERPROCESS {
 public:
    PEERPROCESS();
    ~PEERPROCESS();
    PEERPROCESS(const PEERPROCESS&) = delete;
    PEERPROCESS& operator=(const PEERPROCESS&) = delete;
    /// directory: as this system writes it.
    void Start(const std::string& directory);
    /// As long as the object lives, this process trusts the root that the peer has left there.
    void TrustRoot(const TEMPDIR& directory);

 private:
    struct PARTS;
    std::unique_ptr<PARTS> Parts;
};
