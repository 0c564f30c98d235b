// The time from the stand-in card to the peer: finds a received block among the periods
// that the card has handed out lately. One thread.
#pragma once

#include <cstdint>
#include <string>

#include "Peer/ZRPeer.h"
#include "Simulation/CardControl.h"

class CardLatency {
  public:
    // Attaches to the control file of a running stand-in card. False when it is none.
    bool Open(const std::string &controlFile);

    // Time in ns from the capture of the block's last frame to `arrivalNs` (monotonic). False
    // when the card has handed out no such period lately, or its clock stood still.
    bool Measure(const zrpeer::AudioBlock &block, std::int64_t arrivalNs, std::int64_t &latencyNs);

  private:
    CardControl m_card;
    std::uint64_t m_next = 0; // the card's periods before this one are settled
};
