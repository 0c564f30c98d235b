// Times of the PCM bridge across the wrap of its 32-bit microsecond clock. Here the test
// sets the clock of one PCM thread; the card and every other thread keep the real one.
#include <atomic>
#include <chrono>
#include <string_view>

#include <sys/prctl.h>
#include <time.h>

#include "PcmBridge.h"

namespace {

constexpr int64_t WRAP_US = int64_t{1} << 32;
constexpr int64_t BEFORE_WRAP_US = 30000;

std::atomic<const char *> wrappingThread = nullptr; // the name, once it is to wrap
std::atomic<int64_t> offsetUs = 0;                  // 0 until the first look at the clock

bool IsWrappingThread() {
    char name[16] = {};
    prctl(PR_GET_NAME, name);
    const char *const wrapping = wrappingThread;
    return wrapping && std::string_view(name) == wrapping;
}

} // namespace

extern "C" {

int __real_clock_gettime(clockid_t clock, timespec *now);

// Stands 30 ms before the wrap at the thread's first look and goes on from there.
int __wrap_clock_gettime(clockid_t clock, timespec *now) {
    const int result = __real_clock_gettime(clock, now);
    if (clock != CLOCK_MONOTONIC || !IsWrappingThread())
        return result;
    const int64_t real = now->tv_sec * 1000000 + now->tv_nsec / 1000;
    if (offsetUs == 0)
        offsetUs = 2 * WRAP_US - BEFORE_WRAP_US - real % WRAP_US;
    const int64_t shown = real + offsetUs;
    now->tv_sec = shown / 1000000;
    now->tv_nsec = shown % 1000000 * 1000;
    return result;
}
}

namespace {

class AudioPcmClock : public PcmBridge {
  protected:
    static void PassTheWrap() {
        ASSERT_TRUE(WaitUntil([] { return offsetUs != 0; })) << "the thread has not looked at its clock";
        const auto start = std::chrono::steady_clock::now();
        const auto enough = std::chrono::microseconds(2 * BEFORE_WRAP_US);
        ASSERT_TRUE(WaitUntil([=] { return std::chrono::steady_clock::now() - start > enough; }));
    }
};

// From before the wrap to behind it, and nowhere near the whole range of the clock.
void ExpectAcrossTheWrap(uint64_t time) {
    EXPECT_GT(time, static_cast<uint64_t>(BEFORE_WRAP_US));
    EXPECT_LT(time, static_cast<uint64_t>(WRAP_US / 2));
}

TEST_F(AudioPcmClock, MayWrapWhileTheCardIsRead) {
    wrappingThread = "PcmRead";
    Start();
    PassTheWrap();
    ASSERT_EQ(TakeNext().size, 1538);
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::MaxReadTime() != 0; }));
    ExpectAcrossTheWrap(AudioPcmProbe::MaxReadTime());
    ExpectAcrossTheWrap(AudioPcmProbe::MaxReadCardTime());
}

TEST_F(AudioPcmClock, MayWrapWhileTheCardIsWritten) {
    Start();
    FillPlayback();
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::CardWrites() == 5; }));
    const uint64_t checks = AudioPcmProbe::EmptyChecks();
    ASSERT_TRUE(WaitUntil([=] { return AudioPcmProbe::EmptyChecks() > checks; })) << "the fifth is not done with";
    wrappingThread = "PcmWrite";
    Give(5); // waits for room on the card
    PassTheWrap();
    card.Advance(1);
    ASSERT_TRUE(WaitUntil([] { return AudioPcmProbe::MaxWriteCardTime() > BEFORE_WRAP_US; }));
    ExpectAcrossTheWrap(AudioPcmProbe::WriteTime());
    ExpectAcrossTheWrap(AudioPcmProbe::MaxWriteCardTime());
}

} // namespace
