// The rule that trims a lasting backlog of DIRECT_OUT.
#include <algorithm>

#include <gmock/gmock.h>

#include "PcmBridge.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr uint64_t BACKLOG = 20; // frames kept waiting, well below what the channel holds

class AudioPcmBacklog : public PcmBridge {
  protected:
    // A running bridge that finds BACKLOG frames waiting from its first check on.
    void StartWithBacklog() {
        UseCard();
        for (; m_given < BACKLOG; ++m_given)
            Give(m_given);
        ASSERT_EQ(AudioPcm::instance()->Init(), 1);
        ASSERT_TRUE(WaitForPlayed(6)); // one silent, five frames, and the next waits for room
        log.Clear();
    }

    // Plays `frames` more frames, at most five, and refills as many.
    bool Step(uint32_t frames) {
        for (uint32_t i = 0; i < frames; ++i)
            Give(m_given++);
        const uint64_t count = card.TapCount(CardSide::Playback);
        card.Advance(frames);
        return WaitForPlayed(count + frames);
    }

    bool WaitForChecks(uint64_t count) {
        return WaitUntil([&] { return AudioPcmProbe::FilledChecks() == count; });
    }

    uint64_t m_given = 0;
};

TEST_F(AudioPcmBacklog, DropsExactlyTheFrameOfThe3000thCheckAndCountsAnew) {
    StartWithBacklog();
    std::vector<Period> played;
    while (played.size() < 3100) {
        ASSERT_TRUE(Step(4));
        while (played.size() < card.TapCount(CardSide::Playback))
            played.push_back(Played(played.size()));
        if (played.size() < 2995) {
            ASSERT_EQ(AudioPcmProbe::Dropped(), 0u);
        }
    }
    EXPECT_EQ(AudioPcmProbe::Dropped(), 1u);
    EXPECT_THAT(log.TextsOf("AudioPcmWrite.cpp"), ElementsAre("D should drop one frame"));
    // The silent period, frames 0 to 2998 of the first 2999 checks; the 3000th drops 2999 and plays 3000.
    for (uint64_t number = 0; number < 2999; ++number)
        ASSERT_EQ(played[number + 1], SignalPeriod(number)) << number;
    for (uint64_t number = 3000; number < played.size(); ++number)
        ASSERT_EQ(played[number], SignalPeriod(number)) << number;
    ASSERT_TRUE(WaitForChecks(AudioPcmProbe::FramesTaken()));
    EXPECT_EQ(AudioPcmProbe::BacklogRun(), AudioPcmProbe::FilledChecks() - 3000);
}

TEST_F(AudioPcmBacklog, ACheckThatFindsOneFrameStartsTheRunAnew) {
    StartWithBacklog();
    ASSERT_TRUE(WaitForChecks(6));
    EXPECT_EQ(AudioPcmProbe::BacklogRun(), 6u);
    for (uint64_t left = BACKLOG - 6; left > 0; --left) { // the last check finds the last frame alone
        card.Advance(1);
        ASSERT_TRUE(WaitForChecks(BACKLOG - left + 1));
        ASSERT_EQ(AudioPcmProbe::BacklogRun(), left == 1 ? 0 : BACKLOG - left + 1);
    }
    Give(m_given++);
    Give(m_given++);
    card.Advance(1);
    ASSERT_TRUE(WaitForChecks(BACKLOG + 1));
    EXPECT_EQ(AudioPcmProbe::BacklogRun(), 1u);
}

TEST_F(AudioPcmBacklog, ACheckThatFindsNoFrameLeavesTheRunAlone) {
    StartWithBacklog();
    ASSERT_TRUE(WaitForChecks(6));
    void *reader = CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::RD_ONLY);
    ASSERT_EQ(CZRBuffer::BufferDrop(reader, BACKLOG - 6), 0);
    ASSERT_EQ(Waiting(), 0);
    EXPECT_EQ(AudioPcmProbe::EmptyChecks(), 0u);
    card.Advance(1);
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::EmptyChecks() >= 3; }));
    EXPECT_EQ(AudioPcmProbe::BacklogRun(), 6u);
    EXPECT_EQ(AudioPcmProbe::Dropped(), 0u);
}

} // namespace
