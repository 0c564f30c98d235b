#include "FakeClock.h"

#include <cerrno>

namespace {

bool g_setClock = false;
int g_clockResult = 0;
clockid_t g_clockAsked = -1;
timespec g_clock = {};
std::optional<ClockSetting> g_setting;
int g_settingError = 0;

} // namespace

void SetClock(time_t seconds, long nanoseconds, int result) {
    g_setClock = true;
    g_clock.tv_sec = seconds;
    g_clock.tv_nsec = nanoseconds;
    g_clockResult = result;
}

clockid_t ClockAsked() {
    return g_clockAsked;
}

std::optional<ClockSetting> LastClockSetting() {
    return g_setting;
}

void RefuseClockSetting(int error) {
    g_settingError = error;
}

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec *now);
int __wrap_clock_gettime(clockid_t clock, timespec *now) {
    if (!g_setClock)
        return __real_clock_gettime(clock, now);
    g_clockAsked = clock;
    if (g_clockResult == 0)
        *now = g_clock;
    else
        errno = EINVAL;
    return g_clockResult;
}

int __wrap_clock_settime(clockid_t clock, const timespec *time) {
    if (g_settingError != 0) {
        errno = g_settingError;
        return -1;
    }
    g_setting = {clock, *time};
    return 0;
}
}
