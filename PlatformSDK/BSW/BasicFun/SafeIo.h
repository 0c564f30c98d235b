// read and write that an interrupting signal does not end. Any thread; all block as the
// descriptor does.
#pragma once

#include <cstdio>

extern "C" {

// One read of up to `count` bytes into `buffer`, repeated while it fails with EINTR. Bytes
// read, 0 at the end, or -1 with errno and a line in the log: it failed, `buffer` is null,
// or `count` is a negative number that was made unsigned.
long SafeRead(int fd, void *buffer, unsigned long count);

// One write of up to `count` bytes in the same way. Bytes written, which may be fewer, or -1.
long SafeWrite(int fd, const unsigned char *buffer, unsigned long count);

// Writes until all `count` bytes are written. Bytes written: `count`, or fewer when a write
// failed after the first (errno says why), or -1 when it failed before anything was written.
long FullWrite(int fd, const unsigned char *buffer, unsigned long count);
}

// The next character of `file`, or EOF; a signal does not end the wait for it. The caller
// holds the stream's lock or is alone with it. Internal to the basic functions.
int NextChar(FILE *file);
