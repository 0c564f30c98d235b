// See DeskChild.h.
#include "Desk/DeskChild.h"

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Emulation/Startable.h"

namespace {

constexpr int FIFO_PRIORITY = 20;
constexpr int URGENT_NICE = -10;
constexpr int NOT_STARTED = 127;

// Between fork and exec.
void ResetSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGQUIT})
        ::signal(signal, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void RaisePriority() {
    const sched_param priority{FIFO_PRIORITY};
    if (sched_setscheduler(0, SCHED_FIFO, &priority) != 0)
        setpriority(PRIO_PROCESS, 0, URGENT_NICE);
}

void RedirectOutput(const std::string &path) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (descriptor < 0 || dup2(descriptor, STDOUT_FILENO) < 0 || dup2(descriptor, STDERR_FILENO) < 0)
        _exit(NOT_STARTED);
}

[[noreturn]] void Become(const DeskChildCommand &command, std::vector<char *> &arguments, pid_t parent) {
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(NOT_STARTED);
    ResetSignals();
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    if (!command.outputPath.empty())
        RedirectOutput(command.outputPath);
    if (command.keptDescriptor >= 0)
        fcntl(command.keptDescriptor, F_SETFD, 0);
    for (const auto &[variable, value] : command.environment)
        setenv(variable.c_str(), value.c_str(), 1);
    if (command.urgent)
        RaisePriority();
    execvp(arguments[0], arguments.data());
    _exit(NOT_STARTED);
}

} // namespace

DeskChild::~DeskChild() {
    if (IsStarted())
        End(SIGKILL, -1);
    if (m_pidfd >= 0)
        close(m_pidfd);
}

bool DeskChild::Start(const DeskChildCommand &command) {
    std::vector<char *> arguments;
    const std::vector<std::string> words = zr_startable(command.argv);
    for (const std::string &argument : words)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0)
        Become(command, arguments, parent);
    if (m_pid > 0)
        m_pidfd = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
    return m_pid > 0;
}

bool DeskChild::_Wait(int timeoutMs) {
    if (m_ended || !IsStarted())
        return true;
    pollfd ended{m_pidfd, POLLIN, 0};
    int ready = 0;
    do
        ready = poll(&ended, 1, timeoutMs);
    while (ready < 0 && errno == EINTR);
    if (ready > 0)
        m_ended = waitpid(m_pid, &m_status, 0) == m_pid;
    return m_ended;
}

bool DeskChild::IsRunning() {
    return IsStarted() && !_Wait(0);
}

bool DeskChild::End(int signal, int timeoutMs) {
    if (m_ended || !IsStarted())
        return true;
    if (signal != 0)
        kill(m_pid, signal);
    if (_Wait(timeoutMs))
        return true;
    kill(m_pid, SIGKILL);
    _Wait(-1);
    return false;
}

std::string DeskChild::Ending() const {
    if (!WIFSIGNALED(m_status))
        return "exit status " + std::to_string(WEXITSTATUS(m_status));
    return "signal " + std::to_string(WTERMSIG(m_status)) + " (" + strsignal(WTERMSIG(m_status)) + ")";
}

bool DeskChild::EndedBySignal(int signal) const {
    return m_ended && WIFSIGNALED(m_status) && WTERMSIG(m_status) == signal;
}

bool DeskChild::EndedWell() const {
    return m_ended && WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
}
