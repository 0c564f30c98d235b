// A process of its own for the tests of what happens at its start and its end. Works in
// the directory "log" of its working directory; the first argument says what it does.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "BSW/Log/Log.h"

namespace {

// One line to every stream, the console in every level. The level comes from the
// environment of the process.
void WriteEverything() {
    CLog *log = CLog::instance();
    log->Init("log", true);
    log->System("system");
    log->Access("access");
    log->Alarm("alarm");
    log->Module(MODULE_LOG_0, "module");
    log->Module(MODULE_LOG_19, "module");
    for (int level = LOG_LEVEL_INIT; level <= LOG_LEVEL_BUTT; ++level)
        log->Debug(static_cast<LOG_E_LEVEL>(level), "console %d", level);
}

// Whoever sees the log after its destruction gets a new one, which is not open.
void ReportTheLogBehind() {
    std::printf("late %d\n", CLog::instance()->System("late"));
}

void LogOnTheWayOut() {
    LOG_INF("on the way out");
}

// Exit handlers on both sides of the log's own: run in the reverse order of this.
void LeaveLogging() {
    std::atexit(ReportTheLogBehind);
    CLog::instance()->Init("log", false);
    std::atexit(LogOnTheWayOut);
}

void UseBeforeInit() {
    CLog *log = CLog::instance();
    log->SetDebugLevel(LOG_LEVEL_ERR);
    std::printf("%d %d %d %d %d %d ", log->System("x"), log->Access("x"), log->Alarm("x"),
                log->Module(MODULE_LOG_0, "x"), log->Module(MODULE_LOG_SIZE, "x"), log->Debug(LOG_LEVEL_ERR, "x"));
    log->OpenOrCloseModuleLog(false);
    std::printf("%d %d '%s'\n", log->System("x"), log->Module(MODULE_LOG_SIZE, "x"), log->GetLogPath());
}

} // namespace

int main(int argc, char **argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "everything")
        WriteEverything();
    else if (what == "init")
        CLog::instance()->Init("log", false);
    else if (what == "leave")
        LeaveLogging();
    else if (what == "early")
        UseBeforeInit();
    else
        return 2;
    return 0;
}
