// Every function of the header under its name and with its signature, and the record.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "BSW/ThreadPool/ThreadPool.h"

TEST(ThreadPoolNames, EveryFunctionHasItsSignature) {
    ThreadPool_t *(*create)(int, int, const char *) = CreateThreadPool;
    int (*add)(ThreadPool_t *, void (*)(void *), void *) = AddTask;
    int (*destroy)(ThreadPool_t *) = DestroyThreadPool;
    int (*clear)(ThreadPool_t *) = ClearTasks;
    int (*name)(const char *) = SetThreadName;
    int (*priority)(int) = SetThreadPriority;
    int (*detached)(void *(*)(void *), void *, pthread_t *) = create_detached_thread;
    // Called where that does nothing, so that they are linked.
    EXPECT_EQ(add(nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(destroy(nullptr), -1);
    EXPECT_EQ(clear(nullptr), -1);
    EXPECT_EQ(name(nullptr), -1);
    EXPECT_EQ(priority(-1), -1);
    EXPECT_EQ(detached(nullptr, nullptr, nullptr), -1);
    ThreadPool_t *pool = create(0, 1, "");
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(destroy(pool), 0);
}

TEST(ThreadPoolNames, TheFieldsComeInTheirOrder) {
    const std::size_t offsets[] = {
        offsetof(ThreadPool_t, lock),    offsetof(ThreadPool_t, notify),       offsetof(ThreadPool_t, threads),
        offsetof(ThreadPool_t, queue),   offsetof(ThreadPool_t, thread_count), offsetof(ThreadPool_t, queue_size),
        offsetof(ThreadPool_t, readptr), offsetof(ThreadPool_t, writeptr),     offsetof(ThreadPool_t, shutdown),
        offsetof(ThreadPool_t, started), offsetof(ThreadPool_t, taskName),
    };
    EXPECT_TRUE(std::is_sorted(std::begin(offsets), std::end(offsets)));
    static_assert(sizeof(ThreadPool_t::taskName) == 129);
    static_assert(std::is_same_v<decltype(ThreadPool_t::threads), pthread_t *>);
    static_assert(std::is_same_v<decltype(ThreadPool_t::queue), ThreadPool_task_t *>);
    static_assert(std::is_same_v<decltype(ThreadPool_task_t::function), void (*)(void *)>);
    static_assert(offsetof(ThreadPool_task_t, argument) == sizeof(void *));
}
