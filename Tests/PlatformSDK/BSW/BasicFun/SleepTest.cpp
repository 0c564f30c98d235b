// Sleeping: how long, and that a signal handler ends it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "Alarms.h"
#include "BSW/BasicFun/Function.h"

namespace {

// Runs `sleep`; true when it took at least `ms` milliseconds and gave 0.
template <typename Sleep> bool TakesAtLeast(std::uint64_t ms, Sleep sleep) {
    const std::uint64_t start = SystemGetMSCount();
    return sleep() == 0 && SystemGetMSCount() >= start + ms;
}

} // namespace

// 4294968 ms are 4294968000 us, 704 us beyond 32 bits.
TEST(Sleep, TheMicrosecondsWrapAt32Bits) {
    const std::uint64_t start = SystemGetMSCount();
    EXPECT_EQ(XSleep(4294968), 0);
    EXPECT_LT(SystemGetMSCount(), start + 5000);
}

TEST(Sleep, LastsAsLongAsItIsTold) {
    EXPECT_TRUE(TakesAtLeast(20, [] { return SleepMs(20); }));
    EXPECT_TRUE(TakesAtLeast(1000, [] { return SleepMs(1000); })); // from here on usleep refuses
    EXPECT_TRUE(TakesAtLeast(1100, [] { return SleepMs(1100); }));
    EXPECT_TRUE(TakesAtLeast(1000, [] { return SleepS(1); }));
    EXPECT_EQ(SleepMs(0), 0);
    EXPECT_EQ(SleepS(0), 0);
}

// Durations that a 32-bit count of microseconds or milliseconds would make short.
TEST(Sleep, ALongOneEndsWithASignalOnly) {
    const Alarms alarms;
    for (const unsigned long ms : {4294968UL, 4294967296UL}) {
        errno = 0;
        EXPECT_EQ(SleepMs(ms), -1);
        EXPECT_EQ(errno, EINTR);
    }
    errno = 0;
    EXPECT_EQ(SleepS(4294967295U), -1);
    EXPECT_EQ(errno, EINTR);
}
