// Signals that interrupt the system calls of one thread.
#pragma once

#include <atomic>
#include <thread>

#include <pthread.h>

// While it lives, the thread that made it gets a signal every 2 ms.
class Interrupter {
  public:
    Interrupter();
    ~Interrupter();

    Interrupter(const Interrupter &) = delete;
    Interrupter &operator=(const Interrupter &) = delete;

    // Waits until 20 more signals have gone out. From another thread.
    void Await() const;

  private:
    std::atomic<int> m_sent{0};
    std::atomic<bool> m_ended{false};
    pthread_t m_target = pthread_self();
    std::thread m_sender;
};
