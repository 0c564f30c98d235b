// The audio that the tool sends: each channel from a sound file, a tone, the test signal,
// or silent. One thread.
#pragma once

#include <array>
#include <cstdint>

#include "Peer/ZRPeer.h"
#include "Sound/SoundFile.h"

// Channels are numbered 1 to 24; a channel that was given nothing is silent.
class BlockSource {
  public:
    void SetSamples(int channel, Samples samples);
    void SetTone(int channel, double hertz); // a sine at a quarter of full scale

    // The stand-in card's own signal, with the number of the frame in channels 23 and 24.
    void SetTestSignal(int channel);

    // Recorded samples start over at their end; otherwise silence follows them.
    void SetRepeat(bool repeat) { m_repeat = repeat; }

    // True when a channel holds something that never ends.
    bool IsEndless() const;

    // True when all recorded samples have been handed out. Never for an endless source.
    bool IsAtEnd() const;

    // The next 32 frames.
    zrpeer::AudioBlock Next();

  private:
    enum class Kind { Silence, Recorded, Tone, TestSignal };
    struct Channel {
        Kind kind = Kind::Silence;
        Samples samples;
        double hertz = 0;
    };

    Channel &_At(int channel) { return m_channels[static_cast<std::size_t>(channel - 1)]; }
    std::int16_t _Sample(const Channel &channel, int number, std::uint64_t frame) const;
    std::int16_t _Recorded(const Samples &samples, std::uint64_t frame) const;

    std::array<Channel, zrpeer::CHANNELS> m_channels;
    std::uint64_t m_frame = 0; // number of the next frame
    bool m_repeat = false;
};
