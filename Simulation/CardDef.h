// What the stand-in card is: sizes, sides, faults and tag errors, shared by the card
// itself, its control and whoever tests against it.
#pragma once

#include <cstdint>

inline constexpr uint32_t CARD_CHANNELS = 24;
inline constexpr uint32_t CARD_RATE = 16000;                                        // frames per second
inline constexpr uint32_t CARD_PERIOD_FRAMES = 32;                                  // 2 ms
inline constexpr uint32_t CARD_PERIOD_WORDS = CARD_PERIOD_FRAMES * CARD_CHANNELS;   // 768
inline constexpr uint32_t CARD_PERIOD_BYTES = CARD_PERIOD_WORDS * sizeof(uint32_t); // 3072
inline constexpr uint32_t CARD_MAX_PERIODS = 64;                                    // largest buffer
inline constexpr uint64_t CARD_FRAME_NS = 1000000000u / CARD_RATE;                  // 62500
inline constexpr uint64_t CARD_PERIOD_NS = CARD_FRAME_NS * CARD_PERIOD_FRAMES;      // 2000000
inline constexpr uint64_t CARD_TAP_PERIODS = 2048;                                  // kept per side

enum class CardSide : uint32_t { Capture = 0, Playback = 1 };
inline constexpr uint32_t CARD_SIDES = 2;

// What the caller of snd_pcm_readi or snd_pcm_writei sees, each `count` times:
enum class CardFault : uint32_t {
    Overrun = 0,   // capture: -EPIPE, state XRUN, until snd_pcm_prepare
    Underrun,      // playback: the same; what was queued is discarded
    Suspend,       // -ESTRPIPE
    ShortTransfer, // `value` frames (1..31) instead of all; on a call for more frames than that
    Again,         // -EAGAIN
    HardError,     // -`value`, an errno number; 0 stands for EIO
};
inline constexpr uint32_t CARD_FAULTS = 6;

// How the words of captured periods are tagged.
enum class CardTags : uint32_t {
    Normal = 0, // channels 1..24 in order
    Zero,       // word `value` (0..767) of the period carries tag 0
    TwentyFive, // word `value` (0..767) of the period carries tag 25
    Repeated,   // every word carries the tag `value` (a channel); CARD_TAGS_DEFAULT stands for 24
    Rotated,    // each frame starts with channel 1 + `value`, samples move with their tags; default 1
};
inline constexpr uint32_t CARD_TAGS_DEFAULT = 0xFFFFFFFF; // word 0, channel 24, one place

enum class CardPresence : uint32_t {
    Present = 0,
    Missing, // opening gives -ENODEV; an open stream goes to DISCONNECTED for good and gives -ENODEV
    Busy,    // opening gives -EBUSY; open streams go on
};
