// The parts that count and generate, without sockets.
#include <cmath>

#include <gtest/gtest.h>

#include "PeerTool/BlockSource.h"
#include "PeerTool/CounterCheck.h"
#include "PeerTool/RateMeter.h"
#include "PeerTool/Statistics.h"
#include "Simulation/CardSignal.h"

namespace {

zrpeer::AudioBlock BlockAt(std::uint64_t firstFrame) {
    zrpeer::AudioBlock block;
    zr_card_planar(firstFrame, block.front().data());
    return block;
}

TEST(Statistics, QuantilesAreValuesOfTheRun) {
    Statistics statistics;
    EXPECT_EQ(statistics.Quantile(0.5), 0);
    EXPECT_EQ(statistics.Text(), "-");
    for (int value = 200; value >= 1; --value)
        statistics.Add(value * 1'000'000);
    EXPECT_EQ(statistics.Quantile(0), 1'000'000);
    EXPECT_EQ(statistics.Quantile(0.5), 100'000'000);
    EXPECT_EQ(statistics.Quantile(0.99), 198'000'000);
    EXPECT_EQ(statistics.Quantile(1), 200'000'000);
    EXPECT_EQ(statistics.Text(), "min 1.00 median 100.00 p99 198.00 max 200.00 ms");
}

TEST(Statistics, OneHourIsCountedToTheStep) {
    Statistics statistics;
    for (int value = 0; value < 1'800'000; ++value)
        statistics.Add(1'900'000 + value % 200'001); // 1.9 to 2.1 ms
    EXPECT_EQ(statistics.Quantile(0), 1'900'000);
    EXPECT_NEAR(static_cast<double>(statistics.Quantile(0.5)), 2'000'000, Statistics::STEP_NS);
    EXPECT_NEAR(static_cast<double>(statistics.Quantile(0.99)), 2'098'000, Statistics::STEP_NS);
    EXPECT_EQ(statistics.Quantile(1), 2'100'000);
}

TEST(Statistics, TheLargestAndTheSmallestAreExact) {
    Statistics statistics;
    for (const std::int64_t value : {-3'000'000'001LL, 1'234'567LL, 1'234'568LL, 7'000'000'001LL})
        statistics.Add(value);
    EXPECT_EQ(statistics.Quantile(0), -3'000'000'001);
    EXPECT_EQ(statistics.Quantile(0.5), 1'230'000);
    EXPECT_EQ(statistics.Quantile(1), 7'000'000'001);
    Statistics one;
    one.Add(1'234'567);
    for (const double share : {0.0, 0.5, 0.99, 1.0})
        EXPECT_EQ(one.Quantile(share), 1'234'567);
}

TEST(CounterCheck, StartsAnywhereAndFindsWhatIsMissing) {
    CounterCheck check;
    for (const int number : {1000, 1001, 1004, 1005})
        check.Add(BlockAt(static_cast<std::uint64_t>(number) * 32));
    EXPECT_EQ(check.Lost(), 2U);
    EXPECT_EQ(check.OutOfOrder(), 0U);
    EXPECT_EQ(check.WrongSamples(), 0U);
}

TEST(CounterCheck, PartOfABlockMissingCountsAsOneLost) {
    CounterCheck check;
    check.Add(BlockAt(0));
    check.Add(BlockAt(40)); // frames 32 to 39 are missing
    EXPECT_EQ(check.Lost(), 1U);
    check.Add(BlockAt(72));
    EXPECT_EQ(check.Lost(), 1U);
}

TEST(CounterCheck, RepeatedAndLateBlocksAreOutOfOrder) {
    CounterCheck check;
    for (const std::uint64_t number : {5U, 6U, 6U, 4U, 7U})
        check.Add(BlockAt(number * 32));
    EXPECT_EQ(check.Lost(), 0U);
    EXPECT_EQ(check.OutOfOrder(), 2U);
}

TEST(CounterCheck, SwappedChannelsAreWrongSamples) {
    CounterCheck check;
    zrpeer::AudioBlock block = BlockAt(0);
    std::swap(block[0], block[1]);
    check.Add(block);
    EXPECT_GT(check.WrongSamples(), 32U);
}

TEST(RateMeter, LinesCountTheirOwnTimeAndTheTotal) {
    RateMeter meter(6, false);
    const zrpeer::AudioBlock block{};
    for (const int ms : {1000, 1002, 1004, 1011})
        meter.Add(block, ms * 1'000'000LL);
    EXPECT_EQ(meter.NextLine(2, 0), "2.0 blocks/s, gaps 1, wrong messages 0, interval "
                                    "min 2.00 median 2.00 p99 7.00 max 7.00 ms");
    meter.Add(block, 1017'000'000LL);
    EXPECT_EQ(meter.NextLine(1, 3), "1.0 blocks/s, gaps 0, wrong messages 3, interval "
                                    "min 6.00 median 6.00 p99 6.00 max 6.00 ms");
    EXPECT_EQ(meter.TotalLine(5, 3), "1.0 blocks/s, gaps 1, wrong messages 3, interval "
                                     "min 2.00 median 2.00 p99 7.00 max 7.00 ms");
}

TEST(BlockSource, GivesEachChannelItsOwn) {
    BlockSource source;
    source.SetSamples(1, {1, 2, 3});
    source.SetTone(2, 1000);
    source.SetTestSignal(24);
    for (std::size_t first = 0; first < 96; first += 32) {
        const zrpeer::AudioBlock block = source.Next();
        for (std::size_t frame = 0; frame < 32; ++frame) {
            const std::size_t at = first + frame;
            EXPECT_EQ(block[0][frame], at < 3 ? static_cast<int>(at) + 1 : 0);
            EXPECT_NEAR(block[1][frame], 8192 * std::sin(2 * M_PI * static_cast<double>(at) / 16), 1);
            EXPECT_EQ(block[2][frame], 0);
            EXPECT_EQ(block[23][frame], zr_card_sample(24, at));
        }
    }
    EXPECT_TRUE(source.IsEndless());
    EXPECT_FALSE(source.IsAtEnd());
}

TEST(BlockSource, EndsWithItsLongestRecording) {
    BlockSource source;
    source.SetSamples(1, Samples(32, 1));
    source.SetSamples(2, Samples(33, 1));
    EXPECT_FALSE(source.IsEndless());
    source.Next();
    EXPECT_FALSE(source.IsAtEnd());
    EXPECT_EQ(source.Next()[1][0], 1);
    EXPECT_TRUE(source.IsAtEnd());
}

TEST(BlockSource, RepeatsEachRecordingAtItsOwnLength) {
    BlockSource source;
    source.SetRepeat(true);
    source.SetSamples(1, {10, 11, 12});
    source.SetSamples(2, {20, 21, 22, 23, 24});
    for (std::size_t first = 0; first < 64; first += 32) {
        const zrpeer::AudioBlock block = source.Next();
        for (std::size_t frame = 0; frame < 32; ++frame) {
            EXPECT_EQ(block[0][frame], 10 + static_cast<int>((first + frame) % 3));
            EXPECT_EQ(block[1][frame], 20 + static_cast<int>((first + frame) % 5));
        }
    }
    EXPECT_TRUE(source.IsEndless());
}

} // namespace
