// Making, renaming and deleting of single files and directories. Any thread.
#include "BSW/BasicFun/FileChange.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileInfo.h"
#include "BSW/BasicFun/FileOpen.h"
#include "BSW/BasicFun/FileUtils.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

int XDeleteFile(const char *path) {
    if (!path) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    if (unlink(path) == 0)
        return 1;
    LogName name(path);
    LOG_ERR("unlink %s error. %m", name.Next());
    return 0;
}

int DeleFile(const char *path) {
    if (!XDeleteFile(path))
        return 0;
    LogName name(path);
    LOG_DBG("Delete File %s\n", name.Next());
    return 1;
}

int XRenameFile(const char *oldPath, const char *newPath) {
    if (!oldPath || !newPath) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    if (rename(oldPath, newPath) == 0)
        return 1;
    LogName from(oldPath), to(newPath);
    LOG_ERR("rename %s to %s error. %m", from.Next(), to.Next());
    return 0;
}

int ReName(const char *oldPath, const char *newPath) {
    return XRenameFile(oldPath, newPath);
}

int MakeFile(const char *path) {
    if (!path) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    const int file = ZROpen(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return 0;
    close(file);
    return 1;
}

int MakeDir(const char *path) {
    if (!path) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    if (mkdir(path, 0777) == 0 || (errno == EEXIST && IsDirExist(path)))
        return 1;
    LogName name(path);
    LOG_ERR("mkdir %s error. %m", name.Next());
    return 0;
}

int EasyMakeDir(const char *path) {
    constexpr std::size_t MAX_LENGTH = 254; // what XCreateFullPathDir takes whole
    if (!path || path[0] == '\0' || strlen(path) > MAX_LENGTH) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    if (XCreateFullPathDir(path, 0777) && IsDirExist(path))
        return 1;
    LogName name(path);
    LOG_ERR("mkdir %s error.", name.Next());
    return 0;
}

void SyncFS(void) {
    sync();
}
