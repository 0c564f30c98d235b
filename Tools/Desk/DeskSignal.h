// The audio of a run: recorded voices on some channels, on every other one a signal of
// its own; channels 23 and 24 carry the frame number. Both directions have theirs, and
// no channel of one is a channel of the other. Immutable once loaded; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Peer/ZRPeer.h"
#include "Sound/SoundFile.h"

enum class DeskSource { Card, Peer };

class DeskSignal {
  public:
    // The recordings and the channels they are on.
    static const std::map<uint32_t, std::string> &Voices(DeskSource source);

    // Brings the recordings of both directions to 16000 Hz and writes them to `directory`
    // as files of the channel's number. False, and `error` says why, on failure.
    static bool PrepareVoices(const std::string &directory, std::string &error);
    static std::string VoicePath(const std::string &directory, uint32_t channel);

    // Loads what PrepareVoices wrote. False, and `error` says why, on failure.
    bool Load(DeskSource source, const std::string &directory, std::string &error);

    // The sample of `channel` (1..24) at `frame`. Voices repeat.
    int16_t Sample(uint32_t channel, uint64_t frame) const;

    // The 32 frames from `firstFrame` on.
    zrpeer::AudioBlock Block(uint64_t firstFrame) const;

  private:
    DeskSource m_source = DeskSource::Card;
    std::map<uint32_t, Samples> m_voices;
};

// The frame number (32 bits) that a block carries.
uint32_t zr_desk_frame_of(const zrpeer::AudioBlock &block);
