// The stream buffer manager: its channels and handles, every result and every log line.
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BSW/BufferChan/ZRBufChan.h"
#include "Support/LogCapture.h"

using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

using Texts = std::vector<std::string>;

const Texts OPEN_TEXTS = {
    "D bufchan open: direct:0 name:fpga_0, size:102400bytes",
    "D [RD_ONLY] buff name: fpga_0",
    "D [WR_ONLY] buff name: fpga_0",
    "D bufchan open: direct:1 name:fpga_1, size:102400bytes",
    "D [RD_ONLY] buff name: fpga_1",
    "D [WR_ONLY] buff name: fpga_1",
    "D Open all buffer chan",
};

int WriteBytes(void *handle, std::vector<char> bytes) {
    struct iovec iov = {bytes.data(), bytes.size()};
    return CZRBuffer::Write(handle, &iov, 1);
}

int ReadBytes(void *handle, int size, int timeout = 0) {
    std::vector<char> bytes(static_cast<std::size_t>(size));
    struct iovec iov[2] = {{bytes.data(), 1}, {bytes.data() + 1, bytes.size() - 1}};
    return CZRBuffer::Read(handle, iov, 2, timeout);
}

std::string Address(const void *p) {
    char text[32];
    snprintf(text, sizeof(text), "%p", p);
    return text;
}

} // namespace

class ZRBuffer : public testing::Test {
  protected:
    // The log is opened first, so that every line of the test is in it.
    LogCapture log;
    CZRBuffer &buffer = *CZRBuffer::instance();

    ~ZRBuffer() override { buffer.Close(); }

    // What was logged since the last call.
    Texts NewTexts() {
        const Texts texts = log.Texts();
        log.Clear();
        return texts;
    }
};

TEST_F(ZRBuffer, IsOneObject) {
    EXPECT_EQ(CZRBuffer::instance(), &buffer);
}

TEST_F(ZRBuffer, OpenMakesBothChannelsAndAllHandles) {
    EXPECT_EQ(buffer.Open(), 1);
    EXPECT_EQ(NewTexts(), OPEN_TEXTS);
    EXPECT_EQ(zr_bufchan_mkfifo("fpga_0", 10), -1);
    EXPECT_EQ(zr_bufchan_mkfifo("fpga_1", 10), -1);
    EXPECT_EQ(zr_bufchan_open("fpga_2", 2), nullptr);
}

TEST_F(ZRBuffer, ChannelsHoldTheirSizeLessOneHeader) {
    buffer.Open();
    void *writer = buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY);
    EXPECT_EQ(WriteBytes(writer, std::vector<char>(102400 - 3)), -1);
    EXPECT_EQ(WriteBytes(writer, std::vector<char>(102400 - 4)), 102400 - 4);
}

TEST_F(ZRBuffer, ASizeOfItsOwnIsGivenToEachChannel) {
    CZRBuffer small(64);
    EXPECT_EQ(small.Open(), 1);
    EXPECT_EQ(NewTexts()[0], "D bufchan open: direct:0 name:fpga_0, size:64bytes");
    for (const emDirect direct : {DIRECT_IN, DIRECT_OUT}) {
        void *writer = small.GetBufferOpsHdl(direct, CZRBuffer::WR_ONLY);
        EXPECT_EQ(WriteBytes(writer, std::vector<char>(61)), -1);
        EXPECT_EQ(WriteBytes(writer, std::vector<char>(60)), 60);
    }
    EXPECT_EQ(small.Close(), 1);
}

TEST_F(ZRBuffer, ASecondOpenFailsAndLeavesTheFirstSetOfHandles) {
    buffer.Open();
    void *handle = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY);
    NewTexts();
    EXPECT_EQ(buffer.Open(), 0);
    EXPECT_THAT(NewTexts(), ElementsAre("E zr_bufchan_mkfifo[fpga_0] failure"));
    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY), handle);
    EXPECT_EQ(ReadBytes(handle, 8), 0);
}

