// See Stop.h.
#include "PeerTool/Stop.h"

#include <csignal>
#include <initializer_list>

#include "Sound/BlockPacer.h"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void RequestStop(int) {
    g_stop = 1;
}

} // namespace

void zr_stop_on_signals() {
    struct sigaction action {};
    action.sa_handler = RequestStop; // without SA_RESTART: waits end at once
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
        sigaction(signal, &action, nullptr);
}

bool zr_stop_requested() {
    return g_stop != 0;
}

RunTime::RunTime(double seconds) : m_seconds(seconds), m_fromNs(MonotonicNs()) {}

void RunTime::Begin() {
    if (!m_hasBegun)
        m_fromNs = MonotonicNs();
    m_hasBegun = true;
}

bool RunTime::IsOver() const {
    const double passed = static_cast<double>(MonotonicNs() - m_fromNs) / 1e9;
    return zr_stop_requested() || (m_seconds > 0 && passed >= m_seconds);
}
