// The thread pool. ThreadPool_thread and what it calls run on the workers, all else on
// the thread that calls it.
#include "BSW/ThreadPool/ThreadPool.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include <semaphore.h>
#include <time.h>

namespace {

constexpr int MAX_COUNT = 26;
constexpr int NAME_LENGTH = 63;
constexpr int NAME_WAIT_S = 3; // for all workers of a pool together

enum Result {
    BAD_ARGUMENT = -1,
    LOCK_FAILURE = -2,
    POOL_FULL = -3,
    POOL_SHUT_DOWN = -4,
    JOIN_FAILURE = -5,
};

// A pool with what its users do not see.
struct PoolRecord : ThreadPool_t {
    sem_t nameTaken;  // counts the workers that have named themselves
    int created;      // handles in `threads`
    PoolRecord *next; // in the list of pools left behind
};

// Pools that were destroyed while a worker was alive.
std::mutex g_leftLock;
PoolRecord *g_leftPools = nullptr;

bool IsValidCount(int count) {
    return count >= 1 && count <= MAX_COUNT;
}

int NextSlot(const ThreadPool_t *pool, int slot) {
    return slot + 1 >= pool->queue_size ? 0 : slot + 1;
}

int WorkersAlive(ThreadPool_t *pool) {
    pthread_mutex_lock(&pool->lock);
    const int started = pool->started;
    pthread_mutex_unlock(&pool->lock);
    return started;
}

void TakeName(PoolRecord *pool) {
    char name[sizeof pool->taskName];
    pthread_mutex_lock(&pool->lock);
    std::copy(std::begin(pool->taskName), std::end(pool->taskName), name);
    pthread_mutex_unlock(&pool->lock);
    SetThreadName(name);
    sem_post(&pool->nameTaken);
}

// Waits for the next task. False when the worker has to leave; tasks still queued are not
// run, and the pool may be gone by then.
bool TakeTask(ThreadPool_t *pool, ThreadPool_task_t &task) {
    pthread_mutex_lock(&pool->lock);
    while (pool->readptr == pool->writeptr && !pool->shutdown)
        pthread_cond_wait(&pool->notify, &pool->lock);
    const bool stays = !pool->shutdown;
    if (stays) {
        task = pool->queue[pool->readptr];
        pool->readptr = NextSlot(pool, pool->readptr);
    } else {
        --pool->started;
    }
    pthread_mutex_unlock(&pool->lock);
    return stays;
}

void *ThreadPool_thread(void *argument) {
    auto *pool = static_cast<PoolRecord *>(argument);
    TakeName(pool);
    for (ThreadPool_task_t task; TakeTask(pool, task);)
        task.function(task.argument);
    return nullptr;
}

bool AllocateArrays(ThreadPool_t *pool, int threadCount, int queueSize) {
    // As many as asked for, but never fewer than the fields say: the ring is used by its field.
    pool->threads = static_cast<pthread_t *>(calloc(std::max(threadCount, pool->thread_count), sizeof *pool->threads));
    pool->queue = static_cast<ThreadPool_task_t *>(calloc(std::max(queueSize, pool->queue_size), sizeof *pool->queue));
    return pool->threads && pool->queue;
}

void FreeMemory(PoolRecord *pool) {
    free(pool->threads);
    free(pool->queue);
    free(pool);
}

void FreePool(PoolRecord *pool) {
    sem_destroy(&pool->nameTaken);
    pthread_cond_destroy(&pool->notify);
    pthread_mutex_destroy(&pool->lock);
    FreeMemory(pool);
}

bool InitLocks(PoolRecord *pool) {
    if (pthread_mutex_init(&pool->lock, nullptr) != 0)
        return false;
    if (pthread_cond_init(&pool->notify, nullptr) == 0) {
        if (sem_init(&pool->nameTaken, 0, 0) == 0)
            return true;
        pthread_cond_destroy(&pool->notify);
    }
    pthread_mutex_destroy(&pool->lock);
    return false;
}

// A pool without workers, or null.
PoolRecord *MakePool(int threadCount, int queueSize) {
    auto *pool = static_cast<PoolRecord *>(calloc(1, sizeof(PoolRecord)));
    if (!pool)
        return nullptr;
    // The fields say 26 where the arrays are as large as was asked for.
    pool->thread_count = IsValidCount(threadCount) ? threadCount : MAX_COUNT;
    pool->queue_size = IsValidCount(queueSize) ? queueSize : MAX_COUNT;
    if (AllocateArrays(pool, threadCount, queueSize) && InitLocks(pool))
        return pool;
    FreeMemory(pool);
    return nullptr;
}

// Under the lock as a whole: the worker counts as alive before it can leave.
bool StartWorker(PoolRecord *pool, const char *name, int index) {
    pthread_mutex_lock(&pool->lock);
    snprintf(pool->taskName, sizeof pool->taskName, "%s_#%d", name, index);
    const bool isStarted = pthread_create(&pool->threads[index], nullptr, ThreadPool_thread, pool) == 0;
    if (isStarted) {
        ++pool->started;
        ++pool->created;
    }
    pthread_mutex_unlock(&pool->lock);
    return isStarted;
}

timespec NameDeadline() {
    timespec deadline = {};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += NAME_WAIT_S;
    return deadline;
}

bool StartWorkers(PoolRecord *pool, int count, const char *poolName) {
    char name[NAME_LENGTH + 1] = {};
    if (poolName)
        snprintf(name, sizeof name, "%s", poolName);
    const timespec deadline = NameDeadline();
    for (int i = 0; i < count; ++i) {
        if (!StartWorker(pool, name, i))
            return false;
        while (sem_clockwait(&pool->nameTaken, CLOCK_MONOTONIC, &deadline) != 0 && errno == EINTR) {
        }
    }
    return true;
}

int PutTask(ThreadPool_t *pool, const ThreadPool_task_t &task) {
    const int next = NextSlot(pool, pool->writeptr);
    if (next == pool->readptr) { // also when the pool is shut down
        puts("pool is full");
        return POOL_FULL;
    }
    if (pool->shutdown)
        return POOL_SHUT_DOWN;
    pool->queue[pool->writeptr] = task;
    pool->writeptr = next;
    return pthread_cond_signal(&pool->notify) == 0 ? 0 : LOCK_FAILURE;
}

int BeginShutdown(ThreadPool_t *pool) {
    if (pthread_mutex_lock(&pool->lock) != 0)
        return LOCK_FAILURE;
    const bool isFirst = !pool->shutdown;
    pool->shutdown = 1;
    pthread_cond_broadcast(&pool->notify);
    pthread_mutex_unlock(&pool->lock);
    return isFirst ? 0 : POOL_SHUT_DOWN;
}

// A worker that destroys its own pool cannot be joined: it is let go.
bool Join(pthread_t worker) {
    if (!pthread_equal(worker, pthread_self()))
        return pthread_join(worker, nullptr) == 0;
    pthread_detach(worker);
    return false;
}

// Joins while the index is below the number of workers alive, which falls meanwhile: the
// later workers are not waited for, but let go.
int JoinWorkers(PoolRecord *pool) {
    int result = 0;
    int index = 0;
    for (; index < WorkersAlive(pool); ++index)
        if (!Join(pool->threads[index]))
            result = JOIN_FAILURE;
    for (; index < pool->created; ++index)
        pthread_detach(pool->threads[index]);
    return result;
}

void LeavePool(PoolRecord *pool) {
    const std::lock_guard<std::mutex> guard(g_leftLock);
    pool->next = g_leftPools;
    g_leftPools = pool;
}

void FreeLeftPools() {
    const std::lock_guard<std::mutex> guard(g_leftLock);
    for (PoolRecord **link = &g_leftPools; *link;) {
        PoolRecord *pool = *link;
        if (WorkersAlive(pool) >= 1) {
            link = &pool->next;
            continue;
        }
        *link = pool->next;
        FreePool(pool);
    }
}

} // namespace

