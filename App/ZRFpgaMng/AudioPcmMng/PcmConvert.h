// Conversion between the two layouts of one period: the card's tagged 32-bit words and
// the peers' planar 16-bit samples. Pure functions, any thread; they run once per period
// in both directions.
//
// Card period: `samples` frames of 24 words, each with the channel number (1 to 24) in
// its upper and the signed sample in its lower 16 bits. Planar payload: 24 blocks, one
// per channel, of `samples` 16-bit samples. Both in host byte order and at any alignment;
// input and output do not overlap.
#pragma once

#include <cstddef>
#include <cstdint>

// Planar payload into a card period with the channels in order. Bytes produced:
// samples * 96, or 4 when `samples` is 0.
int PlanarToTagged(const uint8_t *planar, uint8_t *tagged, int32_t samples);

// Card period into a planar payload. Every word goes to the block of its own tag, in the
// order of arrival, wherever it stands in the frame; nothing limits a channel to `samples`
// words, so `planar` holds as many bytes as the card period (samples * 96). Returns the
// position behind the last word's sample in bytes (samples * 48 for the regular order), or
// 0 at the first tag that is no channel; the samples before it stay placed.
int TaggedToPlanar(const uint8_t *tagged, uint8_t *planar, int32_t samples);
