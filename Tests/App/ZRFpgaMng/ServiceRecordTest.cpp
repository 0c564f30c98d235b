// Recordings of the running service.
#include <ctime>
#include <filesystem>

#include <gmock/gmock.h>

#include "RecordingDirectory.h"
#include "ServiceDebugFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr uint64_t FRAMES = CARD_PERIOD_FRAMES;

class ServiceRecord : public ServiceDebug {
  protected:
    static auto Opened(const std::string &stream) {
        return MatchesRegex("I fopen /firmware/audio/Pcm" + stream +
                            "_24chn_[0-9]{6,8}_[0-9]{6}\\.pcm success ,file:0x[0-9a-f]+");
    }
    static auto Closed(const std::string &stream) {
        return MatchesRegex("I fclose Pcm" + stream + "\\.pcm 0x[0-9a-f]+ success");
    }

    // Captures `count` periods more; each reaches the peer.
    void Capture(uint64_t count) {
        for (const uint64_t end = m_captured + count; m_captured < end; ++m_captured)
            ASSERT_EQ(CaptureOne(m_peer), ExpectedMessage(m_captured * FRAMES)) << m_captured;
    }

    // Payloads 0 to `count` - 1 of the sender as a recording holds them.
    static std::string RecordedPayloads(unsigned count) {
        std::string bytes;
        for (unsigned period = 0; period < count; ++period) {
            const auto payload = message::PlanarPayload(period);
            for (std::size_t frame = 0; frame < FRAMES; ++frame)
                for (std::size_t channel = 0; channel < CARD_CHANNELS; ++channel) {
                    const auto sample = payload.begin() + static_cast<std::ptrdiff_t>(channel * FRAMES + frame) * 2;
                    bytes.append(sample, sample + 2);
                }
        }
        return bytes;
    }

    RecordingDirectory recordings;
    DatagramSocket m_peer{TO_PEER};
    uint64_t m_captured = 0;
};

TEST_F(ServiceRecord, TenSecondsHoldWhatTheCardCapturedChannelByChannel) {
    StartOnBus();
    Capture(5);
    EXPECT_THAT(Run("SaveAudio_30"), ElementsAre(Opened("Wr"), Opened("Rd"), "D Record AudioStream 10Sec"));
    Capture(4999);
    EXPECT_THAT(LogTexts(), Not(Contains(Closed("Rd"))));
    Capture(20);
    EXPECT_THAT(LogTexts(), Contains(Closed("Rd")).Times(1));
    const std::string recorded = recordings.Content("PcmRd");
    EXPECT_EQ(recorded.size(), 7680000u);
    EXPECT_TRUE(recorded == RecordedSignal(5, 5000));
    EXPECT_EQ(recordings.Content("PcmWr").size(), 0u);
}

TEST_F(ServiceRecord, EachFileGrowsWithItsStreamAndBothEndTheRecording) {
    StartOnBus();
    EXPECT_THAT(Run("SaveAudio_1_0"), ElementsAre(Opened("Wr"), Opened("Rd"), "D Record AudioStream 1Sec"));
    Capture(510);
    EXPECT_TRUE(recordings.Content("PcmRd") == RecordedSignal(0, 500));
    EXPECT_EQ(recordings.Content("PcmWr"), "") << "the peer has sent nothing";
    EXPECT_THAT(Run("SaveAudio_1_0"), ElementsAre("E Pcm Audio:Saving recording in progress"));

    FillPlayback();
    EXPECT_EQ(recordings.Content("PcmWr"), RecordedPayloads(5));
    for (unsigned period = 5; period < 499; ++period)
        PlayOne(message::PlanarPayload(period));
    EXPECT_THAT(Run("SaveAudio_1_0"), Contains("E Pcm Audio:Saving recording in progress"));
    PlayOne(message::PlanarPayload(499));
    EXPECT_THAT(LogTexts(), Contains(Closed("Wr")));
    EXPECT_TRUE(recordings.Content("PcmWr") == RecordedPayloads(500));
    EXPECT_THAT(Run("SaveAudio_1_0"), Contains("D Record AudioStream 1Sec"));
}

TEST_F(ServiceRecord, WithoutTheDirectoryNothingIsRecorded) {
    StartOnBus();
    std::filesystem::remove(AUDIO_DIRECTORY);
    for (int request = 0; request < 2; ++request) {
        const auto texts = Run("SaveAudio_2_0");
        ASSERT_EQ(texts.size(), 3u);
        EXPECT_THAT(texts[0], MatchesRegex("E fopen /firmware/audio/PcmWr_.*\\.pcm failed No such file or directory"));
        EXPECT_THAT(texts[1], MatchesRegex("E fopen /firmware/audio/PcmRd_.*\\.pcm failed No such file or directory"));
        EXPECT_EQ(texts[2], "D Record AudioStream 2Sec");
    }
    Capture(20);
}

// Whatever second the recording starts in, its capture file is on a full disk.
TEST_F(ServiceRecord, AFullDiskIsReportedFrameByFrameAndTheStreamGoesOn) {
    StartOnBus();
    const time_t now = time(nullptr);
    for (time_t second = now; second < now + 60; ++second) {
        tm local{};
        localtime_r(&second, &local);
        char name[128];
        snprintf(name, sizeof name, "%s/PcmRd_24chn_%d%d%d_%02d%02d%02d.pcm", AUDIO_DIRECTORY, local.tm_year + 1900,
                 local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
        std::filesystem::create_symlink("/dev/full", name);
    }
    Run("SaveAudio_1_0");
    Capture(50);
    EXPECT_THAT(LogTexts(),
                Contains(MatchesRegex("E file:0x[0-9a-f]+ fread failed:No space left on device")).Times(50));
    EXPECT_THAT(Run("SaveAudio_1_0"), ElementsAre("E Pcm Audio:Saving recording in progress"));
}

} // namespace
