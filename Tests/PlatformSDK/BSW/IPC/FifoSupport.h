// What the tests of the byte FIFO share.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "BSW/IPC/zr_fifo.h"

struct FreeFifo {
    void operator()(zr_fifo_t *f) const { zr_fifo_free(f); }
};
using Fifo = std::unique_ptr<zr_fifo_t, FreeFifo>;

inline Fifo Make(unsigned size) {
    return Fifo(zr_fifo_alloc(size));
}

inline long Capacity(const Fifo &f) {
    return f->end - f->buffer;
}

// A source and a destination that keep their own place and remember each piece.
struct Stream {
    std::string text;
    std::size_t place = 0;
    int stopAfter = 1 << 30; // bytes until the source runs dry
    int boast = 0;           // reported on top of what was delivered
    std::vector<int> pieces = {};

    static int Source(void *self, void *dst, int len) {
        auto *stream = static_cast<Stream *>(self);
        stream->pieces.push_back(len);
        len = std::min({len, stream->stopAfter, static_cast<int>(stream->text.size() - stream->place)});
        stream->text.copy(static_cast<char *>(dst), static_cast<std::size_t>(len), stream->place);
        stream->place += static_cast<std::size_t>(len);
        stream->stopAfter -= len;
        return len + stream->boast;
    }
    static void Sink(void *self, void *src, int len) {
        auto *stream = static_cast<Stream *>(self);
        stream->pieces.push_back(len);
        stream->text.append(static_cast<char *>(src), static_cast<std::size_t>(len));
    }
};
