// The state dump of the ring.
#include <gtest/gtest.h>

#include "RingSupport.h"
#include "Support/LogCapture.h"

namespace {

std::string Address(const void *p) {
    char text[32];
    snprintf(text, sizeof(text), "%p", p);
    return text;
}

} // namespace

TEST(RingLog, WritesSixLinesWithTheirLineNumbers) {
    LogCapture log;
    const Ring ring = MakeRing(64);
    for (int i = 0; i < 5; ++i)
        WriteFrame(ring.get(), Pattern(16, 0)); // the last two drop one each
    ReadFrame(ring.get(), 16);
    int user = 0;
    log.Clear();
    zr_av_fifo_log(ring.get(), &user);

    const std::string texts[6] = {
        "D ++++++++ RingBuferr UserHdl:" + Address(&user) + " fifo:" + Address(ring.get()) + "  info ++++++++",
        "D   wptr:" + Address(ring->wptr) + "\twcnt:5",
        "D   rptr:" + Address(ring->rptr) + "\trcnt:3",
        "D   fptr:" + Address(ring->fptr) + "\tcur:3",
        "D   data_size:40\ttotal_size:64",
        "D   dropCnt:2\tdropAllCnt:2",
    };
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 6u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(lines[i] == texts[i]) << lines[i].text;
        EXPECT_EQ(lines[i].file, "ZR_AV_FIFO.cpp");
        EXPECT_EQ(lines[i].line, 267 + i);
    }
    EXPECT_EQ(lines[4].raw, "[D][ZR_AV_FIFO.cpp: 271] \033[0;32m  data_size:40\ttotal_size:64\033[0m");
}

TEST(RingLog, ShowsANewRingWithItsUnsetCursor) {
    LogCapture log;
    const Ring ring = MakeRing(64);
    zr_av_fifo_log(ring.get(), nullptr);
    const auto texts = log.Texts();
    ASSERT_EQ(texts.size(), 6u);
    EXPECT_EQ(texts[0], "D ++++++++ RingBuferr UserHdl:(nil) fifo:" + Address(ring.get()) + "  info ++++++++");
    EXPECT_EQ(texts[3], "D   fptr:(nil)\tcur:0");
    EXPECT_EQ(texts[4], "D   data_size:0\ttotal_size:64");
}
