// The named channels: making, finding and removing them, and every result and refusal.
#include <gtest/gtest.h>

#include "ChannelSupport.h"
#include "RingSupport.h"
#include "Support/LogCapture.h"

TEST(Channel, IsMadeFoundAndRemovedByItsName) {
    EXPECT_EQ(zr_bufchan_open("a", WR), nullptr);
    EXPECT_EQ(zr_bufchan_mkfifo("a", 100), 0);
    EXPECT_EQ(zr_bufchan_mkfifo("b", 100), 0);
    EXPECT_EQ(zr_bufchan_mkfifo("c", 100), 0);
    void *handle = zr_bufchan_open("b", WR);
    EXPECT_NE(handle, nullptr);
    EXPECT_EQ(zr_bufchan_close(handle), 0);
    for (const char *name : {"b", "a", "c"}) { // from the middle, the end and the front of the list
        EXPECT_EQ(zr_bufchan_unlink(name), 0);
        EXPECT_EQ(zr_bufchan_open(name, WR), nullptr);
        EXPECT_EQ(zr_bufchan_unlink(name), -1);
    }
    EXPECT_EQ(zr_bufchan_mkfifo("b", 100), 0);
    EXPECT_EQ(zr_bufchan_unlink("b"), 0);
}

TEST(Channel, RefusesBadNamesAndSizeZero) {
    EXPECT_EQ(zr_bufchan_mkfifo(nullptr, 100), -1);
    EXPECT_EQ(zr_bufchan_mkfifo("", 100), -1);
    EXPECT_EQ(zr_bufchan_mkfifo("a", 0), -1);
    EXPECT_EQ(zr_bufchan_unlink(nullptr), -1);
    EXPECT_EQ(zr_bufchan_unlink(""), -1);
    EXPECT_EQ(zr_bufchan_open(nullptr, RD), nullptr);
    EXPECT_EQ(zr_bufchan_open("", RD), nullptr);
    EXPECT_EQ(zr_bufchan_open("a", RD), nullptr);
    EXPECT_EQ(zr_bufchan_close(nullptr), -1);
}

TEST(Channel, ASecondOneOfANameIsRefusedAndLeavesTheFirst) {
    const Channel channel("a", 100);
    const Handle writer("a", WR), reader("a", RD);
    WriteText(writer, "kept");
    EXPECT_EQ(zr_bufchan_mkfifo("a", 5000), -1);
    EXPECT_EQ(ReadText(reader, 0), "kept");
    EXPECT_EQ(zr_bufchan_write(writer, Bytes(97).data(), 97), -1); // still 100 bytes
}

TEST(Channel, NamesAreComparedOver128Bytes) {
    const std::string base(128, 'n');
    const Channel channel(base + "first");
    ASSERT_TRUE(channel.Made());
    EXPECT_EQ(zr_bufchan_mkfifo((base + "second").c_str(), 100), -1);
    EXPECT_EQ(zr_bufchan_mkfifo(base.c_str(), 100), -1);
    const Handle writer(base.c_str(), WR), reader((base + "third").c_str(), RD);
    EXPECT_EQ(WriteText(writer, "x"), 1);
    EXPECT_EQ(ReadText(reader, 0), "x");
    const Channel shorter(base.substr(1));
    EXPECT_TRUE(shorter.Made());
    const auto *ctx = static_cast<const AVPoolCtx *>(static_cast<void *>(writer));
    EXPECT_EQ(std::string(ctx->pool->name, 128), base);
}

TEST(Channel, ABadModeOpensNothingAndLeavesTheChannelUsable) {
    const Channel channel("a");
    for (const int mode : {3, 0, 1, 5, 6, -1})
        EXPECT_EQ(zr_bufchan_open("a", mode), nullptr);
    const Handle writer("a", WR), reader("a", RD);
    EXPECT_EQ(WriteText(writer, "x"), 1);
    EXPECT_EQ(ReadText(reader, 0), "x");
}

