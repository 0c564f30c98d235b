#include "Interrupter.h"

#include <chrono>
#include <csignal>

#include "Support/WaitUntil.h"

Interrupter::Interrupter() {
    struct sigaction action = {}; // without SA_RESTART
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    m_sender = std::thread([this] {
        while (!m_ended) {
            pthread_kill(m_target, SIGUSR1);
            ++m_sent;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
}

Interrupter::~Interrupter() {
    m_ended = true;
    m_sender.join();
}

void Interrupter::Await() const {
    const int enough = m_sent + 20;
    WaitUntil([&] { return m_sent >= enough; });
}
