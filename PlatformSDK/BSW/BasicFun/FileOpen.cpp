// Opening files and reading them whole or by lines. Any thread.
#include "BSW/BasicFun/FileOpen.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/LogName.h"
#include "BSW/BasicFun/SafeIo.h"
#include "BSW/Log/Log.h"

namespace {

// The content with a zero byte behind it, allocated with malloc; null with errno.
char *ReadToEnd(FILE *file) {
    std::size_t capacity = 4096, length = 0;
    char *content = static_cast<char *>(std::malloc(capacity));
    while (content) {
        length += fread(content + length, 1, capacity - length - 1, file);
        if (ferror(file)) {
            std::free(content);
            return nullptr;
        }
        if (feof(file)) {
            content[length] = '\0';
            return content;
        }
        capacity *= 2;
        char *larger = static_cast<char *>(std::realloc(content, capacity));
        if (!larger)
            std::free(content);
        content = larger;
    }
    return nullptr;
}

FILE *OpenForReading(const char *path) {
    const int descriptor = OpenRegularFile(path);
    FILE *file = descriptor >= 0 ? fdopen(descriptor, "rb") : nullptr;
    if (!file && descriptor >= 0)
        close(descriptor);
    return file;
}

// True when there was a line or the rest of one. `line` is terminated in any case.
bool TakeLine(FILE *file, char *line, int size) {
    int length = 0;
    int c = NextChar(file);
    const bool any = c != EOF;
    for (; c != EOF && c != '\n'; c = NextChar(file))
        if (length < size - 1)
            line[length++] = static_cast<char>(c);
    line[length] = '\0';
    return any;
}

} // namespace

int ZROpen(const char *path, int flags) {
    if (!path) {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return -1;
    }
    int file = -1;
    do
        file = open(path, flags | O_CLOEXEC, 0666);
    while (file < 0 && errno == EINTR);
    if (file < 0) {
        LogName name(path);
        LOG_ERR("open %s error. %m", name.Next());
    }
    return file;
}

FILE *ZRFopen(const char *path, const char *mode) {
    if (!path || !mode || mode[0] == '\0') {
        LOG_ERR("bad parameters!");
        errno = EINVAL;
        return nullptr;
    }
    const std::string closing = std::string(1, mode[0]) + "e" + (mode + 1);
    FILE *file = nullptr;
    do
        file = fopen(path, closing.c_str());
    while (!file && errno == EINTR);
    if (!file) {
        LogName name(path);
        LOG_ERR("fopen %s error. %m", name.Next());
    }
    return file;
}

char *FileRead(char *path) {
    if (!path) {
        LOG_ERR("bad parameters!");
        return nullptr;
    }
    LogName name(path);
    FILE *file = OpenForReading(path);
    if (!file) {
        LOG_ERR("fopen %s error!\n", name.Next());
        return nullptr;
    }
    char *content = ReadToEnd(file);
    if (!content)
        LOG_ERR("fread %s error!\n", name.Next());
    fclose(file);
    return content;
}

int ReadLine(FILE *file, char *line, int size) {
    if (line && size > 0)
        line[0] = '\0';
    if (!file || !line || size <= 0) {
        LOG_ERR("bad parameters!");
        return 0;
    }
    flockfile(file);
    const bool taken = TakeLine(file, line, size);
    const bool failed = ferror_unlocked(file) != 0;
    funlockfile(file);
    if (!failed)
        return taken ? 1 : 0;
    LOG_ERR("Read line error! %m");
    line[0] = '\0';
    return 0;
}

int OpenRegularFile(const char *path) {
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || (fstat(file, &status) == 0 && S_ISREG(status.st_mode)))
        return file;
    close(file);
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return -1;
}
