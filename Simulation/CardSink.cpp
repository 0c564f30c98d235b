#include "CardSink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr uint32_t GATHERED_FRAMES = 50 * CARD_PERIOD_FRAMES; // 100 ms

SNDFILE *CreateSoundFile(const std::string &directory, uint32_t channel) {
    char name[16];
    std::snprintf(name, sizeof name, "/ch%02u.wav", channel);
    SF_INFO info = {};
    info.channels = 1;
    info.samplerate = CARD_RATE;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE *file = sf_open((directory + name).c_str(), SFM_WRITE, &info);
    if (file)
        sf_command(file, SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
    return file;
}

} // namespace

CardSink::~CardSink() {
    Flush();
}

int CardSink::Open(const CardSettings &settings) {
    if (!settings.sinkDirectory.empty() && _OpenSoundFiles(settings.sinkDirectory) < 0)
        return -EIO;
    if (!settings.sinkRaw.empty()) {
        m_rawFile.reset(std::fopen(settings.sinkRaw.c_str(), "wbe"));
        if (!m_rawFile) {
            SNDERR("stand-in card: cannot write %s", settings.sinkRaw.c_str());
            return -EIO;
        }
        std::setvbuf(m_rawFile.get(), nullptr, _IONBF, 0);
    }
    if (m_rawFile || !m_soundFiles.empty())
        m_words.resize(GATHERED_FRAMES * CARD_CHANNELS);
    m_channel.resize(GATHERED_FRAMES);
    return 0;
}

int CardSink::_OpenSoundFiles(const std::string &directory) {
    for (uint32_t channel = 1; channel <= CARD_CHANNELS; channel++) {
        m_soundFiles.emplace_back(CreateSoundFile(directory, channel), sf_close);
        if (!m_soundFiles.back()) {
            SNDERR("stand-in card: cannot write sound files in %s", directory.c_str());
            m_soundFiles.clear();
            return -EIO;
        }
    }
    return 0;
}

void CardSink::Play(const uint32_t *words, uint32_t frames) {
    if (m_words.empty())
        return;
    for (uint32_t i = 0; i < frames; i++)
        _PutFrame(words + i * CARD_CHANNELS);
}

void CardSink::_PutFrame(const uint32_t *words) {
    std::copy_n(words, CARD_CHANNELS, &m_words[m_frames * CARD_CHANNELS]);
    if (++m_frames == GATHERED_FRAMES)
        Flush();
}

void CardSink::Flush() {
    if (m_frames == 0)
        return;
    if (m_rawFile)
        std::fwrite(m_words.data(), CARD_CHANNELS * sizeof(uint32_t), m_frames, m_rawFile.get());
    _FlushSoundFiles();
    m_frames = 0;
}

void CardSink::_FlushSoundFiles() {
    for (size_t channel = 0; channel < m_soundFiles.size(); channel++) {
        for (uint32_t i = 0; i < m_frames; i++)
            m_channel[i] = static_cast<int16_t>(m_words[i * CARD_CHANNELS + channel] & 0xFFFFu);
        sf_write_short(m_soundFiles[channel].get(), m_channel.data(), m_frames);
    }
}
