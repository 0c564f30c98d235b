// The byte FIFO: stated results, and bounds outside of the contract.
#include <gtest/gtest.h>

#include "FailingCalls.h"
#include "FifoSupport.h"

namespace {

int Put(const Fifo &f, std::string text) {
    return zr_fifo_generic_write(f.get(), text.data(), static_cast<int>(text.size()), nullptr);
}

std::string Take(const Fifo &f, int size) {
    std::string text(static_cast<std::size_t>(size), '?');
    EXPECT_EQ(zr_fifo_generic_read(f.get(), text.data(), size, nullptr), 0);
    return text;
}

std::string Peek(const Fifo &f, int offset, int size) {
    std::string text(static_cast<std::size_t>(size), '?');
    EXPECT_EQ(zr_fifo_generic_peek_at(f.get(), text.data(), offset, size, nullptr), 0);
    return text;
}

void ExpectInside(const Fifo &f) {
    for (const unsigned char *position : {f->rptr, f->wptr}) {
        EXPECT_GE(position, f->buffer);
        EXPECT_LT(position, f->end);
    }
}

} // namespace

TEST(ZrFifo, StartsEmpty) {
    const Fifo f = Make(8);
    EXPECT_EQ(Capacity(f), 8);
    EXPECT_EQ(f->rptr, f->buffer);
    EXPECT_EQ(f->wptr, f->buffer);
    EXPECT_EQ(f->rndx, 0U);
    EXPECT_EQ(f->wndx, 0U);
    EXPECT_EQ(zr_fifo_size(f.get()), 0);
    EXPECT_EQ(zr_fifo_space(f.get()), 8);
}

TEST(ZrFifo, FullAndEmptyDifferOnlyInTheCounters) {
    const Fifo f = Make(4);
    EXPECT_EQ(Put(f, "abcd"), 4);
    EXPECT_EQ(f->rptr, f->wptr);
    EXPECT_EQ(zr_fifo_size(f.get()), 4);
    EXPECT_EQ(zr_fifo_space(f.get()), 0);
    EXPECT_EQ(Take(f, 4), "abcd");
    EXPECT_EQ(f->rptr, f->wptr);
    EXPECT_EQ(zr_fifo_size(f.get()), 0);
    EXPECT_EQ(f->rndx, 4U);
    EXPECT_EQ(f->wndx, 4U);
}

TEST(ZrFifo, WrapsInTwoPieces) {
    const Fifo f = Make(8);
    Put(f, "012345");
    EXPECT_EQ(Take(f, 5), "01234");
    Stream source{.text = "abcdefg"};
    EXPECT_EQ(zr_fifo_generic_write(f.get(), &source, 7, Stream::Source), 7);
    EXPECT_EQ(source.pieces, (std::vector<int>{2, 5}));
    Stream sink;
    EXPECT_EQ(zr_fifo_generic_read(f.get(), &sink, 8, Stream::Sink), 0);
    EXPECT_EQ(sink.text, "5abcdefg");
    EXPECT_EQ(sink.pieces, (std::vector<int>{3, 5}));
}

TEST(ZrFifo, SourceThatStopsEndsTheWrite) {
    for (const int result : {0, -7}) {
        const Fifo f = Make(8);
        Stream source{.text = "abc"};
        source.boast = 0;
        EXPECT_EQ(zr_fifo_generic_write(f.get(), &source, 8, Stream::Source), 3);
        EXPECT_EQ(source.pieces, (std::vector<int>{8, 5}));
        source.boast = result;
        EXPECT_EQ(zr_fifo_generic_write(f.get(), &source, 4, Stream::Source), 0);
        EXPECT_EQ(zr_fifo_size(f.get()), 3);
        EXPECT_EQ(f->wndx, 3U);
        EXPECT_EQ(Take(f, 3), "abc");
    }
}

TEST(ZrFifo, SourceThatClaimsTooMuchStaysInside) {
    const Fifo f = Make(8);
    Stream source{.text = "abcdefghijklmnop"};
    source.boast = 100;
    EXPECT_EQ(zr_fifo_generic_write(f.get(), &source, 12, Stream::Source), 12);
    ExpectInside(f);
    EXPECT_EQ(zr_fifo_size(f.get()), 12);
}

TEST(ZrFifo, WriteOfNothingAsksTheSourceOnce) {
    const Fifo f = Make(8);
    Stream source{.text = "abc"};
    EXPECT_EQ(zr_fifo_generic_write(f.get(), &source, 0, Stream::Source), 0);
    EXPECT_EQ(source.pieces, (std::vector<int>{0}));
    EXPECT_EQ(zr_fifo_generic_write(f.get(), nullptr, 0, nullptr), 0);
    EXPECT_EQ(f->wndx, 0U);
}

