// The byte copy of a file. Any thread.
#pragma once

extern "C" {

// Copies the bytes of a regular file. A destination that exists is overwritten, a link to
// one followed; it must not be the source itself. A new one has mode 0666, as the umask
// allows. Blocks until it is done, and on a destination that is a pipe or a device as that
// does. 1, or 0 with a line in the log; the destination may hold the first part then.
int CopyFile(const char *source, const char *destination);
}
