// Opening, configuring and closing the device: what is asked of the card, what is logged
// on the way and what each side's set-up returns when something is refused.
#include <cerrno>

#include <gmock/gmock.h>

#include "AlsaFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class AlsaSetup : public AlsaTest {};

// The lines of a side up to the granted sizes.
Texts SideTexts(const std::string &side) {
    const std::string head = "I \t<" + side + "> ";
    return {head + "hardware period_time: 2000 us",
            head + "hardware buffer_time: 12000",
            head + "period_size: 32, buffer_size:192",
            head + "Number of channels: 24",
            head + "Number of frames in 1 period: 32",
            head + "Period time: 2000",
            head + "Sample rate: 16000 Hz",
            head + "Buffer Size: 192",
            head + "Buffer time max: 12000",
            head + "Buffer time min: 12000 us",
            head + "ChunkBytes:3072",
            head + "BitsPerFrame:768"};
}

const Texts CAPTURE_OPENED = {"I AlsaSound Init Dev:hw:0,0", "I HW Params of device \"hw:0,0\":"};

Texts operator+(Texts texts, const Texts &more) {
    texts.insert(texts.end(), more.begin(), more.end());
    return texts;
}

TEST_F(AlsaSetup, OfTheServiceIsGrantedAsAskedAndLoggedStepByStep) {
    UseCard();
    EXPECT_EQ(Make().Init(6, 6), 0);
    EXPECT_THAT(log.Texts(),
                ElementsAreArray(CAPTURE_OPENED + SideTexts("capture") +
                                 Texts{"I \t<capture> hwparams(10, 24, 16000)",
                                       "I card:hw:0,0, AlsaSound Init <<capture>> Success",
                                       "I HW Params of device \"hw:0,0\":"} +
                                 SideTexts("play") + Texts{"I card:hw:0,0, AlsaSound Init <<playback>> Success"}));
}

TEST_F(AlsaSetup, TakesThePeriodsPerSide) {
    UseCard();
    EXPECT_EQ(Make().Init(4, 10), 0);
    EXPECT_THAT(log.Texts(), Contains("I \t<capture> period_size: 32, buffer_size:128"));
    EXPECT_THAT(log.Texts(), Contains("I \t<play> period_size: 32, buffer_size:320"));
}

TEST_F(AlsaSetup, LogsTheRateThatTheCardGrants) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 8000).Init(6, 6), 0);
    EXPECT_THAT(log.Texts(), Contains("I \t<capture> hwparams(10, 24, 16000)"));
    EXPECT_THAT(log.Texts(), Contains("I \t<play> Sample rate: 16000 Hz"));
}

TEST_F(AlsaSetup, ComputesTheBufferTimeFromTheRequestedPeriodTime) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 16000, 24, 1000).Init(12, 6), 0);
    EXPECT_THAT(log.Texts(), Contains("I \t<capture> hardware period_time: 2000 us"));
    EXPECT_THAT(log.Texts(), Contains("I \t<capture> hardware buffer_time: 12000"));
    EXPECT_THAT(log.Texts(), Contains("I \t<play> hardware buffer_time: 6000"));
}

TEST_F(AlsaSetup, PeriodTimeTimesPeriodsMayExceedAnInt) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 16000, 24, 2000000000).Init(6, 6), 0);
    EXPECT_THAT(log.Texts(), Contains("I \t<capture> period_size: 32, buffer_size:2048"));
}

TEST_F(AlsaSetup, OfAMissingCardReturnsTheErrorOfTheOpening) {
    config.presence = CardPresence::Missing;
    UseCard();
    EXPECT_EQ(Make().Init(6, 6), -ENODEV);
    EXPECT_THAT(log.Texts(),
                ElementsAre("I AlsaSound Init Dev:hw:0,0", "I Couldn't open 'hw:0,0' device: No such device"));
}

TEST_F(AlsaSetup, OfAnotherCardFails) {
    UseCard();
    EXPECT_EQ(Make("hw:1,0").Init(6, 6), -ENODEV);
    EXPECT_THAT(log.Texts(), Contains("I Couldn't open 'hw:1,0' device: No such device"));
}

