// See LatencyHistogram.h.
#include "Desk/LatencyHistogram.h"

#include <algorithm>
#include <cmath>

void LatencyHistogram::Add(int64_t ns) {
    ns = std::max<int64_t>(ns, 0);
    const std::size_t step = std::min<std::size_t>(static_cast<std::size_t>(ns / STEP_NS), STEPS);
    counts[step].fetch_add(1, std::memory_order_relaxed);
    if (ns > maxNs.load(std::memory_order_relaxed))
        maxNs.store(ns, std::memory_order_relaxed);
}

int64_t LatencyHistogram::Quantile(double share) const {
    uint64_t total = 0;
    for (const auto &count : counts)
        total += count.load(std::memory_order_relaxed);
    const auto wanted = static_cast<uint64_t>(std::ceil(share * static_cast<double>(total)));
    uint64_t seen = 0;
    for (std::size_t step = 0; total > 0 && step < STEPS; ++step) {
        seen += counts[step].load(std::memory_order_relaxed);
        if (seen >= wanted)
            return std::min(static_cast<int64_t>(step + 1) * STEP_NS, maxNs.load(std::memory_order_relaxed));
    }
    return maxNs.load(std::memory_order_relaxed);
}
