// Recordings of both streams: what the files hold, their names, when requests are refused.
#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "../RecordingDirectory.h"
#include "PcmBridge.h"
#include "RecordingTime.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

constexpr uint64_t SECOND = 500; // periods

class AudioPcmRecord : public PcmBridge {
  protected:
    AudioPcmRecord() { SetWallClock(2031, 12, 24, 18, 30, 59); }

    static std::string Opened(const std::string &stream) {
        return "I fopen /firmware/audio/Pcm" + stream + "_24chn_20311224_183059.pcm success ,file:0x[0-9a-f]+";
    }

    // Records `count` periods of the signal as a PCM thread does.
    static void Record(Direct direct, uint64_t first, uint64_t count) {
        for (uint64_t number = first; number < first + count; ++number) {
            const Payload payload = SignalPayload(number);
            const auto *bytes = reinterpret_cast<const uint8_t *>(payload.data());
            ASSERT_EQ(AudioPcm::instance()->_CheckRecordAudio(bytes, 1536, direct), 1) << number;
        }
    }

    static uintmax_t Descriptors() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<uintmax_t>(std::distance(begin(all), end(all)));
    }

    RecordingDirectory recordings;
};

TEST_F(AudioPcmRecord, TheCaptureFileHoldsWhatTheCardCaptured) {
    Start();
    TakeNext();
    AudioPcm::instance()->SaveAudioToFile(1);
    EXPECT_THAT(log.Texts(),
                ElementsAre(MatchesRegex(Opened("Wr")), MatchesRegex(Opened("Rd")), "D Record AudioStream 1Sec"));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 500);
    EXPECT_EQ(AudioPcmProbe::PlaybackToRecord(), 500);
    const std::string opened = log.Texts()[1];
    log.Clear();

    for (uint64_t number = 1; number < SECOND + 20; ++number)
        ASSERT_EQ(TakeNext().payload, SignalPayload(number));
    EXPECT_EQ(recordings.Content("PcmRd"), RecordedSignal(1, SECOND));
    EXPECT_EQ(recordings.Content("PcmWr"), "");
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 0);
    EXPECT_EQ(AudioPcmProbe::CaptureFile(), nullptr);
    const std::string file = opened.substr(opened.find("file:") + 5);
    EXPECT_THAT(log.Texts(), ElementsAre("I fclose PcmRd.pcm " + file + " success"));
}

TEST_F(AudioPcmRecord, ThePlaybackFileGrowsOnlyWithThePeersFrames) {
    Start();
    AudioPcm::instance()->SaveAudioToFile(1);
    for (uint64_t number = 0; number < 10; ++number)
        TakeNext();
    EXPECT_EQ(recordings.Content("PcmWr"), "");
    FillPlayback();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 5; }));
    EXPECT_EQ(recordings.Content("PcmWr"), RecordedSignal(0, 5));
    EXPECT_EQ(AudioPcmProbe::PlaybackToRecord(), 495);
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 490);
}

TEST_F(AudioPcmRecord, ARequestIsRefusedUntilBothFilesAreComplete) {
    AudioPcm *const pcm = AudioPcm::instance();
    pcm->SaveAudioToFile(1);
    FILE *const playback = AudioPcmProbe::PlaybackFile();
    log.Clear();
    pcm->SaveAudioToFile(2);
    Record(DIRECT_IN, 0, SECOND);
    pcm->SaveAudioToFile(0);
    Record(DIRECT_OUT, 0, SECOND - 1);
    pcm->SaveAudioToFile(3);
    char text[128];
    std::snprintf(text, sizeof text, "I fclose PcmWr.pcm %p success", static_cast<void *>(playback));
    Record(DIRECT_OUT, SECOND - 1, 1);
    EXPECT_THAT(log.Texts(), ElementsAre("E Pcm Audio:Saving recording in progress",
                                         MatchesRegex("I fclose PcmRd\\.pcm 0x[0-9a-f]+ success"),
                                         "E Pcm Audio:Saving recording in progress",
                                         "E Pcm Audio:Saving recording in progress", text));
    EXPECT_EQ(recordings.Content("PcmRd"), RecordedSignal(0, SECOND));
    EXPECT_EQ(recordings.Content("PcmWr"), RecordedSignal(0, SECOND));
    log.Clear();
    pcm->SaveAudioToFile(65535);
    EXPECT_THAT(log.Texts(),
                ElementsAre(MatchesRegex(Opened("Wr")), MatchesRegex(Opened("Rd")), "D Record AudioStream 65535Sec"));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 32767500);
    EXPECT_EQ(AudioPcmProbe::PlaybackToRecord(), 32767500);
}

