// Name and priority of the calling thread; threads that nobody joins.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>

#include <linux/capability.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "PoolSupport.h"

namespace {

std::string OwnName() {
    char name[16] = {};
    prctl(PR_GET_NAME, name);
    return name;
}

// What SetThreadPriority(`asked`) gives on a thread of its own, and that thread's
// scheduling afterwards.
struct Scheduling {
    int result = 0;
    int policy = -1;
    int priority = -1;
};

Scheduling SetOnNewThread(int asked) {
    Scheduling scheduling;
    std::thread([&] {
        scheduling.result = SetThreadPriority(asked);
        sched_param parameters = {};
        pthread_getschedparam(pthread_self(), &scheduling.policy, &parameters);
        scheduling.priority = parameters.sched_priority;
    }).join();
    return scheduling;
}

// Whether this process may make a thread a real-time thread of priority 50.
bool MayRunRealTime() {
    bool may = false;
    std::thread([&] {
        sched_param parameters = {};
        parameters.sched_priority = 50;
        may = pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0;
    }).join();
    return may;
}

// The result of SetThreadPriority(1) in a child without the right to real-time priorities.
int ResultWithoutTheRight() {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_RTPRIO, &none);
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        const __user_cap_data_struct noCapabilities[2] = {};
        if (syscall(SYS_capset, &header, noCapabilities) != 0)
            _exit(255);
        _exit(SetThreadPriority(1));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct Started {
    CSemaphore ran{0};
    CSemaphore released{0};
    bool isDetached = false;
    int scope = -1;
    pthread_t self = {};

    static void *Run(void *argument) {
        auto *started = static_cast<Started *>(argument);
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        int state = -1;
        pthread_attr_getdetachstate(&attributes, &state);
        pthread_attr_getscope(&attributes, &started->scope);
        pthread_attr_destroy(&attributes);
        started->isDetached = state == PTHREAD_CREATE_DETACHED;
        started->self = pthread_self();
        started->ran.Post();
        started->released.Wait();
        return nullptr;
    }
};

// One that stays: nobody knows when a detached thread is done with it.
Started &Kept() {
    static Started *const started = new Started;
    return *started;
}

} // namespace

TEST(ThreadName, IsCutTo15Characters) {
    std::thread([] {
        EXPECT_EQ(SetThreadName("short"), 0);
        EXPECT_EQ(OwnName(), "short");
        EXPECT_EQ(SetThreadName("0123456789abcdefgh"), 0);
        EXPECT_EQ(OwnName(), "0123456789abcde");
        EXPECT_EQ(SetThreadName(nullptr), -1);
    }).join();
}

TEST(ThreadPriority, OutOfTheRangeIsRefused) {
    for (const int priority : {0, -1, 100}) {
        testing::internal::CaptureStdout();
        const Scheduling scheduling = SetOnNewThread(priority);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "priority error " + std::to_string(priority) + "\n");
        EXPECT_EQ(scheduling.result, -1);
        EXPECT_EQ(scheduling.policy, SCHED_OTHER);
    }
}

TEST(ThreadPriority, IsAlwaysTheMiddleOfTheRange) {
    if (!MayRunRealTime())
        GTEST_SKIP() << "no right to real-time priorities";
    for (const int priority : {1, 50, 99}) {
        const Scheduling scheduling = SetOnNewThread(priority);
        EXPECT_EQ(scheduling.result, 0);
        EXPECT_EQ(scheduling.policy, SCHED_FIFO);
        EXPECT_EQ(scheduling.priority, 50);
    }
}

TEST(ThreadPriority, IsRefusedWithoutTheRight) {
    EXPECT_EQ(ResultWithoutTheRight(), EPERM);
}

TEST(DetachedThread, RunsDetachedAndGivesItsHandle) {
    const NewThreads threads;
    Started &started = Kept();
    pthread_t handle = {};
    ASSERT_EQ(create_detached_thread(Started::Run, &started, &handle), 0);
    EXPECT_TRUE(WasPosted(started.ran));
    EXPECT_TRUE(started.isDetached);
    EXPECT_EQ(started.scope, PTHREAD_SCOPE_SYSTEM);
    EXPECT_TRUE(pthread_equal(started.self, handle));
    started.released.Post();
    EXPECT_TRUE(threads.WaitForEnd());
}

TEST(DetachedThread, NeedsNoHandleButAFunction) {
    const NewThreads threads;
    Started &started = Kept();
    EXPECT_EQ(create_detached_thread(Started::Run, &started, nullptr), 0);
    EXPECT_TRUE(WasPosted(started.ran));
    started.released.Post();
    EXPECT_TRUE(threads.WaitForEnd());
    EXPECT_EQ(create_detached_thread(nullptr, nullptr, nullptr), -1);
}
