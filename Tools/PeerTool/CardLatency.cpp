// See CardLatency.h.
#include "PeerTool/CardLatency.h"

#include <algorithm>

namespace {

constexpr std::uint64_t LOOK_BACK = 128; // periods; more than the service ever holds for its peer

bool IsSame(const zrpeer::AudioBlock &block, const TapPeriod &period) {
    for (std::size_t word = 0; word < period.words.size(); ++word) {
        const std::int16_t sample = block[word % CARD_CHANNELS][word / CARD_CHANNELS];
        if (static_cast<std::int16_t>(period.words[word] & 0xFFFF) != sample)
            return false;
    }
    return true;
}

} // namespace

bool CardLatency::Open(const std::string &controlFile) {
    return m_card.Open(controlFile);
}

bool CardLatency::Measure(const zrpeer::AudioBlock &block, std::int64_t arrivalNs, std::int64_t &latencyNs) {
    const std::uint64_t count = m_card.TapCount(CardSide::Capture);
    TapPeriod period;
    for (std::uint64_t at = std::max(m_next, count - std::min(count, LOOK_BACK)); at < count; ++at) {
        if (m_card.ReadTap(CardSide::Capture, at, period) != TapResult::Ready || !IsSame(block, period))
            continue;
        m_next = at + 1;
        latencyNs = arrivalNs - static_cast<std::int64_t>(period.cardNs);
        return period.cardNs != 0;
    }
    return false;
}
