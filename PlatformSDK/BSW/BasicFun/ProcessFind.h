// Processes found by name. Any thread. A part of Function.h, which its users include.
#pragma once

// Characters of a name that is looked for.
constexpr int PROGRAM_NAME_LENGTH = 127;

extern "C" {

// The pid of the first process in the list of `ps` whose line holds "busybox" and `applet`.
// The name is a word of letters, digits and "._+/-" that does not begin with "-", at most
// PROGRAM_NAME_LENGTH long; it is compared as grep does, and an applet named as part of
// "grep" is never found. Blocks until ps has ended. -1 when there is none; -1 after an
// error line for null, another name, and when ps cannot be started.
int FindBusyboxPid(const char *applet);

// The pid of the first process in the list of `ps` that was started as `program` (with or
// without its directory, exactly; the same characters as above) and whose command line
// holds `keyword`, unless that is null or empty. This process is found like any other.
// Blocks until ps has ended. -1 as above.
int XGetProgressIDByProgramName(const char *program, const char *keyword);
}
