// Recording to a disk that is full.
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/resource.h>

#include "../RecordingDirectory.h"
#include "PcmBridge.h"
#include "RecordingTime.h"

using testing::AllOf;
using testing::Each;
using testing::SizeIs;

namespace {

class AudioPcmDisk : public PcmBridge {
  protected:
    AudioPcmDisk() { SetWallClock(2031, 12, 24, 18, 30, 59); }

    // Size that files may reach: writes beyond it fail, one across it is cut.
    static void LimitFiles(rlim_t bytes) {
        rlimit limit{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
        limit.rlim_cur = std::min(bytes, limit.rlim_max);
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        signal(SIGXFSZ, SIG_IGN);
    }

    static std::string Failed(FILE *file, const std::string &why) {
        char text[128];
        std::snprintf(text, sizeof text, "E file:%p fread failed:%s", static_cast<void *>(file), why.c_str());
        return text;
    }

    RecordingDirectory recordings;
};

TEST_F(AudioPcmDisk, EveryFrameFailsByItselfAndTheStreamGoesOn) {
    std::filesystem::create_symlink("/dev/full", "/firmware/audio/PcmRd_24chn_20311224_183059.pcm");
    Start();
    AudioPcm::instance()->SaveAudioToFile(1);
    log.Clear();
    for (uint64_t number = 0; number < 50; ++number)
        ASSERT_EQ(TakeNext().payload, SignalPayload(number));
    EXPECT_THAT(log.Texts(), AllOf(SizeIs(50), Each(Failed(AudioPcmProbe::CaptureFile(), "No space left on device"))));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 500);
    FillPlayback();
    EXPECT_EQ(Played(5), SignalPeriod(4));
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::PlaybackToRecord() == 495; }));
    EXPECT_EQ(recordings.Content("PcmWr"), RecordedSignal(0, 5)) << "the other file is not concerned";
}

// A frame that went in half is taken back: the channels of later frames stay in place.
TEST_F(AudioPcmDisk, TheFileHoldsWholeFramesAndGoesOnWithTheSpace) {
    Start();
    AudioPcm::instance()->SaveAudioToFile(1);
    log.Clear();
    LimitFiles(10 * RECORDED_FRAME_BYTES + 700);
    uint64_t number = 0;
    for (; number < 10; ++number)
        ASSERT_EQ(TakeNext().payload, SignalPayload(number));
    for (; number < 25; ++number)
        ASSERT_EQ(TakeNext().payload, SignalPayload(number));
    EXPECT_THAT(log.Texts(), AllOf(SizeIs(15), Each(Failed(AudioPcmProbe::CaptureFile(), "File too large"))));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 490);
    EXPECT_EQ(recordings.Content("PcmRd"), RecordedSignal(0, 10));

    LimitFiles(RLIM_INFINITY);
    for (; number < 25 + 490; ++number)
        ASSERT_EQ(TakeNext().payload, SignalPayload(number));
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CaptureToRecord() == 0; }));
    EXPECT_EQ(recordings.Content("PcmRd"), RecordedSignal(0, 10) + RecordedSignal(25, 490));
}

} // namespace
