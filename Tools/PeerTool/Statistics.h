// Figures of a run of durations: minimum, median, 99th percentile, maximum. One thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class Statistics {
  public:
    void Add(std::int64_t ns) { m_values.push_back(ns); }
    void Clear() { m_values.clear(); }
    bool IsEmpty() const { return m_values.empty(); }

    // The value (ns) below which `share` (0 to 1) of the values lie: 0 is the minimum, 0.5 the
    // median, 1 the maximum. 0 without values.
    std::int64_t Quantile(double share) const;

    // "min 1.90 median 2.00 p99 2.31 max 3.02 ms", or "-" without values.
    std::string Text() const;

  private:
    std::vector<std::int64_t> m_values;
};