TEST_F(AlsaSetup, OfATakenPlaybackSideLeavesCaptureOpenUntilCleanUp) {
    UseCard();
    CardControl other;
    ASSERT_TRUE(other.Open(config.ControlPath()));
    ASSERT_TRUE(other.Claim(CardSide::Playback));
    EXPECT_EQ(Make().Init(6, 6), -EBUSY);
    EXPECT_EQ(log.Texts().back(), "I Couldn't open 'hw:0,0' device: Device or resource busy");
    EXPECT_TRUE(card.Status().Side(CardSide::Capture).open);
    sound->CleanUp();
    EXPECT_FALSE(card.Status().Side(CardSide::Capture).open);
}

TEST_F(AlsaSetup, OfCaptureReturnsTheErrorOfAlsa) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 16000, 24, 2000, SND_PCM_FORMAT_S16_LE).Init(6, 6), -EINVAL);
    EXPECT_THAT(log.Texts(), ElementsAreArray(CAPTURE_OPENED +
                                              Texts{"I Sample format non available", "I _SetCaptureParams ERROR!"}));
    log.Clear();
    sound->CleanUp();
    EXPECT_EQ(Make("hw:0,0", 16000, 2).Init(6, 6), -EINVAL);
    EXPECT_THAT(log.Texts(), Contains("I Channels count non available"));
}

// Captures from a device that accepts everything, so that only playback refuses.
constexpr const char *HALF_CARD = R"(
pcm.half {
    type asym
    capture.pcm "null"
    playback.pcm "hw:0,0"
}
)";

TEST_F(AlsaSetup, OfPlaybackReturnsMinusOneForTheSameRefusal) {
    UseCard(HALF_CARD);
    EXPECT_EQ(Make("half", 16000, 2).Init(6, 6), -1);
    const Texts texts = log.Texts();
    ASSERT_GE(texts.size(), 3u);
    EXPECT_EQ(texts[texts.size() - 2], "I Channels count non available");
    EXPECT_EQ(texts.back(), "I _SetPlayParams ERROR!");
}

TEST_F(AlsaSetup, RefusesAPeriodTimeOfZeroAfterTheRateIsSet) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 8000, 24, 0).Init(6, 6), -1);
    EXPECT_THAT(log.Texts(), ElementsAreArray(CAPTURE_OPENED +
                                              Texts{"I Capture m_periodTime=0 error!", "I _SetCaptureParams ERROR!"}));
}

TEST_F(AlsaSetup, RefusesANegativePeriodTime) {
    UseCard();
    EXPECT_EQ(Make("hw:0,0", 16000, 24, -5).Init(6, 6), -1);
    EXPECT_THAT(log.Texts(), Contains("I Capture m_periodTime=-5 error!"));
}

TEST_F(AlsaSetup, RefusesACapturePeriodAsLargeAsTheBuffer) {
    config.minPeriods = 1;
    UseCard();
    EXPECT_EQ(Make().Init(1, 6), -1);
    EXPECT_THAT(log.Texts(),
                ElementsAreArray(CAPTURE_OPENED + Texts{"I \t<capture> hardware period_time: 2000 us",
                                                        "I \t<capture> hardware buffer_time: 2000",
                                                        "I Can't use period equal to buffer size (32 == 32)",
                                                        "I _SetCaptureParams ERROR!"}));
    log.Clear();
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), -1);
    EXPECT_THAT(log.Texts(), ElementsAre("E ERROR!m_periodBuf is NULL"));
}

TEST_F(AlsaSetup, RefusesAPlaybackPeriodAsLargeAsTheBuffer) {
    config.minPeriods = 1;
    UseCard();
    EXPECT_EQ(Make().Init(6, 1), -1);
    const Texts texts = log.Texts();
    ASSERT_GE(texts.size(), 2u);
    EXPECT_EQ(texts[texts.size() - 2], "I Can't use period equal to buffer size (32 == 32)");
    EXPECT_EQ(texts.back(), "I _SetPlayParams ERROR!");
    EXPECT_THAT(texts, Not(Contains(StartsWith("I \t<play> period_size"))));
}

