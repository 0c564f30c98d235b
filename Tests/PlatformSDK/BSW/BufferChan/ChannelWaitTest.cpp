// Reading with a time-out: how long it waits, and what wakes it.
#include <atomic>
#include <chrono>
#include <ctime>
#include <fstream>
#include <thread>

#include <csignal>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ChannelSupport.h"
#include "RingSupport.h"
#include "Support/WaitUntil.h"

namespace {

using Clock = std::chrono::steady_clock;

double ElapsedMs(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double ThreadCpuMs() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// One read on a thread of its own.
class WaitingReader {
  public:
    WaitingReader(void *reader, int milliseconds)
        : m_thread([=, this] {
              const auto start = Clock::now();
              m_tid = static_cast<pid_t>(syscall(SYS_gettid));
              m_text = ReadText(reader, milliseconds);
              m_elapsedMs = ElapsedMs(start);
          }) {}
    ~WaitingReader() { Join(); }

    // Waits until the thread sleeps, that is until it waits for a frame.
    bool IsAsleep() {
        return WaitUntil([this] {
            std::string stat;
            std::getline(std::ifstream("/proc/self/task/" + std::to_string(m_tid) + "/stat"), stat);
            const auto state = stat.rfind(") ");
            return m_tid != 0 && state != std::string::npos && stat[state + 2] == 'S';
        });
    }

    void Interrupt() { pthread_kill(m_thread.native_handle(), SIGUSR1); }

    void Join() {
        if (m_thread.joinable())
            m_thread.join();
    }

    const std::string &Text() { return Join(), m_text; }
    double ElapsedOfReadMs() { return Join(), m_elapsedMs; }

  private:
    std::atomic<pid_t> m_tid{0};
    std::string m_text;
    double m_elapsedMs = 0;
    std::thread m_thread;
};

} // namespace

TEST(ChannelWait, ZeroAndLessAreAPoll) {
    const Channel channel("a");
    const Handle reader("a", RD);
    const auto start = Clock::now();
    EXPECT_EQ(ReadText(reader, 0), "");
    EXPECT_EQ(ReadText(reader, -1), "");
    EXPECT_EQ(ReadText(reader, -100000), "");
    EXPECT_LT(ElapsedMs(start), 1000);
}

TEST(ChannelWait, GivesUpAfterTheTime) {
    const Channel channel("a");
    const Handle reader("a", RD);
    const auto start = Clock::now();
    EXPECT_EQ(ReadText(reader, 100), "");
    EXPECT_GE(ElapsedMs(start), 99);
    EXPECT_LT(ElapsedMs(start), 2000);
}

// A deadline whose nanoseconds are not carried into the seconds would be refused at
// once, and the wait would spin with the lock held.
TEST(ChannelWait, CarriesTheNanosecondsOfTheDeadline) {
    const Channel channel("a");
    const Handle reader("a", RD);
    for (const int milliseconds : {999, 1999}) {
        ASSERT_TRUE(WaitUntil([] {
            timeval now = {};
            gettimeofday(&now, nullptr);
            return now.tv_usec > 1000 && now.tv_usec < 900000;
        }));
        const auto start = Clock::now();
        const double cpuStart = ThreadCpuMs();
        EXPECT_EQ(ReadText(reader, milliseconds), "");
        EXPECT_GE(ElapsedMs(start), milliseconds - 1);
        EXPECT_LT(ElapsedMs(start), milliseconds + 2000);
        EXPECT_LT(ThreadCpuMs() - cpuStart, 300);
    }
}

TEST(ChannelWait, AWriteEndsTheWait) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WaitingReader waiting(reader, 30000);
    ASSERT_TRUE(waiting.IsAsleep());
    WriteText(writer, "here");
    EXPECT_EQ(waiting.Text(), "here");
    EXPECT_LT(waiting.ElapsedOfReadMs(), 15000);
}

TEST(ChannelWait, AWaitingFrameIsReadWithoutWaiting) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "here");
    const auto start = Clock::now();
    EXPECT_EQ(ReadText(reader, 30000), "here");
    EXPECT_LT(ElapsedMs(start), 15000);
}