TEST(ZrFifo, ReadOfNothingAsksNobody) {
    const Fifo f = Make(8);
    Stream sink;
    EXPECT_EQ(zr_fifo_generic_read(f.get(), &sink, 0, Stream::Sink), 0);
    EXPECT_EQ(zr_fifo_generic_peek(f.get(), &sink, 0, Stream::Sink), 0);
    EXPECT_TRUE(sink.pieces.empty());
}

TEST(ZrFifo, WriteBeyondTheSpaceOverwritesUnreadBytes) {
    const Fifo f = Make(4);
    Put(f, "abc");
    EXPECT_EQ(Put(f, "12345"), 5);
    ExpectInside(f);
    EXPECT_EQ(zr_fifo_size(f.get()), 8);
    EXPECT_EQ(zr_fifo_space(f.get()), -4);
    EXPECT_EQ(Peek(f, 0, 4), "2345");
}

TEST(ZrFifo, ReadBeyondTheFillLevelTurnsTheSizeNegative) {
    const Fifo f = Make(4);
    Put(f, "ab");
    EXPECT_EQ(Take(f, 2), "ab");
    Put(f, "cd");
    EXPECT_EQ(Take(f, 5), "cdabc");
    ExpectInside(f);
    EXPECT_EQ(zr_fifo_size(f.get()), -3);
    EXPECT_EQ(zr_fifo_space(f.get()), 7);
}

TEST(ZrFifo, PeekLeavesEverything) {
    const Fifo f = Make(8);
    Put(f, "012345");
    Take(f, 5);
    Put(f, "abcdef");
    std::string all(7, '?');
    EXPECT_EQ(zr_fifo_generic_peek(f.get(), all.data(), 7, nullptr), 0);
    EXPECT_EQ(all, "5abcdef");
    EXPECT_EQ(Peek(f, 1, 3), "abc");
    EXPECT_EQ(Peek(f, 3, 4), "cdef"); // starts exactly at the end of the storage
    EXPECT_EQ(Peek(f, 5, 2), "ef");   // starts past it
    Stream sink;
    zr_fifo_generic_peek_at(f.get(), &sink, 1, 6, Stream::Sink);
    EXPECT_EQ(sink.text, "abcdef");
    EXPECT_EQ(sink.pieces, (std::vector<int>{2, 4}));
    EXPECT_EQ(zr_fifo_size(f.get()), 7);
    EXPECT_EQ(f->rndx, 5U);
}

TEST(ZrFifo, DrainConsumesWithoutCopying) {
    const Fifo f = Make(8);
    Put(f, "01234567");
    zr_fifo_drain(f.get(), 3);
    EXPECT_EQ(f->rptr, f->buffer + 3);
    EXPECT_EQ(f->rndx, 3U);
    zr_fifo_drain(f.get(), 5);
    EXPECT_EQ(f->rptr, f->buffer);
    EXPECT_EQ(zr_fifo_size(f.get()), 0);
}

TEST(ZrFifo, PositionsStayInsideForAnyDrainOrOffset) {
    const Fifo f = Make(8);
    Put(f, "01234567");
    for (const int size : {8, 9, 16, 17, 1000003, -1, -9, 0x7fffffff}) {
        zr_fifo_drain(f.get(), size);
        ExpectInside(f);
        Peek(f, size, 20);
    }
}

TEST(ZrFifo, ResetForgetsTheContent) {
    const Fifo f = Make(8);
    Put(f, "012345");
    Take(f, 2);
    zr_fifo_reset(f.get());
    EXPECT_EQ(f->rptr, f->buffer);
    EXPECT_EQ(f->wptr, f->buffer);
    EXPECT_EQ(f->rndx + f->wndx, 0U);
}

TEST(ZrFifo, ArrayMultipliesIn32Bits) {
    EXPECT_EQ(Capacity(Fifo(zr_fifo_alloc_array(3, 5))), 15);
    const Fifo wrapped(zr_fifo_alloc_array(65536, 65537));
    ASSERT_TRUE(wrapped);
    EXPECT_EQ(Capacity(wrapped), 65536);
    EXPECT_EQ(zr_fifo_space(wrapped.get()), 65536);
}

TEST(ZrFifo, FreepClearsThePointer) {
    zr_fifo_t *f = zr_fifo_alloc(4);
    zr_fifo_freep(&f);
    EXPECT_EQ(f, nullptr);
    zr_fifo_freep(&f);
    zr_fifo_free(nullptr);
}

TEST(ZrFifo, FifoOfNoBytesTakesAndGivesNothingUntilItGrows) {
    const Fifo f = Make(0);
    ASSERT_TRUE(f);
    EXPECT_EQ(zr_fifo_space(f.get()), 0);
    EXPECT_EQ(Put(f, "abc"), 0);
    EXPECT_EQ(Take(f, 2), "??");
    EXPECT_EQ(Peek(f, 1, 2), "??");
    zr_fifo_drain(f.get(), 0);
    EXPECT_EQ(zr_fifo_size(f.get()), 0);
    EXPECT_EQ(zr_fifo_grow(f.get(), 3), 0);
    EXPECT_EQ(Capacity(f), 6);
    EXPECT_EQ(Put(f, "abc"), 3);
    EXPECT_EQ(Take(f, 3), "abc");
}

