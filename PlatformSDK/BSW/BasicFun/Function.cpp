// Time and processes. Any thread.
#include "BSW/BasicFun/Function.h"

#include <cstdio>

#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "BSW/Log/Log.h"

namespace {

std::uint64_t ToMilliSec(const timespec &time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 + static_cast<std::uint64_t>(time.tv_nsec) / 1000000;
}

struct sigaction SetDefaultChildSignal() {
    struct sigaction previous = {};
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &standard, &previous);
    return previous;
}

void LogOutput(FILE *output) {
    char line[1024] = {};
    while (fgets(line, sizeof line, output))
        LOG_DBG("%s", line);
}

void LogEnd(const char *cmd, int res) {
    if (WIFEXITED(res))
        LOG_DBG("ExecCommand: %s Finish. res = %d, cmdRes = %d", cmd, res, WEXITSTATUS(res));
    else
        LOG_ERR("ExecCommand: %s Finish. res = %d, WIFEXITED(res) = %d", cmd, res, WIFEXITED(res));
}

} // namespace

std::uint64_t SystemGetMSCount(void) {
    timespec now = {};
    return clock_gettime(CLOCK_MONOTONIC, &now) == 0 ? ToMilliSec(now) : 0;
}

unsigned long GetCurTimeMilliSec(void) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long>(ToMilliSec(now) & 0x7fffffff);
}

int XSleep(unsigned int ms) {
    return usleep(ms * 1000U);
}

int ExecCommand(const char *cmd) {
    const struct sigaction previous = SetDefaultChildSignal();
    FILE *output = popen(cmd, "r");
    if (!output) {
        LOG_ERR("popen %s error! %m", cmd);
        return -1; // SIGCHLD stays at its default
    }
    LogOutput(output);
    const int res = pclose(output);
    if (res == -1) {
        LOG_ERR("pclose %s error! %m", cmd);
        return -1; // SIGCHLD stays at its default
    }
    LogEnd(cmd, res);
    sigaction(SIGCHLD, &previous, nullptr);
    return 0;
}
