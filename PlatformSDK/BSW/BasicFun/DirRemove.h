// Removing directories. Any thread; all block until it is done.
//
// Only what is inside the directory is ever removed. A link in it is removed itself and
// never followed, also when somebody puts it there meanwhile; what is mounted in it is
// left alone (that counts as a failure). "/", and a path that ends in "." or "..", are
// refused. Paths have at most 255 characters, and directories are followed 256 levels
// deep, each of which takes a descriptor.
// 1 when everything is gone, else 0 with a line in the log about what is in the way.
#pragma once

// Removes an empty directory.
int XRemoveDirectory(const char *path);

// Removes a directory with everything in it. With `force` (not 0) it goes on behind what
// cannot be removed, so that as little as possible stays; with 0 it ends there.
int XRemoveDirectory(const char *path, int force);

extern "C" {

// Removes the empty directory `path`, then the directories above it that `path` names, from
// the last to the first, as long as they are empty. 1 when `path` itself is removed.
int XRemoveFullPathEmptyDir(const char *path);

// Removes everything in a directory that is no link to one, going on behind what cannot be
// removed, and the directory too. Logs "Delete File" with the path of each file removed.
int DeleDir(const char *path);

// Removes everything in a directory in the same way and keeps the directory, which may be
// given as a link to it or as ".".
int ClearDir(const char *path);
}
