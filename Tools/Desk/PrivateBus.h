// A dbus-daemon of the run's own in the place of the system bus. Main thread.
#pragma once

#include <string>

#include "Desk/DeskChild.h"

class PrivateBus {
  public:
    // Starts it with its files in `directory` and its output in `logPath`. False, and
    // `error` says why, on failure.
    bool Start(const std::string &directory, const std::string &logPath, std::string &error);

    // For DBUS_SYSTEM_BUS_ADDRESS.
    const std::string &Address() const { return m_address; }

    DeskChild &Process() { return m_process; }

  private:
    bool _WaitForSocket();

    DeskChild m_process{"dbus-daemon"};
    std::string m_socketPath;
    std::string m_address;
};
