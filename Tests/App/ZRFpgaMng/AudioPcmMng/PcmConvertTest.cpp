// The conversions against the plain definition of their results, for regular and for
// arbitrary input.
#include <array>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "ZRFpgaMng/AudioPcmMng/PcmConvert.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr int CHANNELS = 24;
constexpr uint8_t CANARY = 0xA5;

// Any number of samples per channel and period, also where it is no multiple of a tile.
constexpr std::array<int, 12> SIZES = {0, 1, 2, 7, 8, 9, 15, 16, 31, 32, 33, 64};

uint32_t WordAt(const Bytes &bytes, size_t index) {
    uint32_t word;
    std::memcpy(&word, bytes.data() + index * 4, 4);
    return word;
}

void SetWord(Bytes &bytes, size_t index, uint32_t word) {
    std::memcpy(bytes.data() + index * 4, &word, 4);
}

// Word by word; the samples after a bad tag are not looked at.
int ReferenceToPlanar(const Bytes &tagged, Bytes &planar, int samples) {
    std::array<int, CHANNELS> next{};
    int writePos = 0;
    for (size_t index = 0; index < static_cast<size_t>(samples * CHANNELS); ++index) {
        const uint32_t word = WordAt(tagged, index);
        const uint32_t channel = word >> 16;
        if (channel == 0 || channel > CHANNELS)
            return 0;
        writePos = static_cast<int>(channel - 1) * samples + next[channel - 1]++;
        planar[static_cast<size_t>(writePos) * 2] = static_cast<uint8_t>(word);
        planar[static_cast<size_t>(writePos) * 2 + 1] = static_cast<uint8_t>(word >> 8);
    }
    return (writePos + 1) * 2;
}

int ReferenceToTagged(const Bytes &planar, Bytes &tagged, int samples) {
    int outputIndex = 0;
    for (int i = 0; i < samples; ++i) {
        for (int ch = 0; ch < CHANNELS; ++ch) {
            const auto at = static_cast<size_t>(i + ch * samples) * 2;
            outputIndex = i * CHANNELS + ch;
            SetWord(tagged, static_cast<size_t>(outputIndex),
                    static_cast<uint32_t>(ch + 1) << 16 | static_cast<uint32_t>(planar[at + 1] << 8 | planar[at]));
        }
    }
    return (outputIndex + 1) * 4;
}

class PcmConvert : public testing::Test {
  protected:
    Bytes RandomBytes(size_t count) {
        Bytes bytes(count);
        for (uint8_t &byte : bytes)
            byte = static_cast<uint8_t>(m_random());
        return bytes;
    }

    // Frames in regular order with random samples.
    Bytes RegularPeriod(int samples) {
        Bytes tagged(static_cast<size_t>(samples) * CHANNELS * 4);
        for (size_t index = 0; index < tagged.size() / 4; ++index)
            SetWord(tagged, index, static_cast<uint32_t>(index % CHANNELS + 1) << 16 | (m_random() & 0xFFFF));
        return tagged;
    }

    size_t Below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(m_random); }

    // Compares result and whole output area, also what must stay untouched.
    void ExpectSamePlanar(const Bytes &tagged, int samples) {
        Bytes expected(static_cast<size_t>(samples) * CHANNELS * 4 + 16, CANARY);
        Bytes actual = expected;
        const int result = ReferenceToPlanar(tagged, expected, samples);
        ASSERT_EQ(TaggedToPlanar(tagged.data(), actual.data(), samples), result);
        ASSERT_EQ(actual, expected);
    }

    std::mt19937 m_random{20};
};

TEST_F(PcmConvert, RegularPeriodsGoToPlanarAndBack) {
    for (const int samples : SIZES) {
        const Bytes tagged = RegularPeriod(samples);
        ExpectSamePlanar(tagged, samples);
        Bytes planar(tagged.size() / 2 + 2), back(tagged.size() + 4);
        EXPECT_EQ(TaggedToPlanar(tagged.data(), planar.data(), samples), samples ? samples * 48 : 2);
        EXPECT_EQ(PlanarToTagged(planar.data(), back.data(), samples), samples ? samples * 96 : 4);
        back.resize(tagged.size());
        EXPECT_EQ(back, tagged);
    }
}

