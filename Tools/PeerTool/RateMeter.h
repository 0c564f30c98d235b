// What `zrpeer rates` counts over the blocks that come in, and its lines. One thread.
#pragma once

#include <cstdint>
#include <string>

#include "Peer/ZRPeer.h"
#include "PeerTool/CounterCheck.h"
#include "PeerTool/Statistics.h"

// Figures of one stretch of time.
struct RateFigures {
    std::uint64_t blocks = 0;
    std::uint64_t gaps = 0;     // intervals longer than the limit
    Statistics intervals;       // between arrivals
    Statistics latencies;       // card to peer, of the blocks for which it is known
    std::uint64_t unplaced = 0; // blocks whose latency is not known
};

class RateMeter {
  public:
    // An interval above `gapMs` milliseconds counts as a gap. `useCounter` checks the content
    // for the test signal.
    RateMeter(double gapMs, bool useCounter);

    // Takes a block that came at `arrivalNs` (monotonic).
    void Add(const zrpeer::AudioBlock &block, std::int64_t arrivalNs);

    // Adds the latency of the last block; pass nullptr when it is not known.
    void AddLatency(const std::int64_t *latencyNs);

    // The line of the time since the last call, which was `seconds` long, and with `wrong`
    // messages so far.
    std::string NextLine(double seconds, std::uint64_t wrong);

    // The line of the whole time.
    std::string TotalLine(double seconds, std::uint64_t wrong) const;

  private:
    std::string _Line(const RateFigures &figures, double seconds, std::uint64_t wrong) const;

    std::int64_t m_gapNs;
    bool m_useCounter;
    std::int64_t m_lastNs = 0;
    RateFigures m_now;
    RateFigures m_total;
    CounterCheck m_counter;
};
