// Calendar time and the setting of the clock. Any thread.
#include "BSW/BasicFun/Calendar.h"

#include <cstdio>

#include <time.h>

#include "BSW/Log/Log.h"

namespace {

bool IsInRange(int value, int lowest, int highest) {
    return lowest <= value && value <= highest;
}

bool HasValidFields(const RECTIME &time) {
    // In some zones the first hours of 1970 are still 1969.
    return time.year >= 1969 && IsInRange(time.month, 1, 12) && IsInRange(time.day, 1, 31) &&
           IsInRange(time.hour, 0, 23) && IsInRange(time.minute, 0, 59) && IsInRange(time.second, 0, 59);
}

// -1 for a time that is not there.
std::int64_t ToSeconds(const RECTIME &time) {
    if (!HasValidFields(time))
        return -1;
    tm local = {};
    local.tm_year = time.year - 1900;
    local.tm_mon = time.month - 1;
    local.tm_mday = time.day;
    local.tm_hour = time.hour;
    local.tm_min = time.minute;
    local.tm_sec = time.second;
    local.tm_isdst = -1;
    const time_t seconds = mktime(&local);
    // mktime makes 1 March of 30 February.
    const bool isSameDay = local.tm_mday == time.day && local.tm_mon == time.month - 1;
    return isSameDay && seconds >= 0 ? seconds : -1;
}

} // namespace

int Second2RECTIME(std::int64_t seconds, RECTIME *time) {
    const time_t value = seconds;
    tm local = {};
    if (!time || !localtime_r(&value, &local)) {
        LOG_ERR("Second2RECTIME: bad parameter, seconds = %lld", static_cast<long long>(seconds));
        return -1;
    }
    *time = {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_wday,
             local.tm_hour,        local.tm_min,     local.tm_sec};
    return 0;
}

std::int64_t RECTIME2Second(const RECTIME *time) {
    const std::int64_t seconds = time ? ToSeconds(*time) : -1;
    if (!time)
        LOG_ERR("RECTIME2Second: no time");
    else if (seconds < 0)
        LOG_ERR("RECTIME2Second: bad time %d-%d-%d %d:%d:%d", time->year, time->month, time->day, time->hour,
                time->minute, time->second);
    return seconds;
}

int GetSysDateTime2(RECTIME *time) {
    timespec now = {};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
        LOG_ERR("GetSysDateTime2: clock error! %m");
        return -1;
    }
    return Second2RECTIME(now.tv_sec, time);
}

int SetSysDateTime2(const RECTIME *time) {
    const std::int64_t seconds = RECTIME2Second(time);
    if (seconds < 0)
        return -1;
    const timespec now = {seconds, 0};
    const int result = clock_settime(CLOCK_REALTIME, &now);
    if (result != 0)
        LOG_ERR("set system time %04d-%02d-%02d %02d:%02d:%02d error! %m", time->year, time->month, time->day,
                time->hour, time->minute, time->second);
    return result;
}

int XSetSystemTime(int year, int month, int day, int hour, int minute, int second) {
    const RECTIME time = {year, month, day, 0, hour, minute, second};
    return SetSysDateTime2(&time);
}

void ZRPrintCurrentTime(bool bDate) {
    timespec now = {};
    tm local = {};
    char text[64];
    if (clock_gettime(CLOCK_REALTIME, &now) != 0 || !localtime_r(&now.tv_sec, &local) ||
        strftime(text, sizeof text, bDate ? "%Y-%m-%d %H:%M:%S" : "%H:%M:%S", &local) == 0) {
        LOG_ERR("ZRPrintCurrentTime: clock error! %m");
        return;
    }
    printf("SysTime : %s\n", text);
}