TEST_F(ZRBuffer, AFailedSecondChannelLeavesTheFirst) {
    ASSERT_EQ(zr_bufchan_mkfifo("fpga_1", 10), 0);
    EXPECT_EQ(buffer.Open(), 0);
    EXPECT_THAT(NewTexts(),
                ElementsAre(OPEN_TEXTS[0], OPEN_TEXTS[1], OPEN_TEXTS[2], "E zr_bufchan_mkfifo[fpga_1] failure"));
    EXPECT_NE(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY), nullptr);
    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::RD_ONLY), nullptr); // no name was kept
    zr_bufchan_unlink("fpga_1");
}

TEST_F(ZRBuffer, ASizeOfNothingMakesNoChannel) {
    CZRBuffer none(0);
    EXPECT_EQ(none.Open(), 0);
    EXPECT_THAT(NewTexts(), ElementsAre("E zr_bufchan_mkfifo[fpga_0] failure"));
}

TEST_F(ZRBuffer, HandsOutTheSharedHandlesWithAWarningEachTime) {
    buffer.Open();
    NewTexts();
    for (const emDirect direct : {DIRECT_IN, DIRECT_OUT}) {
        for (const int mode : {CZRBuffer::RD_ONLY, CZRBuffer::WR_ONLY}) {
            void *handle = buffer.GetBufferOpsHdl(direct, mode);
            ASSERT_NE(handle, nullptr);
            EXPECT_EQ(static_cast<AVPoolCtx *>(handle)->type, mode == CZRBuffer::RD_ONLY ? 2 : 1);
            EXPECT_EQ(buffer.GetBufferOpsHdl(direct, mode), handle);
            const std::string slot[2] = {std::to_string(direct), std::to_string(mode)};
            const std::string get = "D Get direct:" + slot[0] + ", mode:" + slot[1];
            const std::string used = "W Warning, direct " + slot[0] + " mode " + slot[1] + " BufChanHdl is used";
            EXPECT_THAT(NewTexts(), ElementsAre(get, used, get, used));
        }
    }
}

TEST_F(ZRBuffer, EachDirectionIsAChannelOfItsOwn) {
    buffer.Open();
    WriteBytes(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY), std::vector<char>(5));
    WriteBytes(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY), std::vector<char>(7));
    EXPECT_EQ(ReadBytes(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY), 16, 100), 5);
    EXPECT_EQ(ReadBytes(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::RD_ONLY), 16, 100), 7);
}

TEST_F(ZRBuffer, BeforeOpenThereIsNoHandle) {
    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY), nullptr);
    EXPECT_THAT(NewTexts(), ElementsAre("D Get direct:1, mode:1", "E get buffer failure!!!"));
}

TEST_F(ZRBuffer, ABadModeHasNoHandle) {
    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RW_MAX), nullptr); // no channel either
    EXPECT_THAT(NewTexts(), ElementsAre("D Get direct:0, mode:2", "E get buffer failure!!!"));
    buffer.Open();
    for (const int mode : {2, 3, -1, 1000000, -1000000}) {
        NewTexts();
        EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_IN, mode), nullptr);
        EXPECT_THAT(NewTexts(), ElementsAre("D Get direct:0, mode:" + std::to_string(mode), "E bad mode!!!!!",
                                            "E get buffer failure!!!"));
    }
}

TEST_F(ZRBuffer, ABadDirectionHasNoHandle) {
    buffer.Open();
    for (const int direct : {2, 3}) {
        NewTexts();
        EXPECT_EQ(buffer.GetBufferOpsHdl(static_cast<emDirect>(direct), CZRBuffer::RD_ONLY), nullptr);
        EXPECT_THAT(NewTexts(),
                    ElementsAre("D Get direct:" + std::to_string(direct) + ", mode:0", "E get buffer failure!!!"));
    }
}

