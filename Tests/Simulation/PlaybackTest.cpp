// The playback side: start, order, underruns as a real card has them, draining.
#include <cerrno>

#include "CardFixture.h"

class Playback : public CardTest {};

TEST_F(Playback, StartsOnlyOnceTheBufferIsFull) {
    UseManualClock();
    const auto pcm = OpenPlayback();
    for (uint64_t number = 0; number < 5; number++)
        ASSERT_EQ(pcm->Write(SignalPeriod(number)), 32);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_PREPARED);
    EXPECT_EQ(card.TapCount(CardSide::Playback), 0u);
    ASSERT_EQ(pcm->Write(SignalPeriod(5)), 32);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
    EXPECT_EQ(card.TapCount(CardSide::Playback), 6u);
    EXPECT_TRUE(card.Status().Side(CardSide::Playback).running);
}

TEST_F(Playback, PlaysInOrder) {
    UseManualClock();
    const auto pcm = StartPlayback();
    for (uint64_t number = 6; number < 300; number++) {
        ASSERT_TRUE(card.Advance(1));
        ASSERT_EQ(pcm->Write(SignalPeriod(number)), 32);
    }
    const std::vector<TapPeriod> tap = WholeTap(card, CardSide::Playback);
    ASSERT_EQ(tap.size(), 300u);
    for (uint64_t number = 0; number < 300; number++)
        ASSERT_EQ(tap[number].words, SignalPeriod(number)) << number;
    EXPECT_EQ(card.Status().Side(CardSide::Playback).position, 294u * 32);
}

TEST_F(Playback, WritesInPiecesMakeWholePeriods) {
    UseManualClock();
    const auto pcm = StartPlayback();
    card.Advance(2);
    const Period period = SignalPeriod(6);
    ASSERT_EQ(pcm->Write(period, 16), 16);
    EXPECT_EQ(card.TapCount(CardSide::Playback), 6u);
    ASSERT_EQ(snd_pcm_writei(pcm->handle, period.data() + 16 * CARD_CHANNELS, 16), 16);
    ASSERT_EQ(card.TapCount(CardSide::Playback), 7u);
    EXPECT_EQ(WholeTap(card, CardSide::Playback)[6].words, period);
}

TEST_F(Playback, UnderrunsWhenItRunsDry) {
    UseManualClock();
    const auto pcm = StartPlayback();
    card.Advance(5);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 160);
    card.Advance(1);
    EXPECT_EQ(pcm->Write(SignalPeriod(6)), -EPIPE);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_XRUN);
    const CardSideStatus status = card.Status().Side(CardSide::Playback);
    EXPECT_EQ(status.xruns, 1u);
    EXPECT_EQ(status.discarded, 0u);
    EXPECT_EQ(status.periods, 6u);
}

TEST_F(Playback, AfterPrepareItStartsAgainOnceFull) {
    UseManualClock();
    const auto pcm = StartPlayback();
    card.Advance(60);
    ASSERT_EQ(pcm->Write(SignalPeriod(6)), -EPIPE);
    ASSERT_EQ(snd_pcm_prepare(pcm->handle), 0);
    for (uint64_t number = 6; number < 12; number++) {
        ASSERT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_PREPARED);
        ASSERT_EQ(pcm->Write(SignalPeriod(number)), 32);
    }
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
    EXPECT_EQ(WholeTap(card, CardSide::Playback)[11].words, SignalPeriod(11));
}

TEST_F(Playback, AStopThresholdBeyondTheBufferKeepsItRunningDry) {
    UseManualClock();
    const auto pcm = OpenPlayback();
    snd_pcm_sw_params_t *params;
    snd_pcm_sw_params_alloca(&params);
    snd_pcm_sw_params_current(pcm->handle, params);
    snd_pcm_uframes_t boundary = 0;
    snd_pcm_sw_params_get_boundary(params, &boundary);
    snd_pcm_sw_params_set_stop_threshold(pcm->handle, params, boundary);
    ASSERT_EQ(snd_pcm_sw_params(pcm->handle, params), 0);
    for (uint64_t number = 0; number < 6; number++)
        ASSERT_EQ(pcm->Write(SignalPeriod(number)), 32);
    card.Advance(20);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 640);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
}

TEST_F(Playback, DrainPlaysEverything) {
    config.speed = 20;
    config.playbackRaw = "played.raw";
    Use();
    const auto pcm = StartPlayback();
    EXPECT_EQ(snd_pcm_drain(pcm->handle), 0);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_SETUP);
    pcm->Close();
    EXPECT_EQ(ReadWholeFile("played.raw").size(), 6u * CARD_PERIOD_BYTES);
    EXPECT_EQ(card.Status().Side(CardSide::Playback).discarded, 0u);
}

TEST_F(Playback, DrainStartsWhatNeverStarted) {
    config.speed = 20;
    Use();
    const auto pcm = OpenPlayback();
    ASSERT_EQ(pcm->Write(SignalPeriod(0)), 32);
    EXPECT_EQ(snd_pcm_drain(pcm->handle), 0);
    ASSERT_EQ(card.TapCount(CardSide::Playback), 1u);
    EXPECT_NE(WholeTap(card, CardSide::Playback)[0].cardNs, CARD_DISCARDED);
}

TEST_F(Playback, DrainGivesUpWhenTheClockStands) {
    UseManualClock();
    card.SetIoTimeout(50);
    const auto pcm = StartPlayback();
    EXPECT_EQ(snd_pcm_drain(pcm->handle), -EIO);
}

TEST_F(Playback, WhatIsDroppedIsMarked) {
    config.playbackRaw = "played.raw";
    UseManualClock();
    const auto pcm = StartPlayback();
    card.Advance(2);
    ASSERT_EQ(snd_pcm_drop(pcm->handle), 0);
    const std::vector<TapPeriod> tap = WholeTap(card, CardSide::Playback);
    for (uint64_t number = 0; number < 6; number++)
        EXPECT_EQ(tap[number].cardNs == CARD_DISCARDED, number >= 2) << number;
    EXPECT_EQ(card.Status().Side(CardSide::Playback).discarded, 4u);
    EXPECT_EQ(ReadWholeFile("played.raw").size(), 2u * CARD_PERIOD_BYTES);
}
