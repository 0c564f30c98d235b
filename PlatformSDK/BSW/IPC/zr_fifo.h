// Circular byte FIFO with a fixed storage and free-running counters.
//
// Single owner: nothing here locks or logs. The storage is never left, whatever the
// caller asks for; but a write past the free space overwrites unread bytes and a read
// past the fill level returns old ones, and the counters then say so (negative space,
// negative size).
#pragma once

#include <cstdint>

typedef struct _zr_fifo {
    unsigned char *buffer; // start of the storage, owned
    unsigned char *rptr;   // next byte to read
    unsigned char *wptr;   // next byte to write
    unsigned char *end;    // one past the storage; capacity is end - buffer
    std::uint64_t rndx;    // bytes ever drained
    std::uint64_t wndx;    // bytes ever written
} zr_fifo_t;

extern "C" {

// Fetches up to `len` bytes of a source into `dst`; keeps its own place in the source.
// Bytes delivered, 0 or less to stop. More than `len` counts as `len`.
typedef int (*zr_fifo_source_t)(void *src, void *dst, int len);

// Takes `len` bytes at `src`; keeps its own place in the destination.
typedef void (*zr_fifo_sink_t)(void *dest, void *src, int len);

// An empty FIFO of `size` bytes, or null when there is no memory.
zr_fifo_t *zr_fifo_alloc(unsigned size);

// The same for nmemb * size bytes. The product is not checked: the capacity is what is
// left of it in 32 bits.
zr_fifo_t *zr_fifo_alloc_array(int nmemb, int size);

// Frees storage and record; null is accepted.
void zr_fifo_free(zr_fifo_t *f);

// Frees `*f` and sets it null.
void zr_fifo_freep(zr_fifo_t **f);

// Forgets the content: both counters 0.
void zr_fifo_reset(zr_fifo_t *f);

// Bytes held.
int zr_fifo_size(const zr_fifo_t *f);

// Bytes free.
int zr_fifo_space(const zr_fifo_t *f);

// Enlarges the storage to `new_size` bytes and keeps the content; never shrinks. After a
// change rndx is 0 and wndx the fill level. 0, or 12 (no memory, nothing changed).
int zr_fifo_realloc2(zr_fifo_t *f, unsigned new_size);

// Makes room for `size` more bytes: a storage that is too small becomes twice what is
// needed. 0, 12 (no memory) or 22 (the sum does not fit in 32 bits).
int zr_fifo_grow(zr_fifo_t *f, unsigned size);

// Appends `size` bytes of `src`, or what `func` fetches from it. The free space is not
// checked. Bytes written: fewer than `size` only when `func` stopped.
int zr_fifo_generic_write(zr_fifo_t *f, void *src, int size, zr_fifo_source_t func);

// Copies `buf_size` bytes to `dest`, or hands them to `func` piece by piece, and keeps
// them. The fill level is not checked. Always 0.
int zr_fifo_generic_peek(zr_fifo_t *f, void *dest, int buf_size, zr_fifo_sink_t func);

// The same from `offset` bytes past the read position.
int zr_fifo_generic_peek_at(zr_fifo_t *f, void *dest, int offset, int buf_size, zr_fifo_sink_t func);

// As zr_fifo_generic_peek, and consumes the bytes. Always 0.
int zr_fifo_generic_read(zr_fifo_t *f, void *dest, int buf_size, zr_fifo_sink_t func);

// Consumes `size` bytes without copying.
void zr_fifo_drain(zr_fifo_t *f, int size);
}
