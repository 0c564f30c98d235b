// Semaphores: private and named, and their waits.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <string>
#include <thread>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include "Support/WaitUntil.h"
#include "common/Semaphore.h"

namespace {

std::atomic<int> g_signals = 0;

void CountSignal(int) {
    ++g_signals;
}

// SIGUSR1 interrupts what a thread waits in.
void CatchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = CountSignal;
    sigaction(SIGUSR1, &action, nullptr);
}

std::string OwnName() {
    return "/zr_test_semaphore_" + std::to_string(getpid());
}

int CountsOf(const semaphore_t &semaphore) {
    int value = -1;
    sem_getvalue(semaphore.sem, &value);
    return value;
}

} // namespace

TEST(PrivateSemaphore, StartsWithItsCountsAndGivesAndTakesOne) {
    for (const char *name : {static_cast<const char *>(nullptr), ""}) {
        semaphore_t semaphore;
        ASSERT_EQ(semaphore_create(&semaphore, name, 2), 0);
        EXPECT_EQ(semaphore.name, nullptr);
        EXPECT_EQ(CountsOf(semaphore), 2);
        EXPECT_EQ(semaphore_app_post(&semaphore), 0);
        EXPECT_EQ(CountsOf(semaphore), 3);
        EXPECT_EQ(semaphore_app_wait(&semaphore), 0);
        EXPECT_EQ(CountsOf(semaphore), 2);
        EXPECT_EQ(semaphore_destroy(&semaphore), 0);
    }
}

TEST(PrivateSemaphore, RefusesCountsThatASemaphoreCannotHold) {
    semaphore_t semaphore;
    EXPECT_EQ(semaphore_create(&semaphore, nullptr, -1), EINVAL);
    EXPECT_EQ(semaphore_create(&semaphore, nullptr, LONG_MAX), EINVAL);
    EXPECT_EQ(semaphore_create(&semaphore, nullptr, 1L << 32), EINVAL);
}

TEST(PrivateSemaphore, PostBeyondTheLargestCountFails) {
    semaphore_t semaphore;
    ASSERT_EQ(semaphore_create(&semaphore, nullptr, INT_MAX), 0);
    EXPECT_EQ(semaphore_app_post(&semaphore), EOVERFLOW);
    semaphore_destroy(&semaphore);
}

TEST(NamedSemaphore, IsSeenByNameAndGoneAfterDestroy) {
    const std::string name = OwnName();
    semaphore_t semaphore;
    ASSERT_EQ(semaphore_create(&semaphore, name.c_str(), 1), 0);
    EXPECT_STREQ(semaphore.name, name.c_str());

    sem_t *same = sem_open(name.c_str(), 0);
    ASSERT_NE(same, SEM_FAILED);
    sem_post(same);
    sem_close(same);
    EXPECT_EQ(CountsOf(semaphore), 2);

    EXPECT_EQ(semaphore_destroy(&semaphore), 0);
    EXPECT_EQ(sem_open(name.c_str(), 0), SEM_FAILED);
    EXPECT_EQ(errno, ENOENT);
}

TEST(NamedSemaphore, ANameIsTakenOnlyOnce) {
    const std::string name = OwnName();
    semaphore_t first, second;
    ASSERT_EQ(semaphore_create(&first, name.c_str(), 0), 0);
    EXPECT_EQ(semaphore_create(&second, name.c_str(), 0), EEXIST);
    EXPECT_EQ(semaphore_destroy(&first), 0);
    ASSERT_EQ(semaphore_create(&second, name.c_str(), 0), 0);
    EXPECT_EQ(semaphore_destroy(&second), 0);
}

TEST(NamedSemaphore, DestroyTellsWhenTheNameIsGoneAlready) {
    const std::string name = OwnName();
    semaphore_t semaphore;
    ASSERT_EQ(semaphore_create(&semaphore, name.c_str(), 0), 0);
    ASSERT_EQ(sem_unlink(name.c_str()), 0);
    EXPECT_EQ(semaphore_destroy(&semaphore), ENOENT);
}

TEST(SemaphoreWait, OfTheFunctionEndsWithEintr) {
    CatchInterrupts();
    semaphore_t semaphore;
    ASSERT_EQ(semaphore_create(&semaphore, nullptr, 0), 0);
    std::atomic<int> result = -1;
    std::thread waiter([&] { result = semaphore_app_wait(&semaphore); });
    EXPECT_TRUE(WaitUntil([&] {
        if (result == -1)
            pthread_kill(waiter.native_handle(), SIGUSR1);
        return result != -1;
    }));
    if (result == -1)
        semaphore_app_post(&semaphore);
    waiter.join();
    EXPECT_EQ(result, EINTR);
    semaphore_destroy(&semaphore);
}

TEST(SemaphoreWait, OfTheClassGoesOnAfterSignals) {
    CatchInterrupts();
    CSemaphore semaphore(0);
    std::atomic<bool> returned = false;
    std::thread waiter([&] {
        semaphore.Wait();
        returned = true;
    });
    EXPECT_TRUE(WaitUntil([&] {
        if (!returned)
            pthread_kill(waiter.native_handle(), SIGUSR1);
        return g_signals >= 20;
    }));
    EXPECT_FALSE(returned);
    semaphore.Post();
    waiter.join();
}

TEST(Semaphore, TryWaitTakesWhatIsThereAndNeverBlocks) {
    CSemaphore semaphore(1);
    EXPECT_TRUE(semaphore.TryWait());
    EXPECT_FALSE(semaphore.TryWait());
    semaphore.Post();
    EXPECT_TRUE(semaphore.TryWait());
    EXPECT_FALSE(semaphore.TryWait());
}

TEST(SemaphoreDeathTest, OneThatCannotBeMadeEndsTheProcess) {
    EXPECT_EXIT(CSemaphore(-1), testing::KilledBySignal(SIGABRT),
                "Semaphore\\.cpp:[0-9]+: .*CSemaphore.*: Assertion `0 == ret' failed\\.");
}
