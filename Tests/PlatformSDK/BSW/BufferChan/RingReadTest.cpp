// How a read fills its two entries, and when it says something on standard output.
#include <gtest/gtest.h>

#include "RingSupport.h"

namespace {

const Bytes UNTOUCHED_4(4, 0xEE);

} // namespace

TEST(RingRead, IsQuietWhenTheRemainderFitsTheSecondEntry) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 0));
    WriteFrame(ring.get(), Pattern(10, 50));
    StdoutCapture out;
    EXPECT_EQ(ReadPieces(ring.get(), 2, 8).second, Pattern(8, 2));
    EXPECT_EQ(ReadPieces(ring.get(), 9, 30).second[0], 59);
    EXPECT_EQ(out.Text(), "");
}

TEST(RingRead, SaysSoWhenTheWholeFrameFittedTheFirstEntry) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 0));
    WriteFrame(ring.get(), Pattern(10, 0));
    StdoutCapture out;
    EXPECT_EQ(ReadPieces(ring.get(), 10, 4).second, UNTOUCHED_4);
    EXPECT_EQ(ReadPieces(ring.get(), 16, 4).second, UNTOUCHED_4);
    EXPECT_EQ(out.Text(), "left:0 great than iov[1].iov_len:4\nleft:-6 great than iov[1].iov_len:4\n");
}

TEST(RingRead, LeavesThePositionsInAFrameThatFitsNeitherEntry) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 0));
    StdoutCapture out;
    const ReadResult result = ReadPieces(ring.get(), 2, 4);
    EXPECT_EQ(out.Text(), "left:8 great than iov[1].iov_len:4\n");
    EXPECT_EQ(result.ret, 10);
    EXPECT_EQ(result.first, Pattern(2, 0));
    EXPECT_EQ(result.second, UNTOUCHED_4);
    EXPECT_EQ(ring->rptr, ring->buffer + 4 + 2);
    EXPECT_EQ(ring->fptr, ring->rptr);
    EXPECT_EQ(ring->rcnt, 1u);
}

TEST(RingRead, OfOnePieceReturnsTheSizeAndSaysSo) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 7));
    Bytes area(16, 0xEE);
    StdoutCapture out;
    EXPECT_EQ(zr_av_fifo_read(ring.get(), area.data(), 16), 10);
    EXPECT_EQ(out.Text(), "left:-6 great than iov[1].iov_len:0\n");
    EXPECT_EQ(Bytes(area.begin(), area.begin() + 10), Pattern(10, 7));
    EXPECT_EQ(Bytes(area.begin() + 10, area.end()), Bytes(6, 0xEE));
}

TEST(RingRead, OfOnePieceTooSmallReturnsTheFramesSize) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 7));
    Bytes area(4);
    StdoutCapture out;
    EXPECT_EQ(zr_av_fifo_read(ring.get(), area.data(), 4), 10);
    EXPECT_EQ(out.Text(), "left:6 great than iov[1].iov_len:0\n");
    EXPECT_EQ(area, Pattern(4, 7));
}

TEST(RingRead, OfANegativeSizeTakesNoByte) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(10, 7));
    ZR_U8 byte = 0xEE;
    StdoutCapture out;
    EXPECT_EQ(zr_av_fifo_read(ring.get(), &byte, -1), 10);
    EXPECT_EQ(out.Text(), "left:10 great than iov[1].iov_len:0\n");
    EXPECT_EQ(byte, 0xEE);
}

// Two entries are used whatever the count says.
TEST(RingRead, UsesTwoEntriesForAnyCount) {
    for (const int count : {0, 1, 2, 3, -1}) {
        const Ring ring = MakeRing(64);
        WriteFrame(ring.get(), Pattern(10, 0));
        Bytes first(4), second(6);
        const struct iovec iov[3] = {{first.data(), 4}, {second.data(), 6}, {nullptr, 100}};
        StdoutCapture out;
        EXPECT_EQ(zr_av_fifo_readv(ring.get(), iov, count), 10);
        EXPECT_EQ(out.Text(), "");
        EXPECT_EQ(first, Pattern(4, 0));
        EXPECT_EQ(second, Pattern(6, 4));
    }
}
