// Shell commands with their output in the log, and UUIDs. Any thread.
#include "BSW/BasicFun/Function.h"

#include <cstdio>
#include <cstring>

#include <signal.h>
#include <sys/wait.h>

#include "BSW/BasicFun/CommandPipe.h"
#include "BSW/Log/Log.h"

namespace {

struct sigaction SetDefaultChildSignal() {
    struct sigaction previous = {};
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &standard, &previous);
    return previous;
}

void LogOutput(CommandPipe &output) {
    char line[1024] = {};
    while (output.ReadPiece(line, sizeof line))
        LOG_DBG("%s", line);
}

void LogEnd(const char *cmd, int res) {
    if (WIFEXITED(res))
        LOG_DBG("ExecCommand: %s Finish. res = %d, cmdRes = %d", cmd, res, WEXITSTATUS(res));
    else
        LOG_ERR("ExecCommand: %s Finish. res = %d, WIFEXITED(res) = %d", cmd, res, WIFEXITED(res));
}

// The first line of the file, without its line break, into `text`.
bool ReadFirstLine(const char *path, char *text, int size) {
    FILE *file = fopen(path, "re");
    if (!file)
        return false;
    const bool isRead = fgets(text, size, file);
    fclose(file);
    if (isRead)
        text[strcspn(text, "\n")] = '\0';
    return isRead;
}

} // namespace

int ExecCommand(const char *cmd) {
    const struct sigaction previous = SetDefaultChildSignal();
    CommandPipe output(cmd);
    if (!output.IsOpen()) {
        LOG_ERR("popen %s error! %m", cmd);
        return -1; // SIGCHLD stays at its default
    }
    LogOutput(output);
    const int res = output.Close();
    if (res == -1) {
        LOG_ERR("pclose %s error! %m", cmd);
        return -1; // SIGCHLD stays at its default
    }
    LogEnd(cmd, res);
    sigaction(SIGCHLD, &previous, nullptr);
    return 0;
}

int GetUUID(char *uuid, int size) {
    if (!uuid || size < UUID_TEXT_SIZE) {
        LOG_ERR("GetUUID: bad parameter, size = %d", size);
        return -1;
    }
    if (!ReadFirstLine("/proc/sys/kernel/random/uuid", uuid, UUID_TEXT_SIZE)) {
        LOG_ERR("open %s error! %m", "/proc/sys/kernel/random/uuid");
        return -1;
    }
    return 0;
}
