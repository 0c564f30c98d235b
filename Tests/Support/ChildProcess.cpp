#include "Support/ChildProcess.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Emulation/Startable.h"
#include "Support/ScratchDir.h"

namespace {

// The words as exec wants them; they stay the caller's.
std::vector<char *> Pointers(const std::vector<std::string> &words) {
    std::vector<char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(const_cast<char *>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// `environment` on top of the test's own.
std::vector<std::string> MergedEnvironment(const ChildProcess::Environment &environment) {
    std::vector<std::string> merged;
    for (const auto &[variable, value] : environment)
        merged.push_back(variable + "=" + value);
    for (char **own = environ; *own; ++own) {
        const std::string assignment = *own;
        const std::string variable = assignment.substr(0, assignment.find('='));
        if (std::none_of(environment.begin(), environment.end(),
                         [&](const auto &set) { return set.first == variable; }))
            merged.push_back(assignment);
    }
    return merged;
}

void RedirectTo(const std::string &path, int target) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || dup2(fd, target) < 0)
        _exit(126);
}

} // namespace

ChildProcess::ChildProcess(std::string name, const std::vector<std::string> &argv, const Environment &environment)
    : m_outPath(std::filesystem::absolute(name + ".out")), m_errPath(std::filesystem::absolute(name + ".err")) {
    const std::vector<std::string> assignments = MergedEnvironment(environment);
    const std::vector<std::string> words = zr_startable(argv);
    const std::vector<char *> arguments = Pointers(words);
    const std::vector<char *> variables = Pointers(assignments);

    // The child calls nothing that takes memory: another thread of the test may hold the heap's lock.
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error("fork failed");
    if (m_pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        RedirectTo(m_outPath, STDOUT_FILENO);
        RedirectTo(m_errPath, STDERR_FILENO);
        execvpe(arguments[0], arguments.data(), variables.data());
        _exit(127);
    }
    m_pidfd = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
}

ChildProcess::~ChildProcess() {
    if (!m_collected) {
        Signal(SIGKILL);
        _Collect(-1);
    }
    close(m_pidfd);
}

bool ChildProcess::_Collect(int timeoutMs) {
    if (m_collected)
        return true;
    pollfd ended{m_pidfd, POLLIN, 0};
    if (m_pidfd >= 0 && poll(&ended, 1, timeoutMs) < 1)
        return false;
    m_collected = waitpid(m_pid, &m_status, 0) == m_pid;
    return m_collected;
}

bool ChildProcess::IsRunning() {
    return !_Collect(0);
}

void ChildProcess::Signal(int signal) const {
    kill(m_pid, signal);
}

ExitStatus ChildProcess::Wait(int timeoutMs) {
    ExitStatus status;
    status.timedOut = !_Collect(timeoutMs);
    if (status.timedOut) {
        Signal(SIGKILL);
        _Collect(-1);
    }
    status.exited = WIFEXITED(m_status);
    status.code = status.exited ? WEXITSTATUS(m_status) : 0;
    status.signalled = WIFSIGNALED(m_status);
    status.signal = status.signalled ? WTERMSIG(m_status) : 0;
    return status;
}

std::string ChildProcess::Stdout() const {
    return ReadWholeFile(m_outPath);
}

std::string ChildProcess::Stderr() const {
    return ReadWholeFile(m_errPath);
}

std::vector<std::string> ChildProcess::ThreadNames() const {
    std::vector<std::string> names;
    std::error_code error;
    const std::string tasks = "/proc/" + std::to_string(m_pid) + "/task";
    for (std::filesystem::directory_iterator task(tasks, error), end; task != end; task.increment(error)) {
        std::string name;
        std::getline(std::ifstream(task->path() / "comm"), name);
        names.push_back(name);
    }
    return names;
}
