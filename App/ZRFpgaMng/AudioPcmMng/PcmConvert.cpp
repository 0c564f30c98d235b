// The conversions of one period. Words in regular order, the usual case, are moved in
// tiles of 8 frames by 4 channels with the compiler's portable vectors; what is left over
// or irregular is moved word by word.
#include "ZRFpgaMng/AudioPcmMng/PcmConvert.h"

#include <cstring>

#include "ZRFpgaMng/Include/FpgaMngDef.h"

namespace {

constexpr int TILE_FRAMES = 8;
constexpr int TILE_CHANNELS = 4;
constexpr int TILES_PER_FRAME = AUDIO_CHANNELS / TILE_CHANNELS;
constexpr size_t WORD_BYTES = 4;
constexpr size_t SAMPLE_BYTES = 2;
constexpr size_t FRAME_BYTES = AUDIO_CHANNELS * WORD_BYTES;

// Four words: of neighbouring channels in one frame, or of one channel's 8 samples.
typedef uint32_t Vec __attribute__((vector_size(16)));

Vec LoadVec(const uint8_t *from) {
    Vec vec;
    std::memcpy(&vec, from, sizeof vec);
    return vec;
}

void StoreVec(uint8_t *to, Vec vec) {
    std::memcpy(to, &vec, sizeof vec);
}

// The tags of channels 4 * tile + 1 and on, in the upper halves.
Vec TagsOf(int tile) {
    const Vec first = {1U << 16, 2U << 16, 3U << 16, 4U << 16};
    return first + (static_cast<uint32_t>(tile * TILE_CHANNELS) << 16);
}

// Swaps rows and columns of a 4 by 4 square.
void Transpose(Vec (&row)[4]) {
    const Vec low01 = __builtin_shufflevector(row[0], row[1], 0, 4, 1, 5);
    const Vec high01 = __builtin_shufflevector(row[0], row[1], 2, 6, 3, 7);
    const Vec low23 = __builtin_shufflevector(row[2], row[3], 0, 4, 1, 5);
    const Vec high23 = __builtin_shufflevector(row[2], row[3], 2, 6, 3, 7);
    row[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    row[1] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    row[2] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    row[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
}

// True when all words of 8 frames carry channels 1 to 24 in order.
bool IsRegular(const uint8_t *frames) {
    Vec differs = {};
    for (int tile = 0; tile < TILES_PER_FRAME; ++tile) {
        const Vec tags = TagsOf(tile);
#pragma GCC unroll 8
        for (int frame = 0; frame < TILE_FRAMES; ++frame)
            differs |= LoadVec(frames + frame * FRAME_BYTES + tile * sizeof(Vec)) ^ tags;
    }
    return ((differs[0] | differs[1] | differs[2] | differs[3]) >> 16) == 0;
}

// One tile: `frames` at its first word, `block` at its first channel's first sample.
void TileToPlanar(const uint8_t *frames, uint8_t *block, size_t blockBytes) {
    Vec pairs[4]; // two frames each: the earlier sample below, the later above
#pragma GCC unroll 8
    for (int pair = 0; pair < 4; ++pair) {
        const Vec earlier = LoadVec(frames + 2 * pair * FRAME_BYTES);
        const Vec later = LoadVec(frames + (2 * pair + 1) * FRAME_BYTES);
        pairs[pair] = (earlier & 0xFFFFU) | (later << 16);
    }
    Transpose(pairs);
#pragma GCC unroll 8
    for (int channel = 0; channel < TILE_CHANNELS; ++channel)
        StoreVec(block + channel * blockBytes, pairs[channel]);
}

// The same tile the other way, with the tags of its channels.
void TileToTagged(const uint8_t *block, size_t blockBytes, uint8_t *frames, Vec tags) {
    Vec pairs[4];
#pragma GCC unroll 8
    for (int channel = 0; channel < TILE_CHANNELS; ++channel)
        pairs[channel] = LoadVec(block + channel * blockBytes);
    Transpose(pairs);
#pragma GCC unroll 8
    for (int pair = 0; pair < 4; ++pair) {
        StoreVec(frames + 2 * pair * FRAME_BYTES, (pairs[pair] & 0xFFFFU) | tags);
        StoreVec(frames + (2 * pair + 1) * FRAME_BYTES, (pairs[pair] >> 16) | tags);
    }
}

// The leading frames, in eights, whose words are in regular order. Returns their number.
int32_t RegularToPlanar(const uint8_t *tagged, uint8_t *planar, int32_t samples) {
    const size_t blockBytes = static_cast<size_t>(samples) * SAMPLE_BYTES;
    int32_t frame = 0;
    for (; frame + TILE_FRAMES <= samples; frame += TILE_FRAMES) {
        const uint8_t *frames = tagged + frame * FRAME_BYTES;
        if (!IsRegular(frames))
            break;
        for (int tile = 0; tile < TILES_PER_FRAME; ++tile)
            TileToPlanar(frames + tile * sizeof(Vec), planar + tile * TILE_CHANNELS * blockBytes + frame * SAMPLE_BYTES,
                         blockBytes);
    }
    return frame;
}

// Word by word from `frame` on, after `frame` regular frames.
int WordsToPlanar(const uint8_t *tagged, uint8_t *planar, int32_t samples, int32_t frame) {
    int32_t channelWriteIndex[AUDIO_CHANNELS];
    for (int32_t &index : channelWriteIndex)
        index = frame;
    int32_t writePos = samples > 0 ? AUDIO_CHANNELS * samples - 1 : 0; // of the last word, were all regular
    for (int32_t word = frame * AUDIO_CHANNELS; word < samples * AUDIO_CHANNELS; ++word) {
        uint32_t value;
        std::memcpy(&value, tagged + word * WORD_BYTES, sizeof value);
        const uint32_t channelNum = value >> 16;
        if (channelNum == 0 || channelNum > AUDIO_CHANNELS)
            return 0;
        const auto audioData = static_cast<uint16_t>(value);
        const uint32_t channelIndex = channelNum - 1;
        writePos = static_cast<int32_t>(channelIndex) * samples + channelWriteIndex[channelIndex]++;
        std::memcpy(planar + writePos * SAMPLE_BYTES, &audioData, sizeof audioData);
    }
    return (writePos + 1) * static_cast<int>(SAMPLE_BYTES);
}

// Frames from `frame` on, word by word.
void SamplesToTagged(const uint8_t *planar, uint8_t *tagged, int32_t samples, int32_t frame) {
    for (; frame < samples; ++frame) {
        for (int32_t channel = 0; channel < AUDIO_CHANNELS; ++channel) {
            uint16_t audioData; // unsigned, so that a negative sample leaves the tag alone
            std::memcpy(&audioData, planar + (frame + channel * samples) * SAMPLE_BYTES, sizeof audioData);
            const uint32_t value = static_cast<uint32_t>(channel + 1) << 16 | audioData;
            std::memcpy(tagged + (frame * AUDIO_CHANNELS + channel) * WORD_BYTES, &value, sizeof value);
        }
    }
}

} // namespace

int PlanarToTagged(const uint8_t *planar, uint8_t *tagged, int32_t samples) {
    if (samples <= 0)
        return WORD_BYTES; // the position behind word 0, although nothing was converted
    const size_t blockBytes = static_cast<size_t>(samples) * SAMPLE_BYTES;
    int32_t frame = 0;
    for (; frame + TILE_FRAMES <= samples; frame += TILE_FRAMES)
        for (int tile = 0; tile < TILES_PER_FRAME; ++tile)
            TileToTagged(planar + tile * TILE_CHANNELS * blockBytes + frame * SAMPLE_BYTES, blockBytes,
                         tagged + frame * FRAME_BYTES + tile * sizeof(Vec), TagsOf(tile));
    SamplesToTagged(planar, tagged, samples, frame);
    return samples * static_cast<int>(FRAME_BYTES);
}

int TaggedToPlanar(const uint8_t *tagged, uint8_t *planar, int32_t samples) {
    return WordsToPlanar(tagged, planar, samples, RegularToPlanar(tagged, planar, samples));
}
