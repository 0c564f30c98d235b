// The content of the control file: everything that the card, its control and the
// checkers share. Only atomics; the file is created by CardControl and mapped by all.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "CardDef.h"

inline constexpr uint64_t CARD_MAGIC = 0x31304452434E525A; // "ZRNCRD01"
inline constexpr uint32_t CARD_TAP_WORDS = CARD_PERIOD_BYTES / sizeof(uint64_t);

using SharedU64 = std::atomic<uint64_t>;
using SharedU32 = std::atomic<uint32_t>;
static_assert(SharedU64::is_always_lock_free && SharedU32::is_always_lock_free);
static_assert(sizeof(SharedU64) == sizeof(uint64_t) && sizeof(SharedU32) == sizeof(uint32_t));

// The clock as it was last set: at `refNs` it stood at `refCardNs` and has run with `speed` since.
struct CardClockSlot {
    SharedU64 refNs;
    SharedU64 refCardNs;
    SharedU64 speed; // times 2^32
    SharedU64 running;
};

struct CardClockShared {
    SharedU64 generation; // slot generation % 2 is valid; one writer at a time (file lock)
    CardClockSlot slots[2];
};

struct CardFaultShared {
    SharedU32 pending;
    SharedU32 value;
};

// One period; `version` is odd while it is being written.
struct CardTapEntry {
    SharedU64 version;
    SharedU64 sequence;
    SharedU64 serviceNs;
    SharedU64 cardNs;
    SharedU64 data[CARD_TAP_WORDS];
};

// Written by the side's audio thread; the faults by the control.
struct CardSideShared {
    SharedU64 running;
    SharedU64 position; // frames at the last stop
    SharedU64 written;  // playback: frames written since the last start
    SharedU64 xruns;
    SharedU64 discarded;
    SharedU64 starts;
    SharedU64 startNs;
    SharedU64 startCardNs;
    SharedU64 lastNs;
    CardFaultShared faults[CARD_FAULTS];
    SharedU64 tapCount;
    CardTapEntry tap[CARD_TAP_PERIODS];
};

struct CardShared {
    SharedU64 magic; // last to be set
    SharedU64 size;
    SharedU32 presence;
    SharedU32 ioTimeoutMs;
    SharedU32 unplugs; // times the card went missing
    SharedU64 tags;    // packed, see CardTagger
    SharedU64 origin;  // card time of the first capture start, plus 1; 0 before
    CardClockShared clock;
    CardSideShared sides[CARD_SIDES];

    CardSideShared &Side(CardSide side) { return sides[static_cast<uint32_t>(side)]; }
    const CardSideShared &Side(CardSide side) const { return sides[static_cast<uint32_t>(side)]; }
};
