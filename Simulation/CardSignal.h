// The built-in signal of the stand-in card: every channel its own, a pure function of
// channel and frame number, so that a checker can compute what must arrive.
//
// Channel 24 carries the low and channel 23 the high 16 bits of the frame number, so
// any period tells where it comes from. Channels 1 to 22 are triangle waves over the
// full range, each of its own pitch (from about 230 Hz) and phase; no two channels
// agree over a period. Frame 0 is the first frame captured after the card was set up;
// frames lost in an overrun are counted. Any thread.
#pragma once

#include <cstdint>

extern "C" {

// The sample of `channel` (1..24) at `frame`.
int16_t zr_card_sample(uint32_t channel, uint64_t frame);

// The same as the card's word: channel number in bits 16..31, sample in bits 0..15.
uint32_t zr_card_word(uint32_t channel, uint64_t frame);

// A card period of 768 words (32 frames of channels 1..24) that starts at `firstFrame`.
void zr_card_period(uint64_t firstFrame, uint32_t *words);

// The same period as planar samples: 24 blocks of 32, channel 1 first.
void zr_card_planar(uint64_t firstFrame, int16_t *samples);

// The frame number (32 bits) that the first frame of a card period carries.
uint32_t zr_card_frame_of_period(const uint32_t *words);

// The same of a planar period.
uint32_t zr_card_frame_of_planar(const int16_t *samples);
}
