// Start and end of worker threads.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include <sched.h>
#include <unistd.h>

#include "Support/WaitUntil.h"
#include "WorkerSupport.h"

namespace {

void LoopUntilQuit(Worker &worker) {
    while (worker.Loops())
        std::this_thread::yield();
}

int StoreOwnHandle(void *handle) {
    *static_cast<pthread_t *>(handle) = thread_self();
    return 5;
}

int DetachSelf(void *result) {
    *static_cast<std::atomic<int> *>(result) = thread_destroy(thread_self());
    return 0;
}

} // namespace

TEST(ThreadFunctions, DestroyOnAnotherThreadJoins) {
    pthread_t thread = {}, own = {};
    ASSERT_EQ(thread_create(&thread, StoreOwnHandle, &own), 0);
    EXPECT_EQ(thread_destroy(thread), 0);
    EXPECT_TRUE(pthread_equal(thread, own)); // plain fields: only the join orders them
    EXPECT_EQ(thread_isself(thread_self()), 1);
}

TEST(ThreadFunctions, DestroyOnTheThreadItselfDetaches) {
    std::atomic<int> result = -1;
    pthread_t thread = {};
    ASSERT_EQ(thread_create(&thread, DetachSelf, &result), 0);
    EXPECT_EQ(thread_isself(thread), 0);
    EXPECT_TRUE(WaitUntil([&] { return result != -1; }));
    EXPECT_EQ(result, 0);
}

TEST(Thread, RunsItsBodyOnceOnAThreadOfItsOwn) {
    std::atomic<int> bodies = 0, id = 0;
    Worker worker("once", [&](Worker &self) {
        ++bodies;
        id = gettid();
        LoopUntilQuit(self);
    });
    EXPECT_TRUE(worker.IsThreadOver());
    EXPECT_EQ(worker.GetThreadID(), 0);
    EXPECT_FALSE(worker.Loops());
    EXPECT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.CreateThread(0)); // runs already
    EXPECT_FALSE(worker.IsThreadOver());
    ASSERT_TRUE(WaitUntil([&] { return id != 0; }));
    EXPECT_EQ(worker.GetThreadID(), id);
    EXPECT_NE(worker.GetThreadID(), gettid());
    EXPECT_TRUE(worker.DestroyThread(true, true));
    EXPECT_TRUE(worker.IsThreadOver());
    EXPECT_EQ(bodies, 1);
}

TEST(Thread, TheIdMayBeReadAtOnce) {
    Worker worker("id", LoopUntilQuit);
    ASSERT_TRUE(worker.CreateThread(0));
    const int atOnce = worker.GetThreadID();
    EXPECT_TRUE(WaitUntil([&] { return worker.GetThreadID() != 0; }));
    EXPECT_TRUE(atOnce == 0 || atOnce == worker.GetThreadID());
}

TEST(Thread, DestroyReturnsOnlyAfterTheBody) {
    bool returned = false; // plain: the end of the thread orders it
    Worker worker("waited", [&](Worker &self) {
        LoopUntilQuit(self);
        usleep(20000);
        returned = true;
    });
    ASSERT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.DestroyThread(true, true));
    EXPECT_TRUE(returned);
}

TEST(Thread, DestroyWithoutAStartIsTrueAtOnce) {
    Worker worker("never", LoopUntilQuit);
    EXPECT_TRUE(worker.DestroyThread(true, true));
    EXPECT_TRUE(worker.DestroyThread(true, true));
}

TEST(Thread, DestroyWithoutTheSignalWaitsForTheBodyToEndByItself) {
    CSemaphore release(0);
    bool looped = false;
    Worker worker("patient", [&](Worker &self) {
        release.Wait();
        looped = self.Loops();
    });
    ASSERT_TRUE(worker.CreateThread(0));
    release.Post();
    EXPECT_TRUE(worker.DestroyThread(true, false));
    EXPECT_TRUE(looped);
}

