// The end of a run: everything that was started ends, and the report is told.
#include <csignal>
#include <filesystem>

#include "Desk/DeskRun.h"
#include "Desk/StopSignals.h"

namespace {

constexpr int END_MS = 5000;    // for a process to end by itself
constexpr int SOUND_MS = 20000; // for the peer to write its sound
constexpr int STOPPED = 130;    // exit status after Ctrl-C
constexpr const char *SERVICE_LOG = "/firmware/log/ZRFpgaMng";

} // namespace

// A signal ends the service by SIGABRT, right after the stack trace in its log, once its
// bridges run.
void DeskRun::_StopAll() {
    const auto problem = [this](const std::string &text) { m_final.problems.push_back(text); };
    if (m_service.IsStarted()) {
        m_memory.Shared().send = false;
        if (!m_service.IsRunning())
            problem("the service ended early: " + m_service.Ending());
        else if (!m_service.End(SIGTERM, END_MS))
            problem("the service did not end on SIGTERM and was killed");
        else if (m_final.toPeer.expected > 0 && !m_service.EndedBySignal(SIGABRT))
            problem("the service did not end by SIGABRT but with " + m_service.Ending());
    }
    if (m_peer.IsStarted()) {
        m_memory.Shared().stop = true;
        if (!m_peer.End(0, SOUND_MS) || !m_peer.EndedWell())
            problem("the peer did not end well: " + m_peer.Ending());
    }
    m_bus.Process().End(SIGTERM, END_MS);
    if (!m_recorder.Close())
        problem(m_options.out + "/card: not all sound could be written");
    _KeepLogs();
}

// The sandbox and its /firmware go with the run.
void DeskRun::_KeepLogs() const {
    std::error_code ignored;
    if (m_service.IsStarted())
        std::filesystem::copy(SERVICE_LOG, m_options.out + "/log", std::filesystem::copy_options::recursive, ignored);
}

int DeskRun::_Conclude() {
    const bool measured = m_final.toPeer.expected > 0;
    if (measured) {
        m_progress.Say(m_answers + zr_desk_report(m_final) + "sound: " + m_options.out +
                       "/peer/ch01.wav to ch24.wav, " + m_options.out +
                       "/card/ch01.wav to ch24.wav (the first minute); logs beside them");
        if (m_final.IsExact())
            m_progress.Say("every period arrived in order and bit for bit");
        else
            m_progress.Say("FAILED: not every period arrived in order and bit for bit");
        return !m_final.IsExact() ? 1 : m_interrupted && !m_options.forever ? STOPPED : 0;
    }
    for (const std::string &problem : m_final.problems)
        m_progress.Say(problem);
    if (m_error.empty() && zr_stop_wished()) {
        m_progress.Say("stopped before any audio was measured");
        return STOPPED;
    }
    m_progress.Say("FAILED: " + m_error + "; see " + m_options.out);
    return 1;
}
