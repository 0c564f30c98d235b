// The names of the workers, as /proc shows them.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <sys/prctl.h>

#include "PoolSupport.h"
#include "SystemFaults.h"

namespace {

struct NameTask {
    BlockingTask block; // so that every worker gets one
    char name[16] = {};

    static void Run(void *self) {
        auto *task = static_cast<NameTask *>(self);
        prctl(PR_GET_NAME, task->name);
        BlockingTask::Run(&task->block);
    }
};

// The names of all workers, sorted. Destroys the pool.
std::vector<std::string> WorkerNames(ThreadPool_t *pool, int count, const NewThreads &workers) {
    std::vector<NameTask> tasks(count);
    for (NameTask &task : tasks)
        EXPECT_EQ(AddTask(pool, NameTask::Run, &task), 0);
    std::vector<std::string> names;
    for (NameTask &task : tasks) {
        EXPECT_TRUE(WasPosted(task.block.running));
        names.emplace_back(task.name);
    }
    for (NameTask &task : tasks)
        task.block.released.Post();
    EXPECT_EQ(DestroyThreadPool(pool), 0);
    EXPECT_TRUE(workers.WaitForEndOfPools()); // the tasks go
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> NamesOfPool(int count, const char *name) {
    const NewThreads workers;
    ThreadPool_t *pool = CreateThreadPool(count, 26, name);
    return WorkerNames(pool, count, workers);
}

} // namespace

using Names = std::vector<std::string>;

TEST(PoolName, EachWorkerTakesItsOwn) {
    EXPECT_EQ(NamesOfPool(2, "ab"), (Names{"ab_#0", "ab_#1"}));
}

TEST(PoolName, WithoutANameOnlyTheNumberIsLeft) {
    EXPECT_EQ(NamesOfPool(1, ""), Names{"_#0"});
    EXPECT_EQ(NamesOfPool(1, nullptr), Names{"_#0"});
}

TEST(PoolName, ALongOneIsCut) {
    const NewThreads workers;
    const std::string name(100, 'n');
    ThreadPool_t *pool = CreateThreadPool(1, 4, name.c_str());
    EXPECT_EQ(pool->taskName, std::string(63, 'n') + "_#0");
    EXPECT_EQ(WorkerNames(pool, 1, workers), Names{std::string(15, 'n')});
}

// Creation goes on without a worker that does not come.
TEST(PoolName, AWorkerThatStartsLateTakesALaterOne) {
    const NewThreads workers;
    ThreadPool_t *pool = nullptr;
    {
        const HeldThreads held;
        pool = CreateThreadPool(3, 26, "late");
        ASSERT_NE(pool, nullptr);
        EXPECT_STREQ(pool->taskName, "late_#2");
    }
    EXPECT_EQ(WorkerNames(pool, 3, workers), (Names{"late_#2", "late_#2", "late_#2"}));
}
