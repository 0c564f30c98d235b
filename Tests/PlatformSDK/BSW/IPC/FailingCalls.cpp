#include "FailingCalls.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>

#include <pthread.h>

namespace {

std::atomic<int> g_uses[SYSTEM_CALLS];
std::atomic<int> g_failing{-1};
std::atomic<int> g_passesLeft{0};

// Counts one use; true when it has to fail.
bool MustFail(SystemCall call) {
    const int index = static_cast<int>(call);
    ++g_uses[index];
    return g_failing == index && g_passesLeft-- <= 0;
}

} // namespace

FailingCall::FailingCall(SystemCall call, int nth) {
    g_passesLeft = nth - 1;
    g_failing = static_cast<int>(call);
}

FailingCall::~FailingCall() {
    g_failing = -1;
}

int UsesOf(SystemCall call) {
    return g_uses[static_cast<int>(call)];
}

extern "C" {

void *__real_malloc(std::size_t size);
void *__wrap_malloc(std::size_t size) {
    return MustFail(SystemCall::Malloc) ? nullptr : __real_malloc(size);
}

void *__real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void *__wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag) {
    return MustFail(SystemCall::NothrowNew) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

int __real_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes);
int __wrap_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) {
    return MustFail(SystemCall::MutexInit) ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_cond_init(pthread_cond_t *condition, const pthread_condattr_t *attributes);
int __wrap_pthread_cond_init(pthread_cond_t *condition, const pthread_condattr_t *attributes) {
    return MustFail(SystemCall::CondInit) ? EAGAIN : __real_pthread_cond_init(condition, attributes);
}

int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument);
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument) {
    return MustFail(SystemCall::ThreadCreate) ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}

int __real_pthread_mutex_lock(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t *mutex) {
    MustFail(SystemCall::MutexLock);
    return __real_pthread_mutex_lock(mutex);
}

int __real_pthread_mutex_destroy(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_destroy(pthread_mutex_t *mutex) {
    MustFail(SystemCall::MutexDestroy);
    return __real_pthread_mutex_destroy(mutex);
}

int __real_pthread_cond_destroy(pthread_cond_t *condition);
int __wrap_pthread_cond_destroy(pthread_cond_t *condition) {
    MustFail(SystemCall::CondDestroy);
    return __real_pthread_cond_destroy(condition);
}

int __real_pthread_cond_wait(pthread_cond_t *condition, pthread_mutex_t *mutex);
int __wrap_pthread_cond_wait(pthread_cond_t *condition, pthread_mutex_t *mutex) {
    MustFail(SystemCall::CondWait);
    return __real_pthread_cond_wait(condition, mutex);
}
}
