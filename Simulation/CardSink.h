// Where the card plays to: a sound file per channel, a raw file of words, both or
// nothing. Opened by the thread that opens the PCM, then used by the playback side's
// audio thread, which gathers about 100 ms in memory before it writes to the files.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include <sndfile.h>

#include "CardSettings.h"

class CardSink {
  public:
    CardSink() = default;
    ~CardSink();
    CardSink(const CardSink &) = delete;
    CardSink &operator=(const CardSink &) = delete;

    // Creates the files, replacing old ones. 0, or -EIO.
    int Open(const CardSettings &settings);

    // Appends `frames` frames of 24 words. Does nothing without files.
    void Play(const uint32_t *words, uint32_t frames);

    // Writes out what is gathered.
    void Flush();

  private:
    int _OpenSoundFiles(const std::string &directory);
    void _PutFrame(const uint32_t *words);
    void _FlushSoundFiles();

    using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;
    using RawFile = std::unique_ptr<FILE, decltype(&fclose)>;

    std::vector<SoundFile> m_soundFiles; // none or 24
    RawFile m_rawFile{nullptr, fclose};
    std::vector<uint32_t> m_words;  // gathered frames
    std::vector<int16_t> m_channel; // one channel of them
    uint32_t m_frames = 0;
};
