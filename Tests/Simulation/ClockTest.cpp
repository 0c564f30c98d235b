// The pace of blocking transfers, and a clock that runs fast, stands, and is moved by
// hand. Upper bounds are generous, the machine may be busy; the lower ones are exact,
// since the card never runs ahead of its clock.
#include <cerrno>
#include <ctime>
#include <future>

#include <poll.h>

#include "CardFixture.h"
#include "Simulation/CardClock.h"
#include "Support/WaitUntil.h"

class Clock : public CardTest {
  protected:
    Clock() { bufferTime = 128000; }

    // Milliseconds that `periods` reads take.
    double TimeReads(Pcm &pcm, int periods);
    // Milliseconds from the start of playback to the end of `periods` further writes.
    double TimeWrites(Pcm &pcm, int periods);
};

double Clock::TimeReads(Pcm &pcm, int periods) {
    const uint64_t start = zr_card_now_ns();
    Period period;
    for (int i = 0; i < periods; i++)
        EXPECT_EQ(pcm.Read(period), 32);
    return static_cast<double>(zr_card_now_ns() - start) / 1e6;
}

double Clock::TimeWrites(Pcm &pcm, int periods) {
    const uint64_t start = card.Status().Side(CardSide::Playback).startNs;
    const Period period = SignalPeriod(0);
    for (int i = 0; i < periods; i++)
        EXPECT_EQ(pcm.Write(period), 32);
    return static_cast<double>(zr_card_now_ns() - start) / 1e6;
}

TEST_F(Clock, CaptureIsPacedAtTwoMilliseconds) {
    Use();
    const auto pcm = OpenCapture();
    const double elapsed = TimeReads(*pcm, 200);
    EXPECT_GE(elapsed, 400.0);
    EXPECT_LT(elapsed, 800.0);
}

TEST_F(Clock, PlaybackIsPacedAtTwoMilliseconds) {
    Use();
    const auto pcm = StartPlayback();
    const double elapsed = TimeWrites(*pcm, 200);
    EXPECT_GE(elapsed, 400.0);
    EXPECT_LT(elapsed, 800.0);
}

TEST_F(Clock, SpeedMultipliesThePace) {
    config.speed = 2;
    Use();
    const auto pcm = OpenCapture();
    const double elapsed = TimeReads(*pcm, 200);
    EXPECT_GE(elapsed, 200.0);
    EXPECT_LT(elapsed, 390.0);
    EXPECT_DOUBLE_EQ(card.Status().speed, 2.0);
}

TEST_F(Clock, SpeedMayBeAFraction) {
    config.speed = 0.25;
    Use();
    const auto pcm = OpenCapture();
    const double elapsed = TimeReads(*pcm, 20);
    EXPECT_GE(elapsed, 160.0);
    EXPECT_LT(elapsed, 480.0);
}

TEST_F(Clock, SpeedChangesWhileRunning) {
    config.speed = 0.01;
    Use();
    const auto pcm = OpenCapture();
    auto read = std::async(std::launch::async, [&] { return TimeReads(*pcm, 3); });
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    EXPECT_TRUE(card.SetSpeed(1));
    EXPECT_LT(read.get(), 590.0);
}

TEST_F(Clock, SpeedsBeyondTheRangeAreRefused) {
    Use();
    EXPECT_FALSE(card.SetSpeed(0));
    EXPECT_FALSE(card.SetSpeed(-1));
    EXPECT_FALSE(card.SetSpeed(1001));
    EXPECT_DOUBLE_EQ(card.Status().speed, 1.0);
}