TEST(Channel, ANewReaderSeesNothingUntilTheNextWriteThenTheOldestFrame) {
    const Channel channel("a");
    const Handle writer("a", WR);
    WriteText(writer, "one");
    const Handle reader("a", RD);
    EXPECT_EQ(WaitingFrames(reader), 0);
    EXPECT_EQ(ReadText(reader, 0), "");
    WriteText(writer, "two");
    EXPECT_EQ(WaitingFrames(reader), 1);
    EXPECT_EQ(ReadText(reader, 0), "one");
    EXPECT_EQ(ReadText(reader, 0), "two");
}

TEST(Channel, OpeningAWriterLeavesTheRing) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "one");
    const Handle another("a", WR);
    EXPECT_EQ(WaitingFrames(another), 1);
    EXPECT_EQ(ReadText(reader, 0), "one");
}

TEST(Channel, AllHandlesShareOneReadPosition) {
    const Channel channel("a");
    const Handle first("a", RD), second("a", RD), writer("a", WR), other("a", WR);
    WriteText(writer, "one");
    WriteText(other, "two");
    EXPECT_EQ(ReadText(first, 0), "one");
    EXPECT_EQ(ReadText(second, 0), "two");
    EXPECT_EQ(ReadText(first, 0), "");
}

TEST(Channel, WriteRefusesEverythingButAWriterWithEntries) {
    const Channel channel("a", 100);
    const Handle reader("a", RD), writer("a", WR);
    char byte = 0;
    const struct iovec iov = {&byte, 1};
    AVPoolCtx loose = {1, nullptr};
    EXPECT_EQ(zr_bufchan_writev(nullptr, &iov, 1), -1);
    EXPECT_EQ(zr_bufchan_writev(reader, &iov, 1), -1);
    EXPECT_EQ(zr_bufchan_writev(&loose, &iov, 1), -1);
    EXPECT_EQ(zr_bufchan_writev(writer, nullptr, 1), -1);
    EXPECT_EQ(zr_bufchan_writev(writer, &iov, 0), -1);
    EXPECT_EQ(zr_bufchan_write(nullptr, &byte, 1), -1);
    EXPECT_EQ(zr_bufchan_write(reader, &byte, 1), -1);
    EXPECT_EQ(zr_bufchan_write(writer, nullptr, 1), -1);
    EXPECT_EQ(zr_bufchan_write(writer, &byte, 0), -1);
    EXPECT_EQ(zr_bufchan_write(writer, &byte, -1), -1);
    EXPECT_EQ(zr_bufchan_write(writer, Bytes(97).data(), 97), -1);
    EXPECT_EQ(zr_bufchan_write(writer, Bytes(96).data(), 96), 96);
    EXPECT_EQ(WaitingFrames(reader), 1);
}

TEST(Channel, ReadRefusesEverythingButAReaderWithEntries) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "one");
    char area[8] = {};
    const struct iovec iov[2] = {{area, 1}, {area + 1, 7}};
    AVPoolCtx loose = {2, nullptr};
    EXPECT_EQ(zr_bufchan_readv(nullptr, iov, 2, 0), -1);
    EXPECT_EQ(zr_bufchan_readv(writer, iov, 2, 0), -1);
    EXPECT_EQ(zr_bufchan_readv(&loose, iov, 2, 0), -1);
    EXPECT_EQ(zr_bufchan_readv(reader, nullptr, 2, 0), -1);
    EXPECT_EQ(zr_bufchan_readv(reader, iov, 0, 0), -1);
    EXPECT_EQ(zr_bufchan_read(nullptr, area, 8, 0), -1);
    EXPECT_EQ(zr_bufchan_read(writer, area, 8, 0), -1);
    EXPECT_EQ(zr_bufchan_read(reader, nullptr, 8, 0), -1);
    EXPECT_EQ(zr_bufchan_read(reader, area, 0, 0), -1);
    EXPECT_EQ(zr_bufchan_read(reader, area, -1, 0), -1);
    EXPECT_EQ(ReadText(reader, 0), "one");
}

