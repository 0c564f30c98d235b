// What the tests of the frame ring share: an owned ring, byte pieces, and what was
// printed to standard output.
#pragma once

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "BSW/BufferChan/ZR_AV_FIFO.h"
#include "Support/ScratchDir.h"

using Bytes = std::vector<ZR_U8>;

struct RingDeleter {
    void operator()(AVFifo *fifo) const { zr_av_fifo_destroy(fifo); }
};
using Ring = std::unique_ptr<AVFifo, RingDeleter>;

inline Ring MakeRing(int size) {
    return Ring(zr_av_fifo_create(size));
}

// `size` bytes that count up from `first`.
inline Bytes Pattern(std::size_t size, int first) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<ZR_U8>(first + static_cast<int>(i));
    return bytes;
}

inline int WriteFrame(AVFifo *fifo, const Bytes &bytes) {
    return zr_av_fifo_write(fifo, bytes.data(), static_cast<UINT32>(bytes.size()));
}

struct ReadResult {
    int ret = 0;
    Bytes first; // the whole area, 0xEE where nothing was written
    Bytes second;
};

// Reads into two areas of exactly these sizes, so that a write past either is seen.
inline ReadResult ReadPieces(AVFifo *fifo, std::size_t first, std::size_t second) {
    ReadResult result{0, Bytes(first, 0xEE), Bytes(second, 0xEE)};
    const struct iovec iov[2] = {{result.first.data(), first}, {result.second.data(), second}};
    result.ret = zr_av_fifo_readv(fifo, iov, 2);
    return result;
}

// The next frame of `size` bytes, split in 1 byte and the rest; empty when another came.
inline Bytes ReadFrame(AVFifo *fifo, std::size_t size) {
    const ReadResult result = ReadPieces(fifo, 1, size - 1);
    if (result.ret != static_cast<int>(size))
        return {};
    Bytes bytes = result.first;
    bytes.insert(bytes.end(), result.second.begin(), result.second.end());
    return bytes;
}

// Standard output goes to a file of the scratch directory until the text is asked for.
// The reports of a failed test are among it and are shown then.
class StdoutCapture {
  public:
    StdoutCapture() {
        fflush(stdout);
        m_saved = dup(STDOUT_FILENO);
        const int fd = open("stdout.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(fd, STDOUT_FILENO);
        close(fd);
    }
    ~StdoutCapture() { Text(); }

    StdoutCapture(const StdoutCapture &) = delete;
    StdoutCapture &operator=(const StdoutCapture &) = delete;

    std::string Text() {
        if (m_saved < 0)
            return m_text;
        fflush(stdout);
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
        m_saved = -1;
        m_text = ReadWholeFile(m_directory.Path() + "/stdout.txt");
        if (testing::Test::HasFailure())
            fwrite(m_text.data(), 1, m_text.size(), stdout);
        return m_text;
    }

  private:
    ScratchDir m_directory;
    int m_saved = -1;
    std::string m_text;
};
