// A program that the desk runner starts and always ends. Main thread only: the kernel
// ends the child when the thread that started it ends.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

struct DeskChildCommand {
    std::vector<std::string> argv;                                // argv[0] is looked up in PATH
    std::vector<std::pair<std::string, std::string>> environment; // on top of the runner's own
    std::string outputPath;  // standard output and error go there; empty: the runner's own
    int keptDescriptor = -1; // the one descriptor that the child gets, under the same number
    bool urgent = false;     // real-time or raised priority where the kernel allows it
};

class DeskChild {
  public:
    explicit DeskChild(std::string name) : m_name(std::move(name)) {}
    ~DeskChild(); // kills it if it still runs

    DeskChild(const DeskChild &) = delete;
    DeskChild &operator=(const DeskChild &) = delete;

    // Starts it in a session of its own, without core dumps. False when it cannot be started.
    bool Start(const DeskChildCommand &command);

    bool IsStarted() const { return m_pid > 0; }
    pid_t Pid() const { return m_pid; }
    const std::string &Name() const { return m_name; }

    // True while it has not ended.
    bool IsRunning();

    // Sends `signal` (0: none), waits `timeoutMs` for the end and kills it after that.
    // False when it had to be killed.
    bool End(int signal, int timeoutMs);

    // How it ended, in words: "exit status 1", "signal 6 (Aborted)". Once it has ended.
    std::string Ending() const;
    bool EndedBySignal(int signal) const;
    bool EndedWell() const; // exit status 0

  private:
    bool _Wait(int timeoutMs);

    std::string m_name;
    pid_t m_pid = -1;
    int m_pidfd = -1;
    bool m_ended = false;
    int m_status = 0;
};
