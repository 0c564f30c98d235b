// See ArrivalCheck.h.
#include "Desk/ArrivalCheck.h"

#include <cstdlib>

namespace {

constexpr int64_t LARGEST_JUMP = 10 * 60 * zrpeer::SAMPLE_RATE; // frames; beyond, the number itself is wrong

uint64_t CountWrong(const zrpeer::AudioBlock &block, const zrpeer::AudioBlock &expected) {
    uint64_t wrong = 0;
    for (std::size_t channel = 0; channel < block.size(); ++channel)
        for (std::size_t frame = 0; frame < block[channel].size(); ++frame)
            wrong += block[channel][frame] != expected[channel][frame];
    return wrong;
}

void Increment(std::atomic<uint64_t> &count, uint64_t by = 1) {
    count.fetch_add(by, std::memory_order_relaxed);
}

} // namespace

// A period whose number makes no sense is taken for the one that was due.
uint64_t ArrivalCheck::_Locate(const zrpeer::AudioBlock &block) const {
    const uint32_t number = zr_desk_frame_of(block);
    if (!m_located)
        return number;
    const auto jump = static_cast<int32_t>(number - static_cast<uint32_t>(m_nextFrame));
    if (number % DESK_BLOCK_FRAMES != 0 || std::abs(int64_t{jump}) > LARGEST_JUMP)
        return m_nextFrame;
    return m_nextFrame + static_cast<uint64_t>(int64_t{jump});
}

bool ArrivalCheck::_CountPlace(uint64_t frame) {
    if (!m_order)
        m_order.emplace(m_result.window.begin.load(std::memory_order_relaxed) / DESK_BLOCK_FRAMES);
    const OrderCheck::Place place = m_order->Take(frame / DESK_BLOCK_FRAMES);
    if (place == OrderCheck::Place::Repeated) {
        Increment(m_result.repeated);
        return false;
    }
    if (place == OrderCheck::Place::Late)
        Increment(m_result.outOfOrder);
    Increment(m_result.arrived);
    m_result.next.store(m_order->Next() * DESK_BLOCK_FRAMES, std::memory_order_relaxed);
    return true;
}

std::optional<uint64_t> ArrivalCheck::Take(const zrpeer::AudioBlock &block, uint64_t wrongWords) {
    const uint64_t frame = _Locate(block);
    m_located = true;
    m_nextFrame = frame + DESK_BLOCK_FRAMES;
    if (!m_result.window.Holds(frame))
        return std::nullopt;
    Increment(m_result.wrongSamples, wrongWords + CountWrong(block, m_expected.Block(frame)));
    return _CountPlace(frame) ? std::optional(frame) : std::nullopt;
}
