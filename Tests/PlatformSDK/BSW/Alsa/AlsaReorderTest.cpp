// Reordering of samples between interleaved frames and channel blocks.
#include <array>
#include <numeric>

#include <gtest/gtest.h>

#include "BSW/Alsa/AlsaSound.h"

namespace {

TEST(AlsaReorder, CombindTurnsFramesIntoBlocksAndSplitRestoresThem) {
    const std::array<short, 6> frames = {1, -11, 2, -12, 3, -13}; // a0 b0 a1 b1 a2 b2
    std::array<short, 6> blocks{}, restored{};
    EXPECT_EQ(AlsaSound::CombindAudioFrame(blocks.data(), frames.data(), 2, 3), 1);
    EXPECT_EQ(blocks, (std::array<short, 6>{1, 2, 3, -11, -12, -13}));
    EXPECT_EQ(AlsaSound::SplitAudioFrame(restored.data(), blocks.data(), 2, 3), 1);
    EXPECT_EQ(restored, frames);
}

TEST(AlsaReorder, SplitInterleavesThePeriodOfTheService) {
    std::array<short, 768> blocks{}, frames{}, restored{};
    std::iota(blocks.begin(), blocks.end(), static_cast<short>(-300));
    EXPECT_EQ(AlsaSound::SplitAudioFrame(frames.data(), blocks.data(), 24, 32), 1);
    for (size_t i = 0; i < 32; ++i)
        for (size_t j = 0; j < 24; ++j)
            ASSERT_EQ(frames[i * 24 + j], blocks[j * 32 + i]);
    EXPECT_EQ(AlsaSound::CombindAudioFrame(restored.data(), frames.data(), 24, 32), 1);
    EXPECT_EQ(restored, blocks);
}

TEST(AlsaReorder, ANullPointerIsRefused) {
    short sample = 7;
    EXPECT_EQ(AlsaSound::CombindAudioFrame(nullptr, &sample, 1, 1), 0);
    EXPECT_EQ(AlsaSound::CombindAudioFrame(&sample, nullptr, 1, 1), 0);
    EXPECT_EQ(AlsaSound::SplitAudioFrame(nullptr, &sample, 1, 1), 0);
    EXPECT_EQ(AlsaSound::SplitAudioFrame(&sample, nullptr, 1, 1), 0);
}

TEST(AlsaReorder, NothingMovesWithoutChannelsOrFrames) {
    short dest = 7;
    const short src = 9;
    EXPECT_EQ(AlsaSound::CombindAudioFrame(&dest, &src, 0, 5), 1);
    EXPECT_EQ(AlsaSound::SplitAudioFrame(&dest, &src, 5, 0), 1);
    EXPECT_EQ(dest, 7);
}

} // namespace
