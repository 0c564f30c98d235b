// Integer arithmetic only, so that every build computes the same samples.
#include "CardSignal.h"

#include "CardDef.h"

namespace {

constexpr uint32_t LOW_COUNTER = 24;
constexpr uint32_t HIGH_COUNTER = 23;

// A 16-bit phase as a triangle over the full range of a sample.
int16_t Triangle(uint32_t phase) {
    const uint32_t rising = (phase & 0x8000u) ? 0xFFFFu - phase : phase;
    return static_cast<int16_t>(static_cast<int32_t>(rising * 2 + (phase & 1u)) - 32768);
}

uint32_t FrameOf(uint32_t high, uint32_t low) {
    return ((high & 0xFFFFu) << 16) | (low & 0xFFFFu);
}

} // namespace

int16_t zr_card_sample(uint32_t channel, uint64_t frame) {
    if (channel == LOW_COUNTER)
        return static_cast<int16_t>(frame & 0xFFFFu);
    if (channel == HIGH_COUNTER)
        return static_cast<int16_t>((frame >> 16) & 0xFFFFu);
    const uint32_t step = 801 + 146 * channel; // odd: the wave comes around only after 65536 frames
    return Triangle(static_cast<uint32_t>(frame * step + channel * 2731u) & 0xFFFFu);
}

uint32_t zr_card_word(uint32_t channel, uint64_t frame) {
    return (channel << 16) | static_cast<uint16_t>(zr_card_sample(channel, frame));
}

void zr_card_period(uint64_t firstFrame, uint32_t *words) {
    for (uint32_t frame = 0; frame < CARD_PERIOD_FRAMES; frame++)
        for (uint32_t channel = 1; channel <= CARD_CHANNELS; channel++)
            *words++ = zr_card_word(channel, firstFrame + frame);
}

void zr_card_planar(uint64_t firstFrame, int16_t *samples) {
    for (uint32_t channel = 1; channel <= CARD_CHANNELS; channel++)
        for (uint32_t frame = 0; frame < CARD_PERIOD_FRAMES; frame++)
            *samples++ = zr_card_sample(channel, firstFrame + frame);
}

uint32_t zr_card_frame_of_period(const uint32_t *words) {
    return FrameOf(words[HIGH_COUNTER - 1], words[LOW_COUNTER - 1]);
}

uint32_t zr_card_frame_of_planar(const int16_t *samples) {
    return FrameOf(static_cast<uint16_t>(samples[(HIGH_COUNTER - 1) * CARD_PERIOD_FRAMES]),
                   static_cast<uint16_t>(samples[(LOW_COUNTER - 1) * CARD_PERIOD_FRAMES]));
}
