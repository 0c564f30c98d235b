// Thread utilities: name and priority of the calling thread, threads that nobody joins.
#include "BSW/ThreadPool/ThreadPool.h"

#include <cerrno>
#include <cstdio>

#include <sched.h>
#include <sys/prctl.h>

int SetThreadName(const char *name) {
    if (!name) {
        errno = EFAULT;
        return -1;
    }
    return prctl(PR_SET_NAME, name);
}

int SetThreadPriority(int priority) {
    const int lowest = sched_get_priority_min(SCHED_FIFO);
    const int highest = sched_get_priority_max(SCHED_FIFO);
    if (priority < lowest || priority > highest) {
        printf("priority error %d\n", priority);
        return -1;
    }
    // Always the middle: the argument only gates the call.
    sched_param parameters = {};
    parameters.sched_priority = (lowest + highest) / 2;
    return pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters);
}

int create_detached_thread(void *(*fn)(void *), void *arg, pthread_t *tid) {
    pthread_attr_t attributes;
    if (!fn || pthread_attr_init(&attributes) != 0)
        return -1;
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const int error = pthread_create(&thread, &attributes, fn, arg);
    pthread_attr_destroy(&attributes);
    if (error != 0)
        return -1;
    if (tid)
        *tid = thread;
    return 0;
}
