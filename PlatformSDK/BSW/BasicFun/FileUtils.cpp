// Files and directories. Any thread.
#include "BSW/BasicFun/FileUtils.h"

#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Ends the path after its character `slash` for as long as it looks at the prefix.
bool MakePrefix(char *path, size_t slash, unsigned int mode) {
    const char next = path[slash + 1];
    path[slash + 1] = '\0';
    const bool exists = XFilePathExists(path) || mkdir(path, mode) == 0;
    path[slash + 1] = next;
    return exists;
}

} // namespace

int XFilePathExists(const char *path) {
    return path && access(path, F_OK) == 0 ? 1 : 0;
}

int XCreateFullPathDir(const char *dir, unsigned int mode) {
    if (!dir)
        return 0;
    if (XFilePathExists(dir))
        return 1;
    char path[256] = {};
    const size_t length = strlen(dir);
    const bool hasSlash = length > 0 && dir[length - 1] == '/';
    snprintf(path, sizeof path, "%s%s", dir, hasSlash ? "" : "/");
    for (size_t i = 0; path[i] != '\0'; ++i)
        if (path[i] == '/' && !MakePrefix(path, i, mode))
            return 0;
    return 1;
}
