#include "SystemFaults.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

#include <pthread.h>

namespace {

thread_local int t_failing = -1;
thread_local int t_passesLeft = 0;

std::atomic<bool> g_held{false};
std::atomic<int> g_destroyedMutexes{0};

// One use of `call`; true when it has to fail.
bool MustFail(Call call) {
    return t_failing == static_cast<int>(call) && t_passesLeft-- <= 0;
}

struct HeldBody {
    void *(*body)(void *);
    void *argument;
};

void *RunOnceReleased(void *held) {
    const HeldBody body = *static_cast<HeldBody *>(held);
    delete static_cast<HeldBody *>(held);
    g_held.wait(true);
    return body.body(body.argument);
}

} // namespace

FailingCall::FailingCall(Call call, int nth) {
    t_passesLeft = nth - 1;
    t_failing = static_cast<int>(call);
}

FailingCall::~FailingCall() {
    t_failing = -1;
}

int DestroyedMutexes() {
    return g_destroyedMutexes;
}

HeldThreads::HeldThreads() {
    g_held = true;
}

HeldThreads::~HeldThreads() {
    g_held = false;
    g_held.notify_all();
}

extern "C" {

void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size) {
    return MustFail(Call::Calloc) ? nullptr : __real_calloc(count, size);
}

int __real_pthread_cond_init(pthread_cond_t *condition, const pthread_condattr_t *attributes);
int __wrap_pthread_cond_init(pthread_cond_t *condition, const pthread_condattr_t *attributes) {
    return MustFail(Call::CondInit) ? EAGAIN : __real_pthread_cond_init(condition, attributes);
}

int __real_pthread_cond_signal(pthread_cond_t *condition);
int __wrap_pthread_cond_signal(pthread_cond_t *condition) {
    return MustFail(Call::CondSignal) ? EINVAL : __real_pthread_cond_signal(condition);
}

int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument);
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument) {
    if (MustFail(Call::ThreadCreate))
        return EAGAIN;
    if (!g_held)
        return __real_pthread_create(thread, attributes, body, argument);
    return __real_pthread_create(thread, attributes, RunOnceReleased, new HeldBody{body, argument});
}

int __real_pthread_join(pthread_t thread, void **result);
int __wrap_pthread_join(pthread_t thread, void **result) {
    if (!MustFail(Call::ThreadJoin))
        return __real_pthread_join(thread, result);
    pthread_detach(thread); // as if somebody else had done so
    return EINVAL;
}

int __real_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes);
int __wrap_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) {
    return MustFail(Call::MutexInit) ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_mutex_destroy(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_destroy(pthread_mutex_t *mutex) {
    ++g_destroyedMutexes;
    return __real_pthread_mutex_destroy(mutex);
}

int __real_pthread_mutex_lock(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t *mutex) {
    return MustFail(Call::MutexLock) ? EINVAL : __real_pthread_mutex_lock(mutex);
}

int __real_pthread_mutex_unlock(pthread_mutex_t *mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t *mutex) {
    const int error = __real_pthread_mutex_unlock(mutex);
    return MustFail(Call::MutexUnlock) ? EPERM : error;
}
}
