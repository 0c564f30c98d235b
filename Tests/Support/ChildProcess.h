// A program run as a second process, with its output in files of the scratch directory.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

struct ExitStatus {
    bool exited = false; // by exit or return, with `code`
    int code = 0;
    bool signalled = false; // by a signal, `signal`
    int signal = 0;
    bool timedOut = false; // still running; it was killed
};

class ChildProcess {
  public:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    // Starts `argv[0]` with stdout and stderr in the files `name`.out and `name`.err of
    // the working directory. `environment` is set on top of the test's own. The child
    // dies with the test. A program of the build is started by the emulator where the test
    // itself runs under one.
    ChildProcess(std::string name, const std::vector<std::string> &argv, const Environment &environment = {});

    // Kills (SIGKILL) and collects the child if it still runs.
    ~ChildProcess();

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    pid_t Pid() const { return m_pid; }

    // True while the child has not ended.
    bool IsRunning();

    void Signal(int signal) const;

    // Waits for the end; kills the child after `timeoutMs`.
    ExitStatus Wait(int timeoutMs = 10000);

    std::string Stdout() const;
    std::string Stderr() const;

    // Names of the child's threads as /proc shows them.
    std::vector<std::string> ThreadNames() const;

  private:
    bool _Collect(int timeoutMs);

    std::string m_outPath;
    std::string m_errPath;
    pid_t m_pid = -1;
    int m_pidfd = -1;
    bool m_collected = false;
    int m_status = 0;
};
