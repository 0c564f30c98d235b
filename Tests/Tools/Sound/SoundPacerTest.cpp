// Pacing on an absolute grid.
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/time.h>

#include "Sound/BlockPacer.h"

namespace {

constexpr std::int64_t MS = 1'000'000;

TEST(BlockPacer, NeverRunsAheadOfTheClock) {
    const std::int64_t begin = MonotonicNs();
    BlockPacer pacer;
    for (int block = 1; block <= 50; ++block) {
        ASSERT_TRUE(pacer.Wait());
        ASSERT_GE(MonotonicNs() - begin, block * 2 * MS);
    }
}

TEST(BlockPacer, CatchesUpAfterADelay) {
    BlockPacer pacer;
    const std::int64_t begin = MonotonicNs();
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    for (int block = 0; block < 30; ++block)
        ASSERT_TRUE(pacer.Wait());
    EXPECT_LT(MonotonicNs() - begin, 100 * MS); // 120 ms, were each wait counted from the one before
    EXPECT_EQ(pacer.Restarts(), 0);
}

TEST(BlockPacer, StartsANewGridAfterALongStop) {
    BlockPacer pacer;
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    const std::int64_t begin = MonotonicNs();
    for (int block = 0; block < 10; ++block)
        ASSERT_TRUE(pacer.Wait());
    EXPECT_EQ(pacer.Restarts(), 1);
    EXPECT_GE(MonotonicNs() - begin, 18 * MS); // the first at once, nine more at their pace
}

TEST(BlockPacer, ASignalEndsTheWaitAndTheDeadlineStands) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const std::int64_t begin = MonotonicNs();
    BlockPacer pacer(200 * MS);
    const itimerval soon{{0, 0}, {0, 20'000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    EXPECT_FALSE(pacer.Wait());
    EXPECT_TRUE(pacer.Wait());
    EXPECT_GE(MonotonicNs() - begin, 200 * MS);
    EXPECT_LT(MonotonicNs() - begin, 380 * MS); // not a further period
}

} // namespace
