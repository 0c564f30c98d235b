// Programs run as child processes. Any thread.
#include "BSW/BasicFun/Command.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BSW/BasicFun/CommandPipe.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

bool IsEmpty(const char *text) {
    return !text || *text == '\0';
}

// Puts the formatted text behind `command`. False with errno when it cannot be formatted.
bool AppendFormatted(std::string &command, const char *fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int length = vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (length < 0)
        return false;
    std::string text(static_cast<std::size_t>(length), '\0');
    vsnprintf(text.data(), text.size() + 1, fmt, args);
    command += " " + text;
    return true;
}

// As waitpid, whatever signals arrive.
pid_t WaitFor(pid_t child, int &status, int options) {
    pid_t result;
    do
        result = waitpid(child, &status, options);
    while (result < 0 && errno == EINTR);
    return result;
}

// Runs the command to its end. Its exit status, or -1.
int RunShell(std::string command) {
    char shell[] = "sh";
    char option[] = "-c";
    char *const argv[] = {shell, option, command.data(), nullptr};
    pid_t child = -1;
    LogName shown(command);
    if (const int error = posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv, environ)) {
        errno = error;
        LOG_ERR("ExecCommand2 %s error! %m", shown.Next());
        return -1;
    }
    int status = 0;
    if (WaitFor(child, status, 0) < 0) {
        LOG_ERR("ExecCommand2 waitpid %s error! %m", shown.Next());
        return -1;
    }
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    LOG_ERR("ExecCommand2 %s killed by signal %d", shown.Next(), WTERMSIG(status));
    return -1;
}

// Between fork and exec only what may be called in the child of a process with threads.
[[noreturn]] void ExecChild(const char *file, char *const *argv) {
    execvp(file, argv);
    constexpr char MESSAGE[] = "execvp error.\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, MESSAGE, sizeof MESSAGE - 1);
    _exit(127);
}

int StartChild(const char *file, char *const *argv) {
    LogName shown(file);
    const pid_t child = fork();
    if (child == 0)
        ExecChild(file, argv);
    if (child < 0)
        LOG_ERR("ExecCommandBackground: fork %s error! %m", shown.Next());
    else
        LOG_DBG("--------->pid = %d", child);
    return child;
}

void LogChange(int status) {
    if (WIFEXITED(status))
        LOG_DBG("exited, status=%d\n", WEXITSTATUS(status));
    else if (WIFSIGNALED(status))
        LOG_DBG("killed by signal %d\n", WTERMSIG(status));
    else if (WIFSTOPPED(status))
        LOG_DBG("stopped by signal %d\n", WSTOPSIG(status));
    else if (WIFCONTINUED(status))
        LOG_DBG("continued\n");
}

} // namespace

int ExecCommand2(const char *program, const char *fmt, ...) {
    if (IsEmpty(program)) {
        LOG_ERR("ExecCommand2: no program");
        return -1;
    }
    std::string command = program;
    if (fmt) {
        va_list args;
        va_start(args, fmt);
        const bool formatted = AppendFormatted(command, fmt, args);
        va_end(args);
        if (!formatted) {
            LogName shown(program);
            LOG_ERR("ExecCommand2 format %s error! %m", shown.Next());
            return -1;
        }
    }
    return RunShell(std::move(command));
}

int ExecCommandBackground(const char *file, const char *arg, ...) {
    if (IsEmpty(file) || !arg) {
        LOG_ERR("ExecCommandBackground: no program or no argument");
        return -1;
    }
    std::vector<char *> argv;
    va_list args;
    va_start(args, arg);
    for (const char *next = arg; next; next = va_arg(args, const char *))
        argv.push_back(const_cast<char *>(next));
    va_end(args);
    argv.push_back(nullptr);
    return StartChild(file, argv.data());
}

int XWaitProgressQuit(int pid, int &status) {
    status = 0;
    if (pid <= 0) {
        LOG_ERR("XWaitProgressQuit: bad pid %d", pid);
        return -1;
    }
    do {
        if (WaitFor(pid, status, WUNTRACED | WCONTINUED) < 0) {
            LOG_ERR("waitpid %d error! %m", pid);
            status = 0;
            return -1;
        }
        LogChange(status);
    } while (!WIFEXITED(status) && !WIFSIGNALED(status));
    return 0;
}

int ExecuteCmdAndGetResult(const char *cmd, char *result) {
    if (result)
        result[0] = '\0';
    if (!cmd || !result) {
        LOG_ERR("ExecuteCmdAndGetResult: bad parameter");
        return -1;
    }
    CommandPipe pipe(cmd);
    if (!pipe.IsOpen()) {
        LogName shown(cmd);
        LOG_ERR("popen %s error\n", shown.Next());
        return -1;
    }
    std::size_t length = 0;
    char rest[EXECUTE_CMD_RESULT_SIZE];
    while (pipe.ReadPiece(rest, sizeof rest)) { // to the end, so that the command can write it all
        const std::size_t room = EXECUTE_CMD_RESULT_SIZE - 1 - length;
        const std::size_t count = strnlen(rest, room);
        memcpy(result + length, rest, count);
        length += count;
        result[length] = '\0';
    }
    return 0;
}