TEST_F(Clock, StoppingHoldsABlockedReadAndStartingReleasesIt) {
    Use();
    const auto pcm = OpenCapture();
    Period period;
    ASSERT_EQ(pcm->Read(period), 32);
    card.StopClock();
    const uint64_t before = card.Status().Side(CardSide::Capture).position / 32;
    auto reader = std::async(std::launch::async, [&] { return TimeReads(*pcm, static_cast<int>(before) + 1); });
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(card.Status().Side(CardSide::Capture).position / 32, before);
    card.StartClock();
    EXPECT_EQ(reader.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST_F(Clock, AdvanceReleasesExactlyThatManyReads) {
    UseManualClock();
    const auto pcm = OpenCapture();
    auto reader = std::async(std::launch::async, [&] { return TimeReads(*pcm, 3); });
    ASSERT_TRUE(card.WaitForRunning(CardSide::Capture, true, 5000));
    EXPECT_TRUE(card.Advance(2));
    EXPECT_TRUE(card.WaitForTap(CardSide::Capture, 2, 5000));
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_EQ(card.TapCount(CardSide::Capture), 2u);
    EXPECT_TRUE(card.Advance(1));
    EXPECT_EQ(reader.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

TEST_F(Clock, AdvanceReleasesABlockedWrite) {
    UseManualClock();
    const auto pcm = StartPlayback();
    auto writer = std::async(std::launch::async, [&] { return TimeWrites(*pcm, 1); });
    EXPECT_EQ(writer.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    EXPECT_TRUE(card.Advance(1));
    EXPECT_EQ(writer.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(card.TapCount(CardSide::Playback), 65u);
}

TEST_F(Clock, AdvanceNeedsAStoppedClock) {
    Use();
    EXPECT_FALSE(card.Advance(1));
    card.StopClock();
    const uint64_t before = card.Status().cardNs;
    EXPECT_TRUE(card.Advance(3));
    EXPECT_EQ(card.Status().cardNs, before + 6000000);
}

TEST_F(Clock, AClockThatStandsForTooLongIsAnError) {
    UseManualClock();
    card.SetIoTimeout(40);
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    Period period;
    EXPECT_EQ(capture->Read(period), -EIO);
    EXPECT_EQ(playback->Write(period), -EIO);
    card.Advance(1);
    EXPECT_EQ(capture->Read(period), 32);
    EXPECT_EQ(playback->Write(period), 32);
}

TEST_F(Clock, AWaitingTransferDoesNotSpin) {
    UseManualClock();
    card.SetIoTimeout(200);
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    Period period;
    timespec before, after;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    EXPECT_EQ(capture->Read(period), -EIO);
    EXPECT_EQ(playback->Write(period), -EIO);
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    const double used = static_cast<double>(after.tv_sec - before.tv_sec) * 1e3 +
                        static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e6;
    EXPECT_LT(used, 130.0) << "ms of 400";
}

namespace {

// Events of a PCM's descriptors once it is ready, within 5 s; none otherwise.
unsigned short WaitForEvents(const Pcm &pcm) {
    unsigned short events = 0;
    WaitUntil([&] {
        pollfd descriptor = {};
        EXPECT_EQ(snd_pcm_poll_descriptors(pcm.handle, &descriptor, 1), 1);
        poll(&descriptor, 1, 100);
        EXPECT_EQ(snd_pcm_poll_descriptors_revents(pcm.handle, &descriptor, 1, &events), 0);
        return events != 0;
    });
    return events;
}

} // namespace

TEST_F(Clock, PollingShowsEachSideItsOwnEvent) {
    UseManualClock();
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    card.Advance(1);
    EXPECT_EQ(WaitForEvents(*capture), POLLIN);
    EXPECT_EQ(WaitForEvents(*playback), POLLOUT);
    card.SetPresence(CardPresence::Missing);
    EXPECT_EQ(WaitForEvents(*capture), POLLERR);
}

TEST_F(Clock, FaultsReachABlockedRead) {
    UseManualClock();
    const auto pcm = StartCapture();
    Period period;
    auto reader = std::async(std::launch::async, [&] { return pcm->Read(period); });
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    card.Inject(CardSide::Capture, CardFault::Overrun);
    EXPECT_EQ(reader.get(), -EPIPE);
}

TEST_F(Clock, UnpluggingReachesABlockedReadAndWrite) {
    UseManualClock();
    const auto capture = StartCapture();
    const auto playback = StartPlayback();
    Period captured;
    auto reader = std::async(std::launch::async, [&] { return capture->Read(captured); });
    auto writer = std::async(std::launch::async, [&] { return playback->Write(SignalPeriod(6)); });
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    card.SetPresence(CardPresence::Missing);
    EXPECT_EQ(reader.get(), -ENODEV);
    EXPECT_EQ(writer.get(), -ENODEV);
}
