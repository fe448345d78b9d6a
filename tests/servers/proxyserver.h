#pragma once

#include "tests/servers/serverprocess.h"

/// A private Tinyproxy on loopback for HTTP to any port. Runs as whoever runs the test. Posix only.
class PROXYSERVER : public LOCALSERVER {
 public:
    /// asks: it lets only the user "p" with the password "q" through.
    explicit PROXYSERVER(bool asks);
};
