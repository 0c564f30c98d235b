// What a worker thread carries: its name, its queues, its deadline.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "BSW/ThreadPool/ThreadPool.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"
#include "WorkerSupport.h"

namespace {

// Name of the calling thread as /proc shows it.
std::string OwnThreadName() {
    std::string name = ReadWholeFile("/proc/self/task/" + std::to_string(gettid()) + "/comm");
    name.pop_back(); // line feed
    return name;
}

// The name that the body of a worker called `name` finds.
std::string NameInBody(const char *name) {
    std::string found;
    Worker worker(name, [&](Worker &) { found = OwnThreadName(); });
    worker.CreateThread(0);
    worker.DestroyThread(true, false);
    return found;
}

void WaitForMessages(Worker &worker) {
    XMSG message;
    while (worker.Loops())
        worker.RecvMsg(&message, true);
}

} // namespace

TEST(ThreadName, IsThatOfTheThreadBeforeItsBodyRuns) {
    EXPECT_EQ(NameInBody("PcmRead"), "PcmRead");
    EXPECT_EQ(NameInBody("exactly15chars."), "exactly15chars.");
    EXPECT_EQ(NameInBody("sixteen chars..!"), "sixteen chars..");
}

TEST(ThreadName, NoNameLeavesThatOfTheCreator) {
    EXPECT_EQ(NameInBody(""), OwnThreadName());
    EXPECT_EQ(NameInBody(nullptr), OwnThreadName());
}

TEST(ThreadName, IsKeptTo63Characters) {
    Worker worker(std::string(100, 'n').c_str(), [](Worker &) {});
    EXPECT_EQ(worker.GetThreadName(), std::string(63, 'n'));
    Worker unnamed(nullptr, [](Worker &) {});
    EXPECT_STREQ(unnamed.GetThreadName(), "");
}

TEST(ThreadName, CanBeSetByAnyThread) {
    EXPECT_EQ(SetThreadName("renamed-by-the-test"), 0);
    EXPECT_EQ(OwnThreadName(), "renamed-by-the-");
}

TEST(ThreadQueues, WithoutQueuesEveryCallIsFalse) {
    for (const int size : {0, -1}) {
        Worker worker(
            "bare", [](Worker &) {}, size, size);
        XMSG message = {};
        TASK task = {};
        EXPECT_FALSE(worker.SendMsg(XM_TIMER, 0, 0, 0, nullptr, 0));
        EXPECT_FALSE(worker.RecvMsg(&message, true));
        EXPECT_FALSE(worker.PutTask(&task, 0));
        EXPECT_FALSE(worker.GetTask(&task, true));
        EXPECT_EQ(worker.GetMsgCount(), 0U);
        worker.QuitMsg();
        worker.ClearMsg();
    }
}

TEST(ThreadQueues, ReachTheQueues) {
    Worker worker(
        "queues", [](Worker &) {}, 2, 2);
    EXPECT_TRUE(worker.SendMsg(XM_TIMER, 3, 4, 0, nullptr, 0));
    EXPECT_EQ(worker.GetMsgCount(), 1U);
    XMSG message = {};
    EXPECT_TRUE(worker.RecvMsg(&message, true));
    EXPECT_EQ(message.wpa, 3U);
    EXPECT_EQ(message.lpa, 4U);
    TASK task = {};
    task.priv = 8;
    EXPECT_TRUE(worker.PutTask(&task, 0));
    task = {};
    EXPECT_TRUE(worker.GetTask(&task, true));
    EXPECT_EQ(task.priv, 8U);
    EXPECT_TRUE(worker.SendMsg(XM_TIMER, 0, 0, 0, nullptr, 0));
    worker.ClearMsg();
    EXPECT_EQ(worker.GetMsgCount(), 0U);
    worker.QuitMsg();
    EXPECT_FALSE(worker.SendMsg(XM_TIMER, 0, 0, 0, nullptr, 0));
}

TEST(ThreadQueues, TheTaskQueueCarriesTheNameOfTheThread) {
    Worker worker(
        "namedqueue", [](Worker &) {}, 0, 1);
    TASK task = {};
    EXPECT_TRUE(worker.PutTask(&task, 1));
    EXPECT_TRUE(worker.PutTask(&task, 1));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(worker.PutTask(&task, 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "namedqueue PutTask() Max Tasks(1) Reached.\n");
}

TEST(ThreadQueues, TheSignalQueuesAQuitBehindEverything) {
    std::vector<std::uint32_t> messages;
    std::vector<int> tasks;
    CSemaphore quit(0);
    Worker worker(
        "quit",
        [&](Worker &self) {
            quit.Wait();
            for (XMSG message; self.RecvMsg(&message, false);)
                messages.push_back(message.msg);
            for (TASK task; self.GetTask(&task, false);)
                tasks.push_back(task.type);
        },
        4, 4);
    ASSERT_TRUE(worker.CreateThread(0));
    ASSERT_TRUE(worker.SendMsg(XM_TIMER, 0, 0, 0, nullptr, 0));
    TASK task = {};
    task.type = TASKTYPE_ALARM;
    ASSERT_TRUE(worker.PutTask(&task, 1));
    worker.SignalQuit();
    EXPECT_FALSE(worker.Loops());
    quit.Post();
    worker.DestroyThread(true, false);
    EXPECT_EQ(messages, (std::vector<std::uint32_t>{XM_TIMER, XM_QUIT}));
    EXPECT_EQ(tasks, (std::vector<int>{TASKTYPE_ALARM, TASKTYPE_QUIT}));
}

TEST(ThreadQueues, WithoutAWorkerTheSignalDoesNothing) {
    Worker worker(
        "idle", [](Worker &) {}, 4, 4);
    worker.SignalQuit();
    TASK task = {};
    EXPECT_EQ(worker.GetMsgCount(), 0U);
    EXPECT_FALSE(worker.GetTask(&task, false));
}

TEST(ThreadQueues, TheSignalEndsABodyThatWaitsForMessages) {
    Worker worker("waits", WaitForMessages, 4);
    ASSERT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.DestroyThread(true, true));
}

TEST(ThreadQueues, TheEndOfTheBodyClearsTheMessages) {
    Worker worker(
        "clears", [](Worker &) {}, 4);
    ASSERT_TRUE(worker.SendMsg(XM_MSG_USERDATA, 0, 0, 0, const_cast<char *>("abc"), 3));
    ASSERT_TRUE(worker.CreateThread(0));
    EXPECT_TRUE(worker.DestroyThread(true, false));
    EXPECT_EQ(worker.GetMsgCount(), 0U);
}

TEST(ThreadDeadline, IsPassedAfterItsTimeAndZeroMeansNone) {
    Worker worker("deadline", [](Worker &) {});
    EXPECT_FALSE(worker.IsTimeout());
    worker.SetTimeout(10);
    const std::uint64_t start = SystemGetMSCount();
    while (!worker.IsTimeout() && SystemGetMSCount() < start + 5000)
        usleep(200);
    EXPECT_TRUE(worker.IsTimeout());
    EXPECT_GT(SystemGetMSCount(), start + 9);
    worker.SetTimeout(0);
    EXPECT_FALSE(worker.IsTimeout());
    worker.SetTimeout(60000);
    EXPECT_FALSE(worker.IsTimeout());
}
