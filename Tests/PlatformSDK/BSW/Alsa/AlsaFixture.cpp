#include "AlsaFixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Support/WaitUntil.h"

AlsaTest::~AlsaTest() {
    if (card.IsOpen())
        card.StartClock();
    if (sound)
        sound->CleanUp();
}

void AlsaTest::UseCard(const std::string &extra) {
    std::filesystem::create_directory("card");
    const std::string path = config.Write("card");
    ASSERT_FALSE(path.empty());
    std::ofstream(path, std::ios::app) << extra;
    setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
    ASSERT_TRUE(card.Open(config.ControlPath()));
}

AlsaSound &AlsaTest::Make(const char *name, int rate, int channels, int periodTime, snd_pcm_format_t format) {
    sound = std::make_unique<AlsaSound>(name, rate, channels, periodTime, format);
    return *sound;
}

void AlsaTest::Open() {
    UseCard();
    ASSERT_EQ(Make().Init(6, 6), 0);
    log.Clear();
}

void AlsaTest::StartCapture() {
    auto read = Begin([&] { return sound->SoundRead(bytes, PERIOD_BYTES); });
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    ASSERT_TRUE(card.Advance(1));
    ASSERT_EQ(read.get(), PERIOD_BYTES);
}

int AlsaTest::ReadNext() {
    card.Advance(1);
    return sound->SoundRead(bytes, PERIOD_BYTES);
}

void AlsaTest::StartPlayback() {
    for (uint64_t number = 0; number < 6; ++number) {
        Period signal = SignalPeriod(number);
        ASSERT_EQ(sound->SoundWrite(reinterpret_cast<uint8_t *>(signal.data()), PERIOD_BYTES), PERIOD_BYTES);
    }
    ASSERT_TRUE(card.Status().Side(CardSide::Playback).running);
}

bool AlsaTest::WaitForCaptureStarts(uint64_t count) const {
    return WaitUntil([&] { return card.Status().Side(CardSide::Capture).starts == count; });
}

void AlsaTest::FillWithSilence() {
    Period silence{};
    for (int written = 0; written < 6 && !card.Status().Side(CardSide::Playback).running; ++written)
        sound->SoundWrite(reinterpret_cast<uint8_t *>(silence.data()), PERIOD_BYTES);
    ASSERT_TRUE(card.Status().Side(CardSide::Playback).running);
}

std::vector<Period> AlsaTest::Played() const {
    std::vector<Period> periods;
    TapPeriod tap;
    while (card.ReadTap(CardSide::Playback, periods.size(), tap) == TapResult::Ready)
        periods.push_back(tap.words);
    return periods;
}

Period SignalPeriod(uint64_t number) {
    Period signal;
    zr_card_period(number * CARD_PERIOD_FRAMES, signal.data());
    return signal;
}
