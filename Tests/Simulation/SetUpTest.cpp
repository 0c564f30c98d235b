// What the card grants, what it refuses, and who may open it.
#include <cerrno>
#include <fstream>

#include "CardFixture.h"

class SetUp : public CardTest {};

TEST_F(SetUp, GrantsCaptureAsTheServiceAsks) {
    Use();
    Pcm pcm(SND_PCM_STREAM_CAPTURE);
    ASSERT_EQ(pcm.result, 0);
    const Granted granted = pcm.SetUp();
    EXPECT_EQ(granted.result, 0);
    EXPECT_EQ(granted.rate, 16000u);
    EXPECT_EQ(granted.periodTime, 2000u);
    EXPECT_EQ(granted.bufferTime, 12000u);
    EXPECT_EQ(granted.periodFrames, 32u);
    EXPECT_EQ(granted.bufferFrames, 192u);
    EXPECT_EQ(snd_pcm_state(pcm.handle), SND_PCM_STATE_PREPARED);
}

TEST_F(SetUp, GrantsPlaybackAsTheServiceAsks) {
    Use();
    Pcm pcm(SND_PCM_STREAM_PLAYBACK);
    ASSERT_EQ(pcm.result, 0);
    const Granted granted = pcm.SetUp();
    EXPECT_EQ(granted.result, 0);
    EXPECT_EQ(granted.periodFrames, 32u);
    EXPECT_EQ(granted.bufferFrames, 192u);
    EXPECT_EQ(snd_pcm_state(pcm.handle), SND_PCM_STATE_PREPARED);
}

namespace {

// The parameters that are open before anything is asked for.
struct AnyParams {
    explicit AnyParams(snd_pcm_t *pcm) {
        snd_pcm_hw_params_malloc(&params);
        snd_pcm_hw_params_any(pcm, params);
    }
    ~AnyParams() { snd_pcm_hw_params_free(params); }
    snd_pcm_hw_params_t *params = nullptr;
};

} // namespace

TEST_F(SetUp, RefusesEveryOtherFormat) {
    Use();
    const Pcm pcm(SND_PCM_STREAM_CAPTURE);
    const AnyParams any(pcm.handle);
    for (int format = 0; format <= SND_PCM_FORMAT_LAST; format++) {
        const bool granted = snd_pcm_hw_params_test_format(pcm.handle, any.params, snd_pcm_format_t(format)) == 0;
        EXPECT_EQ(granted, format == SND_PCM_FORMAT_S32_LE) << format;
    }
}

TEST_F(SetUp, RefusesEveryOtherAccess) {
    Use();
    const Pcm pcm(SND_PCM_STREAM_PLAYBACK);
    const AnyParams any(pcm.handle);
    for (int access = 0; access <= SND_PCM_ACCESS_LAST; access++) {
        const bool granted = snd_pcm_hw_params_test_access(pcm.handle, any.params, snd_pcm_access_t(access)) == 0;
        EXPECT_EQ(granted, access == SND_PCM_ACCESS_RW_INTERLEAVED) << access;
    }
}

TEST_F(SetUp, RefusesOtherChannelCountsAndRates) {
    Use();
    const Pcm pcm(SND_PCM_STREAM_CAPTURE);
    const AnyParams any(pcm.handle);
    EXPECT_EQ(snd_pcm_hw_params_test_channels(pcm.handle, any.params, 24), 0);
    for (const unsigned int channels : {1u, 2u, 23u, 25u, 48u})
        EXPECT_LT(snd_pcm_hw_params_test_channels(pcm.handle, any.params, channels), 0) << channels;
    EXPECT_EQ(snd_pcm_hw_params_test_rate(pcm.handle, any.params, 16000, 0), 0);
    for (const unsigned int rate : {8000u, 15999u, 16001u, 44100u, 48000u})
        EXPECT_LT(snd_pcm_hw_params_test_rate(pcm.handle, any.params, rate, 0), 0) << rate;
}

