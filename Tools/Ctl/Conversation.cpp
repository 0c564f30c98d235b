// See Conversation.h.
#include "Ctl/Conversation.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "Ctl/BusCall.h"
#include "Ctl/CtlError.h"
#include "Desk/StopSignals.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int POLL_MS = 20;

} // namespace

void zr_ctl_pause(int ms) {
    const auto end = Clock::now() + std::chrono::milliseconds(ms);
    while (!zr_stop_wished() && Clock::now() < end)
        std::this_thread::sleep_for(std::min<Clock::duration>(std::chrono::milliseconds(POLL_MS), end - Clock::now()));
}

Conversation::Conversation(const std::string &logPath, int timeoutMs) : m_timeoutMs(timeoutMs) {
    try {
        m_log = std::make_unique<LogFollower>(logPath);
    } catch (const CtlError &) {
        zr_ctl_check_service();
        throw;
    }
}

void Conversation::Ask(const std::string &text, const std::function<bool(const std::vector<LogRecord> &)> &isComplete) {
    m_log->Poll(); // what was written before does not belong to it
    zr_ctl_command(text, m_timeoutMs);
    const auto deadline = Clock::now() + std::chrono::milliseconds(m_timeoutMs);
    while (!isComplete(m_log->Poll())) {
        if (zr_stop_wished())
            throw CtlError(CtlExit::Interrupted, "interrupted");
        if (Clock::now() >= deadline)
            throw CtlError(CtlExit::Silent, "the service answered but its lines did not come in the log");
        zr_ctl_pause(POLL_MS);
    }
}
