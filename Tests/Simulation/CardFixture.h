// A stand-in card of its own for each test, opened through the real libasound the way
// the service opens the board's card. The test's thread does everything.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <alsa/asoundlib.h>
#include <gtest/gtest.h>

#include "Simulation/CardConfig.h"
#include "Simulation/CardControl.h"
#include "Simulation/CardSignal.h"
#include "Support/ScratchDir.h"

using Period = std::array<uint32_t, CARD_PERIOD_WORDS>;

// What a set-up was granted; `result` is the first negative result, or 0.
struct Granted {
    int result = 0;
    unsigned int rate = 16000;
    unsigned int periodTime = 2000;
    unsigned int bufferTime = 12000;
    snd_pcm_uframes_t periodFrames = 0;
    snd_pcm_uframes_t bufferFrames = 0;
};

// An open PCM.
class Pcm {
  public:
    // `result` of the opening; nothing else may be called when it is negative.
    explicit Pcm(snd_pcm_stream_t stream, const char *name = "hw:0,0");
    ~Pcm() { Close(); }
    Pcm(const Pcm &) = delete;
    Pcm &operator=(const Pcm &) = delete;

    // The service's calls, in its order, with its buffer or another (in microseconds);
    // software parameters on playback only.
    Granted SetUp(unsigned int bufferTime = 12000);

    long Read(Period &period, uint32_t frames = CARD_PERIOD_FRAMES);
    long Write(const Period &period, uint32_t frames = CARD_PERIOD_FRAMES);
    void Close();

    snd_pcm_t *handle = nullptr;
    int result = 0;

  private:
    int _SetSoftware(const Granted &granted);

    snd_pcm_stream_t m_stream;
};

class CardTest : public testing::Test {
  protected:
    // Writes the set-up in `config` and attaches `card` to it.
    void Use();
    // Use with a clock that only Advance moves.
    void UseManualClock();

    // Capture or playback, opened and set up; a failure fails the test.
    std::unique_ptr<Pcm> OpenCapture() { return _Open(SND_PCM_STREAM_CAPTURE); }
    std::unique_ptr<Pcm> OpenPlayback() { return _Open(SND_PCM_STREAM_PLAYBACK); }

    // Capture that has been started.
    std::unique_ptr<Pcm> StartCapture();
    // Playback whose buffer has been filled with the signal, from period 0 on, so that it runs.
    std::unique_ptr<Pcm> StartPlayback();

    // A real-time test takes a larger buffer than the service, so that a busy machine does not make it fail.
    unsigned int bufferTime = 12000;
    ScratchDir directory;
    CardConfig config;
    CardControl card;

  private:
    std::unique_ptr<Pcm> _Open(snd_pcm_stream_t stream);
};

// Period number `number` of the built-in signal.
Period SignalPeriod(uint64_t number);

// All of that side's tap.
std::vector<TapPeriod> WholeTap(const CardControl &card, CardSide side);
