// Running time and the time of day as numbers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include <time.h>

#include "BSW/BasicFun/Function.h"
#include "FakeClock.h"
#include "Support/LogCapture.h"

TEST(Time, IsMonotonicMilliseconds) {
    SetClock(5, 999999999);
    EXPECT_EQ(SystemGetMSCount(), 5999U);
    EXPECT_EQ(ClockAsked(), CLOCK_MONOTONIC);
    SetClock(10000000000, 1000000);
    EXPECT_EQ(SystemGetMSCount(), 10000000000001U);
}

TEST(Time, IsZeroWhenTheClockCannotBeRead) {
    SetClock(5, 0, -1);
    EXPECT_EQ(SystemGetMSCount(), 0U);
    EXPECT_LE(GetCurTimeMilliSec(), 0x7fffffffUL);
}

TEST(Time, TheShortTimeKeeps31Bits) {
    SetClock(2147483, 647000000); // 0x7fffffff ms
    EXPECT_EQ(GetCurTimeMilliSec(), 0x7fffffffUL);
    EXPECT_EQ(ClockAsked(), CLOCK_MONOTONIC);
    SetClock(2147483, 648000000);
    EXPECT_EQ(GetCurTimeMilliSec(), 0UL);
    SetClock(4294967, 295000000); // 0xffffffff ms
    EXPECT_EQ(GetCurTimeMilliSec(), 0x7fffffffUL);
}

TEST(Time, GoesOnByItself) {
    const std::uint64_t start = SystemGetMSCount();
    EXPECT_GT(start, 0U);
    EXPECT_EQ(XSleep(20), 0);
    EXPECT_GE(SystemGetMSCount(), start + 20);
}

TEST(Time, IsMonotonicMicrosecondsAndSeconds) {
    SetClock(5, 999999999);
    EXPECT_EQ(SystemGetUSCount(), 5999999U);
    EXPECT_EQ(ClockAsked(), CLOCK_MONOTONIC);
    EXPECT_EQ(SystemGetSecondCount(), 5U);
    EXPECT_EQ(ClockAsked(), CLOCK_MONOTONIC);
    SetClock(10000000000, 1000);
    EXPECT_EQ(SystemGetUSCount(), 10000000000000001U);
    EXPECT_EQ(SystemGetSecondCount(), 10000000000U);
}

TEST(Time, TheOtherMicrosecondsAreThoseOfTheTimeOfDay) {
    SetClock(1700000000, 123456789);
    EXPECT_EQ(SystemGetUSCount(0), 1700000000123456U);
    EXPECT_EQ(ClockAsked(), CLOCK_REALTIME);
}

TEST(Time, EveryCountIsZeroWhenTheClockCannotBeRead) {
    SetClock(5, 0, -1);
    EXPECT_EQ(SystemGetUSCount(), 0U);
    EXPECT_EQ(SystemGetUSCount(1), 0U);
    EXPECT_EQ(SystemGetSecondCount(), 0U);
}

TEST(UpTime, IsWrittenAsText) {
    char text[UPTIME_TEXT_SIZE];
    SetClock(3 * 3600 + 25 * 60 + 7, 890000000);
    EXPECT_EQ(SystemGetMSCountExt(text), 12307890U);
    EXPECT_STREQ(text, "03:25:07");
    SetClock(59, 999999999);
    EXPECT_EQ(SystemGetMSCountExt(text), 59999U);
    EXPECT_STREQ(text, "00:00:59");
    SetClock(360000, 0);
    EXPECT_EQ(SystemGetMSCountExt(text), 360000000U);
    EXPECT_STREQ(text, "100:00:00");
}

TEST(UpTime, WithoutAClockOrABufferIsZero) {
    const LogCapture log;
    char text[UPTIME_TEXT_SIZE] = "text";
    EXPECT_EQ(SystemGetMSCountExt(nullptr), 0U);
    SetClock(5, 0, -1);
    EXPECT_EQ(SystemGetMSCountExt(text), 0U);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(log.TextsOf("Clock.cpp"),
              (std::vector<std::string>{"E SystemGetMSCountExt: no text buffer",
                                        "E SystemGetMSCountExt: clock error! Invalid argument"}));
}
