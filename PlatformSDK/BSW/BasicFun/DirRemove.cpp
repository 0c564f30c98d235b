// Removing directories. Any thread. Everything below the directory that is named is reached
// through descriptors of open directories, never by a path that could lead elsewhere.
#include "BSW/BasicFun/DirRemove.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/DirEntries.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/BasicFun/PathText.h"
#include "BSW/Log/Log.h"

namespace {

constexpr int MAX_DEPTH = 256;
constexpr std::size_t MAX_PATH_LENGTH = 255;

struct RemoveWay {
    bool goOn;   // behind what cannot be removed
    bool report; // every file that is removed
};

bool RemoveContents(DirEntries &directory, const RemoveWay &way, int depth);

bool Unlink(int directory, const char *name, const std::string &path, int flags) {
    if (unlinkat(directory, name, flags) == 0)
        return true;
    LogName logged(path);
    LOG_ERR("remove %s error. %m", logged.Next());
    return false;
}

// Whether another file system begins at the open directory `directory` in `parent`; taken
// for granted when the kernel does not tell.
bool IsMountedIn(int parent, int directory) {
    struct statx inner = {}, outer = {};
    if (statx(directory, "", AT_EMPTY_PATH, STATX_TYPE, &inner) != 0 ||
        statx(parent, "", AT_EMPTY_PATH, STATX_TYPE, &outer) != 0)
        return true;
    if (inner.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT)
        return inner.stx_attributes & STATX_ATTR_MOUNT_ROOT;
    return inner.stx_dev_major != outer.stx_dev_major || inner.stx_dev_minor != outer.stx_dev_minor;
}

// Removes what is in the directory `name` in `parent`, then the directory.
bool RemoveTreeAt(int parent, const char *name, const std::string &path, const RemoveWay &way, int depth) {
    DirEntries directory(parent, name, path);
    if (directory.Failed())
        return false;
    LogName logged(path);
    if (depth > MAX_DEPTH) {
        LOG_ERR("remove %s error. Too many levels", logged.Next());
        return false;
    }
    if (depth > 0 && IsMountedIn(parent, directory.Descriptor())) {
        LOG_ERR("remove %s error. Mounted", logged.Next());
        return false;
    }
    return RemoveContents(directory, way, depth) && Unlink(parent, name, path, AT_REMOVEDIR);
}

bool RemoveEntry(const DirEntries &directory, const tagXFileFindData &entry, const RemoveWay &way, int depth) {
    const std::string path = directory.PathOf(entry.filename);
    if (entry.is_dir)
        return RemoveTreeAt(directory.Descriptor(), entry.filename, path, way, depth + 1);
    if (!Unlink(directory.Descriptor(), entry.filename, path, 0))
        return false;
    if (way.report) {
        LogName logged(path);
        LOG_DBG("Delete File %s\n", logged.Next());
    }
    return true;
}

bool RemoveContents(DirEntries &directory, const RemoveWay &way, int depth) {
    bool all = true;
    while (all || way.goOn) {
        const tagXFileFindData *entry = directory.Next();
        if (!entry)
            break;
        all = RemoveEntry(directory, *entry, way, depth) && all;
    }
    return all && !directory.Failed();
}

// "a/b" is the directory "b" in "a".
struct PathParts {
    explicit PathParts(const std::string &path) {
        const auto slash = path.rfind('/');
        name = path.substr(slash + 1);
        parent = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    }
    bool IsEntry() const { return !name.empty() && name != "." && name != ".."; }

    std::string parent;
    std::string name;
};

bool RemoveTree(const char *path, const RemoveWay &way) {
    const std::string whole = WithoutEndSlashes(path);
    const PathParts parts(whole);
    LogName logged(whole);
    if (!parts.IsEntry()) {
        LOG_ERR("remove %s error. No entry of a directory", logged.Next());
        return false;
    }
    const int parent = open(parts.parent.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0) {
        LOG_ERR("open %s error. %m", logged.Next());
        return false;
    }
    const bool removed = RemoveTreeAt(parent, parts.name.c_str(), whole, way, 0);
    close(parent);
    return removed;
}

bool IsRoot(int directory) {
    struct stat status = {}, root = {};
    return fstat(directory, &status) != 0 || stat("/", &root) != 0 ||
           (status.st_dev == root.st_dev && status.st_ino == root.st_ino);
}

bool IsBadPath(const char *path) {
    return !path || path[0] == '\0' || strlen(path) > MAX_PATH_LENGTH;
}

} // namespace

int XRemoveDirectory(const char *path) {
    if (IsBadPath(path)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    return Unlink(AT_FDCWD, path, path, AT_REMOVEDIR) ? 1 : 0;
}

int XRemoveDirectory(const char *path, int force) {
    if (IsBadPath(path)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    return RemoveTree(path, {force != 0, false}) ? 1 : 0;
}

int XRemoveFullPathEmptyDir(const char *path) {
    if (IsBadPath(path)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    std::string rest = WithoutEndSlashes(path);
    if (!XRemoveDirectory(rest.c_str()))
        return 0;
    auto slash = rest.rfind('/');
    while (slash != std::string::npos && slash > 0) {
        rest = WithoutEndSlashes(rest.substr(0, slash));
        if (rmdir(rest.c_str()) != 0)
            break;
        slash = rest.rfind('/');
    }
    return 1;
}

int DeleDir(const char *path) {
    if (IsBadPath(path)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    return RemoveTree(path, {true, true}) ? 1 : 0;
}

int ClearDir(const char *path) {
    if (IsBadPath(path)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    DirEntries directory(path);
    if (directory.Failed())
        return 0;
    if (directory.Descriptor() >= 0 && IsRoot(directory.Descriptor())) {
        LogName logged(path);
        LOG_ERR("remove %s error. The root directory", logged.Next());
        return 0;
    }
    return RemoveContents(directory, {true, true}, 0) ? 1 : 0;
}
