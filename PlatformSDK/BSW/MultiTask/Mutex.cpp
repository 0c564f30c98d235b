// The recursive mutex. Any thread.
#include "common/Mutex.h"

#undef NDEBUG // a mutex that cannot be made ends the process in every build
#include <cassert>

int locker_create(locker_t *locker) {
    pthread_mutexattr_t attributes;
    if (const int ret = pthread_mutexattr_init(&attributes))
        return ret;
    int ret = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    if (ret == 0)
        ret = pthread_mutex_init(locker, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return ret;
}

int locker_destroy(locker_t *locker) {
    return pthread_mutex_destroy(locker);
}

int locker_lock(locker_t *locker) {
    return pthread_mutex_lock(locker);
}

int locker_unlock(locker_t *locker) {
    return pthread_mutex_unlock(locker);
}

CMutex::CMutex(const std::string & /*name*/) {
    const int ret = locker_create(&m_locker);
    assert(0 == ret);
}

CMutex::~CMutex() {
    locker_destroy(&m_locker);
}

void CMutex::Enter() {
    locker_lock(&m_locker);
}

void CMutex::Leave() {
    locker_unlock(&m_locker);
}
