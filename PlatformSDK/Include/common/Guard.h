// Scoped lock on a CMutex. Any thread.
#pragma once

#include "common/Mutex.h"

// Holds the mutex from construction to destruction.
class CGuard {
  public:
    explicit CGuard(CMutex &mutex) : m_mutex(mutex) { m_mutex.Enter(); }
    ~CGuard() { m_mutex.Leave(); }

    CGuard(const CGuard &) = delete;
    CGuard &operator=(const CGuard &) = delete;

  private:
    CMutex &m_mutex;
};
