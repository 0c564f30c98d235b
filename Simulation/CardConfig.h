// A set-up of the stand-in card: writes the ALSA configuration and the control file
// that put it in the place of hw:0,0. For tests and tools; any thread.
//
//     CardConfig config;
//     config.speed = 10;
//     std::string path = config.Write(directory);   // then, before the first ALSA call:
//     setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
//     CardControl card;
//     card.Open(config.ControlPath());
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "CardDef.h"

struct CardConfig {
    // Shared module of the card; the one of this build, or the installed one, unless set.
    std::string plugin = DefaultPlugin();

    // Capture. Channels (1..24) named here come from sound files (mono, 16000 Hz, any
    // format libsndfile reads) that repeat for ever; the others carry the built-in signal.
    std::map<uint32_t, std::string> captureFiles;
    // Instead of all that: a raw file of little-endian tagged words, 768 per period, that
    // repeats for ever; a last incomplete period is left out.
    std::string captureRaw;

    // Playback, both may be given. A directory for ch01.wav to ch24.wav (mono, 16 bit) ...
    std::string playbackDirectory;
    // ... and a raw file of little-endian words just as they were played. What reaches the
    // files is what was played: nothing for pauses. They are written about every 100 ms
    // of audio, at an underrun and on closing, and are valid files at any time.
    std::string playbackRaw;

    // Buffer sizes that the card grants, in periods; 1 and 1 gives a period as large as the buffer.
    uint32_t minPeriods = 2;
    uint32_t maxPeriods = CARD_MAX_PERIODS;

    // State of the card at the start; CardControl changes it later.
    CardPresence presence = CardPresence::Present;
    double speed = 1.0;
    bool clockRunning = true;

    // Writes "asound.conf" and a fresh "card.control" (13 MB) into `directory`, which exists;
    // one in memory (tmpfs) keeps the audio threads clear of the disk.
    // Returns the absolute path for ALSA_CONFIG_PATH; empty on failure.
    std::string Write(const std::string &directory);

    // Absolute path of the control file, after Write.
    const std::string &ControlPath() const { return m_controlPath; }

    static std::string DefaultPlugin();

  private:
    std::string _Text() const;
    bool _WriteControl() const;

    std::string m_controlPath;
};
