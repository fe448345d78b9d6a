#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <sys/resource.h>

/// What a run of a client cost this process: wall and processor time from the object's making on, and the most memory
/// that the process ever had.
class COST {
 public:
    COST() : Start(std::chrono::steady_clock::now()), CpuStart(CpuMs()) {}
    /// One line of four numbers for the script: bytes, wall ms, processor ms, resident KB at the peak.
    void Print(size_t bytes) const {
        std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - Start;
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        printf("%zu %.1f %.1f %ld\n", bytes, wall.count(), CpuMs() - CpuStart, usage.ru_maxrss);
    }

 private:
    static double CpuMs() {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        auto ms = [](const timeval& t) {
            return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_usec) / 1e3;
        };
        return ms(usage.ru_utime) + ms(usage.ru_stime);
    }

    std::chrono::steady_clock::time_point Start;
    double CpuStart;
};

/// main() of a client that bench/dovecot.sh drives: PORT USER PASSWORD AMOUNT go to `read`, which reads the mailbox and
/// gives the bytes of what it has listed, or -1.
inline int MeasureClient(int argc, char** argv, const std::function<long(char** words)>& read) {
    if (argc != 5) {
        fprintf(stderr, "usage: %s PORT USER PASSWORD AMOUNT\n", argv[0]);
        return 2;
    }
    const COST cost;
    const long bytes = read(argv + 1);
    cost.Print(bytes < 0 ? 0 : static_cast<size_t>(bytes));
    return bytes < 0 ? 1 : 0;
}
