// What the transfers make of each fault of the card: the line that is logged, what the
// call returns, and that the audio after it is the right one.
#include <cerrno>
#include <cstring>

#include <gmock/gmock.h>

#include "AlsaFixture.h"

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class AlsaRecovery : public AlsaTest {
  protected:
    // Writes period `number` of the signal with the card one period ahead.
    int WriteNext(uint64_t number) {
        card.Advance(1);
        period = SignalPeriod(number);
        return sound->SoundWrite(bytes, PERIOD_BYTES);
    }
};

TEST_F(AlsaRecovery, AnOverrunIsPreparedAndTheReadStillGetsAPeriod) {
    Open();
    StartCapture();
    card.Inject(CardSide::Capture, CardFault::Overrun);
    auto read = Begin([&] { return sound->SoundRead(bytes, PERIOD_BYTES); });
    ASSERT_TRUE(WaitForCaptureStarts(2));
    card.Advance(1);
    EXPECT_EQ(read.get(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <readi> overrun occurred.-->snd_pcm_prepare()"));
}

TEST_F(AlsaRecovery, ABufferLeftUnreadIsAnOverrun) {
    Open();
    StartCapture();
    card.Advance(6);
    auto read = Begin([&] { return sound->SoundRead(bytes, PERIOD_BYTES); });
    ASSERT_TRUE(WaitForCaptureStarts(2));
    card.Advance(1);
    EXPECT_EQ(read.get(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(7));
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <readi> overrun occurred.-->snd_pcm_prepare()"));
}

TEST_F(AlsaRecovery, AnUnderrunIsPreparedAndPlaybackStartsAgainWhenFull) {
    Open();
    StartPlayback();
    card.Inject(CardSide::Playback, CardFault::Underrun);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0 <writei>XRUN. -->snd_pcm_prepare()"));
    for (uint64_t number = 7; number < 12; ++number) {
        EXPECT_FALSE(card.Status().Side(CardSide::Playback).running);
        EXPECT_EQ(WriteNext(number), PERIOD_BYTES);
    }
    EXPECT_TRUE(card.Status().Side(CardSide::Playback).running);
    EXPECT_EQ(Played().back(), SignalPeriod(11));
    EXPECT_THAT(log.Texts(), SizeIs(1));
}

TEST_F(AlsaRecovery, APlaybackThatRunsDryIsAnUnderrun) {
    Open();
    StartPlayback();
    card.Advance(6);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0 <writei>XRUN. -->snd_pcm_prepare()"));
    FillWithSilence();
    EXPECT_EQ(Played()[6], SignalPeriod(6));
}

TEST_F(AlsaRecovery, ASuspendIsOnlyTriedAgain) {
    Open();
    StartCapture();
    StartPlayback();
    card.Inject(CardSide::Capture, CardFault::Suspend, 0, 2);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <readi> ESTRPIPE!", "E card:hw:0,0, <readi> ESTRPIPE!"));
    log.Clear();
    card.Inject(CardSide::Playback, CardFault::Suspend);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0,<writei>ESTRPIP."));
    EXPECT_EQ(Played().back(), SignalPeriod(6));
}

TEST_F(AlsaRecovery, EagainIsTriedAgain) {
    Open();
    StartCapture();
    StartPlayback();
    card.Inject(CardSide::Capture, CardFault::Again, 0, 3);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
    EXPECT_THAT(log.Texts(), AllOf(SizeIs(3), Each("E card:hw:0,0, <readi> EAGAIN!")));
    log.Clear();
    card.Inject(CardSide::Playback, CardFault::Again);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <writei> EAGAIN"));
    EXPECT_EQ(Played().back(), SignalPeriod(6));
}

TEST_F(AlsaRecovery, AShortTransferReadsAsEagainAndGoesOnWhereItStopped) {
    Open();
    StartCapture();
    StartPlayback();
    card.Inject(CardSide::Capture, CardFault::ShortTransfer, 5);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <readi> EAGAIN!"));
    log.Clear();
    card.Inject(CardSide::Playback, CardFault::ShortTransfer, 31);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0, <writei> EAGAIN"));
    EXPECT_EQ(Played().back(), SignalPeriod(6));
}

TEST_F(AlsaRecovery, AHardErrorEndsTheRead) {
    Open();
    StartCapture();
    card.Inject(CardSide::Capture, CardFault::HardError, EIO);
    EXPECT_EQ(ReadNext(), -1);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0,read -5 error:Input/output error", "E Read error!"));
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
}

TEST_F(AlsaRecovery, AHardErrorEndsTheWriteButNotTheCall) {
    Open();
    StartPlayback();
    card.Inject(CardSide::Playback, CardFault::HardError, EIO);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(),
                ElementsAre("E card:hw:0,0,write error: Input/output error", "I _PcmWrite error!r:0, l:32"));
    EXPECT_EQ(Played().size(), 6u);
}

TEST_F(AlsaRecovery, TheNextPieceIsWrittenAfterAHardError) {
    Open();
    std::vector<uint8_t> source(3 * PERIOD_BYTES);
    for (uint64_t number = 0; number < 3; ++number)
        std::memcpy(source.data() + number * PERIOD_BYTES, SignalPeriod(number).data(), PERIOD_BYTES);
    card.Inject(CardSide::Playback, CardFault::HardError, EIO);
    EXPECT_EQ(sound->SoundWrite(source.data(), 3 * PERIOD_BYTES), 3 * PERIOD_BYTES);
    FillWithSilence();
    EXPECT_THAT(Played(), ElementsAre(SignalPeriod(1), SignalPeriod(0), Period{}, Period{}, Period{}, Period{}));
}

TEST_F(AlsaRecovery, FramesBeforeAHardErrorAreNotCounted) {
    Open();
    StartCapture();
    card.Inject(CardSide::Capture, CardFault::ShortTransfer, 5);
    card.Advance(1);
    auto read = Begin([&] { return sound->_PcmRead(reinterpret_cast<char *>(bytes), 40); });
    ASSERT_TRUE(log.WaitFor("E card:hw:0,0, <readi> EAGAIN!"));
    card.SetPresence(CardPresence::Missing);
    EXPECT_EQ(read.get(), 0);
    EXPECT_EQ(std::memcmp(bytes, SignalPeriod(1).data(), 5 * 96), 0);
}

TEST_F(AlsaRecovery, AnUnpluggedCardIsAHardErrorOnBothSides) {
    Open();
    StartCapture();
    StartPlayback();
    card.SetPresence(CardPresence::Missing);
    EXPECT_EQ(ReadNext(), -1);
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0,read -19 error:No such device", "E Read error!",
                                         "E card:hw:0,0,write error: No such device", "I _PcmWrite error!r:0, l:32"));
}

TEST_F(AlsaRecovery, AClockThatStandsStillEndsTheTransferWithAnError) {
    Open();
    StartCapture();
    card.SetIoTimeout(20);
    EXPECT_EQ(sound->SoundRead(bytes, PERIOD_BYTES), -1);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0,read -5 error:Input/output error", "E Read error!"));
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_EQ(period, SignalPeriod(1));
}

TEST_F(AlsaRecovery, SidesRecoverIndependently) {
    Open();
    StartCapture();
    StartPlayback();
    card.Inject(CardSide::Playback, CardFault::Underrun);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(WriteNext(6), PERIOD_BYTES);
    EXPECT_EQ(ReadNext(), PERIOD_BYTES);
    EXPECT_THAT(log.Texts(), ElementsAre("E card:hw:0,0 <writei>XRUN. -->snd_pcm_prepare()"));
}

} // namespace