TEST(Channel, AOnePieceReadReturnsTheSizeAndSaysSoOnStandardOutput) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "four");
    char area[8] = {};
    StdoutCapture out;
    EXPECT_EQ(zr_bufchan_read(reader, area, 8, 0), 4);
    EXPECT_STREQ(area, "four");
    EXPECT_EQ(zr_bufchan_read(reader, area, 8, 0), 0);
    EXPECT_EQ(out.Text(), "left:-4 great than iov[1].iov_len:0\n");
}

TEST(Channel, ResetEmptiesAsAWriterAndSkipsAsAReader) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "one");
    EXPECT_EQ(zr_bufchan_reset(writer), 0);
    EXPECT_EQ(WaitingFrames(reader), 0);
    WriteText(writer, "two");
    EXPECT_EQ(ReadText(reader, 0), "two");

    WriteText(writer, "three");
    EXPECT_EQ(zr_bufchan_reset(reader), 0);
    EXPECT_EQ(WaitingFrames(reader), 0);
    WriteText(writer, "four");
    EXPECT_EQ(ReadText(reader, 0), "three"); // it was hidden, not discarded

    AVPoolCtx other = {3, static_cast<AVPoolCtx *>(static_cast<void *>(writer))->pool};
    EXPECT_EQ(zr_bufchan_reset(&other), -1);
    EXPECT_EQ(zr_bufchan_reset(nullptr), -1);
}

TEST(Channel, ReaderOnlyQueriesRefuseOthersWithMinusTwo) {
    const Channel channel("a");
    const Handle writer("a", WR);
    AVPoolCtx loose = {2, nullptr};
    for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(writer), static_cast<void *>(&loose)}) {
        int count = 99;
        EXPECT_EQ(zr_bufchan_getdrop(handle, &count), -2);
        EXPECT_EQ(count, 99);
        EXPECT_EQ(zr_bufchan_drop(handle, 1), -2);
        EXPECT_EQ(zr_bufchan_get_run_info(handle), -2);
    }
}

TEST(Channel, CountsWaitingFramesForEitherKindOfHandle) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "one");
    WriteText(writer, "two");
    EXPECT_EQ(WaitingFrames(reader), 2);
    EXPECT_EQ(WaitingFrames(writer), 2);
}

TEST(Channel, DropsFramesAndCountsThem) {
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    for (const char *text : {"one", "two", "three"})
        WriteText(writer, text);
    EXPECT_EQ(zr_bufchan_drop(reader, 0), 0);
    EXPECT_EQ(zr_bufchan_drop(reader, -5), 0);
    EXPECT_EQ(WaitingFrames(reader), 3);
    EXPECT_EQ(zr_bufchan_drop(reader, 2), 0);
    EXPECT_EQ(ReadText(reader, 0), "three");
    int drops = 0;
    EXPECT_EQ(zr_bufchan_getdrop(reader, &drops), 0);
    EXPECT_EQ(drops, 2);
    EXPECT_EQ(zr_bufchan_drop(reader, 1), 0); // nothing is held: counted all the same
    EXPECT_EQ(zr_bufchan_getdrop(reader, &drops), 0);
    EXPECT_EQ(drops, 3);
    EXPECT_EQ(WaitingFrames(reader), -1);
}

TEST(Channel, TheStateDumpNamesTheHandle) {
    LogCapture log;
    const Channel channel("a");
    const Handle reader("a", RD), writer("a", WR);
    WriteText(writer, "one");
    EXPECT_EQ(zr_bufchan_get_run_info(reader), 0);
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 6u);
    char start[80];
    snprintf(start, sizeof(start), "++++++++ RingBuferr UserHdl:%p fifo:", static_cast<void *>(reader));
    EXPECT_EQ(lines[0].text.find(start), 0u) << lines[0].text;
    EXPECT_EQ(lines[4].text, "  data_size:7\ttotal_size:1024");
}
