// An operator who never rests: calls the service's debug method at a steady rate while
// audio runs. Its calls run on a thread of its own, all else on the main thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

class DeskCaller {
  public:
    // Calls nobody before Start.
    DeskCaller(std::string busAddress, double callsPerSecond);
    ~DeskCaller() { Stop(); }

    DeskCaller(const DeskCaller &) = delete;
    DeskCaller &operator=(const DeskCaller &) = delete;

    void Start();

    // Returns once the call under way has ended.
    void Stop();

    // Calls so far, and those without the reply {"res":0}. Any thread.
    uint64_t Calls() const { return m_calls; }
    uint64_t Failed() const { return m_failed; }

    // Seconds from Start to now, or to Stop.
    double Seconds() const;

  private:
    void _Run(const std::stop_token &stop);

    std::string m_busAddress;
    double m_callsPerSecond;
    std::atomic<uint64_t> m_calls{0};
    std::atomic<uint64_t> m_failed{0};
    int64_t m_startNs = 0;
    int64_t m_stopNs = 0;
    std::jthread m_thread;
};