TEST_F(AlsaSetup, CleanUpClosesBothSidesAndFreesTheBuffers) {
    Open();
    card.StartClock();
    EXPECT_EQ(sound->CleanUp(), 0);
    EXPECT_THAT(log.Texts(), ElementsAre("D card:hw:0,0,AlsaSound::Run exit"));
    EXPECT_FALSE(card.Status().Side(CardSide::Capture).open);
    EXPECT_FALSE(card.Status().Side(CardSide::Playback).open);
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), -1);
    EXPECT_EQ(sound->SoundWrite(bytes, PERIOD_BYTES), -1);
}

TEST_F(AlsaSetup, CleanUpWithoutInitOnlyLogs) {
    EXPECT_EQ(Make().CleanUp(), 0);
    EXPECT_THAT(log.Texts(), ElementsAre("D card:hw:0,0,AlsaSound::Run exit"));
}

TEST_F(AlsaSetup, CleanUpTwiceClosesOnce) {
    Open();
    EXPECT_EQ(sound->CleanUp(), 0);
    EXPECT_EQ(sound->CleanUp(), 0);
    EXPECT_EQ(log.Texts().size(), 2u);
}

TEST_F(AlsaSetup, CleanUpPlaysWhatIsBufferedBeforeItCloses) {
    config.playbackRaw = "played.raw";
    Open();
    StartPlayback();
    card.StartClock();
    sound->CleanUp();
    EXPECT_EQ(ReadWholeFile("played.raw").size(), 6u * PERIOD_BYTES);
}

TEST_F(AlsaSetup, CanBeOpenedAgainAfterCleanUp) {
    Open();
    sound->CleanUp();
    EXPECT_EQ(sound->Init(6, 6), 0);
    StartCapture();
}

TEST_F(AlsaSetup, WithoutCleanUpMeetsItsOwnOpenDevice) {
    Open();
    StartCapture();
    EXPECT_EQ(sound->Init(6, 6), -EBUSY);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
}

TEST_F(AlsaSetup, WithoutCleanUpReplacesADeviceThatCanBeSharedAndLeaksNothing) {
    UseCard();
    EXPECT_EQ(Make("null").Init(6, 6), 0);
    EXPECT_EQ(sound->Init(6, 6), 0);
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), PERIOD_BYTES);
}

TEST_F(AlsaSetup, DeviceInfoLogsWhatTheDeviceHas) {
    UseCard();
    snd_pcm_t *pcm = nullptr;
    ASSERT_EQ(snd_pcm_open(&pcm, "hw:0,0", SND_PCM_STREAM_CAPTURE, 0), 0);
    ASSERT_EQ(snd_pcm_set_params(pcm, SND_PCM_FORMAT_S32_LE, SND_PCM_ACCESS_RW_INTERLEAVED, 24, 16000, 0, 12000), 0);
    snd_pcm_hw_params_t *params;
    snd_pcm_hw_params_alloca(&params);
    ASSERT_EQ(snd_pcm_hw_params_current(pcm, params), 0);
    get_alsa_hw_info(pcm, params, "hw:0,0", 1);
    EXPECT_THAT(log.Texts(), ElementsAre("I END card:hw:0,0 capture-->PCM properties:", "I \tPCM name: hw:0,0",
                                         "I \tPCM state: PREPARED", "I \tNumber of channels: 24",
                                         "I \tNumber of frames in 1 period: 32", "I \tPeriod time: 2000",
                                         "I \tSample rate: 16000 Hz", "I \tBuffer Size: 192"));
    log.Clear();
    get_alsa_hw_info(pcm, params, "hw:0,0", 0);
    EXPECT_EQ(log.Texts().front(), "I END card:hw:0,0 play-->PCM properties:");
    snd_pcm_close(pcm);
}

} // namespace
