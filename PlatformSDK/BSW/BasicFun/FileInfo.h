// What can be asked about one file. Any thread; all may block on the file system. Links
// are followed. What is asked with "is" answers 1 or 0 and logs only bad parameters; the
// others give 1, or 0 with a line in the log and the results left as they were.
#pragma once

#include <string>

// Bytes that GetFileExtName may write, terminator included.
constexpr int FILE_EXT_NAME_SIZE = 256;

extern "C" {

// Copies the extension of a file name or path, without its dot, to `ext`, which holds at
// least FILE_EXT_NAME_SIZE bytes; a longer extension is cut. It is what is behind the last
// dot of the last part of the path; a dot in front of everything (".profile", "..") starts
// none. 1 when there is one, else 0 and `ext` is empty.
int GetFileExtName(const char *name, char *ext);

// Size of a regular file in bytes.
int XGetFileSize(const char *path, unsigned long *size);
int GetFileSize(const char *path, long long *size);

// The process's working directory, absolute, into `path` of `size` bytes. Fails when it
// does not fit with its terminator or is not there any more; then `path` is empty.
int XGetCurrentPath(char *path, int size);

// 1 when `path` is a directory.
int IsDirExist(const char *path);
}

// True when `path` exists and is not a directory.
bool IsFileExist(std::string path);
