// What is in a directory. Any thread; all may block on the file system. "." and ".." are
// never counted, and nothing below the directory is looked at. A link is a file, whatever
// it leads to, except where the directory itself is given as one. Paths of directories
// have at most 255 characters. A directory that cannot be read or bad parameters are a
// failure with a line in the log.
#pragma once

#include <string>
#include <vector>

extern "C" {

// 1 when there is nothing in the directory; 0 when there is, or on failure.
int isDirEmpty(const char *path);

// Copies the name of the first file (no directory), in the order of the names' bytes, to
// `name` of `size` bytes. 1, or 0 and an empty name: there is no file, or on failure, also
// when the name does not fit with its terminator.
int GetFileFromDir(const char *path, char *name, int size);

// 1 when there is a file (no directory) called `name`; 0 when not, or on failure. A name
// that is empty or has a "/" in it is a bad parameter.
int IsFileExistInDir(const char *path, const char *name);

// Calls `check` for each entry, in the file system's order, until it gives something other
// than 0: that entry is bad. Its first argument is 1 for a directory and 0 for anything
// else, the second the entry's path ("directory/name"), a text of the call's own that it
// may change but not keep. 1 when the directory fails, because an entry is bad or on a
// failure of the call itself; 0 when every entry is good.
int CheckDirIsFail(const char *path, int (*check)(int, char *));

// The same for the entries with the extension `ext` (without its dot; null or empty: all
// entries), with the answer the other way round: 1 when every entry is good, else 0.
int CheckDir(const char *path, const char *ext, int (*check)(int, char *));
}

// Puts the names of everything in the directory into `files`, in the order of their bytes,
// in place of what it held. 1, or 0 on failure; then it is empty.
int getFiles(std::string path, std::vector<std::string> &files);
