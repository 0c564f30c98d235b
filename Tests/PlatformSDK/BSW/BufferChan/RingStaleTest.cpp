// An exactly full ring reads as empty, so later headers may be bytes of old payloads.
// Whatever such a header says: every position stays in the data area, no byte is
// written past an entry, and every call returns.
#include <random>

#include <gtest/gtest.h>

#include "RingSupport.h"

namespace {

// Puts `size` where the next header will be read; the ring holds one frame.
void ForgeHeader(AVFifo *fifo, UINT32 size) {
    WriteFrame(fifo, Pattern(8, 0));
    memcpy(fifo->rptr, &size, sizeof(size));
}

bool IsInside(const AVFifo *fifo, const ZR_U8 *p) {
    return p >= fifo->buffer && p < fifo->bufend;
}

void ExpectInside(const AVFifo *fifo) {
    EXPECT_TRUE(IsInside(fifo, fifo->wptr));
    EXPECT_TRUE(IsInside(fifo, fifo->rptr));
    EXPECT_TRUE(fifo->fptr == nullptr || IsInside(fifo, fifo->fptr));
}

} // namespace

class RingStale : public testing::TestWithParam<UINT32> {};

TEST_P(RingStale, ReadStaysInsideTheRingAndTheEntries) {
    const Ring ring = MakeRing(64);
    ForgeHeader(ring.get(), GetParam());
    StdoutCapture quiet;
    const ReadResult result = ReadPieces(ring.get(), 2, 8);
    EXPECT_EQ(result.ret, static_cast<int>(GetParam()));
    EXPECT_EQ(result.first, Pattern(2, 0));
    EXPECT_EQ(result.second, Bytes(8, 0xEE));
    EXPECT_EQ(ring->rptr, ring->buffer + 6);
}

TEST_P(RingStale, ReadIntoEntriesLargerThanTheRingStaysInside) {
    const Ring ring = MakeRing(64);
    ForgeHeader(ring.get(), GetParam());
    StdoutCapture quiet;
    EXPECT_EQ(ReadPieces(ring.get(), 100, 200).ret, static_cast<int>(GetParam()));
    ExpectInside(ring.get());
}

TEST_P(RingStale, DropStaysInsideTheRing) {
    const Ring ring = MakeRing(64);
    ForgeHeader(ring.get(), GetParam());
    EXPECT_EQ(zr_av_fifo_drop(ring.get()), 0);
    EXPECT_EQ(ring->rptr, ring->buffer + (ZR_U64{GetParam()} + 4) % 64);
    EXPECT_EQ(ring->fptr, ring->rptr);
}

INSTANTIATE_TEST_SUITE_P(Headers, RingStale,
                         testing::Values(60, 61, 63, 64, 65, 128, 1000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFB,
                                         0xFFFFFFFC, 0xFFFFFFFD, 0xFFFFFFFF));

TEST(RingStaleWrite, AfterAnExactFillNothingIsDroppedAndTheOldFramesAreOverwritten) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(60, 0));
    EXPECT_EQ(WriteFrame(ring.get(), Pattern(8, 100)), 8); // the ring reads as empty
    EXPECT_EQ(ring->dropAllCnt, 0u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 2);
    EXPECT_EQ(ReadFrame(ring.get(), 8), Pattern(8, 100));

    StdoutCapture quiet; // the second frame is what stands behind it: old payload
    const UINT32 stale = 8 | 9 << 8 | 10 << 16 | 11 << 24;
    EXPECT_EQ(ReadPieces(ring.get(), 2, 2).ret, static_cast<int>(stale));
    ExpectInside(ring.get());
}

TEST(RingStaleWrite, HeadersThatLeadInACircleDoNotHoldTheWriter) {
    const Ring ring = MakeRing(64);
    Bytes circle(60);
    for (std::size_t i = 0; i < 60; i += 4)
        circle[i] = 60; // as a header: 60 + 4 bytes on is the same position again
    WriteFrame(ring.get(), circle);
    WriteFrame(ring.get(), Pattern(8, 0));
    ReadFrame(ring.get(), 8);
    StdoutCapture quiet;
    EXPECT_EQ(ReadPieces(ring.get(), 16, 0).ret, 60);

    const Bytes frame = Pattern(30, 7);
    EXPECT_EQ(WriteFrame(ring.get(), frame), 30);
    ExpectInside(ring.get());
    EXPECT_EQ(Bytes(ring->rptr + 4, ring->rptr + 34), frame); // the only frame held
}

TEST(RingStaleWrite, AnySequenceOfCallsStaysInside) {
    StdoutCapture quiet;
    for (unsigned seed = 1; seed <= 40 && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](unsigned bound) { return static_cast<unsigned>(random() % bound); };
        const int bufsiz = static_cast<int>(1 + below(100));
        const Ring ring = MakeRing(bufsiz);
        for (int step = 0; step < 2000 && !HasFailure(); ++step) {
            Bytes frame(below(static_cast<unsigned>(bufsiz) + 4));
            for (ZR_U8 &byte : frame)
                byte = static_cast<ZR_U8>(below(3) ? 0 : random());
            switch (below(8)) {
            case 0:
                zr_av_fifo_drop(ring.get());
                break;
            case 1:
                zr_av_fifo_read_init(ring.get());
                break;
            case 2:
                zr_av_fifo_get_framecnt(ring.get());
                break;
            case 3:
                if (below(4) == 0)
                    zr_av_fifo_write_init(ring.get());
                break;
            case 4:
            case 5:
                ReadPieces(ring.get(), below(150), below(150));
                break;
            default:
                WriteFrame(ring.get(), frame);
            }
            ExpectInside(ring.get());
        }
    }
}
