// What is in a directory. Any thread.
#include "BSW/BasicFun/DirList.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "BSW/BasicFun/DirEntries.h"
#include "BSW/BasicFun/LogName.h"
#include "BSW/BasicFun/StringUtils.h"
#include "BSW/Log/Log.h"

namespace {

enum class Kind { Files, Everything };

// False on failure; then there are no names.
bool ReadNames(const char *path, Kind kind, std::vector<std::string> &names) {
    names.clear();
    DirEntries directory(path);
    while (const tagXFileFindData *entry = directory.Next())
        if (kind == Kind::Everything || !entry->is_dir)
            names.push_back(entry->filename);
    if (directory.Failed())
        names.clear();
    std::sort(names.begin(), names.end());
    return !directory.Failed();
}

bool IsName(const char *text) {
    return text && text[0] != '\0' && !strchr(text, '/');
}

bool IsEntryGood(const DirEntries &directory, const tagXFileFindData &entry, int (*check)(int, char *)) {
    std::string path = directory.PathOf(entry.filename);
    return check(entry.is_dir ? 1 : 0, path.data()) == 0;
}

} // namespace

int isDirEmpty(const char *path) {
    DirEntries directory(path);
    const bool any = directory.Next() != nullptr;
    return !any && !directory.Failed() ? 1 : 0;
}

int GetFileFromDir(const char *path, char *name, int size) {
    if (name && size > 0)
        name[0] = '\0';
    if (!name || size <= 0) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    std::vector<std::string> files;
    if (!ReadNames(path, Kind::Files, files) || files.empty())
        return 0;
    if (files[0].size() >= static_cast<std::size_t>(size)) {
        LOG_ERR("name needs %zu bytes, size = %d", files[0].size() + 1, size);
        return 0;
    }
    snprintf(name, static_cast<std::size_t>(size), "%s", files[0].c_str());
    return 1;
}

int IsFileExistInDir(const char *path, const char *name) {
    if (!IsName(name)) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    DirEntries directory(path);
    while (const tagXFileFindData *entry = directory.Next())
        if (!entry->is_dir && strcmp(entry->filename, name) == 0)
            return 1;
    return 0;
}

int CheckDirIsFail(const char *path, int (*check)(int, char *)) {
    return CheckDir(path, nullptr, check) ? 0 : 1;
}

int CheckDir(const char *path, const char *ext, int (*check)(int, char *)) {
    if (!path || !check) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    const bool all = !ext || ext[0] == '\0';
    DirEntries directory(path);
    while (const tagXFileFindData *entry = directory.Next())
        if ((all || strcmp(entry->extname, ext) == 0) && !IsEntryGood(directory, *entry, check))
            return 0;
    if (!directory.Failed())
        return 1;
    LogName name(path);
    LOG_ERR("open %s error\n", name.Next());
    return 0;
}

int getFiles(std::string path, std::vector<std::string> &files) {
    return ReadNames(path.c_str(), Kind::Everything, files) ? 1 : 0;
}

std::vector<std::string> StringUtils::GetFilesName(const std::string &path) {
    std::vector<std::string> names;
    ReadNames(path.c_str(), Kind::Files, names);
    return names;
}