TEST_F(AudioPcmRecord, MonthAndDayHaveNoLeadingZeros) {
    SetWallClock(2025, 1, 2, 3, 4, 5);
    AudioPcm::instance()->SaveAudioToFile(0);
    EXPECT_THAT(recordings.Recordings("PcmWr"), ElementsAre("/firmware/audio/PcmWr_24chn_202512_030405.pcm"));
    EXPECT_THAT(recordings.Recordings("PcmRd"), ElementsAre("/firmware/audio/PcmRd_24chn_202512_030405.pcm"));
}

TEST_F(AudioPcmRecord, ZeroSecondsOpenBothFilesAndRecordNothing) {
    Start();
    const auto before = Descriptors();
    for (int second = 0; second < 10; ++second) {
        SetWallClock(2031, 12, 24, 18, 30, second);
        AudioPcm::instance()->SaveAudioToFile(0);
        TakeNext();
        EXPECT_NE(AudioPcmProbe::CaptureFile(), nullptr);
        EXPECT_NE(AudioPcmProbe::PlaybackFile(), nullptr);
        EXPECT_EQ(Descriptors(), before + 2) << "the files of the request before are closed";
    }
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord() + AudioPcmProbe::PlaybackToRecord(), 0);
    EXPECT_THAT(recordings.Recordings("PcmRd"), SizeIs(10));
    for (const auto &path : recordings.Recordings("PcmRd"))
        EXPECT_EQ(ReadWholeFile(path), "");
}

TEST_F(AudioPcmRecord, WithoutTheDirectoryNothingIsRecordedAndARequestIsAcceptedAtOnce) {
    AudioPcm::instance()->SaveAudioToFile(0);
    std::filesystem::remove_all(AUDIO_DIRECTORY);
    const auto before = Descriptors();
    const auto failed = [](const std::string &stream) {
        return "E fopen /firmware/audio/Pcm" + stream + "_24chn_20311224_183059.pcm failed No such file or directory";
    };
    log.Clear();
    AudioPcm::instance()->SaveAudioToFile(7);
    EXPECT_THAT(log.Texts(), ElementsAre(failed("Wr"), failed("Rd"), "D Record AudioStream 7Sec"));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord() + AudioPcmProbe::PlaybackToRecord(), 0);
    EXPECT_EQ(AudioPcmProbe::CaptureFile(), nullptr);
    EXPECT_EQ(AudioPcmProbe::PlaybackFile(), nullptr);
    EXPECT_EQ(Descriptors(), before - 2) << "also then the files of the request before are closed";
    recordings.Make();
    log.Clear();
    AudioPcm::instance()->SaveAudioToFile(1);
    EXPECT_THAT(log.Texts(),
                ElementsAre(MatchesRegex(Opened("Wr")), MatchesRegex(Opened("Rd")), "D Record AudioStream 1Sec"));
}

TEST_F(AudioPcmRecord, OneFileThatCannotBeOpenedDoesNotStopTheOther) {
    std::filesystem::create_directory("/firmware/audio/PcmRd_24chn_20311224_183059.pcm");
    AudioPcm::instance();
    log.Clear();
    AudioPcm::instance()->SaveAudioToFile(1);
    EXPECT_THAT(log.Texts(),
                ElementsAre(MatchesRegex(Opened("Wr")),
                            "E fopen /firmware/audio/PcmRd_24chn_20311224_183059.pcm failed Is a directory",
                            "D Record AudioStream 1Sec"));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 0);
    Record(DIRECT_OUT, 0, SECOND);
    EXPECT_EQ(recordings.Content("PcmWr"), RecordedSignal(0, SECOND));
}

