// A walk over one directory that closes itself and leaves "." and ".." out: what every
// function here that looks into a directory uses. Internal to the basic functions.
#pragma once

#include <string>

#include "BSW/BasicFun/DirWalk.h"

class DirEntries {
  public:
    // The directory `path`; a link to a directory is followed.
    explicit DirEntries(const char *path);

    // The directory `name` in the open directory `parent`; a link is refused. `path` is
    // what messages call it, cut at 255 characters.
    DirEntries(int parent, const char *name, const std::string &path);

    ~DirEntries();

    DirEntries(const DirEntries &) = delete;
    DirEntries &operator=(const DirEntries &) = delete;

    // The next entry, valid until the next call; null when there is none or Failed.
    const tagXFileFindData *Next();

    // It could not be opened or not be read to its end; the log has a line about it.
    bool Failed() const { return m_failed; }

    // The open directory, or -1 when there is none.
    int Descriptor() const;

    // Path of an entry, for callers and messages.
    std::string PathOf(const char *name) const;

  private:
    void _Opened(bool hasEntry);
    bool _Read();

    tagDIR_CTX m_ctx = {};
    tagXFileFindData m_entry = {};
    bool m_unread = false; // m_entry has not been handed out yet
    bool m_failed = false;
    bool m_finished = false;
};
