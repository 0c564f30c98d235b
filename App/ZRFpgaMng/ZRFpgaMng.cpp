#include "ZRFpgaMng/ZRFpgaMng.h"

#include <csignal>
#include <cstdlib>

#include <execinfo.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "BSW/Dbus/DbusHandler.h"
#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/BuildInfo.h"
#include "ZRFpgaMng/DbusMsgMng/DbusMsgMng.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"
#include "common/Relaxed.h"

namespace {

constexpr char VERSION[] = "V1.1.6.00";
constexpr char LOG_DIRECTORY[] = "/firmware/log/ZRFpgaMng";
constexpr char BUS_NAME[] = "org.FpgaMng.server";
constexpr useconds_t IDLE_SLEEP_US = 100000;
constexpr int MAX_STACK_FRAMES = 50;

bool bExitFlag = false;

void LogBanner() {
    LOG_INF("[ZRFpgaMng] Version:%s Build Date: %s %s, Uptime: %lu ms ****", VERSION, BUILD_DATE, BUILD_TIME,
            GetCurTimeMilliSec());
    LOG_INF("Build Commit ID: %s", BUILD_COMMIT_ID);
}

} // namespace

void InitSignals() {
    struct sigaction action = {};
    action.sa_flags = 0;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGTERM);
    sigaddset(&action.sa_mask, SIGINT);
    sigaddset(&action.sa_mask, SIGPIPE);

    action.sa_handler = SigProc;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);

    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);

    // Replaces SigProc: a terminating signal always takes the stack-trace path.
    signal(SIGINT, signalHandler);
    signal(SIGQUIT, signalHandler);
    signal(SIGKILL, signalHandler); // refused by the system, not examined
    signal(SIGTERM, signalHandler);

    signal(SIGPIPE, SIG_IGN);
}

void StartService() {
    // A terminating signal waits for the end of the start, then meets a main thread that holds no
    // lock; the threads started here leave it to the main thread for the same reason.
    sigset_t terminating;
    sigemptyset(&terminating);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM})
        sigaddset(&terminating, signal);
    pthread_sigmask(SIG_BLOCK, &terminating, nullptr);

    CLog::instance()->Init(LOG_DIRECTORY, false);
    LogBanner();
    CDbusHandler::instance()->Init(BUS_NAME);
    CZRBuffer::instance()->Open();
    AudioPcm::instance()->Init();
    AudioNet::instance()->Init();
    DbusMsgMng::instance()->Init();

    pthread_sigmask(SIG_UNBLOCK, &terminating, nullptr);
}

void IdleUntilExit() {
    while (!RelaxedLoad(bExitFlag))
        usleep(IDLE_SLEEP_US);
}

void StopService() {
    DbusMsgMng::instance()->CleanUp();
    AudioNet::instance()->UnInit();
    AudioPcm::instance()->UnInit();
    CZRBuffer::instance()->Close();
    CDbusHandler::instance()->CleanUp();
    CLog::instance()->CleanUp();
}

void SigProc(int dummy) {
    LOG_INF("Received Signal %d", dummy);
    RelaxedStore(bExitFlag, true);
}

void signalHandler(int signal) {
    // The first one ends the process: a second would wait for the locks of what it interrupts.
    for (const int other : {SIGINT, SIGQUIT, SIGTERM})
        ::signal(other, SIG_IGN);

    void *addresses[MAX_STACK_FRAMES];
    const int frames = backtrace(addresses, MAX_STACK_FRAMES);
    char **symbols = backtrace_symbols(addresses, frames);

    LOG_INF("Received signal %d", signal);
    LOG_INF("Stack trace:");
    for (int i = 0; symbols && i < frames; ++i)
        LOG_INF("%s", symbols[i]);
    free(symbols);

    // The threads are not stopped: while a bridge thread runs, the exit-time destructors
    // end the process by abort right after the trace.
    exit(signal);
}
