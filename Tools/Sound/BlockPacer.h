// Paces a loop at the period of the device on the monotonic clock. One thread.
#pragma once

#include <cstdint>

// Deadlines lie on an absolute grid, so the work between two waits does not add up to a
// drift. A loop that fell behind catches up; one that lost more than 100 ms (a stopped
// process) starts a new grid instead of sending a burst.
class BlockPacer {
  public:
    // The first deadline is one period from now. `periodNs` is in nanoseconds.
    explicit BlockPacer(std::int64_t periodNs = 2'000'000);

    // Waits for the next deadline. False when a signal came first: the deadline still stands.
    bool Wait();

    // How often a new grid was started.
    int Restarts() const { return m_restarts; }

  private:
    std::int64_t m_periodNs;
    std::int64_t m_deadlineNs;
    int m_restarts = 0;
};

// Nanoseconds of the monotonic clock.
std::int64_t MonotonicNs();