TEST_F(ZRBuffer, CloseRemovesTheChannelsAndKeepsTheNames) {
    buffer.Open();
    NewTexts();
    EXPECT_EQ(buffer.Close(), 1);
    EXPECT_THAT(NewTexts(), ElementsAre("D Close all buffer chan"));
    EXPECT_EQ(zr_bufchan_unlink("fpga_0"), -1);
    EXPECT_EQ(zr_bufchan_unlink("fpga_1"), -1);

    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY), nullptr);
    EXPECT_EQ(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY), nullptr);
    EXPECT_THAT(NewTexts(),
                ElementsAre("D Get direct:0, mode:0", "D [RD_ONLY] buff name: fpga_0", "E get buffer failure!!!",
                            "D Get direct:1, mode:1", "D [WR_ONLY] buff name: fpga_1", "E get buffer failure!!!"));
    EXPECT_EQ(buffer.Close(), 1);
}

TEST_F(ZRBuffer, OpensAgainAfterClose) {
    buffer.Open();
    buffer.Close();
    NewTexts();
    EXPECT_EQ(buffer.Open(), 1);
    EXPECT_EQ(NewTexts(), OPEN_TEXTS);
}

// A slot that Open has not filled opens another handle on every call.
TEST_F(ZRBuffer, AnUnusedSlotOpensANewHandleEachTimeWithoutMarkingItUsed) {
    buffer.Open();
    buffer.Close();
    ASSERT_EQ(zr_bufchan_mkfifo("fpga_0", 100), 0);
    NewTexts();
    void *first = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
    void *second = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
    EXPECT_THAT(NewTexts(), ElementsAre("D Get direct:0, mode:1", "D [WR_ONLY] buff name: fpga_0",
                                        "D Get direct:0, mode:1", "D [WR_ONLY] buff name: fpga_0"));
    EXPECT_NE(first, second);
    EXPECT_EQ(WriteBytes(second, {1, 2, 3}), 3);
    zr_bufchan_close(first); // the slot keeps the second, Close closes that
}

TEST_F(ZRBuffer, NullHandlesAreRefusedEachWithItsOwnResultAndText) {
    char byte = 0;
    struct iovec iov[2] = {{&byte, 1}, {nullptr, 0}};
    int count = 42;
    EXPECT_EQ(CZRBuffer::Write(nullptr, iov, 2), -2);
    EXPECT_EQ(CZRBuffer::Read(nullptr, iov, 2, 1000), -2);
    EXPECT_THAT(NewTexts(), ElementsAre("E bad handle!!!", "E bad handle!!!"));
    EXPECT_EQ(CZRBuffer::BufferDrop(nullptr, 1), -1);
    EXPECT_EQ(CZRBuffer::BufferCount(nullptr, &count), -1);
    EXPECT_EQ(CZRBuffer::BufferGetDrop(nullptr, &count), -1);
    EXPECT_EQ(count, 42);
    EXPECT_THAT(NewTexts(), ElementsAre("E bad handle", "E bad handle", "E bad handle"));
    EXPECT_EQ(CZRBuffer::BufferPrintHdlInfo(nullptr), 0);
    EXPECT_THAT(NewTexts(), ElementsAre());
}

TEST_F(ZRBuffer, ForwardsToTheChannel) {
    buffer.Open();
    void *writer = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
    void *reader = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::RD_ONLY);
    NewTexts();
    int count = 0;
    for (int size = 3; size < 8; ++size)
        EXPECT_EQ(WriteBytes(writer, std::vector<char>(static_cast<std::size_t>(size))), size);
    EXPECT_EQ(buffer.BufferCount(reader, &count), 0);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(buffer.BufferDrop(reader, 2), 0);
    EXPECT_EQ(buffer.BufferGetDrop(reader, &count), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ReadBytes(reader, 16), 5);
    EXPECT_EQ(WriteBytes(reader, {1}), -1);
    EXPECT_EQ(ReadBytes(writer, 16), -1);
    EXPECT_EQ(buffer.BufferDrop(writer, 1), -2);
    EXPECT_EQ(buffer.BufferGetDrop(writer, &count), -2);
    EXPECT_EQ(buffer.BufferPrintHdlInfo(writer), 0);
    EXPECT_THAT(NewTexts(), ElementsAre());
    EXPECT_EQ(buffer.BufferPrintHdlInfo(reader), 0);
    EXPECT_EQ(NewTexts().size(), 6u);
}