TEST_F(AudioPcmRecord, BadFramesAreRefused) {
    AudioPcm *const pcm = AudioPcm::instance();
    const Payload payload = SignalPayload(0);
    const auto *bytes = reinterpret_cast<const uint8_t *>(payload.data());
    log.Clear();
    EXPECT_EQ(pcm->_CheckRecordAudio(bytes, 1536, DIRECT_IN), 0) << "nothing is being recorded";
    pcm->SaveAudioToFile(0);
    EXPECT_EQ(pcm->_CheckRecordAudio(bytes, 1536, DIRECT_IN), 0) << "a file, but no count";
    EXPECT_EQ(pcm->_CheckRecordAudio(bytes, 1536, DIRECT_OUT), 0);
    pcm->SaveAudioToFile(1);
    log.Clear();
    EXPECT_EQ(pcm->_CheckRecordAudio(nullptr, 1536, DIRECT_IN), 0);
    EXPECT_EQ(pcm->_CheckRecordAudio(nullptr, 0, DIRECT_IN), 0);
    EXPECT_EQ(pcm->_CheckRecordAudio(bytes, 1536, DIRECT_MAX), 0);
    EXPECT_THAT(log.Texts(), IsEmpty());
    for (const int32_t length : {0, -1, 3073, INT32_MAX})
        EXPECT_EQ(pcm->_CheckRecordAudio(bytes, length, DIRECT_OUT), 0);
    EXPECT_EQ(pcm->_CheckRecordAudio(bytes, 0, DIRECT_MAX), 0);
    EXPECT_THAT(log.Texts(), ElementsAre("E Record len=0", "E Record len=-1", "E Record len=3073",
                                         "E Record len=2147483647", "E Record len=0"));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord() + AudioPcmProbe::PlaybackToRecord(), 1000);
    EXPECT_EQ(recordings.Content("PcmRd") + recordings.Content("PcmWr"), "");
}

TEST_F(AudioPcmRecord, TheLengthCutsOrFillsUpTheFrame) {
    AudioPcm::instance()->SaveAudioToFile(1);
    const Payload payload = SignalPayload(0);
    const auto *bytes = reinterpret_cast<const uint8_t *>(payload.data());
    for (const int32_t length : {100, 1536, 3072})
        EXPECT_EQ(AudioPcm::instance()->_CheckRecordAudio(bytes, length, DIRECT_IN), 1);
    const std::string frame = RecordedSignal(0, 1);
    EXPECT_EQ(recordings.Content("PcmRd"), frame.substr(0, 100) + frame + frame + std::string(1536, '\0'));
    EXPECT_EQ(AudioPcmProbe::CaptureToRecord(), 497);
}

// Both threads and the requests at once: no request meets a file that is being closed.
TEST_F(AudioPcmRecord, RequestsFollowEachOtherWithoutLosingAFile) {
    constexpr int ROUNDS = 20;
    std::jthread threads[2];
    for (const Direct direct : {DIRECT_IN, DIRECT_OUT})
        threads[direct] = std::jthread([direct](const std::stop_token &stop) {
            const Payload payload = SignalPayload(direct);
            while (!stop.stop_requested())
                AudioPcm::instance()->_CheckRecordAudio(reinterpret_cast<const uint8_t *>(payload.data()), 1536,
                                                        direct);
        });
    const auto bothEnded = [] {
        return AudioPcmProbe::CaptureToRecord() == 0 && AudioPcmProbe::PlaybackToRecord() == 0;
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (int round = 0; round < ROUNDS; ++round) {
        SetWallClock(2031, 12, 24, 18, 31, round);
        AudioPcm::instance()->SaveAudioToFile(1);
        while (!bothEnded() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        ASSERT_TRUE(bothEnded());
    }
    for (std::jthread &thread : threads)
        thread.request_stop();
    for (const char *stream : {"PcmRd", "PcmWr"}) {
        EXPECT_THAT(recordings.Recordings(stream), SizeIs(ROUNDS));
        for (const auto &path : recordings.Recordings(stream))
            EXPECT_EQ(std::filesystem::file_size(path), SECOND * RECORDED_FRAME_BYTES) << path;
    }
}

} // namespace
