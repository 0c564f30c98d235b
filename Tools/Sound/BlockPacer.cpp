// See BlockPacer.h.
#include "Sound/BlockPacer.h"

#include <cerrno>

#include <time.h>

namespace {
constexpr std::int64_t NS_PER_SECOND = 1'000'000'000;
constexpr std::int64_t LOST_NS = 100'000'000; // behind by this much, a new grid starts
} // namespace

std::int64_t MonotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * NS_PER_SECOND + now.tv_nsec;
}

BlockPacer::BlockPacer(std::int64_t periodNs) : m_periodNs(periodNs), m_deadlineNs(MonotonicNs() + periodNs) {}

bool BlockPacer::Wait() {
    const std::int64_t now = MonotonicNs();
    if (now - m_deadlineNs > LOST_NS) {
        m_deadlineNs = now;
        ++m_restarts;
    }
    const timespec deadline{m_deadlineNs / NS_PER_SECOND, m_deadlineNs % NS_PER_SECOND};
    if (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) != 0)
        return false;
    m_deadlineNs += m_periodNs;
    return true;
}
