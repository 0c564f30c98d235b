// Processes found by name. Any thread.
#include "BSW/BasicFun/ProcessFind.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include "BSW/BasicFun/CommandPipe.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

constexpr int NOT_FOUND = -1;

// A word that the shell and grep take as nothing but a word.
bool IsPlainName(const char *name) {
    if (!name || *name == '\0' || *name == '-' || strnlen(name, PROGRAM_NAME_LENGTH + 1) > PROGRAM_NAME_LENGTH)
        return false;
    for (const char *p = name; *p != '\0'; ++p)
        if (!isalnum(static_cast<unsigned char>(*p)) && !strchr("._+/-", *p))
            return false;
    return true;
}

bool CheckName(const char *function, const char *name) {
    if (IsPlainName(name))
        return true;
    LogName shown(name ? std::string(name, strnlen(name, PROGRAM_NAME_LENGTH)) : "");
    LOG_ERR("%s: bad name \"%s\"", function, shown.Next());
    return false;
}

// The first pid that `pidOf` finds in a line of the command's output. Reads on to the end,
// so that the command can write it all.
int FirstPid(const char *cmd, const std::function<int(const char *)> &pidOf) {
    CommandPipe pipe(cmd);
    if (!pipe.IsOpen()) {
        LOG_ERR("popen %s error. %m", cmd);
        return NOT_FOUND;
    }
    int pid = NOT_FOUND;
    for (std::string line; pipe.ReadLine(line);)
        if (pid == NOT_FOUND)
            pid = pidOf(line.c_str());
    return pid;
}

int SecondField(const char *line) {
    int pid = NOT_FOUND;
    return sscanf(line, "%*s %d", &pid) == 1 ? pid : NOT_FOUND;
}

// Whether the command line's first word is `program`, or ends in it behind a "/".
bool IsStartedAs(std::string_view commandLine, std::string_view program) {
    const std::string_view word = commandLine.substr(0, commandLine.find(' '));
    return word == program || word.substr(word.rfind('/') + 1) == program;
}

// The pid in a line of `ps -ef` (user, pid, parent, load, start, terminal, time, command
// line) if that is the program.
int PidOfProgram(const char *line, const char *program, const char *keyword) {
    int pid = NOT_FOUND;
    int length = 0;
    if (sscanf(line, "%*s %d %*s %*s %*s %*s %*s %n", &pid, &length) != 1 || length == 0)
        return NOT_FOUND;
    const char *commandLine = line + length;
    return IsStartedAs(commandLine, program) && strstr(commandLine, keyword) ? pid : NOT_FOUND;
}

} // namespace

int FindBusyboxPid(const char *applet) {
    if (!CheckName("FindBusyboxPid", applet))
        return NOT_FOUND;
    char cmd[256];
    snprintf(cmd, sizeof cmd, "ps -ef | grep busybox | grep -v grep | grep %s", applet);
    return FirstPid(cmd, SecondField);
}

int XGetProgressIDByProgramName(const char *program, const char *keyword) {
    if (!CheckName("XGetProgressIDByProgramName", program))
        return NOT_FOUND;
    return FirstPid("ps -ef", [&](const char *line) { return PidOfProgram(line, program, keyword ? keyword : ""); });
}
