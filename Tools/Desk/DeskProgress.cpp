// See DeskProgress.h.
#include "Desk/DeskProgress.h"

#include <cstdio>

#include <unistd.h>

#include "Desk/StopSignals.h"
#include "Sound/BlockPacer.h"

namespace {

constexpr int64_t SECOND_NS = 1'000'000'000;
constexpr int64_t TERMINAL_NS = SECOND_NS / 5;
constexpr int FREQUENT_LINES = 20; // one a second, later one every ten seconds

} // namespace

DeskProgress::DeskProgress() : m_terminal(isatty(STDOUT_FILENO) == 1) {}

void DeskProgress::_Print(const std::string &text) {
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        zr_stop_ask();
}

void DeskProgress::Say(const std::string &line) {
    _Print((m_lineOpen ? "\r\033[K" : "") + line + '\n');
    m_lineOpen = false;
}

void DeskProgress::Tick(const std::function<std::string()> &line) {
    const int64_t now = MonotonicNs();
    if (now < m_nextNs)
        return;
    const bool first = m_nextNs == 0;
    m_nextNs = now + (m_terminal ? TERMINAL_NS : m_shown < FREQUENT_LINES ? SECOND_NS : 10 * SECOND_NS);
    if (first)
        return;
    ++m_shown;
    _Print(m_terminal ? "\r\033[K" + line() : line() + '\n');
    m_lineOpen = m_terminal;
}
