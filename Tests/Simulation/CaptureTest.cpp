// The capture side: its signal, its order, and overruns as a real card has them.
#include <cerrno>
#include <set>

#include "CardFixture.h"

class Capture : public CardTest {};

TEST_F(Capture, DeliversTheSignalInOrder) {
    UseManualClock();
    const auto pcm = StartCapture();
    for (uint64_t number = 0; number < 300; number++) {
        ASSERT_TRUE(card.Advance(1));
        Period period;
        ASSERT_EQ(pcm->Read(period), 32);
        ASSERT_EQ(period, SignalPeriod(number)) << number;
    }
    const CardSideStatus status = card.Status().Side(CardSide::Capture);
    EXPECT_EQ(status.periods, 300u);
    EXPECT_EQ(status.position, 300u * 32);
    EXPECT_EQ(status.xruns, 0u);
    EXPECT_EQ(status.starts, 1u);
}

TEST_F(Capture, NothingIsDeliveredAheadOfTheClock) {
    UseManualClock();
    const auto pcm = StartCapture();
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 0);
    card.Advance(3);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 96);
    Period period;
    EXPECT_EQ(pcm->Read(period), 32);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 64);
}

TEST_F(Capture, ReadsInPiecesKeepTheOrder) {
    UseManualClock();
    const auto pcm = StartCapture();
    card.Advance(2);
    Period first, second;
    EXPECT_EQ(pcm->Read(first, 8), 8);
    EXPECT_EQ(snd_pcm_readi(pcm->handle, first.data() + 8 * CARD_CHANNELS, 24), 24);
    EXPECT_EQ(pcm->Read(second), 32);
    EXPECT_EQ(first, SignalPeriod(0));
    EXPECT_EQ(second, SignalPeriod(1));
    EXPECT_EQ(card.TapCount(CardSide::Capture), 2u);
}

TEST_F(Capture, OverrunsOnceTheBufferIsFullOfUnreadFrames) {
    UseManualClock();
    const auto pcm = StartCapture();
    card.Advance(5);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 160);
    card.Advance(1);
    Period period;
    EXPECT_EQ(pcm->Read(period), -EPIPE);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_XRUN);
    EXPECT_EQ(pcm->Read(period), -EPIPE);
    EXPECT_EQ(card.Status().Side(CardSide::Capture).xruns, 1u);
    EXPECT_FALSE(card.Status().Side(CardSide::Capture).running);
}

TEST_F(Capture, AStallOfWholeBuffersIsAnOverrunToo) {
    UseManualClock();
    const auto pcm = StartCapture();
    card.Advance(6 * 50);
    Period period;
    EXPECT_EQ(pcm->Read(period), -EPIPE);
}

TEST_F(Capture, PrepareStartsOverAndTheLostFramesAreMissing) {
    UseManualClock();
    const auto pcm = StartCapture();
    Period period;
    card.Advance(1);
    ASSERT_EQ(pcm->Read(period), 32);
    card.Advance(10);
    ASSERT_EQ(pcm->Read(period), -EPIPE);
    ASSERT_EQ(snd_pcm_prepare(pcm->handle), 0);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_PREPARED);
    card.Advance(2);
    ASSERT_EQ(snd_pcm_start(pcm->handle), 0);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 0);
    card.Advance(1);
    ASSERT_EQ(pcm->Read(period), 32);
    EXPECT_EQ(period, SignalPeriod(13));
    EXPECT_EQ(card.Status().Side(CardSide::Capture).starts, 2u);
}

TEST_F(Capture, AReadStartsThePreparedStream) {
    bufferTime = 128000;
    Use();
    const auto pcm = OpenCapture();
    Period period;
    EXPECT_EQ(pcm->Read(period), 32);
    EXPECT_EQ(period, SignalPeriod(0));
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
}

TEST_F(Capture, AStopThresholdBeyondTheBufferKeepsItRunning) {
    UseManualClock();
    const auto pcm = OpenCapture();
    snd_pcm_sw_params_t *params;
    snd_pcm_sw_params_alloca(&params);
    snd_pcm_sw_params_current(pcm->handle, params);
    snd_pcm_uframes_t boundary = 0;
    snd_pcm_sw_params_get_boundary(params, &boundary);
    snd_pcm_sw_params_set_stop_threshold(pcm->handle, params, boundary);
    ASSERT_EQ(snd_pcm_sw_params(pcm->handle, params), 0);
    ASSERT_EQ(snd_pcm_start(pcm->handle), 0);
    card.Advance(20);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 640);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
}

TEST(Signal, NoTwoChannelsAgree) {
    for (uint64_t number : {uint64_t{0}, uint64_t{1}, uint64_t{777}, uint64_t{2048}, uint64_t{123456789}}) {
        std::array<int16_t, CARD_PERIOD_WORDS> planar;
        zr_card_planar(number * CARD_PERIOD_FRAMES, planar.data());
        std::set<std::vector<int16_t>> channels;
        for (uint32_t channel = 0; channel < CARD_CHANNELS; channel++)
            channels.emplace(planar.begin() + channel * 32, planar.begin() + (channel + 1) * 32);
        EXPECT_EQ(channels.size(), 24u) << number;
    }
}

TEST(Signal, AnyPeriodTellsItsPlace) {
    for (const uint64_t frame :
         {uint64_t{0}, uint64_t{32}, uint64_t{65536 - 32}, uint64_t{65536}, uint64_t{0x12345660}}) {
        Period period;
        zr_card_period(frame, period.data());
        EXPECT_EQ(zr_card_frame_of_period(period.data()), frame);
        std::array<int16_t, CARD_PERIOD_WORDS> planar;
        zr_card_planar(frame, planar.data());
        EXPECT_EQ(zr_card_frame_of_planar(planar.data()), frame);
        for (uint32_t i = 0; i < CARD_PERIOD_WORDS; i++) {
            const uint32_t channel = i % CARD_CHANNELS;
            ASSERT_EQ(period[i] >> 16, channel + 1);
            ASSERT_EQ(static_cast<int16_t>(period[i] & 0xFFFF), planar[channel * 32 + i / CARD_CHANNELS]);
        }
    }
}

TEST(Signal, UsesTheFullRangeAndBothSigns) {
    for (uint32_t channel = 1; channel <= 22; channel++) {
        int lowest = 0, highest = 0;
        for (uint64_t frame = 0; frame < 65536; frame++) {
            lowest = std::min<int>(lowest, zr_card_sample(channel, frame));
            highest = std::max<int>(highest, zr_card_sample(channel, frame));
        }
        EXPECT_EQ(lowest, -32768) << channel;
        EXPECT_EQ(highest, 32767) << channel;
    }
}
