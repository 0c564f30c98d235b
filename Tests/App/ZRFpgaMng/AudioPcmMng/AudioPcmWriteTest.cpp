// From the peers to the card: "PcmWrite" on a running bridge.
#include <gmock/gmock.h>

#include "PcmBridge.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AudioPcmWrite : public PcmBridge {
  protected:
    // Moves the card one period ahead and waits until it has taken the next.
    bool PlayNext() {
        const uint64_t count = card.TapCount(CardSide::Playback);
        card.Advance(1);
        return WaitForPlayed(count + 1);
    }
};

TEST_F(AudioPcmWrite, OneSilentPeriodGoesAhead) {
    Start();
    FillPlayback();
    EXPECT_EQ(Played(0), Period{}); // untagged
    EXPECT_EQ(Played(1), SignalPeriod(0));
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 5; }));
}

TEST_F(AudioPcmWrite, EveryBlockIsPlayedOnItsOwnChannelBitExact) {
    Start();
    FillPlayback();
    for (uint64_t number = 5; number < 300; ++number) {
        Give(number);
        ASSERT_TRUE(PlayNext());
        ASSERT_EQ(Played(number + 1), SignalPeriod(number)) << "period " << number;
    }
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 300; }));
    EXPECT_EQ(AudioPcmProbe::FramesTaken(), 300u);
    EXPECT_EQ(AudioPcmProbe::FilledChecks(), 300u);
    EXPECT_EQ(AudioPcmProbe::CardWriteErrors() + AudioPcmProbe::Dropped(), 0u);
    EXPECT_THAT(log.TextsOf("AudioPcmWrite.cpp"), IsEmpty()); // nobody waits for the capture side
}

TEST_F(AudioPcmWrite, ExtremeSamplesKeepTheirTags) {
    Start();
    Payload payload;
    for (size_t i = 0; i < payload.size(); ++i)
        payload[i] = i % 3 == 0 ? int16_t{-1} : i % 3 == 1 ? INT16_MIN : INT16_MAX;
    Give(payload);
    for (uint64_t number = 0; number < 4; ++number)
        Give(number);
    ASSERT_TRUE(WaitForPlayed(6));
    const Period played = Played(1);
    for (size_t frame = 0; frame < 32; ++frame)
        for (size_t channel = 0; channel < 24; ++channel)
            ASSERT_EQ(played[frame * 24 + channel],
                      (channel + 1) << 16 | static_cast<uint16_t>(payload[channel * 32 + frame]));
}

TEST_F(AudioPcmWrite, AWrongLengthIsLoggedAndPlayedAllTheSame) {
    Start();
    Give(SignalPayload(0), 1535);
    Give(SignalPayload(1), 0);
    for (uint64_t number = 2; number < 5; ++number)
        Give(number);
    ASSERT_TRUE(WaitForPlayed(6));
    EXPECT_EQ(Played(1), SignalPeriod(0));
    EXPECT_EQ(Played(2), SignalPeriod(1));
    EXPECT_THAT(log.Texts(), ElementsAre("E Pcm write len=1535 error!", "E Pcm write len=0 error!"));
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 5; }));
}

TEST_F(AudioPcmWrite, AnEmptyChannelIsOnlyCounted) {
    Start();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::EmptyChecks() >= 5; }));
    EXPECT_EQ(AudioPcmProbe::FilledChecks(), 0u);
    EXPECT_EQ(AudioPcmProbe::FramesTaken(), 0u);
    EXPECT_THAT(log.Texts(), IsEmpty());
}

TEST_F(AudioPcmWrite, AHardErrorOfTheCardLosesTheFrameAndPassesAsPlayed) {
    Start();
    FillPlayback();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 5; }));
    card.Inject(CardSide::Playback, CardFault::HardError, EIO);
    card.Advance(1);
    Give(5);
    ASSERT_TRUE(log.WaitFor("I _PcmWrite error!r:0, l:32"));
    Give(6);
    ASSERT_TRUE(WaitForPlayed(7));
    EXPECT_EQ(Played(6), SignalPeriod(6));
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 7; }));
    EXPECT_EQ(AudioPcmProbe::CardWriteErrors(), 0u); // the device reports the length all the same
}

TEST_F(AudioPcmWrite, TimesOfTheIterationAndOfTheCardAreKept) {
    Start();
    FillPlayback();
    Give(5); // waits for room on the card
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::FramesTaken() == 6; }));
    PassTime();
    ASSERT_TRUE(PlayNext());
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::WriteCardTime() >= PASSED_AT_LEAST_US; }));
    EXPECT_TRUE(WaitUntil([] { return AudioPcmProbe::MaxWriteCardTime() >= AudioPcmProbe::WriteCardTime(); }));
    EXPECT_GE(AudioPcmProbe::WriteTime(), AudioPcmProbe::WriteCardTime());
    EXPECT_LT(AudioPcmProbe::WriteTime(), 30000000u);
}

TEST_F(AudioPcmWrite, AClockThatStandsStillEndsNothing) {
    Start();
    FillPlayback();
    card.SetIoTimeout(20);
    Give(5);
    ASSERT_TRUE(log.WaitFor("E card:hw:0,0,write error: Input/output error"));
    Give(6);
    ASSERT_TRUE(PlayNext());
    EXPECT_EQ(Played(6), SignalPeriod(6));
}

} // namespace
