#include "CtlProgram.h"

#include <stdexcept>

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Support/ScratchDir.h"

namespace {

// Becomes `user` for the rest of this process. False when that is not allowed.
bool Become(User user) {
    const group *audio = getgrnam("audio");
    if (!audio)
        return false;
    const gid_t groups[] = {audio->gr_gid};
    return setgroups(user == User::AudioMember ? 1 : 0, groups) == 0 && setgid(NOBODY) == 0 && setuid(NOBODY) == 0;
}

// In the child: zrctl opened before, as the other user may not enter its directory.
[[noreturn]] void Execute(User user, std::vector<std::string> &arguments) {
    const int program = open(ZRCTL, O_RDONLY | O_CLOEXEC);
    dup2(open("user.out", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
    dup2(open("user.err", O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
    std::vector<char *> argv = {const_cast<char *>("zrctl")};
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=bus.socket", 1);
    if (Become(user))
        fexecve(program, argv.data(), environ);
    dprintf(STDERR_FILENO, "cannot become another user here: run the tests as root\n");
    _exit(127);
}

} // namespace

CtlEnd EndOf(ChildProcess &tool) {
    const ExitStatus end = tool.Wait(60000);
    return {end.exited && !end.timedOut ? end.code : -1, tool.Stdout(), tool.Stderr()};
}

CtlEnd RunCtl(const std::string &busAddress, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ZRCTL);
    ChildProcess tool("zrctl", arguments, {{"DBUS_SYSTEM_BUS_ADDRESS", busAddress}});
    return EndOf(tool);
}

CtlEnd RunCtlAs(User user, std::vector<std::string> arguments) {
    const pid_t child = fork();
    if (child == 0)
        Execute(user, arguments);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile("user.out"), ReadWholeFile("user.err")};
}

bool CanBecomeOthers() {
    const auto can = [](User user) { return AsUser(user, [] { return std::string("yes"); }).Result() == "yes"; };
    return can(User::Stranger) && can(User::AudioMember);
}

AsUser::AsUser(User user, const std::function<std::string()> &action) {
    int ends[2];
    if (pipe(ends) != 0 || (m_pid = fork()) < 0)
        throw std::runtime_error("pipe or fork failed");
    m_pipe = ends[0];
    if (m_pid == 0) {
        std::string result = "cannot become another user here: run the tests as root";
        try {
            if (Become(user))
                result = action();
        } catch (const std::exception &error) {
            result = error.what();
        }
        _exit(write(ends[1], result.data(), result.size()) < 0);
    }
    close(ends[1]);
}

std::string AsUser::Result() {
    std::string result;
    char bytes[256];
    for (ssize_t got = read(m_pipe, bytes, sizeof bytes); got > 0; got = read(m_pipe, bytes, sizeof bytes))
        result.append(bytes, static_cast<std::size_t>(got));
    close(m_pipe);
    waitpid(m_pid, nullptr, 0);
    return result;
}
