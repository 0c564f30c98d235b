// File systems: their size and what is mounted. Any thread.
#include "BSW/BasicFun/FileSpace.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/statvfs.h>

#include "BSW/BasicFun/LogName.h"
#include "BSW/BasicFun/PathText.h"
#include "BSW/Log/Log.h"

namespace {

constexpr std::size_t FIELD_SIZE = 256;
constexpr std::size_t MAX_LENGTH = FIELD_SIZE - 2; // of a field that is certainly whole

bool IsOctal(char c) {
    return c >= '0' && c <= '7';
}

// A field of /proc/mounts as it was before the kernel wrote blanks and the like as "\040".
std::string Unescape(const char *field) {
    std::string text;
    for (; *field != '\0'; ++field) {
        if (field[0] != '\\' || !IsOctal(field[1]) || !IsOctal(field[2]) || !IsOctal(field[3])) {
            text += *field;
            continue;
        }
        text += static_cast<char>((field[1] - '0') * 64 + (field[2] - '0') * 8 + (field[3] - '0'));
        field += 3;
    }
    return text;
}

bool IsLineOf(const char *line, const std::string &path) {
    char device[FIELD_SIZE] = {}, directory[FIELD_SIZE] = {}, type[FIELD_SIZE] = {};
    if (sscanf(line, "%255s %255s %255s\n", device, directory, type) != 3)
        return false;
    // A field that may be cut is not the one looked for, and those behind it are shifted.
    if (strlen(device) > MAX_LENGTH || strlen(directory) > MAX_LENGTH)
        return false;
    return Unescape(directory) == path || Unescape(device) == path;
}

bool FindLine(FILE *mounts, const std::string &path) {
    char *line = nullptr;
    std::size_t size = 0;
    bool found = false;
    while (!found && getline(&line, &size, mounts) > 0)
        found = IsLineOf(line, path);
    std::free(line);
    return found;
}

} // namespace

int XGetDiskPartitionSpace(const char *path, unsigned long long *total, unsigned long long *free) {
    if (!path || !total || !free) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    struct statvfs status = {};
    if (statvfs(path, &status) != 0) {
        LogName name(path);
        LOG_ERR("statvfs %s error. %m", name.Next());
        return 0;
    }
    *total = static_cast<unsigned long long>(status.f_blocks) * status.f_frsize;
    *free = static_cast<unsigned long long>(status.f_bfree) * status.f_frsize;
    return 1;
}

long long GetTotalSpace(const char *path) {
    unsigned long long total = 0, free = 0;
    return XGetDiskPartitionSpace(path, &total, &free) ? static_cast<long long>(total) : -1;
}

long long GetFreeSpace(const char *path) {
    unsigned long long total = 0, free = 0;
    return XGetDiskPartitionSpace(path, &total, &free) ? static_cast<long long>(free) : -1;
}

int isMounted(const char *path) {
    if (!path || path[0] == '\0' || strlen(path) > MAX_LENGTH) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    FILE *mounts = fopen("/proc/mounts", "re");
    if (!mounts) {
        LOG_ERR("fopen %s error. %m", "/proc/mounts");
        return 0;
    }
    const bool found = FindLine(mounts, WithoutEndSlashes(path));
    fclose(mounts);
    return found ? 1 : 0;
}
