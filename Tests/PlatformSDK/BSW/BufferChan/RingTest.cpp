// The frame ring: what it takes, gives, drops and refuses.
#include <climits>
#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RingSupport.h"

using testing::Each;

TEST(Ring, StartsEmptyWithAZeroedDataArea) {
    {
        const Ring before = MakeRing(64); // leaves its bytes in memory that may be used again
        WriteFrame(before.get(), Pattern(60, 100));
    }
    const Ring ring = MakeRing(64);
    ASSERT_TRUE(ring);
    EXPECT_EQ(ring->wptr, ring->buffer);
    EXPECT_EQ(ring->rptr, ring->buffer);
    EXPECT_EQ(ring->fptr, nullptr);
    EXPECT_EQ(ring->bufsiz, 64);
    EXPECT_EQ(ring->bufend, ring->buffer + 64);
    EXPECT_EQ(ring->rcnt + ring->cur + ring->wcnt + ring->dropCnt + ring->dropAllCnt, 0u);
    EXPECT_THAT(Bytes(ring->buffer, ring->bufend), Each(0));
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
}

TEST(Ring, DestroyAcceptsNull) {
    EXPECT_EQ(zr_av_fifo_destroy(nullptr), 0);
}

TEST(Ring, NegativeSizeCannotBeAllocated) {
    EXPECT_EQ(zr_av_fifo_create(-1), nullptr);
    EXPECT_EQ(zr_av_fifo_create(INT_MIN), nullptr);
}

TEST(Ring, WithoutDataAreaRefusesWritesAndSurvivesEverythingElse) {
    const Ring ring = MakeRing(0);
    ASSERT_TRUE(ring);
    EXPECT_EQ(WriteFrame(ring.get(), {}), -1);
    EXPECT_EQ(ReadPieces(ring.get(), 4, 4).ret, 0);
    EXPECT_EQ(zr_av_fifo_drop(ring.get()), 0);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), -1);
    StdoutCapture quiet;
    EXPECT_EQ(ReadPieces(ring.get(), 4, 4).ret, 0);
    EXPECT_EQ(ring->rptr, ring->buffer);
}

TEST(Ring, FrameInTheDataAreaIsALengthAndThePayload) {
    const Ring ring = MakeRing(64);
    EXPECT_EQ(WriteFrame(ring.get(), Pattern(5, 10)), 5);
    const UINT32 size = 5;
    EXPECT_EQ(memcmp(ring->buffer, &size, 4), 0);
    EXPECT_EQ(Bytes(ring->buffer + 4, ring->buffer + 9), Pattern(5, 10));
    EXPECT_EQ(ring->wptr, ring->buffer + 9);
    EXPECT_EQ(ring->wcnt, 1u);
}

TEST(Ring, GathersAndScattersTheEntriesInOrder) {
    const Ring ring = MakeRing(64);
    Bytes a = Pattern(2, 1), b = Pattern(7, 100), c = Pattern(3, 200);
    const struct iovec iov[4] = {{a.data(), 2}, {b.data(), 7}, {nullptr, 0}, {c.data(), 3}};
    EXPECT_EQ(zr_av_fifo_writev(ring.get(), iov, 4), 12);

    const ReadResult result = ReadPieces(ring.get(), 2, 10);
    EXPECT_EQ(result.ret, 12);
    EXPECT_EQ(result.first, a);
    b.insert(b.end(), c.begin(), c.end());
    EXPECT_EQ(result.second, b);
    EXPECT_EQ(ReadPieces(ring.get(), 2, 10).ret, 0);
}

TEST(Ring, TakesAFrameOfItsSizeLessTheHeaderAndNotOneByteMore) {
    const Ring ring = MakeRing(64);
    EXPECT_EQ(WriteFrame(ring.get(), Pattern(61, 0)), -1);
    EXPECT_EQ(ring->wcnt, 0u);
    EXPECT_EQ(WriteFrame(ring.get(), Pattern(60, 0)), 60);
    EXPECT_EQ(ring->wptr, ring->rptr);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 1);
    EXPECT_EQ(ReadFrame(ring.get(), 60), Pattern(60, 0));
}

