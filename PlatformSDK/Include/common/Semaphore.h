// Counting semaphore: the C functions semaphore_* and the class CSemaphore on top of
// them. Implemented in BSW/MultiTask/Semaphore.cpp. Any thread.
#pragma once

#include <semaphore.h>

// One semaphore, named (shared through the system) or private to the process.
typedef struct tagSEMAPHORE {
    char *name; // null while the semaphore is private
    sem_t *sem;
} semaphore_t;

extern "C" {

// Makes `*semaphore` with `value` counts (0 to SEM_VALUE_MAX). A non-empty `name` makes
// a new named semaphore (mode 0777; EEXIST when the name is taken), null or "" a private
// one. 0, or the error number; after an error there is nothing to destroy.
int semaphore_create(semaphore_t *semaphore, const char *name, long value);

// Takes one count; blocks while there is none. 0, or the error number: EINTR when a
// signal handler interrupted the wait.
int semaphore_app_wait(semaphore_t *semaphore);

// Gives one count. 0, or the error number.
int semaphore_app_post(semaphore_t *semaphore);

// Frees a private semaphore; closes and unlinks a named one. Nobody may be waiting.
// 0, or the error number.
int semaphore_destroy(semaphore_t *semaphore);
}

// A private semaphore for the life of the object.
class CSemaphore {
  public:
    // Starts with `value` counts. Ends the process through the assertion "0 == ret" when
    // the semaphore cannot be made.
    explicit CSemaphore(long value);
    ~CSemaphore();

    CSemaphore(const CSemaphore &) = delete;
    CSemaphore &operator=(const CSemaphore &) = delete;

    // Takes one count; blocks while there is none, whatever signals arrive.
    void Wait();

    // Takes one count if there is one. Never blocks. False when there was none.
    bool TryWait();

    // Gives one count.
    void Post();

  private:
    semaphore_t m_semaphore;
};
