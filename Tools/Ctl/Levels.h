// Peak and RMS level of each channel of a recording. Any thread.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Ctl/PcmFile.h"

// Decibels of an amplitude, full scale (32768) being 0; minus infinity for 0.
double LevelDb(double amplitude);

struct ChannelLevel {
    int peak = 0;              // largest magnitude, 0 to 32768
    std::uint64_t clipped = 0; // samples at the end of the range
    double squares = 0;        // sum of the squares
    std::uint64_t samples = 0;

    double PeakDb() const { return LevelDb(peak); }
    double RmsDb() const;
    bool IsSilent() const { return peak == 0; }
};

class LevelMeter {
  public:
    // Adds whole frames of interleaved samples.
    void Add(const std::vector<std::int16_t> &interleaved);

    const std::array<ChannelLevel, PCM_CHANNELS> &Channels() const { return m_channels; }

    // A row with a bar for each channel, then the silent and the clipped channels by number.
    std::string Text() const;

  private:
    std::array<ChannelLevel, PCM_CHANNELS> m_channels{};
};
