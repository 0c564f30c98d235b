// What the pool answers when the system refuses.
#include <gtest/gtest.h>

#include "PoolSupport.h"
#include "SystemFaults.h"

namespace {

ThreadPool_t *CreateWithFailing(Call call, int nth) {
    const FailingCall failing(call, nth);
    return CreateThreadPool(3, 4, "fault");
}

} // namespace

class PoolFaultTest : public testing::Test {
  protected:
    void TearDown() override { EXPECT_TRUE(m_workers.WaitForEndOfPools()); }

    NewThreads m_workers;
    std::atomic<int> m_runs{0};
};

TEST_F(PoolFaultTest, NoPoolWithoutMemory) {
    for (const int nth : {1, 2, 3}) // record, handles, ring
        EXPECT_EQ(CreateWithFailing(Call::Calloc, nth), nullptr) << nth;
}

TEST_F(PoolFaultTest, NoPoolWithoutItsLocks) {
    EXPECT_EQ(CreateWithFailing(Call::MutexInit, 1), nullptr);
    EXPECT_EQ(CreateWithFailing(Call::CondInit, 1), nullptr);
}

TEST_F(PoolFaultTest, NoPoolWithoutAllItsWorkers) {
    for (const int nth : {1, 2, 3}) {
        EXPECT_EQ(CreateWithFailing(Call::ThreadCreate, nth), nullptr) << nth;
        EXPECT_TRUE(m_workers.WaitForEnd()); // those that were started are gone
    }
}

TEST_F(PoolFaultTest, ALockThatFailsChangesNothing) {
    ThreadPool_t *pool = CreateThreadPool(0, 4, "lock");
    ASSERT_EQ(AddTask(pool, CountRun, &m_runs), 0);
    {
        const FailingCall failing(Call::MutexLock);
        EXPECT_EQ(AddTask(pool, CountRun, &m_runs), -2);
        EXPECT_EQ(ClearTasks(pool), -2);
        EXPECT_EQ(DestroyThreadPool(pool), -2);
    }
    EXPECT_EQ(pool->writeptr, 1);
    EXPECT_EQ(pool->shutdown, 0);
    EXPECT_EQ(DestroyThreadPool(pool), 0);
}

TEST_F(PoolFaultTest, ASignalOrUnlockThatFailsLeavesTheTaskInTheRing) {
    ThreadPool_t *pool = CreateThreadPool(0, 4, "signal");
    for (const Call call : {Call::CondSignal, Call::MutexUnlock}) {
        const FailingCall failing(call);
        EXPECT_EQ(AddTask(pool, CountRun, &m_runs), -2);
    }
    EXPECT_EQ(pool->writeptr, 2);
    EXPECT_EQ(DestroyThreadPool(pool), 0);
}

TEST_F(PoolFaultTest, ADetachedThreadThatCannotBeMadeIsReported) {
    const FailingCall failing(Call::ThreadCreate);
    pthread_t untouched = pthread_self();
    EXPECT_EQ(create_detached_thread([](void *) -> void * { return nullptr; }, nullptr, &untouched), -1);
    EXPECT_TRUE(pthread_equal(untouched, pthread_self()));
}
