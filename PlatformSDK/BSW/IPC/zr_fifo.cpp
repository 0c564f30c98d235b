// The byte FIFO. Runs on the thread of its owner.
#include "BSW/IPC/zr_fifo.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

std::int64_t Capacity(const zr_fifo_t *f) {
    return f->end - f->buffer;
}

// The position `step` bytes on from `position`, wrapped into the storage.
unsigned char *Advance(const zr_fifo_t *f, unsigned char *position, std::int64_t step) {
    const std::int64_t capacity = Capacity(f);
    if (capacity == 0)
        return f->buffer;
    const std::int64_t offset = (position - f->buffer + step) % capacity;
    return f->buffer + (offset < 0 ? offset + capacity : offset);
}

// Length of the piece at `position` up to the end of the storage, at most `wanted`.
int PieceLength(const zr_fifo_t *f, const unsigned char *position, int wanted) {
    return static_cast<int>(std::min<std::int64_t>(wanted, f->end - position));
}

// Hands one piece to `func`, or copies it to `dest`; where the next piece goes.
unsigned char *Deliver(unsigned char *dest, unsigned char *piece, int len, zr_fifo_sink_t func) {
    if (func) {
        func(dest, piece, len);
        return dest;
    }
    std::memcpy(dest, piece, static_cast<std::size_t>(len));
    return dest + len;
}

} // namespace

zr_fifo_t *zr_fifo_alloc(unsigned size) {
    auto *buffer = static_cast<unsigned char *>(std::malloc(std::max(size, 1U)));
    if (!buffer)
        return nullptr;
    auto *f = static_cast<zr_fifo_t *>(std::malloc(sizeof(zr_fifo_t)));
    if (!f) {
        std::free(buffer);
        return nullptr;
    }
    f->buffer = buffer;
    f->end = buffer + size;
    zr_fifo_reset(f);
    return f;
}

zr_fifo_t *zr_fifo_alloc_array(int nmemb, int size) {
    return zr_fifo_alloc(static_cast<unsigned>(nmemb) * static_cast<unsigned>(size));
}

void zr_fifo_free(zr_fifo_t *f) {
    if (!f)
        return;
    std::free(f->buffer);
    std::free(f);
}

void zr_fifo_freep(zr_fifo_t **f) {
    zr_fifo_free(*f);
    *f = nullptr;
}

void zr_fifo_reset(zr_fifo_t *f) {
    f->rptr = f->wptr = f->buffer;
    f->rndx = f->wndx = 0;
}

int zr_fifo_size(const zr_fifo_t *f) {
    return static_cast<int>(static_cast<std::uint32_t>(f->wndx - f->rndx));
}

int zr_fifo_space(const zr_fifo_t *f) {
    return static_cast<int>(Capacity(f) - zr_fifo_size(f));
}

int zr_fifo_realloc2(zr_fifo_t *f, unsigned new_size) {
    if (Capacity(f) >= new_size)
        return 0;
    zr_fifo_t *fresh = zr_fifo_alloc(new_size);
    if (!fresh)
        return ENOMEM;
    // An overwritten FIFO claims more, an overdrawn one less than it holds.
    const auto held = static_cast<int>(std::clamp<std::int64_t>(zr_fifo_size(f), 0, new_size));
    zr_fifo_generic_read(f, fresh->buffer, held, nullptr);
    fresh->wptr = Advance(fresh, fresh->wptr, held);
    fresh->wndx = static_cast<std::uint64_t>(held);
    std::free(f->buffer);
    *f = *fresh;
    std::free(fresh);
    return 0;
}

int zr_fifo_grow(zr_fifo_t *f, unsigned size) {
    const unsigned needed = size + static_cast<unsigned>(zr_fifo_size(f));
    if (needed < size)
        return EINVAL;
    if (Capacity(f) >= needed)
        return 0;
    return zr_fifo_realloc2(f, std::max(needed, 2 * needed));
}

int zr_fifo_generic_write(zr_fifo_t *f, void *src, int size, zr_fifo_source_t func) {
    if (Capacity(f) == 0 || size < 0)
        return 0;
    auto *from = static_cast<unsigned char *>(src);
    unsigned char *wptr = f->wptr;
    std::uint64_t wndx = f->wndx;
    int remaining = size;
    // A write of no bytes still asks the callback once.
    do {
        int len = PieceLength(f, wptr, remaining);
        if (func) {
            len = std::min(func(src, wptr, len), len);
            if (len <= 0)
                break;
        } else if (len > 0) {
            std::memcpy(wptr, from, static_cast<std::size_t>(len));
            from += len;
        }
        wptr = Advance(f, wptr, len);
        wndx += static_cast<std::uint64_t>(len);
        remaining -= len;
    } while (remaining > 0);
    f->wptr = wptr;
    f->wndx = wndx;
    return size - remaining;
}

int zr_fifo_generic_peek(zr_fifo_t *f, void *dest, int buf_size, zr_fifo_sink_t func) {
    return zr_fifo_generic_peek_at(f, dest, 0, buf_size, func);
}

int zr_fifo_generic_peek_at(zr_fifo_t *f, void *dest, int offset, int buf_size, zr_fifo_sink_t func) {
    if (Capacity(f) == 0)
        return 0;
    auto *to = static_cast<unsigned char *>(dest);
    unsigned char *rptr = Advance(f, f->rptr, offset);
    while (buf_size > 0) {
        const int len = PieceLength(f, rptr, buf_size);
        to = Deliver(to, rptr, len, func);
        rptr = Advance(f, rptr, len);
        buf_size -= len;
    }
    return 0;
}

int zr_fifo_generic_read(zr_fifo_t *f, void *dest, int buf_size, zr_fifo_sink_t func) {
    if (Capacity(f) == 0)
        return 0;
    auto *to = static_cast<unsigned char *>(dest);
    while (buf_size > 0) {
        const int len = PieceLength(f, f->rptr, buf_size);
        to = Deliver(to, f->rptr, len, func);
        zr_fifo_drain(f, len);
        buf_size -= len;
    }
    return 0;
}

void zr_fifo_drain(zr_fifo_t *f, int size) {
    f->rptr = Advance(f, f->rptr, size);
    f->rndx += static_cast<std::uint64_t>(static_cast<std::int64_t>(size));
}
