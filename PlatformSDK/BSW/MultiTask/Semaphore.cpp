// The counting semaphore. Any thread.
#include "common/Semaphore.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <limits.h>

#undef NDEBUG // a semaphore that cannot be made ends the process in every build
#include <cassert>

namespace {

int ErrorOf(int result) {
    return result == 0 ? 0 : errno;
}

int CreateNamed(semaphore_t *semaphore, const char *name, unsigned value) {
    semaphore->name = strdup(name);
    if (!semaphore->name)
        return ENOMEM;
    sem_t *sem = sem_open(name, O_CREAT | O_EXCL | O_RDWR, 0777, value);
    if (sem != SEM_FAILED) {
        semaphore->sem = sem;
        return 0;
    }
    const int error = errno;
    free(semaphore->name);
    semaphore->name = nullptr;
    return error;
}

int CreatePrivate(semaphore_t *semaphore, unsigned value) {
    semaphore->sem = static_cast<sem_t *>(malloc(sizeof(sem_t)));
    if (!semaphore->sem)
        return ENOMEM;
    if (sem_init(semaphore->sem, 0, value) == 0)
        return 0;
    const int error = errno;
    free(semaphore->sem);
    semaphore->sem = nullptr;
    return error;
}

int DestroyNamed(semaphore_t *semaphore) {
    const int closeError = ErrorOf(sem_close(semaphore->sem));
    const int unlinkError = ErrorOf(sem_unlink(semaphore->name));
    free(semaphore->name);
    return closeError != 0 ? closeError : unlinkError;
}

int DestroyPrivate(semaphore_t *semaphore) {
    const int error = ErrorOf(sem_destroy(semaphore->sem));
    free(semaphore->sem);
    return error;
}

} // namespace

int semaphore_create(semaphore_t *semaphore, const char *name, long value) {
    *semaphore = {};
    if (value < 0 || value > SEM_VALUE_MAX)
        return EINVAL;
    const auto counts = static_cast<unsigned>(value);
    return name && *name ? CreateNamed(semaphore, name, counts) : CreatePrivate(semaphore, counts);
}

int semaphore_app_wait(semaphore_t *semaphore) {
    return ErrorOf(sem_wait(semaphore->sem));
}

int semaphore_app_post(semaphore_t *semaphore) {
    return ErrorOf(sem_post(semaphore->sem));
}

int semaphore_destroy(semaphore_t *semaphore) {
    const int error = semaphore->name ? DestroyNamed(semaphore) : DestroyPrivate(semaphore);
    *semaphore = {};
    return error;
}

CSemaphore::CSemaphore(long value) {
    const int ret = semaphore_create(&m_semaphore, nullptr, value);
    assert(0 == ret);
}

CSemaphore::~CSemaphore() {
    semaphore_destroy(&m_semaphore);
}

void CSemaphore::Wait() {
    while (semaphore_app_wait(&m_semaphore) == EINTR) {
    }
}

bool CSemaphore::TryWait() {
    int error;
    do
        error = ErrorOf(sem_trywait(m_semaphore.sem));
    while (error == EINTR);
    return error == 0;
}

void CSemaphore::Post() {
    semaphore_app_post(&m_semaphore);
}