TEST(Thread, ANewStartWaitsForTheBodyThatNobodyWaitedFor) {
    CSemaphore release(0);
    std::atomic<int> begun = 0, ended = 0, endedAtSecondBegin = -1;
    Worker worker("gate", [&](Worker &) {
        if (++begun == 2)
            endedAtSecondBegin = ended.load();
        release.Wait();
        ++ended;
    });
    ASSERT_TRUE(worker.CreateThread(0));
    ASSERT_TRUE(WaitUntil([&] { return begun == 1; }));
    EXPECT_TRUE(worker.DestroyThread(false, true)); // returns while the body is held
    EXPECT_EQ(ended, 0);
    EXPECT_TRUE(worker.IsThreadOver());

    std::thread starter([&] { worker.CreateThread(0); });
    EXPECT_FALSE(WaitUntil([&] { return begun == 2; }, 50));
    release.Post();
    starter.join();
    release.Post();
    EXPECT_TRUE(worker.DestroyThread(true, true));
    EXPECT_EQ(begun, 2);
    EXPECT_EQ(endedAtSecondBegin, 1);
}

TEST(Thread, DestroyOnTheWorkerNeverWaits) {
    std::atomic<int> destroyed = 0;
    Worker worker("itself", [&](Worker &self) {
        if (destroyed < 2 && self.DestroyThread(true, true) && !self.Loops())
            ++destroyed;
    });
    for (int round = 1; round <= 2; ++round) {
        ASSERT_TRUE(worker.CreateThread(0)); // the gate opens once the body before has ended
        EXPECT_TRUE(WaitUntil([&] { return destroyed == round && worker.IsThreadOver(); }));
    }
    ASSERT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.DestroyThread(true, false));
}

TEST(Thread, ADetachedBodyMayDeleteItsObject) {
    static std::atomic<int> deleted = 0;
    struct SelfDeleting : CThread {
        SelfDeleting() : CThread(true, 4, 4, "selfdelete") {}
        ~SelfDeleting() override { ++deleted; }
        void ThreadProc() override { delete this; }
    };
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE((new SelfDeleting)->CreateThread(0));
    EXPECT_TRUE(WaitUntil([] { return deleted == 200; }));
}

TEST(Thread, ADetachedThreadCountsAsRunningUntilDestroyed) {
    CSemaphore ended(0);
    Worker worker(
        "detached", [&](Worker &) { ended.Post(); }, 4, 0, true);
    ASSERT_TRUE(worker.CreateThread(0));
    ended.Wait();
    EXPECT_FALSE(worker.IsThreadOver());
    EXPECT_TRUE(worker.SendMsg(XM_TIMER, 0, 0, 0, nullptr, 0));
    EXPECT_EQ(worker.GetMsgCount(), 1U); // a detached end clears nothing
    EXPECT_TRUE(worker.DestroyThread(false, false));
    EXPECT_TRUE(worker.IsThreadOver());
    EXPECT_TRUE(WaitUntil([] { return !WaitForThreadNamed("detached", 0); }));
}

TEST(Thread, TheBaseClassHasAnEmptyBody) {
    CThread thread(false, 0, 0, "plain");
    EXPECT_TRUE(thread.CreateThread(0));
    EXPECT_TRUE(thread.DestroyThread(true, false));
}

TEST(Thread, APriorityDoesNotChangeTheInheritedScheduling) {
    for (const int priority : {1, 50, 99, 1000}) {
        std::atomic<int> policy = -1;
        Worker worker("fifo", [&](Worker &) { policy = sched_getscheduler(0); });
        EXPECT_TRUE(worker.CreateThread(priority));
        EXPECT_TRUE(worker.DestroyThread(true, false));
        EXPECT_EQ(policy, sched_getscheduler(0));
    }
}

TEST(ThreadStress, StartAndEndManyTimes) {
    int bodies = 0; // plain: each end orders it before the next start
    Worker worker(
        "again",
        [&](Worker &self) {
            ++bodies;
            LoopUntilQuit(self);
        },
        4, 4);
    for (int round = 0; round < 300; ++round) {
        ASSERT_TRUE(worker.CreateThread(round % 3));
        ASSERT_TRUE(worker.DestroyThread(round % 2 == 0, true));
    }
    ASSERT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.DestroyThread(true, true));
    EXPECT_EQ(bodies, 301);
}
