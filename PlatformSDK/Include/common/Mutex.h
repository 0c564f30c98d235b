// Recursive mutex: the C functions locker_* and the class CMutex on top of them.
// Implemented in BSW/MultiTask/Mutex.cpp. Any thread.
#pragma once

#include <pthread.h>

#include <string>

using locker_t = pthread_mutex_t;

extern "C" {

// Makes `*locker` a recursive mutex (PTHREAD_MUTEX_RECURSIVE). 0, or the error number.
int locker_create(locker_t *locker);

// Destroys an unlocked mutex. 0, or the error number.
int locker_destroy(locker_t *locker);

// Locks; blocks while another thread holds the mutex. 0, or the error number.
int locker_lock(locker_t *locker);

// Unlocks once; as many unlocks as locks release the mutex. 0, or the error number.
int locker_unlock(locker_t *locker);
}

// A recursive mutex for the life of the object.
class CMutex {
  public:
    // Ends the process through the assertion "0 == ret" when the mutex cannot be made.
    // The name is for the reader of the code; nothing keeps it.
    explicit CMutex(const std::string &name);
    ~CMutex();

    CMutex(const CMutex &) = delete;
    CMutex &operator=(const CMutex &) = delete;

    // Locks; blocks while another thread holds the mutex.
    void Enter();

    // Unlocks what Enter locked.
    void Leave();

  private:
    locker_t m_locker;
};
