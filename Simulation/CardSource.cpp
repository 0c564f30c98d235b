#include "CardSource.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

#include <sndfile.h>

#include "CardSignal.h"

namespace {

// Reads a whole mono file.
int LoadSoundFile(const std::string &path, std::vector<int16_t> &samples) {
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
    if (!file) {
        SNDERR("stand-in card: %s: %s", path.c_str(), sf_strerror(nullptr));
        return -ENOENT;
    }
    if (info.channels != 1 || info.samplerate != static_cast<int>(CARD_RATE) || info.frames < 1) {
        SNDERR("stand-in card: %s is not mono at %u Hz", path.c_str(), CARD_RATE);
        return -EINVAL;
    }
    samples.resize(static_cast<size_t>(info.frames));
    return sf_read_short(file.get(), samples.data(), info.frames) == info.frames ? 0 : -EIO;
}

} // namespace

int CardSource::Open(const CardSettings &settings) {
    if (!settings.sourceRaw.empty())
        return _LoadRaw(settings.sourceRaw);
    for (const auto &[channel, path] : settings.sourceFiles)
        if (const int result = LoadSoundFile(path, m_files[channel - 1]); result < 0)
            return result;
    return 0;
}

int CardSource::_LoadRaw(const std::string &path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        SNDERR("stand-in card: cannot read %s", path.c_str());
        return -ENOENT;
    }
    const size_t periods = static_cast<size_t>(file.tellg()) / CARD_PERIOD_BYTES;
    if (periods == 0)
        return -EINVAL;
    m_raw.resize(periods * CARD_PERIOD_WORDS);
    file.seekg(0);
    file.read(reinterpret_cast<char *>(m_raw.data()), static_cast<std::streamsize>(periods * CARD_PERIOD_BYTES));
    return file ? 0 : -EIO;
}

void CardSource::Fill(uint64_t frame, uint32_t *words) const {
    if (!m_raw.empty()) {
        const size_t period = frame / CARD_PERIOD_FRAMES % (m_raw.size() / CARD_PERIOD_WORDS);
        std::memcpy(words, &m_raw[period * CARD_PERIOD_WORDS], CARD_PERIOD_BYTES);
        return;
    }
    zr_card_period(frame, words);
    for (uint32_t channel = 0; channel < CARD_CHANNELS; channel++) {
        const std::vector<int16_t> &file = m_files[channel];
        for (uint32_t i = 0; i < CARD_PERIOD_FRAMES && !file.empty(); i++)
            words[i * CARD_CHANNELS + channel] =
                ((channel + 1) << 16) | static_cast<uint16_t>(file[(frame + i) % file.size()]);
    }
}
