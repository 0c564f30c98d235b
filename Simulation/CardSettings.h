// What the ALSA configuration says of the card: where audio comes from and goes to, and
// what the card grants. Read once, by the thread that opens the PCM.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <alsa/asoundlib.h>

#include "CardDef.h"

struct CardSettings {
    std::string control;                         // path of the control file
    std::string card = "0";                      // as asked for: hw:CARD,DEVICE
    std::string device = "0";                    // ..
    std::map<uint32_t, std::string> sourceFiles; // sound file per channel 1..24
    std::string sourceRaw;
    std::string sinkDirectory;
    std::string sinkRaw;
    uint32_t minPeriods = 2;
    uint32_t maxPeriods = CARD_MAX_PERIODS;

    // Reads the node of the PCM. 0, or -EINVAL (with a line on ALSA's error output) for an
    // unknown field or a value that makes no sense.
    int Read(snd_config_t *conf);

    // True for the one card that there is.
    bool IsThisCard() const { return card == "0" && device == "0"; }

  private:
    int _ReadField(const std::string &id, snd_config_t *node);
    int _ReadFiles(snd_config_t *node);
};
