// Calendar times, and the setting of the clock (which FakeClock keeps from the machine).
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <time.h>

#include "BSW/BasicFun/Function.h"
#include "FakeClock.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;

namespace {

constexpr std::int64_t LEAP_DAY = 1709164798; // 2024-02-28 23:59:58 UTC, a Wednesday

auto FieldsOf(const RECTIME &time) {
    return std::make_tuple(time.year, time.month, time.day, time.weekday, time.hour, time.minute, time.second);
}

RECTIME CalendarOf(std::int64_t seconds) {
    RECTIME time = {};
    EXPECT_EQ(Second2RECTIME(seconds, &time), 0);
    return time;
}

void SetZone(const char *zone) {
    setenv("TZ", zone, 1);
    tzset();
}

} // namespace

// In UTC, unless a test sets another zone.
class CalendarTest : public testing::Test {
  protected:
    CalendarTest() { SetZone("UTC0"); }
    Texts Logged() const { return m_log.TextsOf("Calendar.cpp"); }

    LogCapture m_log;
};

TEST_F(CalendarTest, SecondsBecomeACalendarTime) {
    EXPECT_EQ(FieldsOf(CalendarOf(0)), std::make_tuple(1970, 1, 1, 4, 0, 0, 0));
    EXPECT_EQ(FieldsOf(CalendarOf(LEAP_DAY)), std::make_tuple(2024, 2, 28, 3, 23, 59, 58));
    EXPECT_EQ(FieldsOf(CalendarOf(LEAP_DAY + 2)), std::make_tuple(2024, 2, 29, 4, 0, 0, 0));
    EXPECT_EQ(FieldsOf(CalendarOf(4294967296)), std::make_tuple(2106, 2, 7, 0, 6, 28, 16));
}

TEST_F(CalendarTest, TheWayBackGivesTheSame) {
    for (const char *zone : {"UTC0", "CST-8", "EST5", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
        SetZone(zone);
        for (const std::int64_t seconds : {std::int64_t{0}, LEAP_DAY, LEAP_DAY + 2, std::int64_t{1720000000}}) {
            const RECTIME time = CalendarOf(seconds);
            EXPECT_EQ(RECTIME2Second(&time), seconds) << zone;
        }
    }
}

TEST_F(CalendarTest, TimesAreThoseOfTheZone) {
    SetZone("CST-8");
    EXPECT_EQ(FieldsOf(CalendarOf(LEAP_DAY)), std::make_tuple(2024, 2, 29, 4, 7, 59, 58));
}

TEST_F(CalendarTest, TheWeekdayIsNotLookedAt) {
    const RECTIME time = {2024, 2, 28, 99, 23, 59, 58};
    EXPECT_EQ(RECTIME2Second(&time), LEAP_DAY);
}

TEST_F(CalendarTest, WhatIsNoTimeIsRefused) {
    const RECTIME bad[] = {
        {2024, 0, 1, 0, 0, 0, 0},  {2024, 13, 1, 0, 0, 0, 0},  {2024, 1, 0, 0, 0, 0, 0},
        {2024, 1, 32, 0, 0, 0, 0}, {2023, 2, 29, 0, 0, 0, 0},  {2024, 4, 31, 0, 0, 0, 0},
        {2024, 1, 1, 0, 24, 0, 0}, {2024, 1, 1, 0, -1, 0, 0},  {2024, 1, 1, 0, 0, 60, 0},
        {2024, 1, 1, 0, 0, 0, 60}, {1969, 12, 31, 0, 1, 0, 0}, {-2147483647, 1, 1, 0, 0, 0, 0},
    };
    for (const RECTIME &time : bad) {
        m_log.Clear();
        EXPECT_EQ(RECTIME2Second(&time), -1);
        EXPECT_EQ(SetSysDateTime2(&time), -1);
        EXPECT_EQ(Logged().size(), 2U);
    }
    EXPECT_FALSE(LastClockSetting());
    m_log.Clear();
    EXPECT_EQ(XSetSystemTime(2023, 2, 29, 12, 0, 0), -1);
    EXPECT_EQ(Logged(), Texts{"E RECTIME2Second: bad time 2023-2-29 12:0:0"});
}

TEST_F(CalendarTest, NullAndYearsBeyondAllAreRefused) {
    RECTIME time = {};
    EXPECT_EQ(Second2RECTIME(0, nullptr), -1);
    EXPECT_EQ(Second2RECTIME(std::numeric_limits<std::int64_t>::max(), &time), -1);
    EXPECT_EQ(RECTIME2Second(nullptr), -1);
    EXPECT_EQ(GetSysDateTime2(nullptr), -1);
    EXPECT_EQ(SetSysDateTime2(nullptr), -1);
    EXPECT_EQ(Logged().size(), 5U);
}

TEST_F(CalendarTest, TheSystemsTimeIsRead) {
    SetClock(LEAP_DAY, 999999999);
    RECTIME time = {};
    EXPECT_EQ(GetSysDateTime2(&time), 0);
    EXPECT_EQ(ClockAsked(), CLOCK_REALTIME);
    EXPECT_EQ(FieldsOf(time), std::make_tuple(2024, 2, 28, 3, 23, 59, 58));
    SetClock(0, 0, -1);
    EXPECT_EQ(GetSysDateTime2(&time), -1);
    EXPECT_EQ(Logged(), Texts{"E GetSysDateTime2: clock error! Invalid argument"});
}

TEST_F(CalendarTest, TheSystemsTimeIsSet) {
    EXPECT_EQ(XSetSystemTime(2024, 2, 28, 23, 59, 58), 0);
    ASSERT_TRUE(LastClockSetting());
    EXPECT_EQ(LastClockSetting()->clock, CLOCK_REALTIME);
    EXPECT_EQ(LastClockSetting()->time.tv_sec, LEAP_DAY);
    EXPECT_EQ(LastClockSetting()->time.tv_nsec, 0);
    const RECTIME time = CalendarOf(LEAP_DAY + 2);
    EXPECT_EQ(SetSysDateTime2(&time), 0);
    EXPECT_EQ(LastClockSetting()->time.tv_sec, LEAP_DAY + 2);
}

TEST_F(CalendarTest, ARefusalIsReported) {
    RefuseClockSetting(EPERM);
    errno = 0;
    EXPECT_EQ(XSetSystemTime(2024, 2, 28, 23, 59, 58), -1);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(Logged(), Texts{"E set system time 2024-02-28 23:59:58 error! Operation not permitted"});
}

TEST_F(CalendarTest, TheTimeOfDayIsPrinted) {
    SetClock(LEAP_DAY, 0);
    testing::internal::CaptureStdout();
    ZRPrintCurrentTime(true);
    ZRPrintCurrentTime(false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "SysTime : 2024-02-28 23:59:58\nSysTime : 23:59:58\n");
    SetClock(0, 0, -1);
    testing::internal::CaptureStdout();
    ZRPrintCurrentTime(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(Logged(), Texts{"E ZRPrintCurrentTime: clock error! Invalid argument"});
}
