// A walk over one directory that closes itself. Any thread.
#include "BSW/BasicFun/DirEntries.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>

#include "BSW/BasicFun/PathText.h"

static constexpr int OPEN_FLAGS = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

DirEntries::DirEntries(const char *path) {
    _Opened(XFindFirstFile(path, &m_ctx, &m_entry) == 1);
}

DirEntries::DirEntries(int parent, const char *name, const std::string &path) {
    snprintf(m_ctx.path, sizeof m_ctx.path, "%s", path.c_str());
    _Opened(FindFirstIn(openat(parent, name, OPEN_FLAGS), m_ctx, m_entry) == 1);
}

void DirEntries::_Opened(bool hasEntry) {
    m_unread = hasEntry;
    m_failed = !hasEntry && errno != 0;
    m_finished = !hasEntry && !m_failed;
}

DirEntries::~DirEntries() {
    const int error = errno;
    if (m_ctx.dir_ctx)
        XCloseFindFile(&m_ctx, m_finished);
    errno = error;
}

bool DirEntries::_Read() {
    if (m_failed || m_finished)
        return false;
    if (m_unread || XFindNextFile(&m_ctx, &m_entry)) {
        m_unread = false;
        return true;
    }
    m_failed = errno != 0;
    m_finished = !m_failed;
    return false;
}

const tagXFileFindData *DirEntries::Next() {
    while (_Read())
        if (strcmp(m_entry.filename, ".") != 0 && strcmp(m_entry.filename, "..") != 0)
            return &m_entry;
    return nullptr;
}

int DirEntries::Descriptor() const {
    return m_ctx.dir_ctx ? dirfd(static_cast<DIR *>(m_ctx.dir_ctx)) : -1;
}

std::string DirEntries::PathOf(const char *name) const {
    return JoinPath(m_ctx.path, name);
}
