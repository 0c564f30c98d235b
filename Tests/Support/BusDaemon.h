// A real dbus-daemon of the test's own, with its files in the working directory (a
// scratch directory made before). It dies with the test.
#pragma once

#include <memory>
#include <string>

#include "Support/ChildProcess.h"

class BusDaemon {
  public:
    // Elements of <busconfig> that allow everything to everybody, replies nobody asked
    // for and monitors included.
    static const char *const OPEN_POLICY;

    // Starts the daemon with the configuration "`name`.conf" that it writes: its socket
    // "`name`.socket" and `policy`, elements of <busconfig> such as
    // "<policy context=...>...</policy>" or "<include>/absolute/file.conf</include>".
    // Throws std::runtime_error with the daemon's words when it does not start.
    explicit BusDaemon(const std::string &policy = OPEN_POLICY, const std::string &name = "bus");

    BusDaemon(const BusDaemon &) = delete;
    BusDaemon &operator=(const BusDaemon &) = delete;

    // For DBUS_SYSTEM_BUS_ADDRESS. The same after a new start.
    const std::string &Address() const { return m_address; }

    // Makes it the system bus of this process and of the children started afterwards.
    // Before this process's first call of libdbus that asks for the system bus.
    void UseAsSystemBus() const;

    // Kills the daemon (SIGKILL) and collects it.
    void Kill();

    // Starts it again after Kill, at the same address with the same configuration.
    void Start();

    bool IsRunning() { return m_process && m_process->IsRunning(); }
    pid_t Pid() const { return m_process->Pid(); }

    // What the daemon wrote to standard error so far (refusals by the policy).
    std::string Errors() const { return m_process->Stderr(); }

  private:
    std::string m_name;
    std::string m_socketPath;
    std::string m_address;
    std::unique_ptr<ChildProcess> m_process;
};
