// The recursive mutex and its guard.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "common/Guard.h"
#include "common/Mutex.h"

// The result of pthread_mutex_trylock on another thread, unlocked again there.
static int TryLockElsewhere(locker_t *locker) {
    int result = -1;
    std::thread other([&] {
        result = pthread_mutex_trylock(locker);
        if (result == 0)
            locker_unlock(locker);
    });
    other.join();
    return result;
}

TEST(Locker, IsHeldUntilUnlockedAsOftenAsLocked) {
    locker_t locker;
    ASSERT_EQ(locker_create(&locker), 0);
    EXPECT_EQ(locker_lock(&locker), 0);
    EXPECT_EQ(locker_lock(&locker), 0);
    EXPECT_EQ(TryLockElsewhere(&locker), EBUSY);
    EXPECT_EQ(locker_unlock(&locker), 0);
    EXPECT_EQ(TryLockElsewhere(&locker), EBUSY);
    EXPECT_EQ(locker_unlock(&locker), 0);
    EXPECT_EQ(TryLockElsewhere(&locker), 0);
    EXPECT_EQ(locker_destroy(&locker), 0);
}

TEST(Mutex, OneThreadAtATimeIsInside) {
    CMutex mutex("counter");
    int counter = 0; // plain: the mutex is all that protects it
    const auto count = [&] {
        for (int i = 0; i < 20000; ++i) {
            CGuard outer(mutex);
            CGuard inner(mutex);
            ++counter;
        }
    };
    std::thread first(count), second(count);
    first.join();
    second.join();
    EXPECT_EQ(counter, 40000);
}

TEST(Mutex, GuardLeavesAtTheEndOfItsBlock) {
    CMutex mutex("guarded");
    { CGuard guard(mutex); }
    std::atomic<bool> entered = false;
    std::thread other([&] {
        mutex.Enter();
        entered = true;
        mutex.Leave();
    });
    other.join();
    EXPECT_TRUE(entered);
}
