// Running time and sleeping. Any thread. A part of Function.h, which its users include.
#pragma once

#include <cstdint>

// Size of the text of an up-time, its end included.
constexpr int UPTIME_TEXT_SIZE = 24;

extern "C" {

// Monotonic time in milliseconds; 0 if the clock cannot be read.
std::uint64_t SystemGetMSCount(void);

// The same, and writes how long the system has been up to `text`, as "HH:MM:SS" (more
// digits from 100 hours on). `text` holds UPTIME_TEXT_SIZE bytes. 0, after an error line
// and with an empty text, if the clock cannot be read; 0 also for null.
std::uint64_t SystemGetMSCountExt(char *text);

// Monotonic time in seconds; 0 if the clock cannot be read.
std::uint64_t SystemGetSecondCount(void);

// Monotonic time in milliseconds, its low 31 bits: wraps about every 24.8 days.
unsigned long GetCurTimeMilliSec(void);

// Sleeps `ms` milliseconds; the microseconds wrap at 32 bits (after about 71 minutes).
// 0, or -1 with errno EINTR when a signal handler ended the sleep.
int XSleep(unsigned int ms);

// Sleep that many seconds or milliseconds, however many. 0, or -1 with errno EINTR when a
// signal handler ended the sleep.
int SleepS(unsigned int seconds);
int SleepMs(unsigned long ms);
}

// Monotonic time in microseconds; 0 if the clock cannot be read.
std::uint64_t SystemGetUSCount();

// The time of day in microseconds since 1970; 0 if the clock cannot be read. It jumps when
// somebody sets the clock. The value of the argument has no meaning.
std::uint64_t SystemGetUSCount(int);
