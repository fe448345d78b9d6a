#pragma once

#include <csignal>
#include <sys/resource.h>

/// In its scope no file of this process can grow beyond some bytes: what a full disk does to a write.
class SIZELIMIT {
 public:
    explicit SIZELIMIT(rlim_t bytes) : FormerHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &Former);
        rlimit limit = Former;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SIZELIMIT() {
        setrlimit(RLIMIT_FSIZE, &Former);
        std::signal(SIGXFSZ, FormerHandler);
    }
    SIZELIMIT(const SIZELIMIT&) = delete;
    SIZELIMIT& operator=(const SIZELIMIT&) = delete;

 private:
    void (*FormerHandler)(int);
    rlimit Former{};
};
