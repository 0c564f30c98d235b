// A sound device on a stand-in card of its own, behind the real libasound. The card's
// clock stands still unless a test moves it, so that every call meets a known state.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BSW/Alsa/AlsaSound.h"
#include "Simulation/CardConfig.h"
#include "Simulation/CardControl.h"
#include "Simulation/CardSignal.h"
#include "Support/LogCapture.h"

using Period = std::array<uint32_t, CARD_PERIOD_WORDS>;
using Texts = std::vector<std::string>;

constexpr int32_t PERIOD_BYTES = CARD_PERIOD_BYTES;

class AlsaTest : public testing::Test {
  protected:
    AlsaTest() { config.clockRunning = false; }
    // Closes the device with the clock running, so that draining ends.
    ~AlsaTest() override;

    // Puts the card of `config` in the place of hw:0,0; `extra` is appended to the ALSA configuration.
    void UseCard(const std::string &extra = {});

    // Makes the device with other values than the service's, without opening it.
    AlsaSound &Make(const char *name = "hw:0,0", int rate = 16000, int channels = 24, int periodTime = 2000,
                    snd_pcm_format_t format = SND_PCM_FORMAT_S32_LE);

    // A card and an opened device as the service has it; forgets the log.
    void Open();

    // Starts `transfer` on a thread of its own.
    static std::future<int> Begin(std::function<int()> transfer) { return std::async(std::launch::async, transfer); }

    // Reads the first period, which starts the capture.
    void StartCapture();

    // Reads one period into `period` with the card one period ahead.
    int ReadNext();

    // Fills the playback buffer with periods 0 to 5 of the signal, which starts it.
    void StartPlayback();

    // Waits until the capture has been started `count` times in all.
    bool WaitForCaptureStarts(uint64_t count) const;

    // Starts playback by filling its buffer up with silence, as the card takes nothing before.
    void FillWithSilence();

    // What the card took for playback, period by period.
    std::vector<Period> Played() const;

    LogCapture log;
    CardConfig config;
    CardControl card;
    std::unique_ptr<AlsaSound> sound;
    Period period{};
    uint8_t *const bytes = reinterpret_cast<uint8_t *>(period.data());
};

// Period number `number` of the card's built-in signal.
Period SignalPeriod(uint64_t number);
