// The signals of a run and the sound files of what arrived.
#include <cstdio>
#include <set>

#include <gtest/gtest.h>

#include "Desk/DeskSignal.h"
#include "Desk/SoundRecorder.h"
#include "Support/ScratchDir.h"

namespace {

std::string ChannelPath(const std::string &directory, int channel) {
    char name[32];
    std::snprintf(name, sizeof name, "/ch%02d.wav", channel);
    return directory + name;
}

} // namespace

TEST(DeskSignal, BringsTheVoicesToFilesAndRepeatsThem) {
    const ScratchDir scratch;
    std::string error;
    ASSERT_TRUE(DeskSignal::PrepareVoices(scratch.Path(), error)) << error;
    DeskSignal signal;
    ASSERT_TRUE(signal.Load(DeskSource::Card, scratch.Path(), error)) << error;
    const Samples voice = ReadMono16k(DeskSignal::VoicePath(scratch.Path(), 1), error);
    ASSERT_GT(voice.size(), 16000u / 2); // at least half a second of somebody speaking
    for (uint64_t frame = 0; frame < 3 * voice.size(); ++frame)
        ASSERT_EQ(signal.Sample(1, frame), voice[frame % voice.size()]);
}

TEST(DeskSignal, GivesEveryChannelOfBothDirectionsItsOwnAudio) {
    const ScratchDir scratch;
    std::string error;
    ASSERT_TRUE(DeskSignal::PrepareVoices(scratch.Path(), error)) << error;
    std::set<std::vector<int16_t>> different;
    for (const DeskSource source : {DeskSource::Card, DeskSource::Peer}) {
        DeskSignal signal;
        ASSERT_TRUE(signal.Load(source, scratch.Path(), error)) << error;
        for (uint32_t channel = 1; channel <= 22; ++channel) {
            std::vector<int16_t> audio;
            for (uint64_t frame = 4000; frame < 8000; ++frame)
                audio.push_back(signal.Sample(channel, frame));
            EXPECT_TRUE(different.insert(audio).second) << "channel " << channel;
        }
    }
}

TEST(DeskSignal, CarriesTheFrameNumberInBothDirections) {
    const ScratchDir scratch;
    std::string error;
    ASSERT_TRUE(DeskSignal::PrepareVoices(scratch.Path(), error)) << error;
    for (const DeskSource source : {DeskSource::Card, DeskSource::Peer}) {
        DeskSignal signal;
        ASSERT_TRUE(signal.Load(source, scratch.Path(), error)) << error;
        EXPECT_EQ(zr_desk_frame_of(signal.Block(0x12345660)), 0x12345660u);
    }
}

TEST(DeskSignal, SaysWhichVoiceIsMissing) {
    const ScratchDir scratch;
    DeskSignal signal;
    std::string error;
    EXPECT_FALSE(signal.Load(DeskSource::Peer, scratch.Path(), error));
    EXPECT_NE(error.find("voice5.wav"), std::string::npos) << error;
}

TEST(SoundRecorder, WritesEveryChannelSampleForSample) {
    const ScratchDir scratch;
    const DeskSignal signal;
    SoundRecorder recorder;
    std::string error;
    ASSERT_TRUE(recorder.Open("sound", error)) << error;
    constexpr uint64_t BLOCKS = 1100; // several chunks and a rest
    for (uint64_t block = 0; block < BLOCKS; ++block)
        ASSERT_TRUE(recorder.Add(signal.Block(block * 32)));
    ASSERT_TRUE(recorder.Close());
    for (int channel = 1; channel <= 24; ++channel) {
        const Samples samples = ReadMono16k(ChannelPath("sound", channel), error);
        ASSERT_EQ(samples.size(), BLOCKS * 32) << error;
        for (uint64_t frame = 0; frame < samples.size(); ++frame)
            ASSERT_EQ(samples[frame], signal.Sample(static_cast<uint32_t>(channel), frame));
    }
}

TEST(SoundRecorder, KeepsTheFirstMinute) {
    const ScratchDir scratch;
    SoundRecorder recorder;
    std::string error;
    ASSERT_TRUE(recorder.Open("sound", error)) << error;
    zrpeer::AudioBlock block{};
    for (std::size_t n = 0; n < SoundRecorder::KEPT_BLOCKS + 600; ++n)
        while (!recorder.Add(block)) // faster than any audio: the disk may be behind
            continue;
    ASSERT_TRUE(recorder.Close());
    EXPECT_EQ(ReadMono16k(ChannelPath("sound", 24), error).size(), SoundRecorder::KEPT_BLOCKS * 32);
}

TEST(SoundRecorder, SaysWhereItCannotWrite) {
    const ScratchDir scratch;
    SoundRecorder recorder;
    std::string error;
    EXPECT_FALSE(recorder.Open("/proc/nowhere", error));
    EXPECT_NE(error.find("/proc/nowhere"), std::string::npos) << error;
}
