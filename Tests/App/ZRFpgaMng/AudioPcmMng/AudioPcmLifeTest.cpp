// A bridge that runs: its start, a second start, a start that gets no thread, and the end
// of the process under its threads.
#include <csignal>
#include <cstdlib>

#include <gmock/gmock.h>
#include <pthread.h>

#include "PcmBridge.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class AudioPcmLife : public PcmBridge {};

// Stack size that a thread gets unless it asks for another.
void SetDefaultStack(size_t bytes) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    pthread_attr_destroy(&attributes);
}

TEST_F(AudioPcmLife, InitOpensTheCardAndStartsBothThreads) {
    UseCard();
    EXPECT_EQ(AudioPcm::instance()->Init(), 1);
    EXPECT_TRUE(WaitForThreadNamed("PcmRead"));
    EXPECT_TRUE(WaitForThreadNamed("PcmWrite"));
    EXPECT_THAT(log.TextsOf("AudioPcm.cpp"),
                ElementsAre("I #### AudioPcm ####", MatchesRegex("D m_BufferHdlMap\\[0\\]=0x[0-9a-f]+"),
                            MatchesRegex("D m_BufferHdlMap\\[1\\]=0x[0-9a-f]+"),
                            MatchesRegex("I new AlsaSound hdl=0x[0-9a-f]+")));
}

TEST_F(AudioPcmLife, InitTwiceWarnsAndReturnsOne) {
    Start();
    EXPECT_EQ(AudioPcm::instance()->Init(), 1);
    EXPECT_THAT(log.Texts(), ElementsAre("W module already init!!!!"));
    EXPECT_EQ(TakeNext().payload, SignalPayload(0));
}

TEST_F(AudioPcmLife, InitSucceedsOnceTheCardIsThere) {
    config.presence = CardPresence::Missing;
    UseCard();
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    card.SetPresence(CardPresence::Present);
    EXPECT_EQ(AudioPcm::instance()->Init(), 1);
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    EXPECT_EQ(TakeNext().payload, SignalPayload(0));
}

TEST_F(AudioPcmLife, AThreadThatCannotStartFailsInitOnStandardOutput) {
    UseCard();
    AudioPcm::instance();
    const size_t wholeAddressSpace = size_t{1} << 47;
    SetDefaultStack(wholeAddressSpace);
    testing::internal::CaptureStdout();
    EXPECT_EQ(AudioPcm::instance()->Init(), 0);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "error, create MergeThread exception: Resource temporarily unavailable\n");
    SetDefaultStack(8 << 20);
    EXPECT_EQ(AudioPcm::instance()->Init(), 1);
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    EXPECT_EQ(TakeNext().payload, SignalPayload(0));
}

TEST_F(AudioPcmLife, BothDirectionsRunAtOnceInRealTime) {
    config.clockRunning = true;
    UseCard();
    for (uint64_t number = 0; number < 10; ++number)
        Give(number);
    ASSERT_EQ(AudioPcm::instance()->Init(), 1);
    uint64_t previous = 0;
    for (uint64_t number = 10; number < 260; ++number) {
        const Frame frame = Take();
        ASSERT_EQ(frame.size, 1538);
        const uint64_t first = zr_card_frame_of_planar(frame.payload.data());
        ASSERT_EQ(frame.payload, SignalPayload(first / 32));
        ASSERT_TRUE(number == 10 || first > previous);
        previous = first;
        Give(number);
    }
    ASSERT_TRUE(WaitForPlayed(200));
    for (uint64_t sequence = 1; sequence < 200; ++sequence)
        ASSERT_EQ(Played(sequence), SignalPeriod(sequence - 1));
}

TEST_F(AudioPcmLife, AnExitUnderRunningThreadsAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            Start();
            std::exit(15);
        },
        testing::KilledBySignal(SIGABRT), "terminate called without an active exception");
}

} // namespace
