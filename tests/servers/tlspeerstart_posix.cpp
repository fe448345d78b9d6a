#include <cstdlib>

#include "tests/servers/serverprocess.h"
#include "tests/servers/tlspeerstart.h"

struct PEERPROCESS::PARTS {
    SERVERPROCESS Process;
};

PEERPROCESS::PEERPROCESS() : Parts(std::make_unique<PARTS>()) {}
PEERPROCESS::~PEERPROCESS() = default;

void PEERPROCESS::Start(const std::string& directory) {
    Parts->Process.Start({TLSPEER, directory});
}

void PEERPROCESS::TrustRoot(const TEMPDIR& directory) {
    setenv("SSL_CERT_FILE", directory.Native("root.pem").c_str(), 1);
}
