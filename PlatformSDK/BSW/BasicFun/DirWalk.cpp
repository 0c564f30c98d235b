// The walk over one directory. Any thread.
#include "BSW/BasicFun/DirWalk.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileInfo.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/BasicFun/PathText.h"
#include "BSW/Log/Log.h"

static_assert(sizeof(tagXFileFindData::extname) == FILE_EXT_NAME_SIZE);

namespace {

DIR *StreamOf(const tagDIR_CTX &ctx) {
    return static_cast<DIR *>(ctx.dir_ctx);
}

void FillStatus(const struct stat &status, tagXFileFindData &data) {
    data.is_dir = S_ISDIR(status.st_mode);
    data.is_readonly = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    data.size = static_cast<std::uint64_t>(status.st_size);
    data.space = static_cast<std::uint64_t>(status.st_blocks) * 512;
    data.create_time = status.st_ctime;
    data.access_time = status.st_atime;
    data.modify_time = status.st_mtime;
}

// Null with errno 0 at the end, null with another errno when the directory cannot be read.
const dirent *ReadName(const tagDIR_CTX &ctx) {
    errno = 0;
    const dirent *entry = readdir(StreamOf(ctx));
    if (!entry && errno != 0) {
        LogName path(ctx.path);
        LOG_ERR("readdir %s error. %m", path.Next());
    }
    return entry;
}

// False when the entry is not there any more.
bool FillEntry(const tagDIR_CTX &ctx, const char *name, tagXFileFindData &data) {
    data = {};
    snprintf(data.filename, sizeof data.filename, "%s", name);
    GetFileExtName(data.filename, data.extname);
    struct stat status = {};
    if (fstatat(dirfd(StreamOf(ctx)), data.filename, &status, AT_SYMLINK_NOFOLLOW) == 0) {
        FillStatus(status, data);
        return true;
    }
    LogName path(JoinPath(ctx.path, data.filename));
    LOG_ERR("lstat64 %s error. %m", path.Next());
    return errno != ENOENT;
}

// Opens the walk over the open directory `directory`, which it takes over.
bool OpenWalk(int directory, tagDIR_CTX &ctx) {
    LogName path(ctx.path);
    ctx.dir_ctx = directory >= 0 ? fdopendir(directory) : nullptr;
    if (ctx.dir_ctx) {
        LOG_DBG("********   OPEN DIR %s", path.Next());
        return true;
    }
    LOG_ERR("opendir %s error. %m", path.Next());
    if (directory >= 0)
        close(directory);
    return false;
}

} // namespace

int XFindFirstFile(const char *path, tagDIR_CTX *ctx, tagXFileFindData *data) {
    if (ctx)
        *ctx = {};
    if (!path || !ctx || !data || strlen(path) >= sizeof ctx->path) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return 0;
    }
    snprintf(ctx->path, sizeof ctx->path, "%s", path);
    return FindFirstIn(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC), *ctx, *data);
}

int XFindNextFile(tagDIR_CTX *ctx, tagXFileFindData *data) {
    if (!ctx || !ctx->dir_ctx || !data) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return 0;
    }
    while (const dirent *entry = ReadName(*ctx))
        if (FillEntry(*ctx, entry->d_name, *data))
            return 1;
    return 0;
}

int XCloseFindFile(tagDIR_CTX *ctx, bool bFinished) {
    if (!ctx || !ctx->dir_ctx) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    closedir(StreamOf(*ctx));
    ctx->dir_ctx = nullptr;
    LogName path(ctx->path);
    if (bFinished)
        LOG_DBG("******** CLOSE DIR %s ********", path.Next());
    else
        LOG_DBG("********* CLOSE DIR %s", path.Next());
    return 1;
}

int FindFirstIn(int directory, tagDIR_CTX &ctx, tagXFileFindData &data) {
    if (!OpenWalk(directory, ctx))
        return 0;
    if (XFindNextFile(&ctx, &data))
        return 1;
    const int error = errno;
    XCloseFindFile(&ctx, false);
    errno = error;
    return 0;
}
