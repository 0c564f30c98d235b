// Recordings: how they start, how they grow, and what is in them.
#include <cmath>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Ctl/CtlError.h"
#include "Ctl/Levels.h"
#include "Ctl/RecordingProgress.h"
#include "Ctl/RecordingStart.h"
#include "Support/ScratchDir.h"

using testing::HasSubstr;
using namespace std::chrono_literals;

namespace {

constexpr const char *PLAYBACK = "/firmware/audio/PcmWr_24chn_2026111_120000.pcm";
constexpr const char *CAPTURE = "/firmware/audio/PcmRd_24chn_2026111_120000.pcm";
constexpr std::uintmax_t SECOND_BYTES = 768000;

std::vector<LogRecord> Records(const std::vector<std::string> &texts) {
    std::vector<LogRecord> records;
    for (const std::string &text : texts)
        records.push_back({"", 'D', text, text});
    return records;
}

std::string Opened(const std::string &path) {
    return "fopen " + path + " success ,file:0x1234";
}

int StatusOf(const RecordingStart &start) {
    try {
        start.Check();
        return 0;
    } catch (const CtlError &error) {
        return static_cast<int>(error.Exit());
    }
}

TEST(CtlRecordingStart, NamesTheFiles) {
    RecordingStart start(10);
    EXPECT_FALSE(start.Add(Records({"other", Opened(PLAYBACK), Opened(CAPTURE)})));
    EXPECT_TRUE(start.Add(Records({"Record AudioStream 10Sec"})));
    EXPECT_EQ(StatusOf(start), 0);
    EXPECT_EQ(start.CapturePath(), CAPTURE);
    EXPECT_EQ(start.PlaybackPath(), PLAYBACK);
}

TEST(CtlRecordingStart, RefusedWhileOneRuns) {
    RecordingStart start(10);
    EXPECT_TRUE(start.Add(Records({"Pcm Audio:Saving recording in progress"})));
    EXPECT_EQ(StatusOf(start), 9);
}

TEST(CtlRecordingStart, SomebodyElsesRefusalIsNotOurs) {
    RecordingStart start(10);
    EXPECT_TRUE(start.Add(Records(
        {Opened(PLAYBACK), Opened(CAPTURE), "Record AudioStream 10Sec", "Pcm Audio:Saving recording in progress"})));
    EXPECT_EQ(StatusOf(start), 0);
}

TEST(CtlRecordingStart, FilesThatCannotBeMade) {
    RecordingStart start(10);
    EXPECT_TRUE(start.Add(Records({std::string("fopen ") + PLAYBACK + " failed No such file or directory",
                                   Opened(CAPTURE), "Record AudioStream 10Sec"})));
    EXPECT_EQ(StatusOf(start), 8);
}

class CtlProgress : public testing::Test {
  protected:
    static void Grow(const char *path, double seconds) {
        std::ofstream(path, std::ios::app).close();
        std::filesystem::resize_file(path, static_cast<std::uintmax_t>(seconds * SECOND_BYTES));
    }

