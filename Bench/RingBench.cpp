// What a stream buffer record costs on its way through the frame ring, beside two plain
// copies of the same bytes: the ring copies them in and out, so that is its floor.
// Both walk over 102400 bytes, as the service's ring does.
#include <cstring>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "BSW/BufferChan/ZRBufChan.h"

namespace {

constexpr int RING_BYTES = 102400;
constexpr std::size_t LENGTH_BYTES = 2;
constexpr std::size_t PAYLOAD_BYTES = 1536;
constexpr std::size_t RECORD_BYTES = LENGTH_BYTES + PAYLOAD_BYTES;

// A record as the bridges write and read it: a gather list of two entries.
struct Record {
    std::vector<unsigned char> bytes = std::vector<unsigned char>(RECORD_BYTES, 0x5A);
    struct iovec pieces[2] = {{bytes.data(), LENGTH_BYTES}, {bytes.data() + LENGTH_BYTES, PAYLOAD_BYTES}};
};

void TwoPlainCopies(benchmark::State &state) {
    Record in, out;
    std::vector<unsigned char> area(RING_BYTES);
    std::size_t at = 0;
    for (auto _ : state) {
        std::memcpy(area.data() + at, in.bytes.data(), RECORD_BYTES);
        benchmark::ClobberMemory();
        std::memcpy(out.bytes.data(), area.data() + at, RECORD_BYTES);
        benchmark::ClobberMemory();
        at = at + 2 * RECORD_BYTES < RING_BYTES ? at + RECORD_BYTES : 0;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(RECORD_BYTES));
}
BENCHMARK(TwoPlainCopies);

void RingWriteAndRead(benchmark::State &state) {
    Record in, out;
    const std::unique_ptr<AVFifo, int (*)(AVFifo *)> ring(zr_av_fifo_create(RING_BYTES), zr_av_fifo_destroy);
    for (auto _ : state) {
        zr_av_fifo_writev(ring.get(), in.pieces, 2);
        benchmark::ClobberMemory();
        if (zr_av_fifo_readv(ring.get(), out.pieces, 2) != static_cast<int>(RECORD_BYTES))
            state.SkipWithError("a record was not read back");
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(RECORD_BYTES));
}
BENCHMARK(RingWriteAndRead);

// With the lock and the wake-up of the channel around it.
void ChannelWriteAndRead(benchmark::State &state) {
    Record in, out;
    zr_bufchan_mkfifo("bench", RING_BYTES);
    void *writer = zr_bufchan_open("bench", ZR_BUFCHAN_WR);
    void *reader = zr_bufchan_open("bench", ZR_BUFCHAN_RD);
    for (auto _ : state) {
        zr_bufchan_writev(writer, in.pieces, 2);
        benchmark::ClobberMemory();
        if (zr_bufchan_readv(reader, out.pieces, 2, 0) != static_cast<int>(RECORD_BYTES))
            state.SkipWithError("a record was not read back");
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(RECORD_BYTES));
    zr_bufchan_close(reader);
    zr_bufchan_close(writer);
    zr_bufchan_unlink("bench");
}
BENCHMARK(ChannelWriteAndRead);

} // namespace
