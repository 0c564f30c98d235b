// Making, renaming and deleting of single files and directories. Any thread; all
// may block on the file system. They give 1 when done, or 0 with a line in the log. New
// files have mode 0666, new directories 0777, as the umask allows.
#pragma once

extern "C" {

// Deletes one file; of a link, the link itself. A directory is refused.
int XDeleteFile(const char *path);

// The same, and logs "Delete File" with the path when it is done.
int DeleFile(const char *path);

// Renames a file or directory within one file system. What has the new name already is
// replaced: a file by a file, an empty directory by a directory.
int XRenameFile(const char *oldPath, const char *newPath);
int ReName(const char *oldPath, const char *newPath);

// Makes an empty file in a directory that exists. One that exists keeps its content.
int MakeFile(const char *path);

// Makes one directory in a directory that exists; one that is there already is enough.
int MakeDir(const char *path);

// Makes a directory with all that are missing above it; one that is there already is
// enough. At most 254 characters.
int EasyMakeDir(const char *path);

// Writes out what every file system has not written yet; blocks until that is done.
void SyncFS(void);
}
