// The record of the last periods: order, content and times, read while the card runs.
#include <atomic>
#include <future>

#include "CardFixture.h"
#include "Simulation/CardClock.h"

class Tap : public CardTest {};

TEST_F(Tap, TimesOfCapturedPeriods) {
    bufferTime = 128000;
    Use();
    const auto pcm = OpenCapture();
    Period period;
    for (int i = 0; i < 20; i++)
        ASSERT_EQ(pcm->Read(period), 32);
    const std::vector<TapPeriod> tap = WholeTap(card, CardSide::Capture);
    ASSERT_EQ(tap.size(), 20u);
    const uint64_t start = card.Status().Side(CardSide::Capture).startNs;
    for (uint64_t i = 0; i < tap.size(); i++) {
        EXPECT_EQ(tap[i].sequence, i);
        EXPECT_NEAR(static_cast<double>(tap[i].cardNs - start), static_cast<double>((i + 1) * CARD_PERIOD_NS), 1.0);
        EXPECT_GE(tap[i].serviceNs, tap[i].cardNs);
    }
    EXPECT_EQ(card.Status().Side(CardSide::Capture).lastNs, tap.back().serviceNs);
}

TEST_F(Tap, TimesOfPlayedPeriods) {
    bufferTime = 128000;
    Use();
    const auto pcm = StartPlayback();
    for (uint64_t number = 64; number < 80; number++)
        ASSERT_EQ(pcm->Write(SignalPeriod(number)), 32);
    const std::vector<TapPeriod> tap = WholeTap(card, CardSide::Playback);
    ASSERT_EQ(tap.size(), 80u);
    const uint64_t start = card.Status().Side(CardSide::Playback).startNs;
    for (uint64_t i = 0; i < tap.size(); i++) {
        EXPECT_NEAR(static_cast<double>(tap[i].cardNs - start), static_cast<double>((i + 1) * CARD_PERIOD_NS), 1.0);
        EXPECT_LT(tap[i].serviceNs, tap[i].cardNs);
    }
}

TEST_F(Tap, AClockThatStandsGivesNoTime) {
    UseManualClock();
    const auto pcm = StartPlayback();
    EXPECT_EQ(WholeTap(card, CardSide::Playback)[0].cardNs, 0u);
}

TEST_F(Tap, KeepsTheLastPeriodsAndSaysWhichAreLost) {
    UseManualClock();
    const auto pcm = StartCapture();
    const uint64_t total = CARD_TAP_PERIODS + 10;
    Period read;
    for (uint64_t number = 0; number < total; number++) {
        card.Advance(1);
        ASSERT_EQ(pcm->Read(read), 32);
    }
    TapPeriod period;
    EXPECT_EQ(card.ReadTap(CardSide::Capture, 9, period), TapResult::Lost);
    EXPECT_EQ(card.ReadTap(CardSide::Capture, 10, period), TapResult::Ready);
    EXPECT_EQ(period.words, SignalPeriod(10));
    EXPECT_EQ(card.ReadTap(CardSide::Capture, total - 1, period), TapResult::Ready);
    EXPECT_EQ(period.words, SignalPeriod(total - 1));
    EXPECT_EQ(card.ReadTap(CardSide::Capture, total, period), TapResult::NotYet);
}

TEST_F(Tap, CountsOnOverXrunsAndReopening) {
    UseManualClock();
    auto pcm = StartCapture();
    Period period;
    card.Advance(1);
    ASSERT_EQ(pcm->Read(period), 32);
    pcm->Close();
    pcm = StartCapture();
    card.Advance(1);
    ASSERT_EQ(pcm->Read(period), 32);
    const std::vector<TapPeriod> tap = WholeTap(card, CardSide::Capture);
    ASSERT_EQ(tap.size(), 2u);
    EXPECT_EQ(tap[1].words, SignalPeriod(1));
}

// A reader follows a card that runs far faster than real time; whatever it gets is whole.
TEST_F(Tap, CanBeFollowedLive) {
    config.speed = 200;
    Use();
    const auto pcm = OpenCapture();
    CardControl watcher;
    ASSERT_TRUE(watcher.Open(config.ControlPath()));
    std::atomic<bool> ended = false;
    auto follower = std::async(std::launch::async, [&] {
        uint64_t whole = 0, torn = 0;
        TapPeriod period;
        for (uint64_t next = 0; !ended || watcher.TapCount(CardSide::Capture) > next;) {
            const TapResult result = watcher.ReadTap(CardSide::Capture, next, period);
            const bool ready = result == TapResult::Ready;
            if (ready)
                (period.words == SignalPeriod(zr_card_frame_of_period(period.words.data()) / 32) ? whole : torn)++;
            if (result != TapResult::NotYet)
                next++;
        }
        EXPECT_EQ(torn, 0u);
        return whole;
    });
    Period period;
    uint64_t read = 0;
    for (int i = 0; i < 3000; i++)
        if (pcm->Read(period) == 32)
            read++;
        else
            snd_pcm_prepare(pcm->handle);
    ended = true;
    EXPECT_GT(follower.get(), 0u);
    EXPECT_EQ(card.TapCount(CardSide::Capture), read);
}
