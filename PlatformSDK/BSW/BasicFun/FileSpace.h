// File systems: their size and what is mounted. Any thread; all may block on the file
// system that is asked.
#pragma once

extern "C" {

// Size and free space, in bytes, of the file system that holds `path`. Free is all that
// nobody uses, with what only root may take. 1, or 0 with a line in the log and the
// results left as they were.
int XGetDiskPartitionSpace(const char *path, unsigned long long *total, unsigned long long *free);

// The same one by one; -1 with a line in the log on failure.
long long GetTotalSpace(const char *path);
long long GetFreeSpace(const char *path);

// 1 when /proc/mounts has `path` as a mount point or as the device of one, compared as
// text (no link is followed; a "/" at the end makes no difference), else 0. 0 with a line
// in the log for null, an empty path, one of more than 254 characters, or when the list
// cannot be read. An entry that is longer than that there, where a blank takes four
// characters, is not found.
int isMounted(const char *path);
}
