// See RateMeter.h.
#include "PeerTool/RateMeter.h"

#include <array>
#include <cinttypes>
#include <cstdio>

RateMeter::RateMeter(double gapMs, bool useCounter)
    : m_gapNs(static_cast<std::int64_t>(gapMs * 1e6)), m_useCounter(useCounter) {}

void RateMeter::Add(const zrpeer::AudioBlock &block, std::int64_t arrivalNs) {
    const std::int64_t interval = arrivalNs - m_lastNs;
    const bool hasInterval = m_lastNs != 0;
    m_lastNs = arrivalNs;
    for (RateFigures *figures : {&m_now, &m_total}) {
        ++figures->blocks;
        if (hasInterval)
            figures->intervals.Add(interval);
        figures->gaps += hasInterval && interval > m_gapNs ? 1 : 0;
    }
    if (m_useCounter)
        m_counter.Add(block);
}

void RateMeter::AddLatency(const std::int64_t *latencyNs) {
    for (RateFigures *figures : {&m_now, &m_total}) {
        if (latencyNs)
            figures->latencies.Add(*latencyNs);
        else
            ++figures->unplaced;
    }
}

std::string RateMeter::NextLine(double seconds, std::uint64_t wrong) {
    const std::string line = _Line(m_now, seconds, wrong);
    m_now = {};
    return line;
}

std::string RateMeter::TotalLine(double seconds, std::uint64_t wrong) const {
    return _Line(m_total, seconds, wrong);
}

std::string RateMeter::_Line(const RateFigures &figures, double seconds, std::uint64_t wrong) const {
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), "%.1f blocks/s, gaps %" PRIu64 ", wrong messages %" PRIu64,
                  seconds > 0 ? static_cast<double>(figures.blocks) / seconds : 0, figures.gaps, wrong);
    std::string line = text.data() + (", interval " + figures.intervals.Text());
    if (m_useCounter) {
        std::snprintf(text.data(), text.size(), ", lost %" PRIu64 ", out of order %" PRIu64 ", wrong samples %" PRIu64,
                      m_counter.Lost(), m_counter.OutOfOrder(), m_counter.WrongSamples());
        line += text.data();
    }
    if (!figures.latencies.IsEmpty() || figures.unplaced > 0)
        line += ", latency " + figures.latencies.Text() + ", unknown " + std::to_string(figures.unplaced);
    return line;
}