TEST(ChannelWait, AWaitingReaderDoesNotHoldTheChannel) {
    const Channel channel("a");
    const Handle reader("a", RD);
    WaitingReader waiting(reader, 300);
    ASSERT_TRUE(waiting.IsAsleep());
    EXPECT_EQ(WaitingFrames(reader), 0);
    const Handle writer("a", WR);
    EXPECT_NE(static_cast<void *>(writer), nullptr);
    EXPECT_EQ(waiting.Text(), "");
    EXPECT_GE(waiting.ElapsedOfReadMs(), 299);
}

TEST(ChannelWait, AnEmptyFrameWakesNobody) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WaitingReader waiting(reader, 200);
    ASSERT_TRUE(waiting.IsAsleep());
    EXPECT_EQ(WriteEmptyFrame(writer), 0);
    EXPECT_EQ(waiting.Text(), "");
    EXPECT_GE(waiting.ElapsedOfReadMs(), 199);
    EXPECT_EQ(WaitingFrames(reader), 1);
}

// An empty frame reads as none, so a frame behind it waits for the next read.
TEST(ChannelWait, AFrameBehindAnEmptyOneIsReadByTheNextRead) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    StdoutCapture quiet;
    WriteEmptyFrame(writer);
    WriteText(writer, "behind");
    EXPECT_EQ(ReadText(reader, 0), "");
    EXPECT_EQ(ReadText(reader, 0), "behind");
    WriteEmptyFrame(writer);
    WriteText(writer, "behind");
    EXPECT_EQ(ReadText(reader, 50), "");
    EXPECT_EQ(ReadText(reader, 50), "behind");
}

// Two of three woken readers take the empty frames; only when all are woken by the one
// write is there a third for the frame.
TEST(ChannelWait, AWriteWakesEveryWaitingReader) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    StdoutCapture quiet;
    WaitingReader a(reader, 1500), b(reader, 1500), c(reader, 1500);
    ASSERT_TRUE(a.IsAsleep() && b.IsAsleep() && c.IsAsleep());
    WriteEmptyFrame(writer);
    WriteEmptyFrame(writer);
    WriteText(writer, "frame");
    EXPECT_EQ(a.Text() + b.Text() + c.Text(), "frame");
}

TEST(ChannelWait, AForeignWakeUpKeepsTheDeadline) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    auto *pool = static_cast<AVPoolCtx *>(static_cast<void *>(reader))->pool;
    WaitingReader waiting(reader, 400);
    ASSERT_TRUE(waiting.IsAsleep());
    for (int i = 0; i < 50; ++i)
        pthread_cond_broadcast(&pool->cond);
    EXPECT_EQ(waiting.Text(), "");
    EXPECT_GE(waiting.ElapsedOfReadMs(), 399);
    EXPECT_LT(waiting.ElapsedOfReadMs(), 2400);
}

TEST(ChannelWait, ASignalDoesNotEndTheWait) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    const Channel channel("a");
    const Handle reader("a", RD);
    WaitingReader waiting(reader, 300);
    ASSERT_TRUE(waiting.IsAsleep());
    waiting.Interrupt();
    EXPECT_EQ(waiting.Text(), "");
    EXPECT_GE(waiting.ElapsedOfReadMs(), 299);
}

TEST(ChannelWait, FramesPassBetweenThreadsInOrderWhileOthersLookOn) {
    constexpr int FRAMES = 5000;
    const Channel channel("a", 1 << 20); // holds them all
    const Handle reader("a", RD), writer("a", WR);
    std::atomic<bool> done{false};
    std::thread watcher([&] {
        int drops = 0;
        while (!done) {
            WaitingFrames(writer);
            zr_bufchan_getdrop(reader, &drops);
        }
        EXPECT_EQ(drops, 0);
    });
    std::thread source([&] {
        for (int i = 0; i < FRAMES; ++i)
            WriteText(writer, "frame " + std::to_string(i));
    });
    int inOrder = 0;
    while (inOrder < FRAMES && ReadText(reader, 20000) == "frame " + std::to_string(inOrder))
        ++inOrder;
    done = true;
    source.join();
    watcher.join();
    EXPECT_EQ(inOrder, FRAMES);
}
