// Waiting for a child, with what happens to it in the log.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Alarms.h"
#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;

namespace {

constexpr int LONG_WAIT_MS = 30000;

int StartSleep() {
    return ExecCommandBackground("sleep", "sleep", "1000", nullptr);
}

} // namespace

class WaitQuitTest : public testing::Test {
  protected:
    // The log without the line that tells the pid.
    Texts Logged() const {
        Texts texts = m_log.TextsOf("Command.cpp");
        std::erase_if(texts, [](const std::string &text) { return text.starts_with("D --------->pid = "); });
        return texts;
    }

    LogCapture m_log;
};

TEST_F(WaitQuitTest, AnExitIsLoggedWithItsStatus) {
    int status = -1;
    EXPECT_EQ(XWaitProgressQuit(ExecCommandBackground("sh", "sh", "-c", "exit 5", nullptr), status), 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 5);
    EXPECT_EQ(Logged(), Texts{"D exited, status=5\n"});
}

TEST_F(WaitQuitTest, SoIsTheSignalThatKillsIt) {
    const int pid = StartSleep();
    kill(pid, SIGTERM);
    int status = -1;
    EXPECT_EQ(XWaitProgressQuit(pid, status), 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_EQ(Logged(), Texts{"D killed by signal 15\n"});
}

TEST_F(WaitQuitTest, AStopAndAContinuationDoNotEndTheWait) {
    const int pid = StartSleep();
    ASSERT_GT(pid, 0);
    kill(pid, SIGSTOP);
    std::thread waker([&] {
        EXPECT_TRUE(m_log.WaitFor("D stopped by signal 19\n", LONG_WAIT_MS));
        kill(pid, SIGCONT);
        EXPECT_TRUE(m_log.WaitFor("D continued\n", LONG_WAIT_MS));
        kill(pid, SIGKILL);
    });
    int status = -1;
    EXPECT_EQ(XWaitProgressQuit(pid, status), 0);
    waker.join();
    EXPECT_EQ(Logged(), (Texts{"D stopped by signal 19\n", "D continued\n", "D killed by signal 9\n"}));
}

TEST_F(WaitQuitTest, OtherSignalsDoNotEndTheWait) {
    const Alarms alarms;
    int status = -1;
    EXPECT_EQ(XWaitProgressQuit(ExecCommandBackground("sleep", "sleep", "0.3", nullptr), status), 0);
    EXPECT_EQ(ExecCommand2("sleep", "0.3"), 0);
    EXPECT_EQ(Logged(), Texts{"D exited, status=0\n"});
}

TEST_F(WaitQuitTest, OnlyAChildCanBeWaitedFor) {
    int status = -1;
    for (const int pid : {0, -1, -1000, static_cast<int>(getpid())}) {
        EXPECT_EQ(XWaitProgressQuit(pid, status), -1);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Logged(), (Texts{"E XWaitProgressQuit: bad pid 0", "E XWaitProgressQuit: bad pid -1",
                               "E XWaitProgressQuit: bad pid -1000",
                               "E waitpid " + std::to_string(getpid()) + " error! No child processes"}));
}