TEST_F(SetUp, GrantsBuffersOfTwoToSixtyFourWholePeriods) {
    Use();
    const Pcm pcm(SND_PCM_STREAM_PLAYBACK);
    const AnyParams any(pcm.handle);
    EXPECT_EQ(snd_pcm_hw_params_test_period_size(pcm.handle, any.params, 32, 0), 0);
    for (const snd_pcm_uframes_t frames : {16u, 31u, 33u, 64u})
        EXPECT_LT(snd_pcm_hw_params_test_period_size(pcm.handle, any.params, frames, 0), 0) << frames;
    for (const snd_pcm_uframes_t frames : {64u, 96u, 192u, 64u * 32u})
        EXPECT_EQ(snd_pcm_hw_params_test_buffer_size(pcm.handle, any.params, frames), 0) << frames;
    for (const snd_pcm_uframes_t frames : {32u, 65u, 80u, 65u * 32u})
        EXPECT_LT(snd_pcm_hw_params_test_buffer_size(pcm.handle, any.params, frames), 0) << frames;
}

TEST_F(SetUp, CanGrantOnlyAPeriodAsLargeAsTheBuffer) {
    config.minPeriods = config.maxPeriods = 1;
    Use();
    Pcm pcm(SND_PCM_STREAM_CAPTURE);
    const Granted granted = pcm.SetUp();
    EXPECT_EQ(granted.result, 0);
    EXPECT_EQ(granted.periodFrames, 32u);
    EXPECT_EQ(granted.bufferFrames, 32u);
}

TEST_F(SetUp, ThereIsNoOtherCardOrDevice) {
    Use();
    for (const snd_pcm_stream_t stream : {SND_PCM_STREAM_CAPTURE, SND_PCM_STREAM_PLAYBACK}) {
        EXPECT_EQ(Pcm(stream, "hw:1,0").result, -ENODEV);
        EXPECT_EQ(Pcm(stream, "hw:0,1").result, -ENODEV);
        EXPECT_EQ(Pcm(stream, "hw:Other,0").result, -ENODEV);
        EXPECT_EQ(Pcm(stream, "hw:0,0").result, 0);
    }
}

TEST_F(SetUp, OtherNamesStayUsable) {
    Use();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_PLAYBACK, "null").result, 0);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE, "default").result, 0);
}

TEST_F(SetUp, MissingAndBusyCardsCannotBeOpened) {
    config.presence = CardPresence::Missing;
    Use();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -ENODEV);
    card.SetPresence(CardPresence::Busy);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -EBUSY);
    card.SetPresence(CardPresence::Present);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, 0);
}

TEST_F(SetUp, EachSideCanBeOpenOnce) {
    Use();
    Pcm capture(SND_PCM_STREAM_CAPTURE);
    const Pcm playback(SND_PCM_STREAM_PLAYBACK);
    EXPECT_EQ(capture.result, 0);
    EXPECT_EQ(playback.result, 0);
    EXPECT_TRUE(card.Status().Side(CardSide::Capture).open);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -EBUSY);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_PLAYBACK).result, -EBUSY);
    capture.Close();
    EXPECT_FALSE(card.Status().Side(CardSide::Capture).open);
    EXPECT_TRUE(card.Status().Side(CardSide::Playback).open);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, 0);
}

TEST_F(SetUp, UnknownFieldsAndMissingFilesAreRefused) {
    config.captureFiles[3] = "nothing.wav";
    Use();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -ENOENT);
    EXPECT_EQ(Pcm(SND_PCM_STREAM_PLAYBACK).result, 0);
    std::ofstream("asound.conf", std::ios::app) << "pcm.hw.colour \"red\"\n";
    snd_config_update_free_global();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_PLAYBACK).result, -EINVAL);
}

TEST_F(SetUp, ControlFilesAreToldFromOthers) {
    CardControl none;
    EXPECT_FALSE(none.Open("nowhere"));
    std::ofstream("text") << "not a control file";
    EXPECT_FALSE(none.Open("text"));
    EXPECT_FALSE(none.IsOpen());
    EXPECT_FALSE(CardControl::Create("no/such/place"));
    EXPECT_TRUE(CardControl::Create("text"));
    EXPECT_TRUE(none.Open("text"));
}
