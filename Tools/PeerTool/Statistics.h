// Figures of a run of durations: minimum, median, 99th percentile, maximum, in memory that
// does not grow with their number. One thread.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>

class Statistics {
  public:
    // Finest difference between two values; beyond LIMIT_NS only the largest is told apart.
    static constexpr std::int64_t STEP_NS = 10'000;
    static constexpr std::int64_t LIMIT_NS = 1'000'000'000;

    void Add(std::int64_t ns);
    bool IsEmpty() const { return m_count == 0; }

    // The value (ns) below which `share` (0 to 1) of the values lie, rounded to STEP_NS: 0 is
    // the minimum, 0.5 the median, 1 the maximum, both exact. 0 without values.
    std::int64_t Quantile(double share) const;

    // "min 1.90 median 2.00 p99 2.31 max 3.02 ms", or "-" without values.
    std::string Text() const;

  private:
    std::map<std::int64_t, std::uint64_t> m_counts; // by step: a few hundred of them as a rule
    std::uint64_t m_count = 0;
    std::int64_t m_min = std::numeric_limits<std::int64_t>::max();
    std::int64_t m_max = std::numeric_limits<std::int64_t>::min();
};
