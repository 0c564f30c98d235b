// See Statistics.h.
#include "PeerTool/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

void Statistics::Add(std::int64_t ns) {
    const double steps = static_cast<double>(std::clamp(ns, -LIMIT_NS, LIMIT_NS)) / static_cast<double>(STEP_NS);
    ++m_counts[std::llround(steps)];
    ++m_count;
    m_min = std::min(m_min, ns);
    m_max = std::max(m_max, ns);
}

std::int64_t Statistics::Quantile(double share) const {
    if (IsEmpty())
        return 0;
    const auto rank = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(m_count)));
    if (rank <= 1)
        return m_min;
    if (rank >= m_count)
        return m_max;
    auto step = m_counts.begin();
    for (std::uint64_t seen = step->second; seen < rank; seen += step->second)
        ++step;
    return std::clamp(step->first * STEP_NS, m_min, m_max);
}

std::string Statistics::Text() const {
    if (IsEmpty())
        return "-";
    const auto ms = [this](double share) { return static_cast<double>(Quantile(share)) / 1e6; };
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "min %.2f median %.2f p99 %.2f max %.2f ms", ms(0), ms(0.5), ms(0.99),
                  ms(1));
    return text.data();
}
