// Sound files in and out: exact at the device's rate, the same sound from other rates.
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sndfile.h>

#include "Sound/SoundFile.h"
#include "Support/ScratchDir.h"

namespace {

std::int16_t SampleOf(std::size_t channel, std::size_t frame) {
    return static_cast<std::int16_t>((frame * (channel * 2 + 3) * 97 + channel * 1000) & 0xFFFF);
}

void WriteFile(const char *path, int rate, int channels, const std::vector<float> &interleaved) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE *file = sf_open(path, SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    const auto count = static_cast<sf_count_t>(interleaved.size());
    ASSERT_EQ(sf_write_float(file, interleaved.data(), count), count);
    ASSERT_EQ(sf_close(file), 0);
}

std::vector<float> Sine(double hertz, int rate, double seconds, double amplitude) {
    std::vector<float> samples(static_cast<std::size_t>(rate * seconds));
    for (std::size_t frame = 0; frame < samples.size(); ++frame)
        samples[frame] = static_cast<float>(amplitude * std::sin(2 * M_PI * hertz * static_cast<double>(frame) / rate));
    return samples;
}

// The part of a tone in samples at 16 kHz (its amplitude), away from the ends, and what
// remains of them without it (root mean square).
struct ToneContent {
    double amplitude = 0;
    double remainder = 0;
};

ToneContent Analyse(const Samples &samples, double hertz) {
    const std::size_t from = 1600;
    const std::size_t count = samples.size() - 2 * from;
    double sine = 0;
    double cosine = 0;
    double energy = 0;
    for (std::size_t frame = from; frame < from + count; ++frame) {
        const double phase = 2 * M_PI * hertz * static_cast<double>(frame) / SOUND_RATE;
        sine += samples[frame] * std::sin(phase);
        cosine += samples[frame] * std::cos(phase);
        energy += static_cast<double>(samples[frame]) * samples[frame];
    }
    const double amplitude = 2 * std::hypot(sine, cosine) / static_cast<double>(count);
    const double rest = energy / static_cast<double>(count) - amplitude * amplitude / 2;
    return {amplitude, std::sqrt(std::max(rest, 0.0))};
}

class SoundFile : public testing::Test {
  protected:
    ScratchDir m_directory;
    std::string m_error;
};

TEST_F(SoundFile, SixteenBitMonoComesOutSampleForSample) {
    Samples samples;
    for (int value = -32768; value <= 32767; ++value)
        samples.push_back(static_cast<std::int16_t>(value));
    WavWriter writer;
    ASSERT_TRUE(writer.Open("mono.wav", 1, m_error)) << m_error;
    ASSERT_TRUE(writer.Write(samples.data(), samples.size()));
    ASSERT_TRUE(writer.Close());
    EXPECT_EQ(ReadMono16k("mono.wav", m_error), samples);
    EXPECT_EQ(m_error, "");
}

TEST_F(SoundFile, TwentyFourChannelsKeepTheirPlaces) {
    constexpr std::size_t frames = 1000;
    Samples interleaved;
    for (std::size_t frame = 0; frame < frames; ++frame)
        for (std::size_t channel = 0; channel < 24; ++channel)
            interleaved.push_back(SampleOf(channel, frame));
    WavWriter writer;
    ASSERT_TRUE(writer.Open("all.wav", 24, m_error)) << m_error;
    ASSERT_TRUE(writer.Write(interleaved.data(), 400));
    ASSERT_TRUE(writer.Write(interleaved.data() + 400 * 24, frames - 400));
    ASSERT_TRUE(writer.Close());
    const std::vector<Samples> channels = ReadChannels16k("all.wav", m_error);
    ASSERT_EQ(channels.size(), 24U);
    for (std::size_t channel = 0; channel < 24; ++channel) {
        ASSERT_EQ(channels[channel].size(), frames);
        for (std::size_t frame = 0; frame < frames; ++frame)
            ASSERT_EQ(channels[channel][frame], SampleOf(channel, frame)) << channel << " " << frame;
    }
}

TEST_F(SoundFile, TheWrittenFileSaysSixteenKilohertzSixteenBit) {
    WavWriter writer;
    const std::array<std::int16_t, 4> samples{1, 2, 3, 4};
    ASSERT_TRUE(writer.Open("two.wav", 2, m_error));
    ASSERT_TRUE(writer.Write(samples.data(), 2));
    ASSERT_TRUE(writer.Close());
    SF_INFO info{};
    SNDFILE *file = sf_open("two.wav", SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(info.samplerate, 16000);
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.frames, 2);
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_16);
    sf_close(file);
}

