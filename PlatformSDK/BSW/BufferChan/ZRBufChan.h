// Frame rings with a name, a lock and a wake-up, shared by the threads of one process:
// one side makes a channel, writers and readers open handles on it by its name, a
// reader may wait for a frame. A writer never waits for a reader: the oldest frames
// are dropped. Any thread may make any call; nothing is logged but the state dump.
#pragma once

#include <pthread.h>

#include "BSW/BufferChan/ZR_AV_FIFO.h"

constexpr int ZR_BUFCHAN_NAME_BYTES = 128;

// Mode values of zr_bufchan_open.
enum {
    ZR_BUFCHAN_RD = 2,
    ZR_BUFCHAN_WR = 4,
};

// A channel, in a list of all channels.
typedef struct tagAVPool {
    char name[ZR_BUFCHAN_NAME_BYTES]; // without a terminator when it is 128 characters or longer
    AVFifo *fifo;                     // owned
    pthread_cond_t cond;              // a frame has been written
    pthread_mutex_t lock;             // guards fifo, mutex of cond
    struct tagAVPool *next;
} AVPool;

// AVPoolCtx::type.
enum {
    ZR_BUFCHAN_TYPE_WRITER = 1,
    ZR_BUFCHAN_TYPE_READER = 2,
};

// An open handle.
typedef struct tagAVPoolCtx {
    int type;
    AVPool *pool; // not owned
} AVPoolCtx;

extern "C" {

// Makes a channel whose ring holds `size` bytes. 0; -1 for a null or empty name, size
// 0, a name in use (compared over 128 bytes) or an allocation failure. After a ring
// that cannot be made (a negative size can never be) every later create, remove and
// open of the process blocks.
int zr_bufchan_mkfifo(const char *name, int size);

// Removes a channel. 0; -1 for a null, empty or unknown name. Handles still open on it
// must not be used afterwards, only closed.
int zr_bufchan_unlink(const char *name);

// A new handle, a reader for mode 2 or a writer for mode 4, to be closed by the caller.
// Null for a null, empty or unknown name, another mode or an allocation failure. After
// a reader is opened the channel shows no waiting frame; after the next write its
// oldest frame is read.
void *zr_bufchan_open(const char *name, int mode);

// Frees the handle; the channel stays. 0, or -1 for null.
int zr_bufchan_close(void *handle);

// Writer: discards all frames held. Reader: no frame is waiting until the next write.
// 0, or -1 for null or another kind of handle.
int zr_bufchan_reset(void *handle);

// Stores the `iovcnt` entries as one frame and wakes every waiting reader. Bytes
// written, or -1 for anything but a writer, no entries or a frame that can never fit.
// A frame of no bytes wakes nobody.
int zr_bufchan_writev(void *handle, const struct iovec *iov, int iovcnt);

// The same with one piece; -1 also for a null `buf` or `nbyte` not above 0.
int zr_bufchan_write(void *handle, const void *buf, int nbyte);

// Takes the oldest frame into two entries, as zr_av_fifo_readv does: `iov` must point
// to two entries even when `iovcnt` is 1. Waits up to `milliseconds` for a frame, not
// at all for 0 or less. The frame's size, 0 when none came in time, -1 for anything
// but a reader or no entries. An empty frame is taken and counts as none.
int zr_bufchan_readv(void *handle, const struct iovec *iov, int iovcnt, int milliseconds);

// The same into one piece; -1 also for a null `buf` or `nbyte` not above 0.
int zr_bufchan_read(void *handle, void *buf, int nbyte, int milliseconds);

// Stores the number of frames waiting for the reader. `handle` must be an open handle
// of either kind, it is not checked. Always 0.
int zr_bufchan_getbuffercount(void *handle, int *count);

// Stores the number of frames dropped since the channel was made. 0, or -2 for
// anything but a reader.
int zr_bufchan_getdrop(void *handle, int *count);

// Drops the `num` oldest frames, even when fewer are held. 0, or -2 for anything but a
// reader.
int zr_bufchan_drop(void *handle, int num);

// Writes the state of the ring to the log, named by the handle. 0, or -2 for anything
// but a reader.
int zr_bufchan_get_run_info(void *handle);
}
