// Time and sleeping. The clock is replaced at link time (--wrap) where a test sets it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include <time.h>

#include "BSW/BasicFun/Function.h"

namespace {

bool g_setClock = false;
int g_clockResult = 0;
clockid_t g_clockAsked = -1;
timespec g_clock = {};

void SetClock(time_t seconds, long nanoseconds, int result = 0) {
    g_setClock = true;
    g_clock.tv_sec = seconds;
    g_clock.tv_nsec = nanoseconds;
    g_clockResult = result;
}

} // namespace

extern "C" {
int __real_clock_gettime(clockid_t clock, timespec *now);
int __wrap_clock_gettime(clockid_t clock, timespec *now) {
    if (!g_setClock)
        return __real_clock_gettime(clock, now);
    g_clockAsked = clock;
    if (g_clockResult == 0)
        *now = g_clock;
    return g_clockResult;
}
}

TEST(Time, IsMonotonicMilliseconds) {
    SetClock(5, 999999999);
    EXPECT_EQ(SystemGetMSCount(), 5999U);
    EXPECT_EQ(g_clockAsked, CLOCK_MONOTONIC);
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
    EXPECT_EQ(g_clockAsked, CLOCK_MONOTONIC);
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

// 4294968 ms are 4294968000 us, 704 us beyond 32 bits.
TEST(Sleep, TheMicrosecondsWrapAt32Bits) {
    const std::uint64_t start = SystemGetMSCount();
    EXPECT_EQ(XSleep(4294968), 0);
    EXPECT_LT(SystemGetMSCount(), start + 5000);
}
