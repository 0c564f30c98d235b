// See SoundFile.h.
#include "Sound/SoundFile.h"

#include <algorithm>
#include <cmath>

#include <samplerate.h>
#include <sndfile.h>

namespace {

struct CloseSound {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using SoundHandle = std::unique_ptr<SNDFILE, CloseSound>;

// Why the last file could not be opened, without the library's words around it.
std::string OpenError(const std::string &path) {
    const std::string system = "System error : ";
    std::string text = sf_strerror(nullptr);
    if (text.compare(0, system.size(), system) == 0)
        text.erase(0, system.size());
    return path + ": " + text.substr(0, text.find_last_not_of(".\n") + 1);
}

// A whole file in memory: interleaved, full scale 1.0.
struct Recording {
    std::vector<float> samples;
    int channels = 0;
    int rate = 0;
};

bool ReadAll(const std::string &path, Recording &recording, std::string &error) {
    SF_INFO info{};
    const SoundHandle file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file) {
        error = OpenError(path);
        return false;
    }
    constexpr sf_count_t piece = 16384;
    const auto channels = static_cast<std::size_t>(info.channels);
    std::size_t frames = 0;
    for (sf_count_t got = 1; got > 0; frames += static_cast<std::size_t>(got)) {
        recording.samples.resize((frames + piece) * channels);
        got = sf_readf_float(file.get(), recording.samples.data() + frames * channels, piece);
    }
    recording.samples.resize(frames * channels);
    recording.channels = info.channels;
    recording.rate = info.samplerate;
    if (frames == 0)
        error = path + ": holds no audio";
    return frames > 0;
}

std::vector<float> OneChannel(const Recording &recording, std::size_t channel) {
    const auto channels = static_cast<std::size_t>(recording.channels);
    std::vector<float> samples;
    samples.reserve(recording.samples.size() / channels);
    for (std::size_t at = channel; at < recording.samples.size(); at += channels)
        samples.push_back(recording.samples[at]);
    return samples;
}

std::vector<float> MixDown(const Recording &recording) {
    const auto channels = static_cast<std::size_t>(recording.channels);
    std::vector<float> samples(recording.samples.size() / channels);
    for (std::size_t frame = 0; frame < samples.size(); ++frame) {
        float sum = 0;
        for (std::size_t channel = 0; channel < channels; ++channel)
            sum += recording.samples[frame * channels + channel];
        samples[frame] = sum / static_cast<float>(channels);
    }
    return samples;
}

Samples ToSamples(const std::vector<float> &values) {
    Samples samples(values.size());
    std::transform(values.begin(), values.end(), samples.begin(), [](float value) {
        return static_cast<std::int16_t>(std::lrint(std::clamp(value * 32768.0F, -32768.0F, 32767.0F)));
    });
    return samples;
}

} // namespace

std::vector<float> ResampleTo16k(const std::vector<float> &samples, int rate, std::string &error) {
    if (rate == SOUND_RATE)
        return samples;
    SRC_DATA job{};
    job.src_ratio = static_cast<double>(SOUND_RATE) / rate;
    std::vector<float> result(static_cast<std::size_t>(std::ceil(static_cast<double>(samples.size()) * job.src_ratio)) +
                              1);
    job.data_in = samples.data();
    job.input_frames = static_cast<long>(samples.size());
    job.data_out = result.data();
    job.output_frames = static_cast<long>(result.size());
    if (const int failure = src_simple(&job, SRC_SINC_MEDIUM_QUALITY, 1)) {
        error = src_strerror(failure);
        return {};
    }
    result.resize(static_cast<std::size_t>(job.output_frames_gen));
    return result;
}

Samples ReadMono16k(const std::string &path, std::string &error) {
    Recording recording;
    if (!ReadAll(path, recording, error))
        return {};
    return ToSamples(ResampleTo16k(MixDown(recording), recording.rate, error));
}

std::vector<Samples> ReadChannels16k(const std::string &path, std::string &error) {
    Recording recording;
    if (!ReadAll(path, recording, error))
        return {};
    std::vector<Samples> channels;
    for (std::size_t channel = 0; channel < static_cast<std::size_t>(recording.channels); ++channel) {
        channels.push_back(ToSamples(ResampleTo16k(OneChannel(recording, channel), recording.rate, error)));
        if (channels.back().empty())
            return {};
    }
    return channels;
}

struct WavWriter::File {
    SoundHandle handle;
};

WavWriter::WavWriter() = default;
WavWriter::~WavWriter() = default;
WavWriter::WavWriter(WavWriter &&) noexcept = default;
WavWriter &WavWriter::operator=(WavWriter &&) noexcept = default;

bool WavWriter::Open(const std::string &path, int channels, std::string &error) {
    SF_INFO info{};
    info.samplerate = SOUND_RATE;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SoundHandle handle(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!handle) {
        error = OpenError(path);
        return false;
    }
    m_file = std::make_unique<File>();
    m_file->handle = std::move(handle);
    return true;
}

bool WavWriter::Write(const std::int16_t *interleaved, std::size_t frames) {
    const auto count = static_cast<sf_count_t>(frames);
    return m_file && sf_writef_short(m_file->handle.get(), interleaved, count) == count;
}

bool WavWriter::Close() {
    if (!m_file)
        return true;
    const bool closed = sf_close(m_file->handle.release()) == 0;
    m_file.reset();
    return closed;
}
