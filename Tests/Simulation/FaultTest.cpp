// Every fault reaches the caller of snd_pcm_readi and snd_pcm_writei as it is named,
// as often as it is asked for, and audio goes on after it.
#include <cerrno>

#include "CardFixture.h"

class Fault : public CardTest {
  protected:
    void SetUp() override { UseManualClock(); }

    // One read of the next period with the card one period ahead.
    long ReadNext(Pcm &pcm) {
        card.Advance(1);
        return pcm.Read(m_period);
    }
    long WriteNext(Pcm &pcm) {
        card.Advance(1);
        return pcm.Write(SignalPeriod(m_written));
    }

    Period m_period{};
    uint64_t m_written = 6;
};

TEST_F(Fault, OverrunStopsARunningCapture) {
    const auto pcm = StartCapture();
    EXPECT_TRUE(card.Inject(CardSide::Capture, CardFault::Overrun));
    EXPECT_EQ(pcm->Read(m_period), -EPIPE);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_XRUN);
    EXPECT_EQ(card.Status().Side(CardSide::Capture).xruns, 1u);
    ASSERT_EQ(snd_pcm_prepare(pcm->handle), 0);
    ASSERT_EQ(snd_pcm_start(pcm->handle), 0);
    EXPECT_EQ(ReadNext(*pcm), 32);
    EXPECT_EQ(m_period, SignalPeriod(0));
}

TEST_F(Fault, OverrunWaitsForARunningStream) {
    const auto pcm = OpenCapture();
    card.Inject(CardSide::Capture, CardFault::Overrun);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 0);
    EXPECT_EQ(card.Status().Side(CardSide::Capture).faultsPending, 1u);
    ASSERT_EQ(snd_pcm_start(pcm->handle), 0);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), -EPIPE);
    EXPECT_EQ(card.Status().Side(CardSide::Capture).faultsPending, 0u);
}

TEST_F(Fault, UnderrunStopsARunningPlaybackAndDiscardsWhatWaits) {
    const auto pcm = StartPlayback();
    card.Advance(2);
    card.Inject(CardSide::Playback, CardFault::Underrun);
    EXPECT_EQ(pcm->Write(SignalPeriod(6)), -EPIPE);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_XRUN);
    EXPECT_EQ(card.Status().Side(CardSide::Playback).discarded, 4u);
    ASSERT_EQ(snd_pcm_prepare(pcm->handle), 0);
    EXPECT_EQ(pcm->Write(SignalPeriod(6)), 32);
}

TEST_F(Fault, SuspendIsSeenOnceOnEachSide) {
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    card.Inject(CardSide::Capture, CardFault::Suspend);
    card.Inject(CardSide::Playback, CardFault::Suspend);
    EXPECT_EQ(ReadNext(*capture), -ESTRPIPE);
    EXPECT_EQ(capture->Read(m_period), 32);
    EXPECT_EQ(m_period, SignalPeriod(0));
    EXPECT_EQ(playback->Write(SignalPeriod(6)), -ESTRPIPE);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), 32);
    EXPECT_EQ(WholeTap(card, CardSide::Playback).back().words, SignalPeriod(6));
}

TEST_F(Fault, AgainIsSeenAsOftenAsAsked) {
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    card.Inject(CardSide::Capture, CardFault::Again, 0, 3);
    EXPECT_EQ(ReadNext(*capture), -EAGAIN);
    EXPECT_EQ(capture->Read(m_period), -EAGAIN);
    EXPECT_EQ(capture->Read(m_period), -EAGAIN);
    EXPECT_EQ(capture->Read(m_period), 32);
    card.Inject(CardSide::Playback, CardFault::Again);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), -EAGAIN);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), 32);
}

TEST_F(Fault, HardErrorsAreSeenByTheirNumber) {
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    card.Inject(CardSide::Capture, CardFault::HardError);
    EXPECT_EQ(ReadNext(*capture), -EIO);
    card.Inject(CardSide::Capture, CardFault::HardError, EBADFD);
    EXPECT_EQ(capture->Read(m_period), -EBADFD);
    EXPECT_EQ(capture->Read(m_period), 32);
    card.Inject(CardSide::Playback, CardFault::HardError, EIO);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), -EIO);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), 32);
}

