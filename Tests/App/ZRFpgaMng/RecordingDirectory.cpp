#include "RecordingDirectory.h"

#include <algorithm>
#include <filesystem>

#include "Simulation/CardDef.h"
#include "Simulation/CardSignal.h"
#include "Support/ScratchDir.h"

namespace fs = std::filesystem;

namespace {

const std::string ASIDE = std::string(AUDIO_DIRECTORY) + ".aside";

} // namespace

RecordingDirectory::RecordingDirectory(bool present) {
    m_movedAside = fs::exists(AUDIO_DIRECTORY);
    if (m_movedAside)
        fs::rename(AUDIO_DIRECTORY, ASIDE);
    if (present)
        Make();
}

RecordingDirectory::~RecordingDirectory() {
    fs::remove_all(AUDIO_DIRECTORY);
    if (m_movedAside)
        fs::rename(ASIDE, AUDIO_DIRECTORY);
}

void RecordingDirectory::Make() {
    fs::create_directories(AUDIO_DIRECTORY);
}

std::vector<std::string> RecordingDirectory::Recordings(const std::string &stream) const {
    std::vector<std::string> paths;
    for (const auto &entry : fs::directory_iterator(AUDIO_DIRECTORY))
        if (entry.path().filename().string().starts_with(stream + "_"))
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string RecordingDirectory::Content(const std::string &stream) const {
    const auto paths = Recordings(stream);
    return paths.size() == 1 ? ReadWholeFile(paths[0]) : "";
}

std::string RecordedSignal(std::uint64_t first, std::uint64_t count) {
    std::string bytes;
    for (std::uint64_t frame = first * CARD_PERIOD_FRAMES; frame < (first + count) * CARD_PERIOD_FRAMES; ++frame)
        for (std::uint32_t channel = 1; channel <= CARD_CHANNELS; ++channel) {
            const int sample = zr_card_sample(channel, frame);
            bytes += {static_cast<char>(sample & 0xFF), static_cast<char>(sample >> 8 & 0xFF)};
        }
    return bytes;
}
