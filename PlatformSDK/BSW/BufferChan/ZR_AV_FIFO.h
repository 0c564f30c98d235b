// Ring of variable-size frames in one heap block. The writer never waits: when it
// needs room the oldest frames are dropped, so a slow reader finds the newest audio.
// No lock inside: the owner of the ring serialises every call, from any thread.
#pragma once

#include <sys/uio.h>

#include "common/Types.h"

// Header of every frame in the data area, in the byte order of the host. The payload
// follows without padding; header and payload each continue at the start of the data
// area when they reach its end.
typedef struct tagAVFrame {
    UINT32 size; // payload bytes
} AVFrame;

// Control fields and data area, one block. How much is held follows from the positions
// alone: `wptr` equal to `rptr` means empty, also when frames fill the area exactly.
typedef struct tagAVFifo {
    ZR_U8 *wptr;                // where the next frame will be written
    ZR_U8 *rptr;                // header of the oldest frame held
    ZR_U8 *fptr;                // header of the frame the reader takes next; null before the first read
    volatile ZR_U64 rcnt;       // sequence number of the frame at rptr
    volatile ZR_U64 cur;        // sequence number of the frame at fptr
    volatile ZR_U64 wcnt;       // frames written
    volatile ZR_U64 dropCnt;    // frames dropped since the reader last re-synchronised
    volatile ZR_U64 dropAllCnt; // frames dropped since creation
    ZR_S32 bufsiz;              // bytes of the data area
    ZR_U8 *bufend;              // one past the end of the data area
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic" // a flexible array, as in C
    ZR_U8 buffer[];
#pragma GCC diagnostic pop
} AVFifo;

extern "C" {

// A new, empty ring with a zeroed data area of `size` bytes. Null when it cannot be
// allocated; a negative size can never be. A ring of 0 bytes refuses every write.
AVFifo *zr_av_fifo_create(int size);

// Frees the ring; null is accepted. Always 0.
int zr_av_fifo_destroy(AVFifo *fifo);

// Stores the bytes of all `iovcnt` entries as one frame, after dropping as many of the
// oldest frames as that takes. Payload bytes written (0 for an empty frame), or -1,
// with nothing changed, for a frame above `bufsiz` - 4 bytes or above what an int holds.
int zr_av_fifo_writev(AVFifo *fifo, const struct iovec *iov, int iovcnt);

// The same with one piece of `size` bytes.
int zr_av_fifo_write(AVFifo *fifo, const void *data, UINT32 size);

// Takes the oldest frame held into the first entry and, what remains, into the second.
// The frame's size as its header gives it, 0 when no frame is waiting; a frame of no
// bytes is taken and gives 0 as well. `iov` must point to two entries even when
// `iovcnt` is 1; a second entry of length 0 stands for none. When the second entry is
// not used, because the frame fitted the first or the remainder does not fit the
// second, a line on standard output says so. Bytes that fitted neither entry stay in
// the ring, where the next call takes them for a header.
int zr_av_fifo_readv(AVFifo *fifo, const struct iovec *iov, int iovcnt);

// The same into one piece of `size` bytes; a negative size takes no payload byte.
int zr_av_fifo_read(AVFifo *fifo, void *data, int size);

// Frames waiting for the reader, after putting a cursor that frames were dropped under
// back to the oldest frame. Below 0 when more was dropped than held.
int zr_av_fifo_get_framecnt(AVFifo *fifo);

// Frames dropped since creation.
int zr_av_fifo_get_drop(AVFifo *fifo);

// Drops the oldest frame. Does not look whether one is held: the counters advance all
// the same. Always 0.
int zr_av_fifo_drop(AVFifo *fifo);

// Empties the ring from the writer's side; nothing counts as dropped. Always 0.
int zr_av_fifo_write_init(AVFifo *fifo);

// The reader sees no frame until the next write; then it reads the oldest frame held.
// Always 0.
int zr_av_fifo_read_init(AVFifo *fifo);

// Writes positions and counters as six lines to the log. `pUser` names the asker.
void zr_av_fifo_log(AVFifo *fifo, void *pUser);
}
