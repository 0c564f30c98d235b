// Tasks in the ring: order, room, wrapping, counts out of range, clearing.
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <ostream>
#include <vector>

#include "PoolSupport.h"

namespace {

// Runs are noted in their order.
struct Note {
    std::mutex *lock;
    std::vector<int> *order;
    int number;

    static void Run(void *self) {
        const auto *note = static_cast<Note *>(self);
        const std::lock_guard<std::mutex> guard(*note->lock);
        note->order->push_back(note->number);
    }
};

int AddCounting(ThreadPool_t *pool, std::atomic<int> &counter) {
    return AddTask(pool, CountRun, &counter);
}

// The results of `count` calls of AddTask for a pool that runs nothing.
std::vector<int> AddMany(ThreadPool_t *pool, std::atomic<int> &counter, int count) {
    std::vector<int> results(count);
    std::generate(results.begin(), results.end(), [&] { return AddCounting(pool, counter); });
    return results;
}

} // namespace

class PoolTaskTest : public testing::Test {
  protected:
    ThreadPool_t *Create(int threads, int queueSize) { return m_pool = CreateThreadPool(threads, queueSize, "task"); }

    // The workers end before what they use goes.
    void TearDown() override {
        EXPECT_EQ(DestroyThreadPool(m_pool), 0);
        EXPECT_TRUE(m_workers.WaitForEndOfPools());
    }

    NewThreads m_workers;
    ThreadPool_t *m_pool = nullptr;
    BlockingTask m_block;
    BlockingTask m_secondBlock;
    std::atomic<int> m_runs{0};
};

TEST_F(PoolTaskTest, AWorkerRunsEachTaskOnce) {
    ThreadPool_t *pool = Create(1, 26);
    for (int i = 1; i <= 100; ++i) { // the ring wraps several times
        ASSERT_EQ(AddCounting(pool, m_runs), 0);
        ASSERT_TRUE(WaitForCount(m_runs, i));
    }
}

TEST_F(PoolTaskTest, OneWorkerKeepsTheOrder) {
    std::mutex lock;
    std::vector<int> order;
    Note notes[] = {{&lock, &order, 0}, {&lock, &order, 1}, {&lock, &order, 2}, {&lock, &order, 3}};
    ThreadPool_t *pool = Create(1, 26);
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_block), 0);
    for (Note &note : notes)
        ASSERT_EQ(AddTask(pool, Note::Run, &note), 0);
    ASSERT_EQ(AddCounting(pool, m_runs), 0);
    m_block.released.Post();
    ASSERT_TRUE(WaitForCount(m_runs, 1));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(PoolTaskTest, EachTaskWakesAWorker) {
    ThreadPool_t *pool = Create(2, 4);
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_block), 0);
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_secondBlock), 0);
    EXPECT_TRUE(WasPosted(m_block.running));
    EXPECT_TRUE(WasPosted(m_secondBlock.running)); // both at a time
    m_block.released.Post();
    m_secondBlock.released.Post();
}

TEST_F(PoolTaskTest, TheRingHoldsOneTaskLessThanItsSize) {
    ThreadPool_t *pool = Create(1, 4);
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_block), 0);
    EXPECT_TRUE(WasPosted(m_block.running));
    testing::internal::CaptureStdout();
    EXPECT_EQ(AddMany(pool, m_runs, 4), (std::vector<int>{0, 0, 0, -3}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "pool is full\n");
    m_block.released.Post();
    EXPECT_TRUE(WaitForCount(m_runs, 3));
}

TEST_F(PoolTaskTest, ARingOfOneSlotIsAlwaysFull) {
    EXPECT_EQ(AddCounting(Create(1, 1), m_runs), -3);
}

TEST_F(PoolTaskTest, AShutDownPoolTakesNothing) {
    ThreadPool_t *pool = Create(0, 3);
    SetShutdown(pool, 1);
    EXPECT_EQ(AddMany(pool, m_runs, 2), (std::vector<int>{-4, -4}));
    EXPECT_EQ(pool->writeptr, 0);
    SetShutdown(pool, 0);
    // A full ring is told first.
    EXPECT_EQ(AddMany(pool, m_runs, 2), (std::vector<int>{0, 0}));
    SetShutdown(pool, 1);
    EXPECT_EQ(AddCounting(pool, m_runs), -3);
    SetShutdown(pool, 0);
}

TEST_F(PoolTaskTest, ClearingDropsWhatIsQueued) {
    ThreadPool_t *pool = Create(1, 4);
    ASSERT_EQ(AddTask(pool, BlockingTask::Run, &m_block), 0);
    EXPECT_TRUE(WasPosted(m_block.running));
    ASSERT_EQ(AddMany(pool, m_runs, 3), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(ClearTasks(pool), 0);
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::readptr), 0);
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::writeptr), 0);
    std::atomic<int> later{0};
    ASSERT_EQ(AddCounting(pool, later), 0);
    m_block.released.Post();
    EXPECT_TRUE(WaitForCount(later, 1));
    EXPECT_EQ(m_runs, 0);
}

TEST_F(PoolTaskTest, NothingWorksOnNoPoolOrNoFunction) {
    EXPECT_EQ(AddTask(nullptr, CountRun, &m_runs), -1);
    EXPECT_EQ(AddTask(Create(0, 2), nullptr, &m_runs), -1);
    EXPECT_EQ(ClearTasks(nullptr), -1);
    EXPECT_EQ(DestroyThreadPool(nullptr), -1);
    EXPECT_EQ(m_pool->writeptr, 0);
}

// A size out of range counts as 26, and that many slots are there.
class PoolQueueSizeTest : public PoolTaskTest, public testing::WithParamInterface<int> {};

TEST_P(PoolQueueSizeTest, OutOfRangeIsARingOf26) {
    ThreadPool_t *pool = Create(0, GetParam());
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->queue_size, 26);
    std::vector<int> expected(26, 0);
    expected.back() = -3;
    EXPECT_EQ(AddMany(pool, m_runs, 26), expected);
}

INSTANTIATE_TEST_SUITE_P(Sizes, PoolQueueSizeTest, testing::Values(-5, 0, 26, 27, 100));

// As many workers as asked for, whatever the field says.
struct Threads {
    int asked, field, alive;
};

void PrintTo(const Threads &threads, std::ostream *out) {
    *out << threads.asked;
}

class PoolThreadCountTest : public PoolTaskTest, public testing::WithParamInterface<Threads> {};

TEST_P(PoolThreadCountTest, OutOfRangeIs26InTheFieldOnly) {
    ThreadPool_t *pool = Create(GetParam().asked, 4);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->thread_count, GetParam().field);
    EXPECT_EQ(FieldOf(pool, &ThreadPool_t::started), GetParam().alive);
    EXPECT_EQ(m_workers.Count(), GetParam().alive);
}

INSTANTIATE_TEST_SUITE_P(Counts, PoolThreadCountTest,
                         testing::Values(Threads{1, 1, 1}, Threads{26, 26, 26}, Threads{40, 26, 40}, Threads{0, 26, 0},
                                         Threads{-5, 26, 0}));