TEST(Ring, RefusesTotalsThatNoIntHoldsAndChangesNothing) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(8, 0));
    ZR_U8 byte = 0;
    const std::size_t lengths[][2] = {
        {SIZE_MAX, 0},
        {SIZE_MAX, SIZE_MAX},
        {0xFFFFFFFF, 11}, // 32 bits would see 10
        {std::size_t{1} << 32, 4},
        {INT_MAX, 1},
        {std::size_t{INT_MAX} + 1, 0},
        {INT_MAX, 0},
    };
    for (const auto &length : lengths) {
        const struct iovec iov[2] = {{&byte, length[0]}, {&byte, length[1]}};
        EXPECT_EQ(zr_av_fifo_writev(ring.get(), iov, 2), -1) << length[0] << " + " << length[1];
    }
    EXPECT_EQ(zr_av_fifo_write(ring.get(), &byte, 0x80000000u), -1);
    EXPECT_EQ(zr_av_fifo_write(ring.get(), &byte, 0xFFFFFFFFu), -1);
    EXPECT_EQ(ring->wcnt, 1u);
    EXPECT_EQ(ring->dropAllCnt, 0u);
    EXPECT_EQ(ReadFrame(ring.get(), 8), Pattern(8, 0));
}

TEST(Ring, DropsAsManyOfTheOldestFramesAsAWriteNeeds) {
    const Ring ring = MakeRing(64); // three frames of 16 + 4 bytes
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(WriteFrame(ring.get(), Pattern(16, i * 20)), 16);
    EXPECT_EQ(ring->dropCnt, 2u);
    EXPECT_EQ(ring->dropAllCnt, 2u);
    EXPECT_EQ(zr_av_fifo_get_drop(ring.get()), 2);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 3);

    EXPECT_EQ(WriteFrame(ring.get(), Pattern(40, 1)), 40); // 24 bytes free are needed: two more go
    EXPECT_EQ(zr_av_fifo_get_drop(ring.get()), 4);
    EXPECT_EQ(ReadFrame(ring.get(), 16), Pattern(16, 80));
    EXPECT_EQ(ReadFrame(ring.get(), 40), Pattern(40, 1));
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
}

TEST(Ring, AFreeSpaceOfExactlyTheNeedDropsNothing) {
    const Ring ring = MakeRing(60);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(WriteFrame(ring.get(), Pattern(16, i * 20)), 16);
    EXPECT_EQ(ring->wptr, ring->rptr); // reads as empty, although three frames are held
    EXPECT_EQ(ring->dropAllCnt, 0u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ReadFrame(ring.get(), 16), Pattern(16, i * 20));
}

TEST(Ring, HeaderAndPayloadWrapIndependently) {
    for (int offset = 1; offset < 8; ++offset) { // of the header before the end of the data area
        const Ring ring = MakeRing(64);
        WriteFrame(ring.get(), Bytes(static_cast<std::size_t>(64 - offset - 4)));
        ReadFrame(ring.get(), static_cast<std::size_t>(64 - offset - 4));
        ASSERT_EQ(ring->bufend - ring->wptr, offset);

        EXPECT_EQ(WriteFrame(ring.get(), Pattern(20, offset)), 20);
        EXPECT_EQ(ring->wptr, ring->buffer + 24 - offset);
        EXPECT_EQ(ReadFrame(ring.get(), 20), Pattern(20, offset)) << offset;
        EXPECT_EQ(ring->rptr, ring->wptr);
    }
}

TEST(Ring, AHeaderThatStraddlesTheEndIsDroppedCorrectly) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Bytes(58)); // the next header begins two bytes before the end
    ReadFrame(ring.get(), 58);
    WriteFrame(ring.get(), Pattern(20, 1));
    WriteFrame(ring.get(), Pattern(5, 2));
    EXPECT_EQ(zr_av_fifo_drop(ring.get()), 0);
    EXPECT_EQ(ReadFrame(ring.get(), 5), Pattern(5, 2));
}

