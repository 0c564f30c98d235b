// Many threads on one pool, and many pools one after the other.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "PoolSupport.h"

namespace {

constexpr int FEEDERS = 4;
constexpr int TASKS = 2000;

// Adds TASKS tasks, each until there is room.
void Feed(ThreadPool_t *pool, std::atomic<int> &runs) {
    for (int added = 0; added < TASKS;) {
        const int result = AddTask(pool, CountRun, &runs);
        ASSERT_TRUE(result == 0 || result == -3) << result;
        if (result == 0)
            ++added;
        else
            std::this_thread::yield();
    }
}

} // namespace

TEST(PoolStress, NoTaskIsLostOrRunTwice) {
    const NewThreads workers;
    std::atomic<int> runs{0};
    testing::internal::CaptureStdout(); // "pool is full" many times
    ThreadPool_t *pool = CreateThreadPool(3, 26, "stress");
    std::vector<std::thread> feeders;
    for (int i = 0; i < FEEDERS; ++i)
        feeders.emplace_back(Feed, pool, std::ref(runs));
    for (std::thread &feeder : feeders)
        feeder.join();
    EXPECT_TRUE(WaitForCount(runs, FEEDERS * TASKS));
    EXPECT_EQ(DestroyThreadPool(pool), 0);
    EXPECT_TRUE(workers.WaitForEnd());
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(runs, FEEDERS * TASKS);
}

TEST(PoolStress, PoolsEndWithTasksInTheRing) {
    const NewThreads workers;
    std::atomic<int> runs{0};
    std::atomic<int> added{0};
    for (int round = 0; round < 100; ++round) {
        ThreadPool_t *pool = CreateThreadPool(1 + round % 5, 26, "round");
        ASSERT_NE(pool, nullptr);
        for (int i = 0; i < 20; ++i)
            added += AddTask(pool, CountRun, &runs) == 0;
        ASSERT_EQ(DestroyThreadPool(pool), 0);
    }
    EXPECT_TRUE(workers.WaitForEnd());
    EXPECT_LE(runs, added);
}
