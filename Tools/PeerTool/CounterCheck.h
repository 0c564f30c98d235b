// Checks blocks that carry the stand-in card's test signal: its frame counter tells what is
// missing, and every sample of all 24 channels can be computed. One thread.
#pragma once

#include <cstdint>

#include "Peer/ZRPeer.h"

class CounterCheck {
  public:
    // Takes the next block. The first one sets where the counting starts.
    void Add(const zrpeer::AudioBlock &block);

    std::uint64_t Lost() const { return m_lost; }             // blocks that never came
    std::uint64_t OutOfOrder() const { return m_outOfOrder; } // blocks that came twice or too late
    std::uint64_t WrongSamples() const { return m_wrongSamples; }

  private:
    bool m_hasStarted = false;
    std::uint32_t m_next = 0; // frame number that the next block should start with
    std::uint64_t m_lost = 0;
    std::uint64_t m_outOfOrder = 0;
    std::uint64_t m_wrongSamples = 0;
};