ThreadPool_t *CreateThreadPool(int thread_count, int queue_size, const char *name) {
    FreeLeftPools();
    PoolRecord *pool = MakePool(thread_count, queue_size);
    if (pool && !StartWorkers(pool, thread_count, name)) {
        DestroyThreadPool(pool);
        return nullptr;
    }
    return pool;
}

int AddTask(ThreadPool_t *pool, void (*function)(void *), void *argument) {
    if (!pool || !function)
        return BAD_ARGUMENT;
    if (pthread_mutex_lock(&pool->lock) != 0)
        return LOCK_FAILURE;
    const int result = PutTask(pool, {function, argument});
    return pthread_mutex_unlock(&pool->lock) == 0 ? result : LOCK_FAILURE;
}

int DestroyThreadPool(ThreadPool_t *pool) {
    if (!pool)
        return BAD_ARGUMENT;
    if (const int refusal = BeginShutdown(pool))
        return refusal;
    auto *record = static_cast<PoolRecord *>(pool);
    const int result = JoinWorkers(record);
    if (result == 0 && WorkersAlive(pool) < 1)
        FreePool(record);
    else
        LeavePool(record);
    return result;
}

int ClearTasks(ThreadPool_t *pool) {
    if (!pool)
        return BAD_ARGUMENT;
    if (pthread_mutex_lock(&pool->lock) != 0)
        return LOCK_FAILURE;
    pool->readptr = 0;
    pool->writeptr = 0;
    pthread_mutex_unlock(&pool->lock);
    return 0;
}
