// See SendOptions.h.
#include "PeerTool/SendOptions.h"

#include <utility>

#include <CLI/CLI.hpp>

namespace {

// "7=voice.wav" as channel 7 and "voice.wav"; channel 0 when it is malformed.
std::pair<int, std::string> TakeApart(const std::string &text) {
    const std::size_t mark = text.find('=');
    int channel = 0;
    if (mark == std::string::npos || mark + 1 == text.size() ||
        !CLI::detail::lexical_cast(text.substr(0, mark), channel) || channel < 1 || channel > zrpeer::CHANNELS)
        return {0, ""};
    return {channel, text.substr(mark + 1)};
}

std::string CheckFile(const std::string &text) {
    return TakeApart(text).first == 0 ? "'" + text + "' is not CHANNEL=FILE with a channel of 1 to 24" : "";
}

std::string CheckTone(const std::string &text) {
    const auto [channel, number] = TakeApart(text);
    double hertz = 0;
    if (channel == 0 || !CLI::detail::lexical_cast(number, hertz) || !(hertz > 0 && hertz < zrpeer::SAMPLE_RATE / 2))
        return "'" + text + "' is not CHANNEL=HERTZ with a channel of 1 to 24 and a tone below 8000 Hz";
    return "";
}

bool UseAll(const std::string &path, BlockSource &source, std::string &error) {
    std::vector<Samples> channels = ReadChannels16k(path, error);
    if (channels.size() > zrpeer::CHANNELS)
        error = path + ": has more than 24 channels";
    if (!error.empty())
        return false;
    for (std::size_t channel = 0; channel < channels.size(); ++channel)
        source.SetSamples(static_cast<int>(channel) + 1, std::move(channels[channel]));
    return true;
}

bool UseFile(const std::string &text, BlockSource &source, std::string &error) {
    const auto [channel, path] = TakeApart(text);
    Samples samples = ReadMono16k(path, error);
    if (!error.empty())
        return false;
    source.SetSamples(channel, std::move(samples));
    return true;
}

} // namespace

void AddSourceOptions(CLI::App &command, SendOptions &options) {
    command.add_option("--all", options.all, "A sound file whose channels go to channels 1 to 24")->type_name("FILE");
    command.add_option("--file", options.files, "A sound file for one channel (may be given for each)")
        ->type_name("CHANNEL=FILE")
        ->check(CheckFile)
        ->allow_extra_args(false);
    command.add_option("--tone", options.tones, "A sine for one channel (may be given for each)")
        ->type_name("CHANNEL=HERTZ")
        ->check(CheckTone)
        ->allow_extra_args(false);
    command.add_flag("--repeat", options.repeat, "Start sound files over at their end");
}

bool MakeSource(const SendOptions &options, BlockSource &source, std::string &error) {
    source.SetRepeat(options.repeat);
    if (options.all.empty() && options.files.empty() && options.tones.empty())
        for (int channel = 1; channel <= zrpeer::CHANNELS; ++channel)
            source.SetTestSignal(channel);
    if (!options.all.empty() && !UseAll(options.all, source, error))
        return false;
    for (const std::string &text : options.files)
        if (!UseFile(text, source, error))
            return false;
    for (const std::string &text : options.tones) {
        const auto [channel, hertz] = TakeApart(text);
        source.SetTone(channel, std::stod(hertz));
    }
    return true;
}
