// Signal dispositions and the orderly stop, in the test's own process.
#include <csignal>
#include <cstdlib>
#include <thread>

#include <gmock/gmock.h>

#include "Support/LogCapture.h"
#include "ZRFpgaMng/ZRFpgaMng.h"

using testing::ElementsAre;

// Under ThreadSanitizer: the handler logs and allocates by design.
extern "C" const char *__tsan_default_options();
const char *__tsan_default_options() {
    return "report_signal_unsafe=0";
}

namespace {

auto HandlerOf(int signal) {
    struct sigaction action;
    sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

TEST(Signals, TerminatingOnesTakeTheTracePathAndPipesAreIgnored) {
    InitSignals();
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM})
        EXPECT_EQ(HandlerOf(signal), signalHandler) << signal;
    EXPECT_EQ(HandlerOf(SIGPIPE), SIG_IGN);
    EXPECT_EQ(HandlerOf(SIGKILL), SIG_DFL);
}

// A second one would wait for the locks that the interrupted first one holds.
TEST(SignalsDeathTest, TheFirstTerminatingOneEndsTheProcess) {
    const auto end = [] {
        InitSignals();
        std::atexit([] { raise(SIGTERM); });
        raise(SIGINT);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(SIGINT), "");
}

TEST(Signals, OnlySigProcEndsTheIdleLoop) {
    LogCapture log;
    std::thread idle(IdleUntilExit);
    SigProc(15);
    idle.join();
    EXPECT_THAT(log.Texts(), ElementsAre("I Received Signal 15"));
}

} // namespace