TEST_F(ZRBuffer, ReportsBothDirections) {
    buffer.Open();
    std::string address[2][2];
    for (const int direct : {DIRECT_IN, DIRECT_OUT})
        for (const int mode : {CZRBuffer::RD_ONLY, CZRBuffer::WR_ONLY})
            address[direct][mode] = Address(buffer.GetBufferOpsHdl(static_cast<emDirect>(direct), mode));
    WriteBytes(buffer.GetBufferOpsHdl(DIRECT_OUT, CZRBuffer::WR_ONLY), {1, 2, 3});
    NewTexts();

    buffer.printBufferMngInfo();
    const auto ring = [](const std::string &user, int frames, int bytes) {
        return Texts{"D \\+\\+\\+\\+\\+\\+\\+\\+ RingBuferr UserHdl:" + user +
                         " fifo:0x[0-9a-f]+  info \\+\\+\\+\\+\\+\\+\\+\\+",
                     "D   wptr:0x[0-9a-f]+\twcnt:" + std::to_string(frames),
                     "D   rptr:0x[0-9a-f]+\trcnt:0",
                     "D   fptr:0x[0-9a-f]+\tcur:0",
                     "D   data_size:" + std::to_string(bytes) + "\ttotal_size:102400",
                     "D   dropCnt:0\tdropAllCnt:0"};
    };
    Texts expected;
    for (const int direct : {DIRECT_IN, DIRECT_OUT}) {
        expected.push_back("D MODULE: direct " + std::to_string(direct) + " \\(RdHdl:" + address[direct][0] +
                           " bUsed:1 count:" + std::to_string(direct) + " WrHdl:" + address[direct][1] +
                           " bUsed:1, count:" + std::to_string(direct) + "\\)");
        for (const std::string &line : ring(address[direct][0], direct, direct * 7))
            expected.push_back(line);
    }
    const Texts texts = NewTexts();
    ASSERT_EQ(texts.size(), expected.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_THAT(texts[i], MatchesRegex(expected[i]));
}

// The counters start at 0 once for the report, not once for each direction.
TEST_F(ZRBuffer, ReportsTheCountBeforeForAMissingHandle) {
    ASSERT_EQ(zr_bufchan_mkfifo("fpga_1", 10), 0);
    buffer.Open(); // only DIRECT_IN has handles
    zr_bufchan_unlink("fpga_1");
    WriteBytes(buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY), {1, 2, 3});
    NewTexts();
    buffer.printBufferMngInfo();
    const Texts texts = NewTexts();
    ASSERT_EQ(texts.size(), 1 + 6 + 2 + 1u);
    EXPECT_EQ(texts[7], "E bad handle");
    EXPECT_EQ(texts[8], "E bad handle");
    EXPECT_EQ(texts[9], "D MODULE: direct 1 (RdHdl:(nil) bUsed:0 count:1 WrHdl:(nil) bUsed:0, count:1)");
}

TEST_F(ZRBuffer, ReportsAWriterWithoutAReader) {
    buffer.Open();
    buffer.Close();
    ASSERT_EQ(zr_bufchan_mkfifo("fpga_0", 100), 0);
    void *writer = buffer.GetBufferOpsHdl(DIRECT_IN, CZRBuffer::WR_ONLY);
    WriteBytes(writer, {1, 2, 3});
    NewTexts();
    buffer.printBufferMngInfo();
    const Texts texts = NewTexts();
    EXPECT_EQ(texts[0], "E bad handle");
    EXPECT_EQ(texts[1],
              "D MODULE: direct 0 (RdHdl:(nil) bUsed:0 count:0 WrHdl:" + Address(writer) + " bUsed:0, count:1)");
}

TEST_F(ZRBuffer, ReportsClosedBuffers) {
    buffer.printBufferMngInfo();
    EXPECT_THAT(NewTexts(),
                ElementsAre("E bad handle", "E bad handle",
                            "D MODULE: direct 0 (RdHdl:(nil) bUsed:0 count:0 WrHdl:(nil) bUsed:0, count:0)",
                            "E bad handle", "E bad handle",
                            "D MODULE: direct 1 (RdHdl:(nil) bUsed:0 count:0 WrHdl:(nil) bUsed:0, count:0)"));
}
