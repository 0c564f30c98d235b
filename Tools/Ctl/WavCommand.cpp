// zrctl wav: a raw recording as a 24-channel WAV file, or as one file for each channel.
// Main thread.
#include <array>
#include <cstdio>
#include <filesystem>

#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/CtlError.h"
#include "Ctl/PcmFile.h"
#include "Sound/SoundFile.h"

namespace {

constexpr std::uint64_t WAV_MAX_BYTES = 0xFFFFFFFFU - 4096; // of sound; the header counts in 32 bits

struct WavOptions {
    std::string file;
    std::string output;
    bool split = false;
};

[[noreturn]] void Fail(const std::string &line) {
    throw CtlError(CtlExit::Failed, line);
}

WavWriter Create(const std::string &path, int channels) {
    WavWriter writer;
    std::string error;
    if (!writer.Open(path, channels, error))
        Fail(path + ": " + error);
    return writer;
}

void Write(WavWriter &writer, const std::vector<std::int16_t> &samples, int channels) {
    if (!writer.Write(samples.data(), samples.size() / static_cast<std::size_t>(channels)))
        Fail("the WAV file could not be written");
}

void Close(WavWriter &writer, const std::string &path) {
    if (!writer.Close())
        Fail(path + " could not be completed");
    std::printf("%s\n", path.c_str());
}

void WriteOne(PcmFile &file, const std::string &path) {
    if (file.Frames() * PCM_FRAME_BYTES > WAV_MAX_BYTES)
        Fail("too long for one WAV file: use --split");
    WavWriter writer = Create(path, PCM_CHANNELS);
    for (auto *samples = &file.Read(); !samples->empty(); samples = &file.Read())
        Write(writer, *samples, PCM_CHANNELS);
    Close(writer, path);
}

// "name.wav" becomes "name_ch07.wav".
std::string ChannelPath(const std::filesystem::path &path, std::size_t channel) {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "_ch%02zu", channel + 1);
    return path.parent_path() / (path.stem().string() + suffix + path.extension().string());
}

std::vector<std::int16_t> ChannelOf(const std::vector<std::int16_t> &interleaved, std::size_t channel) {
    std::vector<std::int16_t> samples;
    samples.reserve(interleaved.size() / PCM_CHANNELS);
    for (std::size_t i = channel; i < interleaved.size(); i += PCM_CHANNELS)
        samples.push_back(interleaved[i]);
    return samples;
}

void WriteSplit(PcmFile &file, const std::string &path) {
    std::array<WavWriter, PCM_CHANNELS> writers;
    for (std::size_t channel = 0; channel < writers.size(); ++channel)
        writers[channel] = Create(ChannelPath(path, channel), 1);
    for (auto *samples = &file.Read(); !samples->empty(); samples = &file.Read())
        for (std::size_t channel = 0; channel < writers.size(); ++channel)
            Write(writers[channel], ChannelOf(*samples, channel), 1);
    for (std::size_t channel = 0; channel < writers.size(); ++channel)
        Close(writers[channel], ChannelPath(path, channel));
}

void MakeWav(const WavOptions &options) {
    PcmFile file(options.file);
    const std::string path = options.output.empty()
                                 ? std::filesystem::path(options.file).replace_extension(".wav").string()
                                 : options.output;
    std::error_code error;
    if (std::filesystem::equivalent(path, options.file, error))
        throw CtlError(CtlExit::WrongUse, path + " is the recording itself");
    options.split ? WriteSplit(file, path) : WriteOne(file, path);
    file.WarnOfSpareBytes();
}

} // namespace

void AddWav(CLI::App &program, const CtlOptions &) {
    const auto options = std::make_shared<WavOptions>();
    CLI::App *command = program.add_subcommand("wav", "Turn a recording into a WAV file");
    command->add_option("FILE", options->file, "Raw recording (.pcm)")->required()->type_name("FILE");
    command->add_option("-o,--output", options->output, "WAV file (default: the recording's name with .wav)")
        ->type_name("FILE");
    command->add_flag("--split", options->split, "One file for each channel, its number behind the name");
    SetRun(*command, options, MakeWav);
}
