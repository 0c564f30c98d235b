// Calendar time and the setting of the clock. Any thread; one that changes the time zone
// (TZ) meanwhile is the caller's to avoid. Calendar times are local times of that zone. A
// part of Function.h, which its users include.
#pragma once

#include <cstdint>

// A calendar time.
typedef struct tagRECTIME {
    int year;    // all digits: 2024
    int month;   // 1..12
    int day;     // 1..31
    int weekday; // 0 Sunday .. 6 Saturday; not looked at where a time is taken
    int hour;    // 0..23
    int minute;  // 0..59
    int second;  // 0..59
} RECTIME;

extern "C" {

// The calendar time of `seconds` since 1970, into `*time`. 0; -1, after an error line, for
// null or when no year is large enough.
int Second2RECTIME(std::int64_t seconds, RECTIME *time);

// The seconds since 1970 of `*time`. -1, after an error line, for null, for a field out of
// its range, a day that its month has not, and a time before 1970.
std::int64_t RECTIME2Second(const RECTIME *time);

// The system's time of day into `*time`. 0, or -1 after an error line.
int GetSysDateTime2(RECTIME *time);

// Sets the system's time of day. 0; -1, after an error line, for what RECTIME2Second
// refuses, and with errno when the system refuses: EPERM without the right (CAP_SYS_TIME).
int SetSysDateTime2(const RECTIME *time);

// The same, as numbers. Month and day count from 1.
int XSetSystemTime(int year, int month, int day, int hour, int minute, int second);

// Prints the time of day to standard output: "SysTime : " and "2024-02-29 23:59:58", or
// only "23:59:58" without `bDate`.
void ZRPrintCurrentTime(bool bDate);
}
