// What the tests of the pool share.
#pragma once

#include <atomic>
#include <string>
#include <thread>

#include <unistd.h>

#include "BSW/ThreadPool/ThreadPool.h"
#include "Support/WaitUntil.h"
#include "common/Semaphore.h"

// Generous: the tests run beside others, and under ThreadSanitizer.
constexpr int LONG_WAIT_MS = 30000;

// Takes one count of the semaphore as soon as there is one.
inline bool WasPosted(CSemaphore &semaphore) {
    return WaitUntil([&] { return semaphore.TryWait(); }, LONG_WAIT_MS);
}

// A task that reports that it runs and then waits to be let go.
struct BlockingTask {
    pthread_t worker = {}; // once it runs
    CSemaphore running{0};
    CSemaphore released{0};

    static void Run(void *self) {
        auto *task = static_cast<BlockingTask *>(self);
        task->worker = pthread_self();
        task->running.Post();
        task->released.Wait();
    }
};

// A task: counts its runs in the std::atomic<int> that is its argument.
inline void CountRun(void *counter) {
    ++*static_cast<std::atomic<int> *>(counter);
}

inline bool WaitForCount(const std::atomic<int> &counter, int count) {
    return WaitUntil([&] { return counter == count; }, LONG_WAIT_MS);
}

// The threads that came since it was made. ThreadSanitizer starts one of its own with a
// program's first thread: that is over before the counting begins.
class NewThreads {
  public:
    NewThreads() {
        pid_t first = 0;
        std::thread([&] { first = gettid(); }).join();
        const std::string entry = "/proc/self/task/" + std::to_string(first);
        WaitUntil([&] { return access(entry.c_str(), F_OK) != 0; }, LONG_WAIT_MS);
        m_before = ThreadCount();
    }

    int Count() const { return ThreadCount() - m_before; }
    bool WaitForEnd() const {
        return WaitUntil([this] { return Count() == 0; }, LONG_WAIT_MS);
    }

    // The same, and frees the pools that were left behind: what their tasks used may go.
    bool WaitForEndOfPools() const { return WaitForEnd() && DestroyThreadPool(CreateThreadPool(0, 1, "")) == 0; }

  private:
    int m_before = 0;
};

// A field of the pool, read under its lock.
inline int FieldOf(ThreadPool_t *pool, int ThreadPool_t::*field) {
    pthread_mutex_lock(&pool->lock);
    const int value = pool->*field;
    pthread_mutex_unlock(&pool->lock);
    return value;
}

inline void SetShutdown(ThreadPool_t *pool, int value) {
    pthread_mutex_lock(&pool->lock);
    pool->shutdown = value;
    pthread_mutex_unlock(&pool->lock);
}
