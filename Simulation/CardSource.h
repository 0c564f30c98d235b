// What the card captures: the built-in signal, sound files on some channels, or a raw
// file of tagged words. Opened by the thread that opens the PCM, then read by the
// capture side's audio thread: everything is in memory by then.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "CardSettings.h"

class CardSource {
  public:
    // Loads the files. 0; -ENOENT or -EIO when one cannot be read, -EINVAL when it is
    // not mono at 16000 Hz, or holds less than a frame (raw: a period).
    int Open(const CardSettings &settings);

    // The period of 768 words whose first frame is number `frame`, a multiple of 32.
    void Fill(uint64_t frame, uint32_t *words) const;

  private:
    int _LoadRaw(const std::string &path);

    std::array<std::vector<int16_t>, CARD_CHANNELS> m_files; // empty: built-in signal
    std::vector<uint32_t> m_raw;                             // whole periods; empty: channel by channel
};
