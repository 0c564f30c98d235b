// What can be asked about one file. Any thread.
#include "BSW/BasicFun/FileInfo.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

const char *LastPart(const char *path) {
    const char *slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// False, with a line in the log, when `path` is not a regular file of at most `max` bytes.
bool ReadSize(const char *path, unsigned long long max, long long &size) {
    struct stat status = {};
    bool sized = stat(path, &status) == 0;
    if (sized && !S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        sized = false;
    } else if (sized && static_cast<unsigned long long>(status.st_size) > max) {
        errno = EOVERFLOW;
        sized = false;
    }
    if (!sized) {
        LogName name(path);
        LOG_ERR("stat %s error. %m", name.Next());
        return false;
    }
    size = status.st_size;
    return true;
}

} // namespace

int GetFileExtName(const char *name, char *ext) {
    if (!name || !ext) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    const char *last = LastPart(name);
    const char *dot = strrchr(last + strspn(last, "."), '.');
    snprintf(ext, FILE_EXT_NAME_SIZE, "%s", dot ? dot + 1 : "");
    return ext[0] != '\0' ? 1 : 0;
}

int XGetFileSize(const char *path, unsigned long *size) {
    if (!path || !size) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    long long bytes = 0;
    if (!ReadSize(path, std::numeric_limits<unsigned long>::max(), bytes))
        return 0;
    *size = static_cast<unsigned long>(bytes);
    return 1;
}

int GetFileSize(const char *path, long long *size) {
    if (!path || !size) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    return ReadSize(path, std::numeric_limits<long long>::max(), *size) ? 1 : 0;
}

int XGetCurrentPath(char *path, int size) {
    if (!path || size <= 0) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    if (getcwd(path, static_cast<size_t>(size)))
        return 1;
    LOG_ERR("getcwd error. %m");
    path[0] = '\0';
    return 0;
}

int IsDirExist(const char *path) {
    if (!path) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    struct stat status = {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

bool IsFileExist(std::string path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}
