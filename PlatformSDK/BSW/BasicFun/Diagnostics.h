// Back-traces, core dumps and the partition that is run. Any thread. A part of Function.h,
// which its users include.
#pragma once

#include <string>

// The calls that lead here, innermost first, one a line and 100 at most, as
// backtrace_symbols writes them. Empty when memory is short. Not for signal handlers: it
// allocates.
std::string GetBackTrace();

// The directory of the program partition in use: "/app_A" when "/config/active_A_Part"
// exists (also when both markers do), "/app_B" when "/config/active_B_Part" does, else "".
std::string GetRunPart();

extern "C" {

// Writes the line "[ZR Program crashes] " to standard output and raises SIGABRT in the
// calling thread. Returns only where the program ignores or handles that.
void ZRAbort(void);

// Allows core files of 512 MiB, has them written to /tmp/mmc0 under the program's name and
// the signal (for the whole machine, which takes root), and logs what came of it. Blocks
// until the shell has ended; SIGCHLD is handled as by ExecCommand.
void DBG_set_coredump_default(void);

// Sets the limit of core files to `size_m` MiB, or to none when negative, and the hard
// limit to none; logs the limits before and after. The size in bytes is taken as a signed
// 32-bit number: 2048 to 4095 are as good as no limit, 4096 is 0. 0, or -1 with errno:
// EPERM when the hard limit is lower and may not be raised.
int DBG_set_coredump_size(int size_m);

// Logs the limits of core files, in bytes.
void show_coredump_size(void);
}
