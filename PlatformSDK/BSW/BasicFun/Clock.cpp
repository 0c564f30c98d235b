// Running time and sleeping. Any thread.
#include "BSW/BasicFun/Clock.h"

#include <cstdio>

#include <time.h>
#include <unistd.h>

#include "BSW/Log/Log.h"

namespace {

std::uint64_t ToMilliSec(const timespec &time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 + static_cast<std::uint64_t>(time.tv_nsec) / 1000000;
}

std::uint64_t ToMicroSec(const timespec &time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000 + static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

// The clock's time by `convert`, or 0.
std::uint64_t ReadClock(clockid_t clock, std::uint64_t (*convert)(const timespec &)) {
    timespec now = {};
    return clock_gettime(clock, &now) == 0 ? convert(now) : 0;
}

} // namespace

std::uint64_t SystemGetMSCount(void) {
    return ReadClock(CLOCK_MONOTONIC, ToMilliSec);
}

std::uint64_t SystemGetMSCountExt(char *text) {
    if (!text) {
        LOG_ERR("SystemGetMSCountExt: no text buffer");
        return 0;
    }
    text[0] = '\0';
    const std::uint64_t ms = SystemGetMSCount();
    if (ms == 0) {
        LOG_ERR("SystemGetMSCountExt: clock error! %m");
        return 0;
    }
    const std::uint64_t seconds = ms / 1000;
    snprintf(text, UPTIME_TEXT_SIZE, "%02d:%02d:%02d", static_cast<int>(seconds / 3600),
             static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
    return ms;
}

std::uint64_t SystemGetSecondCount(void) {
    return SystemGetMSCount() / 1000;
}

std::uint64_t SystemGetUSCount() {
    return ReadClock(CLOCK_MONOTONIC, ToMicroSec);
}

std::uint64_t SystemGetUSCount(int) {
    return ReadClock(CLOCK_REALTIME, ToMicroSec);
}

unsigned long GetCurTimeMilliSec(void) {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long>(ToMilliSec(now) & 0x7fffffff);
}

int XSleep(unsigned int ms) {
    return usleep(ms * 1000U);
}

int SleepS(unsigned int seconds) {
    const timespec time = {static_cast<time_t>(seconds), 0};
    return nanosleep(&time, nullptr);
}

int SleepMs(unsigned long ms) {
    const timespec time = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    return nanosleep(&time, nullptr);
}
