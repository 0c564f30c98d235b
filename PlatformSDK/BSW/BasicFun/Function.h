// Time and processes. Any thread.
#pragma once

#include <cstdint>

extern "C" {

// Monotonic time in milliseconds; 0 if the clock cannot be read.
std::uint64_t SystemGetMSCount(void);

// Monotonic time in milliseconds, its low 31 bits: wraps about every 24.8 days.
unsigned long GetCurTimeMilliSec(void);

// Sleeps `ms` milliseconds; the microseconds wrap at 32 bits (after about 71 minutes).
// 0, or -1 with errno EINTR when a signal handler ended the sleep.
int XSleep(unsigned int ms);

// Runs `cmd` through the shell, blocks until it has ended and logs each line of its
// output and its exit status. 0 whatever that status is, -1 when the command cannot be
// started or its status cannot be had.
// Meanwhile SIGCHLD has its default disposition, for the whole process; after -1 it
// keeps it.
int ExecCommand(const char *cmd);
}