    ScratchDir m_directory;
    RecordingProgress m_progress{"rd", "wr", 2};
    RecordingProgress::Clock::time_point m_start = RecordingProgress::Clock::now();
};

TEST_F(CtlProgress, BarGrowsWithTheCapture) {
    EXPECT_EQ(ProgressBar(0), "[" + std::string(30, ' ') + "]");
    EXPECT_EQ(ProgressBar(0.5), "[" + std::string(15, '#') + std::string(15, ' ') + "]");
    EXPECT_EQ(ProgressBar(7), "[" + std::string(30, '#') + "]");
    Grow("rd", 1);
    m_progress.Update(m_start);
    EXPECT_EQ(m_progress.Line(), ProgressBar(0.5) + " capture 1.0 of 2 s, playback 0.0 of 2 s");
}

TEST_F(CtlProgress, OverWhenBothAreWhole) {
    Grow("rd", 2);
    Grow("wr", 1.9);
    m_progress.Update(m_start + 3s);
    EXPECT_TRUE(m_progress.IsCaptureDone());
    EXPECT_FALSE(m_progress.IsOver(m_start + 3s)); // the playback just grew
    Grow("wr", 2);
    m_progress.Update(m_start + 3s);
    EXPECT_TRUE(m_progress.IsOver(m_start + 3s));
}

TEST_F(CtlProgress, OverWhenNoPeerSends) {
    m_progress.Update(m_start);
    EXPECT_FALSE(m_progress.IsOver(m_start + 10s)); // the capture is not done
    Grow("rd", 2);
    m_progress.Update(m_start + 10s);
    EXPECT_TRUE(m_progress.IsOver(m_start + 10s));
}

TEST_F(CtlProgress, ASlowPeerIsNotWaitedForWithoutEnd) {
    Grow("rd", 2);
    Grow("wr", 0.1);
    m_progress.Update(m_start);
    Grow("wr", 0.2);
    m_progress.Update(m_start + 3500ms);
    EXPECT_FALSE(m_progress.IsOver(m_start + 3500ms));
    EXPECT_TRUE(m_progress.IsOver(m_start + 4s)); // 1.9 s were missing, and 2 s of patience
}

TEST_F(CtlProgress, StallsWhenTheCaptureStops) {
    Grow("rd", 1);
    m_progress.Update(m_start + 1s);
    EXPECT_FALSE(m_progress.IsCaptureStalled(m_start + 5s));
    EXPECT_TRUE(m_progress.IsCaptureStalled(m_start + 6s));
}

// Channel 1 silent, 2 at the lower end, 3 half scale, 4 a square wave at the upper end; the
// others small and each of its own.
std::vector<std::int16_t> Frames(int count) {
    std::vector<std::int16_t> samples;
    for (int frame = 0; frame < count; ++frame)
        for (int channel = 1; channel <= PCM_CHANNELS; ++channel) {
            const int sign = frame % 2 ? -1 : 1;
            const int amplitude = channel == 1   ? 0
                                  : channel == 2 ? (frame == 5 ? -32768 : 100)
                                  : channel == 3 ? 16384 * sign
                                  : channel == 4 ? 32767 * sign
                                                 : channel * 10 * sign;
            samples.push_back(static_cast<std::int16_t>(amplitude));
        }
    return samples;
}

TEST(CtlLevels, PeakAndRmsOfEachChannel) {
    LevelMeter meter;
    meter.Add(Frames(100));
    meter.Add(Frames(100));
    const auto &channels = meter.Channels();
    EXPECT_TRUE(channels[0].IsSilent());
    EXPECT_EQ(channels[1].peak, 32768);
    EXPECT_EQ(channels[1].clipped, 2u);
    EXPECT_NEAR(channels[2].PeakDb(), -6.02, 0.01);
    EXPECT_NEAR(channels[2].RmsDb(), -6.02, 0.01);
    EXPECT_EQ(channels[3].clipped, 100u); // -32767 is not the end of the range
    for (std::size_t i = 4; i < channels.size(); ++i) {
        EXPECT_EQ(channels[i].peak, static_cast<int>(i + 1) * 10);
        EXPECT_NEAR(channels[i].RmsDb(), LevelDb(channels[i].peak), 1e-9);
        EXPECT_EQ(channels[i].clipped, 0u);
    }
}

TEST(CtlLevels, TextNamesSilentAndClippedChannels) {
    LevelMeter meter;
    meter.Add(Frames(100));
    const std::string text = meter.Text();
    EXPECT_THAT(text, HasSubstr("\nSilent channels: 1\nClipped channels: 2 4\n"));
    EXPECT_THAT(text, HasSubstr("\n      1   -inf   -inf  |" + std::string(40, ' ') + "| silent\n"));
    EXPECT_THAT(text, HasSubstr("\n      3   -6.0   -6.0  |" + std::string(37, '#') + "   |\n"));
    EXPECT_THAT(text, HasSubstr("| clipped\n"));
}

} // namespace
