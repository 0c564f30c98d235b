// From the card to the peers: "PcmRead" on a running bridge.
#include <cerrno>

#include <gmock/gmock.h>

#include "PcmBridge.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AudioPcmRead : public PcmBridge {};

TEST_F(AudioPcmRead, EveryChannelArrivesInItsOwnBlockBitExact) {
    Start();
    for (uint64_t number = 0; number < 300; ++number) {
        const Frame frame = TakeNext();
        ASSERT_EQ(frame.size, 1538);
        ASSERT_EQ(frame.length, 1536);
        ASSERT_EQ(frame.payload, SignalPayload(number)) << "period " << number;
    }
    EXPECT_EQ(AudioPcmProbe::CardReads(), 300u);
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::FramesGiven() == 300; }));
    EXPECT_EQ(AudioPcmProbe::CardReadErrors() + AudioPcmProbe::BadPeriods(), 0u);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AudioPcmRead, AFailedReadSendsASilentFrameAndIsCounted) {
    Start();
    EXPECT_EQ(TakeNext().payload, SignalPayload(0));
    card.Inject(CardSide::Capture, CardFault::HardError, EIO);
    const Frame silent = TakeNext();
    EXPECT_EQ(silent.size, 1538);
    EXPECT_EQ(silent.length, 1536);
    EXPECT_EQ(silent.payload, Payload{});
    EXPECT_EQ(Take().payload, SignalPayload(1));
    EXPECT_EQ(AudioPcmProbe::CardReadErrors(), 1u);
    EXPECT_EQ(AudioPcmProbe::CardReads(), 2u);
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 1u); // silence carries tag 0
    EXPECT_THAT(log.Texts(),
                ElementsAre("E card:hw:0,0,read -5 error:Input/output error", "E Read error!", "E alsa read failed"));
}

TEST_F(AudioPcmRead, AnOverrunLosesAudioButNoFrame) {
    Start();
    EXPECT_EQ(TakeNext().payload, SignalPayload(0));
    card.Inject(CardSide::Capture, CardFault::Overrun);
    ASSERT_TRUE(log.WaitFor("E card:hw:0,0, <readi> overrun occurred.-->snd_pcm_prepare()"));
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    EXPECT_EQ(TakeNext().payload, SignalPayload(1));
    EXPECT_EQ(AudioPcmProbe::CardReadErrors(), 0u);
}

TEST_F(AudioPcmRead, RotatedTagsStillLandInTheirChannels) {
    Start();
    card.SetTags(CardTags::Rotated, 0, 5);
    for (uint64_t number = 0; number < 3; ++number)
        EXPECT_EQ(TakeNext().payload, SignalPayload(number));
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 0u);
}

TEST_F(AudioPcmRead, ABadTagEndsTheConversionButNotTheFrame) {
    Start();
    const uint32_t word = 24 + 3; // second frame, channel 4
    for (const CardTags tags : {CardTags::Zero, CardTags::TwentyFive}) {
        const uint64_t number = AudioPcmProbe::CardReads();
        card.SetTags(tags, 1, word);
        const Frame frame = TakeNext();
        Payload expected{};
        const Payload whole = SignalPayload(number);
        for (size_t channel = 0; channel < 24; ++channel) {
            expected[channel * 32] = whole[channel * 32];
            if (channel < 3)
                expected[channel * 32 + 1] = whole[channel * 32 + 1];
        }
        EXPECT_EQ(frame.length, 1536);
        EXPECT_EQ(frame.size, 1538);
        EXPECT_EQ(frame.payload, expected);
    }
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 2u);
    EXPECT_EQ(TakeNext().payload, SignalPayload(2));
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AudioPcmRead, RepeatedTagsFillTheirBlockAndGoOnBehindIt) {
    Start();
    card.SetTags(CardTags::Repeated, 1, 24);
    const Frame frame = TakeNext();
    const Period words = SignalPeriod(0);
    Payload expected{};
    for (size_t i = 0; i < 32; ++i) // the other 736 samples lie behind the payload
        expected[23 * 32 + i] = static_cast<int16_t>(words[i]);
    EXPECT_EQ(frame.payload, expected);
    card.SetTags(CardTags::Repeated, 1, 1);
    const Frame whole = TakeNext();
    for (size_t i = 0; i < 768; ++i)
        ASSERT_EQ(whole.payload[i], static_cast<int16_t>(SignalPeriod(1)[i]));
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 0u);
}

TEST_F(AudioPcmRead, TimesOfTheIterationAndOfTheCardAreKept) {
    Start();
    TakeNext();
    PassTime();
    TakeNext();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::ReadCardTime() >= PASSED_AT_LEAST_US; }));
    EXPECT_LT(AudioPcmProbe::ReadCardTime(), 30000000u);
    EXPECT_GE(AudioPcmProbe::ReadTime(), AudioPcmProbe::ReadCardTime());
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::MaxReadCardTime() >= PASSED_AT_LEAST_US; }));
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::MaxReadTime() >= AudioPcmProbe::MaxReadCardTime(); }));
    TakeNext();
    EXPECT_GE(AudioPcmProbe::MaxReadCardTime(), PASSED_AT_LEAST_US);
}

// The two dumps of period `number`, as the log shows them.
Texts DumpOf(uint64_t number) {
    const Period words = SignalPeriod(number);
    std::string card, payload;
    char text[64];
    for (size_t channel = 0; channel < 24; ++channel) {
        if (channel % 8 == 0) {
            card += "\n";
            payload += "\n";
        }
        const uint32_t word = words[channel];
        std::snprintf(text, sizeof text, " %02x %02x %02x %02x ", word & 0xFF, word >> 8 & 0xFF, word >> 16 & 0xFF,
                      word >> 24);
        card += text;
        std::snprintf(text, sizeof text, " %02x %02x       ", word & 0xFF, word >> 8 & 0xFF);
        payload += text;
    }
    return {"D FPGA PcmRdData0:" + card, "D FPGA PcmRdData1:" + payload + " ", "D "};
}

TEST_F(AudioPcmRead, TheDumpComesAfter1001PeriodsAndThenEvery3001) {
    Start();
    for (uint64_t number = 0; number < 10; ++number)
        ASSERT_EQ(TakeNext().size, 1538);
    AudioPcmProbe::SwitchDump(true);
    uint64_t number = 10;
    for (; number < 10 + 1000; ++number)
        ASSERT_EQ(TakeNext().size, 1538);
    EXPECT_THAT(log.Texts(), IsEmpty());
    ASSERT_EQ(TakeNext().size, 1538);
    EXPECT_EQ(log.Texts(), DumpOf(number++));
    log.Clear();
    for (uint64_t i = 0; i < 3000; ++i, ++number)
        ASSERT_EQ(TakeNext().size, 1538);
    EXPECT_THAT(log.Texts(), IsEmpty());
    ASSERT_EQ(TakeNext().size, 1538);
    EXPECT_EQ(log.Texts(), DumpOf(number));
}

} // namespace
