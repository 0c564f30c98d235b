// Sources and sinks: sound files per channel and raw files of tagged words.
#include <fstream>
#include <memory>

#include <sndfile.h>

#include "CardFixture.h"

namespace {

using Sound = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

void WriteSound(const std::string &path, const std::vector<int16_t> &samples, int rate = 16000, int channels = 1) {
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const Sound file(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
    sf_write_short(file.get(), samples.data(), static_cast<sf_count_t>(samples.size()));
}

std::vector<int16_t> ReadSound(const std::string &path) {
    SF_INFO info = {};
    const Sound file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file || info.channels != 1 || info.samplerate != 16000)
        return {};
    std::vector<int16_t> samples(static_cast<size_t>(info.frames));
    sf_read_short(file.get(), samples.data(), info.frames);
    return samples;
}

std::vector<int16_t> Ramp(int count, int step) {
    std::vector<int16_t> samples(static_cast<size_t>(count));
    for (int i = 0; i < count; i++)
        samples[static_cast<size_t>(i)] = static_cast<int16_t>(i * step - 9000);
    return samples;
}

int16_t SampleOf(uint32_t word) {
    return static_cast<int16_t>(word & 0xFFFFu);
}

} // namespace

class Files : public CardTest {
  protected:
    // The next `count` periods, one after the other.
    std::vector<uint32_t> Capture(uint32_t count);
    // Plays periods 0 to `count` - 1 of the signal, and the card plays all but the last 5.
    std::unique_ptr<Pcm> Play(uint64_t count);
};

std::vector<uint32_t> Files::Capture(uint32_t count) {
    const auto pcm = StartCapture();
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < count; i++) {
        card.Advance(1);
        Period period;
        EXPECT_EQ(pcm->Read(period), 32);
        words.insert(words.end(), period.begin(), period.end());
    }
    return words;
}

std::unique_ptr<Pcm> Files::Play(uint64_t count) {
    auto pcm = StartPlayback();
    for (uint64_t number = 6; number < count; number++) {
        card.Advance(1);
        EXPECT_EQ(pcm->Write(SignalPeriod(number)), 32);
    }
    card.Advance(1);
    return pcm;
}

TEST_F(Files, SoundFilesFeedTheirChannelsAndRepeat) {
    WriteSound("three.wav", Ramp(50, 3));
    WriteSound("last.wav", Ramp(1000, 7));
    config.captureFiles = {{3, "three.wav"}, {24, "last.wav"}};
    UseManualClock();
    const std::vector<uint32_t> words = Capture(10);
    const std::vector<int16_t> three = Ramp(50, 3), last = Ramp(1000, 7);
    for (uint32_t frame = 0; frame < 320; frame++)
        for (uint32_t channel = 1; channel <= 24; channel++) {
            const uint32_t word = words[frame * 24 + channel - 1];
            const int16_t expected = channel == 3    ? three[frame % 50]
                                     : channel == 24 ? last[frame]
                                                     : zr_card_sample(channel, frame);
            ASSERT_EQ(word >> 16, channel);
            ASSERT_EQ(SampleOf(word), expected) << channel << " " << frame;
        }
}

TEST_F(Files, SoundFilesMustBeMonoAtTheCardsRate) {
    WriteSound("stereo.wav", Ramp(100, 1), 16000, 2);
    WriteSound("fast.wav", Ramp(100, 1), 48000);
    WriteSound("empty.wav", {});
    for (const char *name : {"stereo.wav", "fast.wav", "empty.wav"}) {
        CardConfig other;
        other.captureFiles = {{1, name}};
        setenv("ALSA_CONFIG_PATH", other.Write(directory.Path()).c_str(), 1);
        snd_config_update_free_global();
        EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -EINVAL) << name;
    }
}

TEST_F(Files, RawWordsAreCapturedAsTheyAreAndRepeat) {
    std::vector<uint32_t> content(2 * CARD_PERIOD_WORDS + 100);
    for (uint32_t i = 0; i < content.size(); i++)
        content[i] = (i * 2654435761u) ^ 0x00190000u;
    std::ofstream("in.raw", std::ios::binary)
        .write(reinterpret_cast<const char *>(content.data()), static_cast<std::streamsize>(content.size() * 4));
    config.captureRaw = "in.raw";
    UseManualClock();
    const std::vector<uint32_t> words = Capture(5);
    for (uint32_t i = 0; i < words.size(); i++)
        ASSERT_EQ(words[i], content[i % (2 * CARD_PERIOD_WORDS)]) << i;
}

TEST_F(Files, RawFilesNeedAWholePeriod) {
    std::ofstream("in.raw", std::ios::binary) << std::string(3071, 'x');
    config.captureRaw = "in.raw";
    Use();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_CAPTURE).result, -EINVAL);
}

TEST_F(Files, PlayedAudioLandsInItsChannelsFile) {
    config.playbackDirectory = ".";
    UseManualClock();
    Play(130)->Close();
    for (uint32_t channel = 1; channel <= 24; channel++) {
        char name[16];
        std::snprintf(name, sizeof name, "ch%02u.wav", channel);
        const std::vector<int16_t> samples = ReadSound(name);
        ASSERT_EQ(samples.size(), 125u * 32) << name;
        for (uint64_t frame = 0; frame < samples.size(); frame++)
            ASSERT_EQ(samples[frame], zr_card_sample(channel, frame)) << name << " " << frame;
    }
}

TEST_F(Files, PlayedWordsLandInTheRawFile) {
    config.playbackRaw = "out.raw";
    UseManualClock();
    Play(60)->Close();
    const std::string content = ReadWholeFile("out.raw");
    ASSERT_EQ(content.size(), 55u * CARD_PERIOD_BYTES);
    for (uint64_t number = 0; number < 55; number++) {
        const Period period = SignalPeriod(number);
        ASSERT_EQ(content.compare(number * CARD_PERIOD_BYTES, CARD_PERIOD_BYTES,
                                  reinterpret_cast<const char *>(period.data()), CARD_PERIOD_BYTES),
                  0)
            << number;
    }
}

TEST_F(Files, SoundFilesAreValidWhileTheCardPlays) {
    config.playbackDirectory = ".";
    UseManualClock();
    const auto pcm = Play(130);
    snd_pcm_avail_update(pcm->handle);
    EXPECT_EQ(ReadSound("ch07.wav").size(), 100u * 32);
}

TEST_F(Files, SinksThatCannotBeWrittenAreRefused) {
    config.playbackDirectory = "no/such/place";
    Use();
    EXPECT_EQ(Pcm(SND_PCM_STREAM_PLAYBACK).result, -EIO);
}
