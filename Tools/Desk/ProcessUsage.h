// What a process uses of the machine, from /proc. Any thread.
#pragma once

#include <cstdint>

#include <sys/types.h>

struct ProcessUsage {
    double cpuSeconds = 0;    // user and system time of all its threads
    uint64_t residentKib = 0; // memory now
    uint64_t peakKib = 0;     // most memory so far
    int64_t atNs = 0;         // CLOCK_MONOTONIC of the look

    // Zeros for a process that is gone.
    static ProcessUsage Of(pid_t pid);
};