TEST_F(SoundFile, AToneOfAnotherRateStaysTheSameTone) {
    for (const int rate : {8000, 44100, 48000}) {
        WriteFile("tone.wav", rate, 1, Sine(997, rate, 2.0, 0.5));
        const Samples samples = ReadMono16k("tone.wav", m_error);
        ASSERT_NEAR(static_cast<double>(samples.size()), 32000, 2) << rate;
        const ToneContent content = Analyse(samples, 997);
        EXPECT_NEAR(content.amplitude, 16384, 50) << rate;
        EXPECT_LT(content.remainder, 20) << rate;
    }
}

TEST_F(SoundFile, WhatSixteenKilohertzCannotHoldIsTakenOut) {
    WriteFile("high.wav", 48000, 1, Sine(11000, 48000, 2.0, 0.5));
    const Samples samples = ReadMono16k("high.wav", m_error);
    ASSERT_FALSE(samples.empty());
    EXPECT_LT(Analyse(samples, 5000).amplitude, 20); // where 11000 Hz would be folded to
    EXPECT_LT(Analyse(samples, 5000).remainder, 20);
}

TEST_F(SoundFile, ChannelsOfAnotherRateKeepTheirPlaces) {
    const std::vector<float> left = Sine(400, 48000, 1.0, 0.25);
    const std::vector<float> right = Sine(900, 48000, 1.0, 0.5);
    std::vector<float> both;
    for (std::size_t frame = 0; frame < left.size(); ++frame)
        both.insert(both.end(), {left[frame], right[frame]});
    WriteFile("stereo.wav", 48000, 2, both);
    const std::vector<Samples> channels = ReadChannels16k("stereo.wav", m_error);
    ASSERT_EQ(channels.size(), 2U);
    EXPECT_NEAR(Analyse(channels[0], 400).amplitude, 8192, 30);
    EXPECT_LT(Analyse(channels[0], 400).remainder, 20);
    EXPECT_NEAR(Analyse(channels[1], 900).amplitude, 16384, 50);
    EXPECT_LT(Analyse(channels[1], 900).remainder, 20);
}

TEST_F(SoundFile, SeveralChannelsBecomeTheirMean) {
    WriteFile("stereo.wav", 16000, 2, {0.5F, 0.25F, -0.5F, 0.5F, 1.0F, 1.0F});
    EXPECT_EQ(ReadMono16k("stereo.wav", m_error), (Samples{12288, 0, 32767}));
}

TEST_F(SoundFile, TooLoudIsCutAtFullScale) {
    WriteFile("loud.wav", 16000, 1, {3.0F, -3.0F, 1.0F, -1.0F});
    EXPECT_EQ(ReadMono16k("loud.wav", m_error), (Samples{32767, -32768, 32767, -32768}));
}

TEST_F(SoundFile, ALongFileIsReadWhole) {
    const std::vector<float> samples = Sine(100, 16000, 7.3, 0.5);
    WriteFile("long.wav", 16000, 1, samples);
    EXPECT_EQ(ReadMono16k("long.wav", m_error).size(), samples.size());
}

TEST_F(SoundFile, FailuresSayWhatAndWhy) {
    EXPECT_TRUE(ReadMono16k("absent.wav", m_error).empty());
    EXPECT_EQ(m_error, "absent.wav: No such file or directory");
    WriteFile("empty.wav", 16000, 1, {});
    EXPECT_TRUE(ReadChannels16k("empty.wav", m_error).empty());
    EXPECT_EQ(m_error, "empty.wav: holds no audio");
    WavWriter writer;
    EXPECT_FALSE(writer.Open("absent/file.wav", 1, m_error));
    EXPECT_EQ(m_error, "absent/file.wav: No such file or directory");
    const std::int16_t sample = 1;
    EXPECT_FALSE(writer.Write(&sample, 1));
    EXPECT_TRUE(writer.Close());
}

} // namespace
