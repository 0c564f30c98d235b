// The PCM bridge between a stand-in card of its own and the real stream buffers, the
// peers' side of the buffers in the test's hands. The card's clock stands still unless a
// test moves it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AudioPcmProbe.h"
#include "Simulation/CardConfig.h"
#include "Simulation/CardControl.h"
#include "Simulation/CardSignal.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

using Period = std::array<uint32_t, CARD_PERIOD_WORDS>;
using Payload = std::array<int16_t, CARD_PERIOD_WORDS>;
using Texts = std::vector<std::string>;

// One record of DIRECT_IN.
struct Frame {
    int size = 0; // 0: none came in time
    uint16_t length = 0;
    Payload payload{};
};

class PcmBridge : public testing::Test {
  protected:
    PcmBridge();

    // Puts the card of `config` in the place of hw:0,0 and opens the stream buffers.
    void UseCard();
    // UseCard and a successful Init; forgets the log.
    void Start();

    // Waits for the next record of DIRECT_IN.
    Frame Take();
    // Moves the card one period ahead and takes what it captured.
    Frame TakeNext();

    // Stores a record in DIRECT_OUT; `Give(number)` one with period `number` of the signal.
    void Give(const Payload &payload, uint16_t length = 1536);
    void Give(uint64_t number);
    // Records that wait in DIRECT_OUT.
    int Waiting() const;

    // Fills the card's playback buffer with periods 0 to 4 behind the silent one, so that it runs.
    void FillPlayback();
    // Waits until the card has taken `count` periods in all.
    bool WaitForPlayed(uint64_t count) const;
    // Lets 100 ms pass. A thread that waits for the card meanwhile has waited for
    // PASSED_AT_LEAST_US, also when the machine is busy.
    static void PassTime();
    static constexpr uint64_t PASSED_AT_LEAST_US = 20000;

    // Period `sequence` as the card took it.
    Period Played(uint64_t sequence) const;

    LogCapture log;
    CardConfig config;
    CardControl card;
    void *in = nullptr;  // reader of DIRECT_IN
    void *out = nullptr; // writer of DIRECT_OUT
};

// Period number `number` of the card's signal, tagged and planar.
Period SignalPeriod(uint64_t number);
Payload SignalPayload(uint64_t number);
