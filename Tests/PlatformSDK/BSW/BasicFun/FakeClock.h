// The clocks of the code under test, replaced at link time (--wrap). The machine's own
// clock is read until a test sets another time, and it is never set.
#pragma once

#include <optional>

#include <time.h>

// From now on every clock reads this time; reading fails with EINVAL when `result` is not 0.
void SetClock(time_t seconds, long nanoseconds, int result = 0);

// The clock that was read last since SetClock; -1 before.
clockid_t ClockAsked();

// What the code under test set last, and the clock that it set.
struct ClockSetting {
    clockid_t clock;
    timespec time;
};
std::optional<ClockSetting> LastClockSetting();

// From now on a clock that is set is refused with this error.
void RefuseClockSetting(int error);
