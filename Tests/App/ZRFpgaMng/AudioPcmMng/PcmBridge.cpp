#include "PcmBridge.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include <sys/uio.h>

PcmBridge::PcmBridge() {
    config.clockRunning = false;
}

void PcmBridge::UseCard() {
    std::filesystem::create_directory("card");
    const std::string path = config.Write("card");
    ASSERT_FALSE(path.empty());
    setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
    ASSERT_TRUE(card.Open(config.ControlPath()));
    ASSERT_EQ(CZRBuffer::instance()->Open(), 1);
    in = CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY);
    out = CZRBuffer::instance()->GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY);
    log.Clear();
}

void PcmBridge::Start() {
    UseCard();
    ASSERT_EQ(AudioPcm::instance()->Init(), 1);
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    log.Clear();
}

Frame PcmBridge::Take() {
    Frame frame;
    iovec vec[2] = {{&frame.length, sizeof frame.length}, {frame.payload.data(), sizeof frame.payload}};
    frame.size = CZRBuffer::instance()->Read(in, vec, 2, 5000);
    return frame;
}

Frame PcmBridge::TakeNext() {
    card.Advance(1);
    return Take();
}

void PcmBridge::Give(const Payload &payload, uint16_t length) {
    iovec vec[2] = {{&length, sizeof length}, {const_cast<int16_t *>(payload.data()), sizeof payload}};
    ASSERT_GT(CZRBuffer::instance()->Write(out, vec, 2), 0);
}

void PcmBridge::Give(uint64_t number) {
    Give(SignalPayload(number));
}

int PcmBridge::Waiting() const {
    int count = -1;
    CZRBuffer::instance()->BufferCount(out, &count);
    return count;
}

void PcmBridge::FillPlayback() {
    for (uint64_t number = 0; number < 5; ++number)
        Give(number);
    ASSERT_TRUE(WaitForPlayed(6));
}

bool PcmBridge::WaitForPlayed(uint64_t count) const {
    return card.WaitForTap(CardSide::Playback, count, 5000);
}

void PcmBridge::PassTime() {
    const auto start = std::chrono::steady_clock::now();
    WaitUntil([&] { return std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(100); });
}

Period PcmBridge::Played(uint64_t sequence) const {
    TapPeriod tap;
    EXPECT_EQ(card.ReadTap(CardSide::Playback, sequence, tap), TapResult::Ready);
    return tap.words;
}

Period SignalPeriod(uint64_t number) {
    Period period;
    zr_card_period(number * CARD_PERIOD_FRAMES, period.data());
    return period;
}

Payload SignalPayload(uint64_t number) {
    Payload payload;
    zr_card_planar(number * CARD_PERIOD_FRAMES, payload.data());
    return payload;
}
