// A fixed number of worker threads fed from a bounded ring of tasks, and utilities for
// single threads. Any thread may call any function.
#pragma once

#include <pthread.h>

typedef struct _ThreadPool_task {
    void (*function)(void *);
    void *argument;
} ThreadPool_task_t;

// A pool as CreateThreadPool makes it. `lock` guards everything behind `notify`; the
// handles in `threads` stay as they are once the pool is made.
// The ring is empty when readptr == writeptr and full when one step of writeptr would
// reach readptr: it holds at most queue_size - 1 tasks.
typedef struct _ThreadPool {
    pthread_mutex_t lock;
    pthread_cond_t notify; // the workers sleep on it
    pthread_t *threads;
    ThreadPool_task_t *queue;
    int thread_count;
    int queue_size;
    int readptr;        // next task to run
    int writeptr;       // next free slot
    int shutdown;       // 1 once the workers have to leave
    int started;        // workers alive
    char taskName[129]; // under which the next worker names itself
} ThreadPool_t;

extern "C" {

// A pool of `thread_count` workers named "NAME_#0", "NAME_#1", ... (at most 63 characters
// of `name`, of which the kernel keeps 15 with the number; null is as "") and a ring of
// `queue_size` slots. Both are meant to lie in 1..26. Outside of it the field of that
// name says 26, while as many workers are started as were asked for: none for 0 and
// less.
// Waits for each worker to take its name, which takes it a moment; one that starts later
// than that (three seconds for all of them together) may carry the name of a later one.
// The pool, or null when memory, a lock or a thread cannot be had. DestroyThreadPool
// frees it.
ThreadPool_t *CreateThreadPool(int thread_count, int queue_size, const char *name);

// Puts a task into the ring; a worker calls function(argument) later. Never waits for
// room. The argument stays the caller's.
// 0; -1 null pool or function; -2 when locking, waking a worker or unlocking fails (after
// the latter two the task is in the ring all the same); -3 when the ring is full, with
// the line "pool is full" on standard output; -4 when the pool is shut down.
int AddTask(ThreadPool_t *pool, void (*function)(void *), void *argument);

// Shuts the pool down: queued tasks are dropped, those being run end. Blocks while it
// joins workers, the first ones first, for as long as more are alive than it has joined:
// when it returns at most half of them still run a task, and these end by themselves. One
// worker alone is always waited for.
// 0; -1 null pool; -2 when locking fails; -4 when the pool has been shut down before; -5
// when a worker cannot be joined, as when a worker destroys its own pool.
// After 0 and -5 the pool is no longer the caller's. Its memory is freed at once only
// when no worker is alive. Else it is left as it is for the workers, and the first
// CreateThreadPool that finds all of them gone frees it.
// Nobody else may be using the pool: -4 is for a caller that knows it is still there.
int DestroyThreadPool(ThreadPool_t *pool);

// Discards all tasks that no worker has taken. 0; -1 null pool; -2 when locking fails.
int ClearTasks(ThreadPool_t *pool);

// Names the calling thread, as /proc shows it; the kernel keeps 15 characters. 0, or -1
// with errno: EFAULT for null.
int SetThreadName(const char *name);

// Makes the calling thread a real-time thread (SCHED_FIFO) of the middle priority, 50
// where the range is 1..99. `priority` only has to lie in that range, else: -1 with the
// line "priority error N" on standard output. 0, or the error number: EPERM without the
// right to real-time priorities.
int SetThreadPriority(int priority);

// Starts fn(arg) on a thread that nobody has to join, and stores its handle in `*tid`
// unless that is null; the handle is good only while the thread runs. 0, or -1 when the
// thread cannot be made.
int create_detached_thread(void *(*fn)(void *), void *arg, pthread_t *tid);
}
