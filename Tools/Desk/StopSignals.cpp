// See StopSignals.h.
#include "Desk/StopSignals.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> wished{false};

void OnSignal(int /*signal*/) {
    wished.store(true);
}

} // namespace

void zr_stop_signals_catch() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool zr_stop_wished() {
    return wished.load();
}

void zr_stop_ask() {
    wished.store(true);
}
