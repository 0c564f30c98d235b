// The byte copy of a file. Any thread.
#include "BSW/BasicFun/FileCopy.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileOpen.h"
#include "BSW/BasicFun/SafeIo.h"
#include "BSW/Log/Log.h"

namespace {

bool IsSameFile(int one, int other) {
    struct stat first = {}, second = {};
    return fstat(one, &first) == 0 && fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool Empty(int file) {
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return false;
    return !S_ISREG(status.st_mode) || ftruncate(file, 0) == 0;
}

// The destination, empty; it is not touched before it is known not to be the source.
int OpenDestination(const char *path, int source) {
    const int file = ZROpen(path, O_WRONLY | O_CREAT);
    if (file < 0)
        return -1;
    const bool same = IsSameFile(source, file);
    if (!same && Empty(file))
        return file;
    if (same)
        errno = EINVAL;
    const int error = errno;
    close(file);
    errno = error;
    return -1;
}

bool CopyBytes(int source, int destination) {
    unsigned char block[16384];
    while (true) {
        const long count = SafeRead(source, block, sizeof block);
        if (count == 0)
            return true;
        if (count < 0) {
            LOG_ERR("Error reading source file");
            return false;
        }
        if (FullWrite(destination, block, static_cast<unsigned long>(count)) != count) {
            LOG_ERR("Error writing to destination file");
            return false;
        }
    }
}

bool CopyTo(const char *path, int source) {
    const int destination = OpenDestination(path, source);
    if (destination < 0) {
        LOG_ERR("Error opening destination file");
        return false;
    }
    const bool copied = CopyBytes(source, destination);
    // Some file systems tell only now that what was written found no room.
    const bool closed = close(destination) == 0;
    if (copied && !closed)
        LOG_ERR("Error writing to destination file");
    return copied && closed;
}

} // namespace

int CopyFile(const char *source, const char *destination) {
    if (!source || !destination) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    const int file = OpenRegularFile(source);
    if (file < 0) {
        LOG_ERR("Error opening source file");
        return 0;
    }
    const bool copied = CopyTo(destination, file);
    close(file);
    return copied ? 1 : 0;
}
