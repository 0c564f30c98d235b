// What happens when the system refuses: the calls below are replaced at link time
// (--wrap) and fail on request; otherwise they do their real work.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>

#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include "BSW/MultiTask/Thread.h"
#include "common/Mutex.h"

namespace {

bool g_refuseMutex = false;
bool g_refuseThread = false;
bool g_refuseMemory = false;
bool g_setClock = false;
std::uint64_t g_clock = 0;
int g_policy = -1;
int g_priority = -1;
int g_inherit = -1;

void KeepScheduling(const pthread_attr_t *attributes) {
    sched_param parameters = {};
    pthread_attr_getschedpolicy(attributes, &g_policy);
    pthread_attr_getschedparam(attributes, &parameters);
    pthread_attr_getinheritsched(attributes, &g_inherit);
    g_priority = parameters.sched_priority;
}

} // namespace

extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes);
int __wrap_pthread_mutex_init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes) {
    return g_refuseMutex ? EAGAIN : __real_pthread_mutex_init(mutex, attributes);
}

int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument);
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument) {
    if (attributes)
        KeepScheduling(attributes);
    return g_refuseThread ? EAGAIN : __real_pthread_create(thread, attributes, body, argument);
}

void *__real_malloc(std::size_t size);
void *__wrap_malloc(std::size_t size) {
    return g_refuseMemory ? nullptr : __real_malloc(size);
}

void *__real_calloc(std::size_t count, std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size) {
    return g_refuseMemory ? nullptr : __real_calloc(count, size);
}

char *__real_strdup(const char *text);
char *__wrap_strdup(const char *text) {
    return g_refuseMemory ? nullptr : __real_strdup(text);
}

// operator new[](std::size_t, const std::nothrow_t &)
void *__real__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void *__wrap__ZnamRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag) {
    return g_refuseMemory ? nullptr : __real__ZnamRKSt9nothrow_t(size, tag);
}

// operator new(std::size_t, const std::nothrow_t &)
void *__real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag);
void *__wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag) {
    return g_refuseMemory ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

std::uint64_t __real_SystemGetMSCount(void);
std::uint64_t __wrap_SystemGetMSCount(void) {
    return g_setClock ? g_clock : __real_SystemGetMSCount();
}
}

TEST(FaultDeathTest, AMutexThatCannotBeMadeEndsTheProcess) {
    locker_t locker;
    g_refuseMutex = true;
    EXPECT_EQ(locker_create(&locker), EAGAIN);
    EXPECT_EXIT(CMutex("refused"), testing::KilledBySignal(SIGABRT),
                "Mutex\\.cpp:[0-9]+: .*CMutex.*: Assertion `0 == ret' failed\\.");
    g_refuseMutex = false;
}

TEST(Fault, ASemaphoreWithoutMemoryIsEnomem) {
    semaphore_t semaphore;
    g_refuseMemory = true;
    EXPECT_EQ(semaphore_create(&semaphore, nullptr, 0), ENOMEM);
    EXPECT_EQ(semaphore_create(&semaphore, "/zr_test_never_made", 0), ENOMEM);
    g_refuseMemory = false;
}

TEST(Fault, AMessageWhoseDataFindsNoMemoryIsRefusedWhole) {
    CMsgQue queue("memory", 4);
    g_refuseMemory = true;
    EXPECT_FALSE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, "abc", 3));
    g_refuseMemory = false;
    EXPECT_EQ(queue.GetMsgCount(), 0U);
    XMSG message;
    EXPECT_FALSE(queue.RecvMsg(&message, false));
}

TEST(Fault, ATaskWithoutANodeIsRefusedWithALine) {
    CTaskQue queue("memory", 4);
    TASK task = {};
    testing::internal::CaptureStderr();
    g_refuseMemory = true;
    const bool result = queue.PutTask(&task, 1);
    g_refuseMemory = false;
    EXPECT_FALSE(result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "PutTask() Get Free Node Failed.\n");
    EXPECT_FALSE(queue.GetTask(&task, false));
    EXPECT_TRUE(queue.PutTask(&task, 1));
}

TEST(Fault, AThreadThatTheSystemRefusesIsReported) {
    for (const int priority : {0, 10}) {
        CThread thread(false, 0, 0, "refused");
        testing::internal::CaptureStderr();
        g_refuseThread = true;
        const bool result = thread.CreateThread(priority);
        g_refuseThread = false;
        EXPECT_FALSE(result);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "thread_create(): Resource temporarily unavailable\n");
        EXPECT_TRUE(thread.IsThreadOver());
        EXPECT_TRUE(thread.DestroyThread(true, true));
    }
}

TEST(Fault, AThreadWithoutMemoryIsEnomem) {
    pthread_t thread = {};
    g_refuseMemory = true;
    const int result = thread_create(
        &thread, [](void *) { return 0; }, nullptr);
    g_refuseMemory = false;
    EXPECT_EQ(result, ENOMEM);
}

// A failed start and then another one, for 200 ms at most.
[[noreturn]] static void StartAgainAfterAFailure() {
    CThread thread(false, 0, 0, "blocked");
    g_refuseThread = true;
    thread.CreateThread(0);
    g_refuseThread = false;
    itimerval limit = {};
    limit.it_value.tv_usec = 200000;
    setitimer(ITIMER_REAL, &limit, nullptr);
    thread.CreateThread(0);
    _exit(0);
}

// A start that failed keeps the gate: the next one blocks, here until the alarm.
TEST(FaultDeathTest, AfterAFailedStartTheNextOneBlocks) {
    EXPECT_EXIT(StartAgainAfterAFailure(), testing::KilledBySignal(SIGALRM),
                "thread_create\\(\\): Resource temporarily unavailable");
}

TEST(Fault, APriorityIsAskedForAsFifoAndInheritanceLeftOn) {
    CThread thread(false, 0, 0, "fifo");
    ASSERT_TRUE(thread.CreateThread(42));
    thread.DestroyThread(true, false);
    EXPECT_EQ(g_policy, SCHED_FIFO);
    EXPECT_EQ(g_priority, 42);
    EXPECT_EQ(g_inherit, PTHREAD_INHERIT_SCHED);
}

TEST(Fault, WithoutAPriorityTheAttributesAreTheDefaultOnes) {
    CThread thread(false, 0, 0, "default");
    ASSERT_TRUE(thread.CreateThread(0));
    thread.DestroyThread(true, false);
    EXPECT_EQ(g_policy, -1);
}

TEST(Fault, ADeadlineIsPassedOnlyWhenItIsBeforeNow) {
    CThread thread(false, 0, 0, "exact");
    g_setClock = true;
    g_clock = 1000;
    thread.SetTimeout(10);
    g_clock = 1010;
    EXPECT_FALSE(thread.IsTimeout());
    g_clock = 1011;
    EXPECT_TRUE(thread.IsTimeout());
}

TEST(Fault, ADeadlineThatWrapsIsNone) {
    CThread thread(false, 0, 0, "wrap");
    g_setClock = true;
    g_clock = UINT64_MAX - 5;
    thread.SetTimeout(10);
    g_clock = 1000;
    EXPECT_FALSE(thread.IsTimeout());
}
