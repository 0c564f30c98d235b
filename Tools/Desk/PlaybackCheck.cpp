// See PlaybackCheck.h.
#include "Desk/PlaybackCheck.h"

#include "Sound/BlockPacer.h"

namespace {

// The samples of a card period, and how many words do not carry their channel's number.
zrpeer::AudioBlock Untagged(const TapPeriod &period, uint64_t &wrongTags) {
    zrpeer::AudioBlock block;
    std::size_t word = 0;
    for (std::size_t frame = 0; frame < zrpeer::BLOCK_FRAMES; ++frame)
        for (std::size_t channel = 0; channel < block.size(); ++channel, ++word) {
            block[channel][frame] = static_cast<int16_t>(period.words[word] & 0xFFFFu);
            wrongTags += period.words[word] >> 16 != channel + 1;
        }
    return block;
}

} // namespace

void PlaybackCheck::Poll() {
    TapPeriod period;
    for (;; ++m_sequence) {
        const TapResult result = m_card.ReadTap(CardSide::Playback, m_sequence, period);
        if (result == TapResult::NotYet)
            return;
        if (result == TapResult::Lost) {
            ++m_missed;
            continue;
        }
        if (period.cardNs == CARD_DISCARDED)
            continue;
        if (period.cardNs > static_cast<uint64_t>(MonotonicNs()))
            return; // still in the card's buffer
        _Take(period);
    }
}

void PlaybackCheck::_Take(const TapPeriod &period) {
    uint64_t wrongTags = 0;
    const zrpeer::AudioBlock block = Untagged(period, wrongTags);
    const auto frame = m_check.Take(block, wrongTags);
    if (!frame)
        return;
    const auto &sentNs = m_shared.sentNs[*frame / DESK_BLOCK_FRAMES % DESK_SENT_KEPT];
    m_shared.toCard.latency.Add(static_cast<int64_t>(period.serviceNs) - sentNs.load(std::memory_order_relaxed));
    if (!m_recorder.Add(block))
        m_shared.toCard.soundLost.fetch_add(1, std::memory_order_relaxed);
}
