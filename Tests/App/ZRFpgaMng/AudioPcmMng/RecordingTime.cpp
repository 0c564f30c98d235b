#include "RecordingTime.h"

#include <atomic>
#include <ctime>

namespace {

std::atomic<time_t> stoppedAt{0};

} // namespace

// Takes the place of the C library's.
extern "C" time_t time(time_t *result) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const time_t stopped = stoppedAt;
    const time_t seconds = stopped ? stopped : now.tv_sec;
    if (result)
        *result = seconds;
    return seconds;
}

void SetWallClock(int year, int month, int day, int hour, int minute, int second) {
    tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_sec = second;
    local.tm_isdst = -1;
    stoppedAt = mktime(&local);
}
