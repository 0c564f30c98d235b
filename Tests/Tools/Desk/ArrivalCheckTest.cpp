// What is counted of the periods that arrive, with the built-in signal.
#include <memory>

#include <gtest/gtest.h>

#include "Desk/ArrivalCheck.h"

namespace {

constexpr uint64_t BEGIN = 320;
constexpr uint64_t END = 640;

class ArrivalCheckTest : public testing::Test {
  protected:
    ArrivalCheckTest() { m_result->window.Open(BEGIN, END); }

    std::optional<uint64_t> Take(uint64_t frame) { return m_check.Take(m_signal.Block(frame)); }
    void TakeAll(uint64_t first, uint64_t last) {
        for (uint64_t frame = first; frame < last; frame += DESK_BLOCK_FRAMES)
            Take(frame);
    }

    DeskSignal m_signal;
    std::unique_ptr<DeskDirection> m_result = std::make_unique<DeskDirection>();
    ArrivalCheck m_check{m_signal, *m_result};
};

} // namespace

TEST_F(ArrivalCheckTest, CountsExactlyTheWindow) {
    TakeAll(0, END + 320);
    EXPECT_EQ(m_result->arrived, 10u);
    EXPECT_EQ(m_result->next, END);
    EXPECT_EQ(m_result->wrongSamples, 0u);
    EXPECT_EQ(m_result->outOfOrder + m_result->repeated, 0u);
}

TEST_F(ArrivalCheckTest, CountsNothingWhileTheWindowIsClosed) {
    m_result->window.Open(0, 0);
    TakeAll(0, END);
    EXPECT_EQ(m_result->arrived, 0u);
}

TEST_F(ArrivalCheckTest, ReturnsTheFrameOfANewPeriodOfTheWindowOnly) {
    EXPECT_EQ(Take(BEGIN - 32), std::nullopt);
    EXPECT_EQ(Take(BEGIN), BEGIN);
    EXPECT_EQ(Take(BEGIN), std::nullopt);
    EXPECT_EQ(Take(END), std::nullopt);
}

TEST_F(ArrivalCheckTest, LeavesMissingPeriodsOut) {
    TakeAll(0, 384);
    TakeAll(448, END);
    EXPECT_EQ(m_result->arrived, 8u);
    EXPECT_EQ(m_result->next, END);
    EXPECT_EQ(m_result->wrongSamples, 0u);
}

TEST_F(ArrivalCheckTest, CountsSwappedAndRepeatedPeriods) {
    Take(320);
    Take(384);
    Take(352);
    Take(416);
    Take(416);
    EXPECT_EQ(m_result->arrived, 4u);
    EXPECT_EQ(m_result->outOfOrder, 1u);
    EXPECT_EQ(m_result->repeated, 1u);
}

TEST_F(ArrivalCheckTest, CountsEveryWrongSample) {
    Take(320);
    zrpeer::AudioBlock block = m_signal.Block(352);
    block[0][31] ^= 1;
    block[9][0] ^= 1;
    block[22][5] ^= 1;
    m_check.Take(block, 3);
    EXPECT_EQ(m_result->wrongSamples, 6u);
    EXPECT_EQ(m_result->arrived, 2u);
}

TEST_F(ArrivalCheckTest, SeesAnySwapOfChannels) {
    Take(320);
    for (std::size_t one = 0; one < 24; ++one)
        for (std::size_t other = one + 1; other < 24; ++other) {
            zrpeer::AudioBlock block = m_signal.Block(352);
            std::swap(block[one], block[other]);
            const uint64_t before = m_result->wrongSamples;
            m_check.Take(block);
            EXPECT_GT(m_result->wrongSamples, before) << one + 1 << " and " << other + 1;
        }
}

TEST_F(ArrivalCheckTest, TakesASenselessNumberForTheOneThatWasDue) {
    Take(320);
    zrpeer::AudioBlock block = m_signal.Block(352);
    block[23][0] = 7; // the number of its first frame
    EXPECT_EQ(m_check.Take(block), 352u);
    EXPECT_EQ(m_result->wrongSamples, 1u);
    EXPECT_EQ(Take(384), 384u);
    EXPECT_EQ(m_result->arrived, 3u);
}

TEST_F(ArrivalCheckTest, CountsOnWhenTheNumberOf32BitsComesRound) {
    constexpr uint64_t ROUND = uint64_t{1} << 32;
    m_result->window.Open(ROUND - 64, ROUND + 64);
    for (uint64_t frame = ROUND - 128; frame < ROUND + 128; frame += 32)
        Take(frame);
    EXPECT_EQ(m_result->arrived, 4u);
    EXPECT_EQ(m_result->next, ROUND + 64);
    EXPECT_EQ(m_result->wrongSamples, 0u);
}
