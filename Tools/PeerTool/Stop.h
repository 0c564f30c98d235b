// When a command of the tool ends: on a signal, or after its time. Main thread.
#pragma once

#include <cstdint>

// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE ask for a clean end instead of killing.
void zr_stop_on_signals();

// True once such a signal has come.
bool zr_stop_requested();

// The time a command runs, counted from the first block so that waiting for the service
// costs none of it.
class RunTime {
  public:
    // `seconds` 0: until a signal.
    explicit RunTime(double seconds);

    // Tells that a block came or went; only the first call counts.
    void Begin();

    bool HasBegun() const { return m_hasBegun; }

    // True after a signal, after the time, or when the time has passed without any block.
    bool IsOver() const;

  private:
    double m_seconds;
    std::int64_t m_fromNs;
    bool m_hasBegun = false;
};