TEST_F(Fault, ShortReadsGiveTheirFramesAndLoseNone) {
    const auto pcm = StartCapture();
    for (const uint32_t frames : {1u, 16u, 31u}) {
        const uint64_t number = card.TapCount(CardSide::Capture);
        card.Inject(CardSide::Capture, CardFault::ShortTransfer, frames);
        ASSERT_EQ(ReadNext(*pcm), static_cast<long>(frames));
        uint32_t *rest = m_period.data() + frames * CARD_CHANNELS;
        ASSERT_EQ(snd_pcm_readi(pcm->handle, rest, 32 - frames), static_cast<long>(32 - frames));
        ASSERT_EQ(m_period, SignalPeriod(number));
    }
}

TEST_F(Fault, ShortWritesTakeTheirFramesAndLoseNone) {
    const auto pcm = StartPlayback();
    card.Advance(2);
    card.Inject(CardSide::Playback, CardFault::ShortTransfer, 5);
    const Period period = SignalPeriod(6);
    ASSERT_EQ(pcm->Write(period), 5);
    ASSERT_EQ(snd_pcm_writei(pcm->handle, period.data() + 5 * CARD_CHANNELS, 27), 27);
    EXPECT_EQ(WholeTap(card, CardSide::Playback).back().words, period);
}

TEST_F(Fault, ShortWritesBeforeTheStartAreSeenToo) {
    const auto pcm = OpenPlayback();
    card.Inject(CardSide::Playback, CardFault::ShortTransfer, 31);
    EXPECT_EQ(pcm->Write(SignalPeriod(0)), 31);
    EXPECT_EQ(snd_pcm_avail_update(pcm->handle), 192 - 31);
}

TEST_F(Fault, SidesAreIndependent) {
    const auto capture = StartCapture();
    card.Inject(CardSide::Playback, CardFault::Again);
    EXPECT_EQ(ReadNext(*capture), 32);
    EXPECT_EQ(card.Status().Side(CardSide::Playback).faultsPending, 1u);
    card.ClearFaults();
    EXPECT_EQ(card.Status().Side(CardSide::Playback).faultsPending, 0u);
}

TEST_F(Fault, XrunsBelongToTheirSide) {
    EXPECT_FALSE(card.Inject(CardSide::Capture, CardFault::Underrun));
    EXPECT_FALSE(card.Inject(CardSide::Playback, CardFault::Overrun));
    EXPECT_FALSE(card.Inject(CardSide::Playback, static_cast<CardFault>(CARD_FAULTS)));
    EXPECT_EQ(card.Status().Side(CardSide::Playback).faultsPending, 0u);
}

TEST_F(Fault, UnpluggedStreamsStayDeadAndTheCardCanBeOpenedAnew) {
    auto capture = StartCapture();
    const auto playback = StartPlayback();
    EXPECT_EQ(ReadNext(*capture), 32);
    card.SetPresence(CardPresence::Missing);
    EXPECT_EQ(capture->Read(m_period), -ENODEV);
    EXPECT_EQ(snd_pcm_state(capture->handle), SND_PCM_STATE_DISCONNECTED);
    EXPECT_EQ(playback->Write(SignalPeriod(6)), -ENODEV);
    EXPECT_EQ(snd_pcm_state(playback->handle), SND_PCM_STATE_DISCONNECTED);
    EXPECT_EQ(snd_pcm_prepare(capture->handle), -ENODEV);
    card.SetPresence(CardPresence::Present);
    EXPECT_EQ(capture->Read(m_period), -ENODEV);
    capture->Close();
    capture = StartCapture();
    EXPECT_EQ(ReadNext(*capture), 32);
}

TEST_F(Fault, AShortAbsenceIsSeenToo) {
    const auto capture = StartCapture();
    card.SetPresence(CardPresence::Missing);
    card.SetPresence(CardPresence::Present);
    EXPECT_EQ(ReadNext(*capture), -ENODEV);
}

TEST_F(Fault, ABusyCardLeavesOpenStreamsAlone) {
    const auto capture = StartCapture();
    card.SetPresence(CardPresence::Busy);
    EXPECT_EQ(ReadNext(*capture), 32);
}
