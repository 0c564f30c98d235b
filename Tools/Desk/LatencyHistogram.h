// Latencies as a histogram of bounded size. One thread adds; any thread or process reads.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// Lies in memory that processes share, zeroed at the start.
struct LatencyHistogram {
    static constexpr int64_t STEP_NS = 10'000; // resolution
    static constexpr std::size_t STEPS = 10'000;

    std::array<std::atomic<uint64_t>, STEPS + 1> counts; // the last one: 100 ms and more
    std::atomic<int64_t> maxNs;

    // Counts one latency; a negative one (clocks read in the wrong order) counts as 0.
    void Add(int64_t ns);

    // The latency in nanoseconds that `share` (0..1) of all do not exceed, rounded up to
    // STEP_NS; 0 when there are none.
    int64_t Quantile(double share) const;
};
