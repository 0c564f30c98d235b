// The walk over one directory: what is in it, entry by entry. Any thread; one walk is used
// by one thread at a time. All calls may block on the file system.
//
//     tagDIR_CTX walk;
//     tagXFileFindData entry;
//     if (XFindFirstFile("/data/log", &walk, &entry)) {
//         do
//             Use(entry);
//         while (XFindNextFile(&walk, &entry));
//         XCloseFindFile(&walk, true);
//     }
#pragma once

#include <cstdint>
#include <ctime>

// A directory that is being walked. XFindFirstFile fills it, XCloseFindFile ends it.
struct tagDIR_CTX {
    void *dir_ctx;  // the open directory stream; null when there is none
    char path[256]; // the directory's path as it was given, for joining and for messages
};

// One entry of a directory. A link is described as the link, never as what it leads to.
struct tagXFileFindData {
    bool is_dir;             // a directory; false for a link to one
    bool is_readonly;        // its mode lets nobody write
    std::uint64_t size;      // bytes of its content
    std::uint64_t space;     // bytes it takes up on the file system
    std::time_t create_time; // last change of its status: a creation time is not kept
    std::time_t access_time; // last reading
    std::time_t modify_time; // last writing
    char extname[256];       // extension as GetFileExtName gives it, empty without one
    char filename[512];      // name inside the directory
};

extern "C" {

// Opens the directory `path` (at most 255 characters; a link to a directory is followed)
// and fills `data` with its first entry. Entries come in the file system's order, "." and
// ".." among them. What `ctx` holds before does not matter.
// 1: `ctx` is open and has to be closed with XCloseFindFile. 0, with a line in the log:
// bad parameters, or it cannot be opened or read; nothing is open then, as `ctx` says with
// its null. (0 with errno 0 and no line: a file system that lists not even "." in it.)
int XFindFirstFile(const char *path, tagDIR_CTX *ctx, tagXFileFindData *data);

// Fills `data` with the next entry. An entry that vanishes meanwhile is left out; one whose
// status cannot be read has its names and zeros, both with a line in the log.
// 1: there was one. 0: there is none (errno is 0), or the directory cannot be read or the
// parameters are bad (errno is not 0, and a line in the log). The walk stays open.
int XFindNextFile(tagDIR_CTX *ctx, tagXFileFindData *data);

// Closes the walk and frees what it holds. `bFinished` tells whether it was walked to its
// end or left before and only chooses the debug line that is logged. 1, or 0 with a line
// in the log when `ctx` is null or not open.
int XCloseFindFile(tagDIR_CTX *ctx, bool bFinished);
}

// XFindFirstFile in an open directory (-1 with errno: it could not be opened), which it
// takes over; `ctx` has the path already. Internal to the basic functions.
int FindFirstIn(int directory, tagDIR_CTX &ctx, tagXFileFindData &data);