TEST_F(PcmConvert, AnyPayloadGetsItsTags) {
    for (const int samples : SIZES) {
        const Bytes planar = RandomBytes(static_cast<size_t>(samples) * CHANNELS * 2);
        Bytes expected(planar.size() * 2 + 16, CANARY);
        Bytes actual = expected;
        const int result = ReferenceToTagged(planar, expected, samples);
        EXPECT_EQ(PlanarToTagged(planar.data(), actual.data(), samples), result);
        EXPECT_EQ(actual, expected);
    }
}

TEST_F(PcmConvert, OneBadTagAnywhereStopsThere) {
    for (size_t index = 0; index < 32 * CHANNELS; ++index) {
        for (const uint32_t tag : {0U, 25U, 0xFFFFU}) {
            Bytes tagged = RegularPeriod(32);
            SetWord(tagged, index, tag << 16 | 0x1234);
            ExpectSamePlanar(tagged, 32);
        }
    }
}

TEST_F(PcmConvert, OneMisplacedTagAnywhereIsFollowed) {
    for (size_t index = 0; index < 32 * CHANNELS; ++index) {
        Bytes tagged = RegularPeriod(32);
        SetWord(tagged, index, static_cast<uint32_t>(Below(CHANNELS) + 1) << 16 | 0x8001);
        ExpectSamePlanar(tagged, 32);
    }
}

TEST_F(PcmConvert, TagsInAnyOrderLandInTheirChannels) {
    for (int round = 0; round < 2000; ++round) {
        const int samples = SIZES[Below(SIZES.size())];
        Bytes tagged = RegularPeriod(samples);
        const size_t words = tagged.size() / 4;
        const size_t firstRandom = words ? Below(words) : 0;
        for (size_t index = firstRandom; index < words; ++index)
            SetWord(tagged, index, static_cast<uint32_t>(Below(CHANNELS) + 1) << 16 | (m_random() & 0xFFFF));
        ExpectSamePlanar(tagged, samples);
    }
}

TEST_F(PcmConvert, RandomWordsAreTreatedAsDefined) {
    for (int round = 0; round < 500; ++round)
        ExpectSamePlanar(RandomBytes(32 * CHANNELS * 4), 32);
}

TEST_F(PcmConvert, OneTagForAllStaysInsideACardPeriod) {
    for (uint32_t channel = 1; channel <= CHANNELS; ++channel) {
        Bytes tagged = RegularPeriod(32);
        for (size_t index = 0; index < 32 * CHANNELS; ++index)
            SetWord(tagged, index, channel << 16 | static_cast<uint32_t>(index));
        ExpectSamePlanar(tagged, 32);
    }
}

TEST_F(PcmConvert, TheResultIsThePositionOfTheLastWord) {
    Bytes tagged = RegularPeriod(32), planar(3072);
    EXPECT_EQ(TaggedToPlanar(tagged.data(), planar.data(), 32), 1536);
    SetWord(tagged, 767, 1U << 16);
    EXPECT_EQ(TaggedToPlanar(tagged.data(), planar.data(), 32), 33 * 2);
    for (size_t index = 0; index < 768; ++index)
        SetWord(tagged, index, 24U << 16);
    EXPECT_EQ(TaggedToPlanar(tagged.data(), planar.data(), 32), 3008);
}

TEST_F(PcmConvert, AnyAlignmentWillDo) {
    const Bytes regular = RegularPeriod(32);
    Bytes tagged(3072 + 8), planar(3072 + 8), back(3072 + 8);
    for (size_t shift = 0; shift < 8; ++shift) {
        std::memcpy(tagged.data() + shift, regular.data(), 3072);
        EXPECT_EQ(TaggedToPlanar(tagged.data() + shift, planar.data() + shift, 32), 1536);
        EXPECT_EQ(PlanarToTagged(planar.data() + shift, back.data() + shift, 32), 3072);
        EXPECT_EQ(std::memcmp(back.data() + shift, regular.data(), 3072), 0);
    }
}

TEST_F(PcmConvert, ANegativeSampleLeavesTheTagAlone) {
    Bytes planar(1536), tagged(3072);
    planar[2 * 64] = planar[2 * 64 + 1] = 0xFF; // first sample of channel 3
    PlanarToTagged(planar.data(), tagged.data(), 32);
    EXPECT_EQ(WordAt(tagged, 2), 0x0003FFFFU);
    EXPECT_EQ(WordAt(tagged, 0), 0x00010000U);
    EXPECT_EQ(WordAt(tagged, 26), 0x00030000U);
}

} // namespace
