// See CounterCheck.h.
#include "PeerTool/CounterCheck.h"

#include "Simulation/CardSignal.h"

namespace {

std::uint64_t CountWrong(const zrpeer::AudioBlock &block, std::uint32_t firstFrame) {
    zrpeer::AudioBlock expected;
    zr_card_planar(firstFrame, expected.front().data());
    std::uint64_t wrong = 0;
    for (std::size_t channel = 0; channel < block.size(); ++channel)
        for (std::size_t frame = 0; frame < block[channel].size(); ++frame)
            wrong += block[channel][frame] != expected[channel][frame] ? 1 : 0;
    return wrong;
}

} // namespace

void CounterCheck::Add(const zrpeer::AudioBlock &block) {
    const std::uint32_t frame = zr_card_frame_of_planar(block.front().data());
    m_wrongSamples += CountWrong(block, frame);
    // Differences are taken in 32 bits, so that the counter may come around.
    const auto ahead = static_cast<std::int32_t>(frame - m_next);
    if (m_hasStarted && ahead < 0) {
        ++m_outOfOrder;
        return;
    }
    if (m_hasStarted)
        m_lost += (static_cast<std::uint32_t>(ahead) + zrpeer::BLOCK_FRAMES - 1) / zrpeer::BLOCK_FRAMES;
    m_hasStarted = true;
    m_next = frame + zrpeer::BLOCK_FRAMES;
}