TEST(ZrFifo, NegativeSizesDoNothing) {
    const Fifo f = Make(4);
    char byte = 'x';
    EXPECT_EQ(zr_fifo_generic_write(f.get(), &byte, -3, nullptr), 0);
    EXPECT_EQ(zr_fifo_generic_read(f.get(), &byte, -3, nullptr), 0);
    EXPECT_EQ(zr_fifo_generic_peek(f.get(), &byte, -3, nullptr), 0);
    EXPECT_EQ(zr_fifo_size(f.get()), 0);
    EXPECT_EQ(byte, 'x');
}

TEST(ZrFifo, GrowDoublesTheSumAndKeepsTheOrder) {
    const Fifo f = Make(8);
    Put(f, "xxx01234");
    Take(f, 3);
    Put(f, "567");
    EXPECT_EQ(zr_fifo_grow(f.get(), 1), 0);
    EXPECT_EQ(Capacity(f), 18);
    EXPECT_EQ(f->rndx, 0U);
    EXPECT_EQ(f->wndx, 8U);
    EXPECT_EQ(f->wptr, f->buffer + 8);
    EXPECT_EQ(Put(f, "89abcdefgh"), 10);
    EXPECT_EQ(Take(f, 18), "0123456789abcdefgh");
}

TEST(ZrFifo, GrowLeavesAStorageThatIsLargeEnough) {
    const Fifo f = Make(8);
    Put(f, "abc");
    Take(f, 1);
    EXPECT_EQ(zr_fifo_grow(f.get(), 6), 0);
    EXPECT_EQ(Capacity(f), 8);
    EXPECT_EQ(f->rndx, 1U);
    EXPECT_EQ(zr_fifo_grow(f.get(), 7), 0);
    EXPECT_EQ(Capacity(f), 18);
}

TEST(ZrFifo, GrowRefusesASumBeyond32Bits) {
    const Fifo f = Make(8);
    Put(f, "a");
    EXPECT_EQ(zr_fifo_grow(f.get(), 0xffffffffU), 22);
    EXPECT_EQ(Capacity(f), 8);
    EXPECT_EQ(zr_fifo_size(f.get()), 1);
}

TEST(ZrFifo, ReallocNeverShrinks) {
    const Fifo f = Make(8);
    Put(f, "abc");
    Take(f, 1);
    for (const unsigned size : {0U, 4U, 8U}) {
        EXPECT_EQ(zr_fifo_realloc2(f.get(), size), 0);
        EXPECT_EQ(Capacity(f), 8);
        EXPECT_EQ(f->rndx, 1U);
    }
    EXPECT_EQ(zr_fifo_realloc2(f.get(), 9), 0);
    EXPECT_EQ(Capacity(f), 9);
    EXPECT_EQ(f->rndx, 0U);
    EXPECT_EQ(f->wndx, 2U);
    EXPECT_EQ(Take(f, 2), "bc");
}

TEST(ZrFifo, ReallocOfAnOverwrittenOrOverdrawnFifoStaysInside) {
    const Fifo overwritten = Make(4);
    Put(overwritten, "0123456789");
    EXPECT_EQ(zr_fifo_realloc2(overwritten.get(), 5), 0);
    ExpectInside(overwritten);
    EXPECT_EQ(zr_fifo_size(overwritten.get()), 5);
    const Fifo overdrawn = Make(4);
    Take(overdrawn, 3);
    EXPECT_EQ(zr_fifo_realloc2(overdrawn.get(), 5), 0);
    ExpectInside(overdrawn);
    EXPECT_EQ(zr_fifo_size(overdrawn.get()), 0);
}

TEST(ZrFifo, ReportsNoMemory) {
    const Fifo f = Make(8);
    Put(f, "abcd");
    Take(f, 1);
    for (const int nth : {1, 2}) { // the storage, then the record
        FailingCall noMemory(SystemCall::Malloc, nth);
        EXPECT_EQ(zr_fifo_alloc(8), nullptr);
    }
    for (const int nth : {1, 2}) {
        FailingCall noMemory(SystemCall::Malloc, nth);
        EXPECT_EQ(zr_fifo_realloc2(f.get(), 100), 12);
    }
    FailingCall noMemory(SystemCall::Malloc);
    EXPECT_EQ(zr_fifo_grow(f.get(), 100), 12);
    EXPECT_EQ(Capacity(f), 8);
    EXPECT_EQ(f->rndx, 1U);
    EXPECT_EQ(Take(f, 3), "bcd");
}
