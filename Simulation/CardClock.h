// The card's clock: nanoseconds of audio as a function of CLOCK_MONOTONIC. It can run
// N times real time, stand still, and be moved by hand. Reading never blocks.
#pragma once

#include <cstdint>

#include "CardShared.h"

// CLOCK_MONOTONIC in nanoseconds.
uint64_t zr_card_now_ns();

// A consistent copy of the clock's setting.
struct CardClockView {
    uint64_t refNs = 0;
    uint64_t refCardNs = 0;
    uint64_t speed = 0; // times 2^32
    bool running = false;

    static CardClockView Of(const CardClockShared &clock);
    // Makes this the setting; callers exclude each other.
    void Install(CardClockShared &clock) const;

    // Card time at `nowNs`.
    uint64_t CardNs(uint64_t nowNs) const;
    // The moment at which the clock reaches `cardNs`; 0 when it stands, or passed it under an earlier setting.
    uint64_t MomentOf(uint64_t cardNs) const;

    // The same clock from `nowNs` on, to be changed without a jump.
    CardClockView From(uint64_t nowNs) const;

    double Speed() const;
    void SetSpeed(double times);
};
