// Opening files and reading them whole or by lines. Any thread; all may block on the file.
// What is opened here is closed when another program is started.
#pragma once

#include <cstdio>

extern "C" {

// open with `flags`, repeated while a signal interrupts it; a new file has mode 0666, as
// the umask allows. The descriptor, which the caller closes, or -1 with errno and a line
// in the log.
int ZROpen(const char *path, int flags);

// fopen with `mode`, in the same way. The stream, which the caller closes, or null.
FILE *ZRFopen(const char *path, const char *mode);

// The whole content of a regular file, with a zero byte behind it. The caller frees it
// with free. Its length is not told: a zero byte in the file ends the text. Null with a
// line in the log when it cannot be opened or read, is no regular file, or memory is short.
char *FileRead(char *path);

// Reads one line, without its "\n", into `line` of `size` bytes. What does not fit with
// the terminator is read and dropped, so that the next call gives the next line. A last
// line needs no "\n". A signal does not end it.
// 1, or 0 at the end; 0 with a line in the log when reading fails (what came before is
// lost) or parameters are bad. `line` is empty then.
int ReadLine(FILE *file, char *line, int size);
}

// A regular file opened for reading, without blocking on anything else that may be there;
// -1 with errno. Internal to the basic functions.
int OpenRegularFile(const char *path);
