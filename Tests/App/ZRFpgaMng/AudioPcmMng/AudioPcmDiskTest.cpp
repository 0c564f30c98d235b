// Recording to a disk that is full, or slow.
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// A frame that the disk has not taken holds back its successors; none is lost or overtaken.
TEST_F(AudioPcmDisk, ASlowDiskDelaysTheFramesAndKeepsTheirOrder) {
    constexpr uint64_t PERIODS = 5; // the card holds six
    constexpr std::size_t ROOM = 2; // frames that the pipe in the disk's place takes
    const char *const path = "/firmware/audio/PcmRd_24chn_20311224_183059.pcm";
    ASSERT_EQ(mkfifo(path, 0600), 0);
    const int disk = open(path, O_RDONLY | O_NONBLOCK);
    ASSERT_EQ(fcntl(disk, F_SETPIPE_SZ, 4096), 4096);
    Start();
    AudioPcm::instance()->SaveAudioToFile(1);
    log.Clear();
    card.Advance(PERIODS);
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::FramesGiven() == ROOM; }));
    EXPECT_FALSE(WaitUntil([] { return AudioPcmProbe::FramesGiven() != ROOM; }, 100));

    std::string recorded(PERIODS * RECORDED_FRAME_BYTES, '\0');
    std::size_t taken = 0;
    EXPECT_TRUE(WaitUntil([&] {
        const ssize_t got = read(disk, &recorded[taken], recorded.size() - taken);
        taken += got > 0 ? static_cast<std::size_t>(got) : 0;
        return taken == recorded.size();
    }));
    for (uint64_t number = 0; number < PERIODS; ++number)
        EXPECT_EQ(Take().payload, SignalPayload(number)) << number;
    EXPECT_EQ(recorded, RecordedSignal(0, PERIODS));
    EXPECT_THAT(log.Texts(), SizeIs(0));
    EXPECT_EQ(AudioPcmProbe::CardReadErrors(), 0u);
    signal(SIGPIPE, SIG_IGN);
    close(disk);
}

} // namespace