TEST(Ring, ReadInitHidesEverythingUntilTheNextWriteThenReadsTheOldest) {
    const Ring ring = MakeRing(70); // four frames of 12 + 4 bytes and 6 bytes over
    for (int i = 0; i < 5; ++i)
        WriteFrame(ring.get(), Pattern(12, i * 20));
    EXPECT_EQ(ring->dropCnt, 1u);

    EXPECT_EQ(zr_av_fifo_read_init(ring.get()), 0);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
    EXPECT_EQ(ReadPieces(ring.get(), 1, 11).ret, 0);

    WriteFrame(ring.get(), Pattern(1, 0));
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 1);
    EXPECT_EQ(ring->dropCnt, 1u);
    EXPECT_EQ(ReadFrame(ring.get(), 12), Pattern(12, 20));
    EXPECT_EQ(ring->dropCnt, 0u);
    EXPECT_EQ(ring->dropAllCnt, 1u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 4);
}

TEST(Ring, AWriteThatDropsAfterReadInitShowsEveryFrameHeld) {
    const Ring ring = MakeRing(70);
    for (int i = 0; i < 4; ++i)
        WriteFrame(ring.get(), Pattern(12, i * 20));
    zr_av_fifo_read_init(ring.get());
    WriteFrame(ring.get(), Pattern(12, 80));
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 4);
    EXPECT_EQ(ReadFrame(ring.get(), 12), Pattern(12, 20));
    EXPECT_EQ(ring->dropCnt, 1u); // the drop had set the cursor
}

TEST(Ring, WriteInitDiscardsWithoutCountingDrops) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(8, 0));
    ReadFrame(ring.get(), 8);
    WriteFrame(ring.get(), Pattern(8, 50));
    EXPECT_EQ(zr_av_fifo_write_init(ring.get()), 0);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
    EXPECT_EQ(ring->wcnt, 1u);
    EXPECT_EQ(ring->wptr, ring->rptr);
    EXPECT_EQ(ring->dropAllCnt, 0u);
    WriteFrame(ring.get(), Pattern(9, 90));
    EXPECT_EQ(ReadFrame(ring.get(), 9), Pattern(9, 90));
}

TEST(Ring, FrameCountPutsAnInvalidCursorBack) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(8, 0));
    WriteFrame(ring.get(), Pattern(8, 50));
    zr_av_fifo_read_init(ring.get());
    zr_av_fifo_write_init(ring.get()); // the cursor is now ahead of the frames written
    EXPECT_EQ(ring->cur, 2u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
    EXPECT_EQ(ring->cur, ring->rcnt);
    EXPECT_EQ(ring->fptr, ring->rptr);
}

TEST(Ring, TheFirstReadSetsTheCursorUnlessADropHas) {
    const Ring ring = MakeRing(64);
    WriteFrame(ring.get(), Pattern(8, 0));
    ring->dropCnt = 7;
    ReadFrame(ring.get(), 8);
    EXPECT_EQ(ring->dropCnt, 0u);

    const Ring dropped = MakeRing(64);
    WriteFrame(dropped.get(), Pattern(8, 0));
    WriteFrame(dropped.get(), Pattern(8, 50));
    zr_av_fifo_drop(dropped.get());
    EXPECT_EQ(ReadFrame(dropped.get(), 8), Pattern(8, 50));
    EXPECT_EQ(dropped->dropCnt, 1u);
}

TEST(Ring, DroppingFromAnEmptyRingStillCounts) {
    const Ring ring = MakeRing(64);
    EXPECT_EQ(zr_av_fifo_drop(ring.get()), 0);
    EXPECT_EQ(ring->rptr, ring->buffer + 4); // a zeroed header: an empty frame
    EXPECT_EQ(ring->rcnt, 1u);
    EXPECT_EQ(ring->dropAllCnt, 1u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), -1); // more dropped than held
    WriteFrame(ring.get(), Pattern(8, 0));              // by the positions 4 bytes are free: drops two more
    EXPECT_EQ(ring->dropAllCnt, 3u);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), -2);
}

TEST(Ring, AFrameOfNoBytesReadsAsNoneAndIsConsumed) {
    const Ring ring = MakeRing(64);
    StdoutCapture out;
    EXPECT_EQ(zr_av_fifo_writev(ring.get(), nullptr, 0), 0);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 1);
    EXPECT_EQ(ReadPieces(ring.get(), 4, 4).ret, 0);
    EXPECT_EQ(zr_av_fifo_get_framecnt(ring.get()), 0);
    EXPECT_EQ(ring->rcnt, 1u);
    EXPECT_EQ(out.Text(), "left:-4 great than iov[1].iov_len:4\n");
}
