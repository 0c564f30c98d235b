// Statistics of a periodic event.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "BSW/BasicFun/Function.h"
#include "FakeClock.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;

class IntervalPrintTest : public testing::Test {
  protected:
    void EventAt(std::uint64_t ms, ZR_U32 size = 0, bool isKeyFrame = false) {
        SetClock(static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000);
        m_interval.u32Size = size;
        m_interval.u32IFrame = isKeyFrame;
        PrintTimeInterval(m_name, m_interval);
    }

    Texts Logged() const { return m_log.TextsOf("IntervalPrint.cpp"); }

    LogCapture m_log;
    TimeInterval m_interval = {};
    char m_name[6] = "video";
};

TEST_F(IntervalPrintTest, EachEventIsALine) {
    EventAt(5000, 12345, true);
    EventAt(5040, 900);
    EventAt(5075);
    EventAt(5135, 1);
    EXPECT_EQ(Logged(), (Texts{"D video:    1 [   0,   0]   0 ms. Size = 12345 IFrame",
                               "D video:    2 [  40,  40]  40 ms. Size =   900 ",
                               "D video:    3 [  35,  40]  35 ms. Size =     0 ",
                               "D video:    4 [  35,  60]  60 ms. Size =     1 "}));
}

TEST_F(IntervalPrintTest, TheRecordTellsWhichEventsWereNearestAndFarthest) {
    for (const std::uint64_t ms : {5000, 5040, 5075, 5135, 5175})
        EventAt(ms);
    EXPECT_EQ(m_interval.u32Cnt, 5U);
    EXPECT_EQ(m_interval.u32LastTimeMs, 5135U);
    EXPECT_EQ(m_interval.u32CurTimeMs, 5175U);
    EXPECT_EQ(m_interval.u32IntervalMs, 40U);
    EXPECT_EQ(m_interval.u32MinIntervalMs, 35U);
    EXPECT_EQ(m_interval.u32MinIntervalCnt, 3U);
    EXPECT_EQ(m_interval.u32MaxIntervalMs, 60U);
    EXPECT_EQ(m_interval.u32MaxIntervalCnt, 4U);
}

TEST_F(IntervalPrintTest, ANameIsNoFormat) {
    char name[] = "%s%d%%";
    SetClock(1, 0);
    PrintTimeInterval(name, m_interval);
    EXPECT_EQ(Logged(), Texts{"D %s%d%%:    1 [   0,   0]   0 ms. Size =     0 "});
}

TEST_F(IntervalPrintTest, TheTimeMayWrap) {
    EventAt(4294967290);
    EventAt(4294967306);
    EXPECT_EQ(m_interval.u32IntervalMs, 16U);
    EXPECT_EQ(m_interval.u32MaxIntervalMs, 16U);
}

TEST_F(IntervalPrintTest, WithoutANameNothingIsCounted) {
    PrintTimeInterval(nullptr, m_interval);
    EXPECT_EQ(m_interval.u32Cnt, 0U);
    EXPECT_EQ(Logged(), Texts{"E PrintTimeInterval: no name"});
}
