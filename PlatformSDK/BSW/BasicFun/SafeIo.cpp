// read and write that an interrupting signal does not end. Any thread.
#include "BSW/BasicFun/SafeIo.h"

#include <cerrno>
#include <climits>

#include <unistd.h>

#include "BSW/Log/Log.h"

static bool IsBadBuffer(const void *buffer, unsigned long count) {
    return !buffer || count > LONG_MAX;
}

long SafeRead(int fd, void *buffer, unsigned long count) {
    if (IsBadBuffer(buffer, count)) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return -1;
    }
    long res = 0;
    do
        res = read(fd, buffer, count);
    while (res < 0 && errno == EINTR);
    if (res < 0)
        LOG_ERR("Safe Read error! %m. fd = %d, count = %ld", fd, static_cast<long>(count));
    return res;
}

long SafeWrite(int fd, const unsigned char *buffer, unsigned long count) {
    if (IsBadBuffer(buffer, count)) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return -1;
    }
    long res = 0;
    do
        res = write(fd, buffer, count);
    while (res < 0 && errno == EINTR);
    if (res < 0)
        LOG_ERR("Safe Write error! %m. fd = %d, count = %ld", fd, static_cast<long>(count));
    return res;
}

long FullWrite(int fd, const unsigned char *buffer, unsigned long count) {
    if (IsBadBuffer(buffer, count)) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return -1;
    }
    unsigned long written = 0;
    while (written < count) {
        const long res = SafeWrite(fd, buffer + written, count - written);
        if (res <= 0)
            return written > 0 ? static_cast<long>(written) : res;
        written += static_cast<unsigned long>(res);
    }
    return static_cast<long>(written);
}

int NextChar(FILE *file) {
    int c = getc_unlocked(file);
    while (c == EOF && ferror_unlocked(file) && errno == EINTR) {
        clearerr_unlocked(file);
        c = getc_unlocked(file);
    }
    return c;
}
