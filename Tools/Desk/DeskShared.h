// What the desk runner and its peer process share: commands to the peer, and the counts
// of both directions. Only atomics, zeroed at the start.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "Desk/LatencyHistogram.h"

inline constexpr uint64_t DESK_BLOCK_FRAMES = 32;
inline constexpr std::size_t DESK_SENT_KEPT = 4096; // send times kept, 8 s of audio

// The part of a stream that is measured: frames begin <= frame < end; nothing while both
// are 0. `end` is set before `begin`.
struct DeskWindow {
    std::atomic<uint64_t> begin;
    std::atomic<uint64_t> end;

    void Open(uint64_t first, uint64_t last) {
        end.store(last, std::memory_order_relaxed);
        begin.store(first, std::memory_order_release);
    }
    bool Holds(uint64_t frame) const {
        const uint64_t first = begin.load(std::memory_order_acquire);
        return first > 0 && frame >= first && frame < end.load(std::memory_order_relaxed);
    }
};

// One direction, counted by the side that receives it. Only periods of the window count.
struct DeskDirection {
    DeskWindow window;
    std::atomic<uint64_t> next;    // frame behind the latest that arrived
    std::atomic<uint64_t> arrived; // different periods
    std::atomic<uint64_t> outOfOrder;
    std::atomic<uint64_t> repeated;
    std::atomic<uint64_t> wrongSamples;
    std::atomic<uint64_t> soundLost; // periods right, but not written to the sound files
    LatencyHistogram latency;
};

struct DeskShared {
    // To the peer.
    std::atomic<bool> send; // answer every period with a block
    std::atomic<bool> stop;
    std::atomic<int64_t> captureZeroNs; // CLOCK_MONOTONIC when the card began frame 0; before window of toPeer

    // From the peer.
    std::atomic<bool> ready;             // bound and receiving
    std::atomic<uint64_t> receivedFrame; // frame behind the last that arrived
    std::atomic<uint64_t> badMessages;   // whatever is no audio message of the service
    std::atomic<uint64_t> blocksSent;    // their frames count on from 0: block n starts at frame 32 n
    std::atomic<uint64_t> sendFailures;
    std::array<std::atomic<int64_t>, DESK_SENT_KEPT> sentNs; // by block number, CLOCK_MONOTONIC

    DeskDirection toPeer;
    DeskDirection toCard;
};
static_assert(std::atomic<uint64_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);
