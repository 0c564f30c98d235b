// The end of a pool: what is joined, what is dropped, what stays behind.
#include <gtest/gtest.h>

#include <future>
#include <utility>

#include "PoolSupport.h"
#include "SystemFaults.h"

namespace {

std::future<int> DestroyInBackground(ThreadPool_t *pool) {
    return std::async(std::launch::async, DestroyThreadPool, pool);
}

bool WaitForShutdown(ThreadPool_t *pool) {
    return WaitUntil([&] { return FieldOf(pool, &ThreadPool_t::shutdown) == 1; }, LONG_WAIT_MS);
}

struct SelfDestroyer {
    ThreadPool_t *pool;
    int result = 1;
    CSemaphore done{0};

    static void Run(void *self) {
        auto *destroyer = static_cast<SelfDestroyer *>(self);
        destroyer->result = DestroyThreadPool(destroyer->pool);
        destroyer->done.Post();
    }
};

} // namespace

class PoolDestroyTest : public testing::Test {
  protected:
    // Both workers of the pool in a task: first that of the first worker.
    std::pair<BlockingTask &, BlockingTask &> OccupyBoth(ThreadPool_t *pool) {
        for (BlockingTask &block : m_blocks)
            EXPECT_EQ(AddTask(pool, BlockingTask::Run, &block), 0);
        for (BlockingTask &block : m_blocks)
            EXPECT_TRUE(WasPosted(block.running));
        const bool inOrder = pthread_equal(m_blocks[0].worker, pool->threads[0]);
        return {m_blocks[inOrder ? 0 : 1], m_blocks[inOrder ? 1 : 0]};
    }

    void TearDown() override { EXPECT_TRUE(m_workers.WaitForEndOfPools()); }

    NewThreads m_workers;
    BlockingTask m_blocks[2];
    std::atomic<int> m_runs{0};
};

TEST_F(PoolDestroyTest, IdleWorkersLeave) {
    for (const int count : {0, 1, 2, 26}) {
        EXPECT_EQ(DestroyThreadPool(CreateThreadPool(count, 4, "idle")), 0);
        EXPECT_TRUE(m_workers.WaitForEnd());
    }
}

TEST_F(PoolDestroyTest, WaitsForTheTaskOfTheOnlyWorker) {
    ThreadPool_t *pool = CreateThreadPool(1, 4, "busy");
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_blocks[0]), 0);
    ASSERT_EQ(AddTask(pool, CountRun, &m_runs), 0);
    EXPECT_TRUE(WasPosted(m_blocks[0].running));
    std::future<int> result = DestroyInBackground(pool);
    ASSERT_TRUE(WaitForShutdown(pool));
    EXPECT_EQ(AddTask(pool, CountRun, &m_runs), -4);
    EXPECT_EQ(DestroyThreadPool(pool), -4); // while the first call is at work
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    m_blocks[0].released.Post();
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(m_runs, 0); // the task that was queued is dropped
}

TEST_F(PoolDestroyTest, APoolThatIsShutDownAlreadyIsRefused) {
    ThreadPool_t *pool = CreateThreadPool(1, 4, "shut");
    SetShutdown(pool, 1);
    EXPECT_EQ(DestroyThreadPool(pool), -4);
    SetShutdown(pool, 0);
    EXPECT_EQ(DestroyThreadPool(pool), 0);
}

TEST_F(PoolDestroyTest, TheFirstOfTwoWorkersIsWaitedFor) {
    ThreadPool_t *pool = CreateThreadPool(2, 4, "both");
    auto [first, second] = OccupyBoth(pool);
    const int destroyed = DestroyedMutexes();
    std::future<int> result = DestroyInBackground(pool);
    ASSERT_TRUE(WaitForShutdown(pool));
    second.released.Post();
    EXPECT_TRUE(WaitUntil([&] { return FieldOf(pool, &ThreadPool_t::started) == 1; }, LONG_WAIT_MS));
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    first.released.Post();
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(DestroyedMutexes(), destroyed + 1); // nobody was left: the pool is freed
}

// After the first worker one is alive, and the index has reached that number.
TEST_F(PoolDestroyTest, TheSecondOfTwoWorkersIsNotWaitedForAndKeepsThePool) {
    ThreadPool_t *pool = CreateThreadPool(2, 4, "half");
    auto [first, second] = OccupyBoth(pool);
    const int destroyed = DestroyedMutexes();
    first.released.Post();
    EXPECT_EQ(DestroyThreadPool(pool), 0);
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::started), 1);
    EXPECT_EQ(DestroyThreadPool(pool), -4);
    second.released.Post();
    EXPECT_TRUE(m_workers.WaitForEnd());
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::started), 0); // left as it is
    EXPECT_EQ(DestroyedMutexes(), destroyed);
    ThreadPool_t *next = CreateThreadPool(0, 1, "next");
    EXPECT_EQ(DestroyedMutexes(), destroyed + 1); // until somebody makes another one
    EXPECT_EQ(DestroyThreadPool(next), 0);
}

TEST_F(PoolDestroyTest, APoolThatIsStillInUseOutlivesTheNextOne) {
    ThreadPool_t *pool = CreateThreadPool(2, 4, "old");
    auto [first, second] = OccupyBoth(pool);
    first.released.Post();
    EXPECT_EQ(DestroyThreadPool(pool), 0);
    EXPECT_EQ(DestroyThreadPool(CreateThreadPool(1, 1, "next")), 0);
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::started), 1);
    second.released.Post();
}

TEST_F(PoolDestroyTest, AWorkerCannotBeJoinedByItself) {
    SelfDestroyer destroyer{CreateThreadPool(1, 4, "self")};
    ASSERT_EQ(AddTask(destroyer.pool, SelfDestroyer::Run, &destroyer), 0);
    EXPECT_TRUE(WasPosted(destroyer.done));
    EXPECT_EQ(destroyer.result, -5);
    EXPECT_TRUE(m_workers.WaitForEnd());
}

TEST_F(PoolDestroyTest, AJoinThatFailsIsReported) {
    ThreadPool_t *pool = CreateThreadPool(1, 4, "join");
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_blocks[0]), 0);
    EXPECT_TRUE(WasPosted(m_blocks[0].running));
    {
        const FailingCall join(Call::ThreadJoin);
        EXPECT_EQ(DestroyThreadPool(pool), -5);
    }
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::started), 1);
    m_blocks[0].released.Post();
}
