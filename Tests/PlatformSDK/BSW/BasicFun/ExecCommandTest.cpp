// Shell commands: their lines in the log, their end, and SIGCHLD.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;

namespace {

void OnChild(int) {}

// A disposition with flags and a mask of its own.
void SetChildHandler() {
    struct sigaction action = {};
    action.sa_handler = OnChild;
    action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    sigaddset(&action.sa_mask, SIGUSR2);
    sigaction(SIGCHLD, &action, nullptr);
}

struct sigaction ChildDisposition() {
    struct sigaction action = {};
    sigaction(SIGCHLD, nullptr, &action);
    return action;
}

// Collects the first child of the process that ends, whoever started it, and then lets
// go the one that waits to read `fifo`.
void StealChild(const char *fifo) {
    while (waitpid(-1, nullptr, 0) < 0)
        std::this_thread::yield();
    close(open(fifo, O_WRONLY));
}

} // namespace

class ExecCommandTest : public testing::Test {
  protected:
    Texts Logged() const { return m_log.TextsOf("Function.cpp"); }

    LogCapture m_log;
};

TEST_F(ExecCommandTest, LogsEachLineOfTheOutputAndTheEnd) {
    EXPECT_EQ(ExecCommand("echo one; echo two; printf three"), 0);
    EXPECT_EQ(Logged(), (Texts{"D one\n", "D two\n", "D three",
                               "D ExecCommand: echo one; echo two; printf three Finish. res = 0, cmdRes = 0"}));
}

TEST_F(ExecCommandTest, TheStatusOfTheCommandIsOnlyLogged) {
    EXPECT_EQ(ExecCommand("exit 3"), 0);
    EXPECT_EQ(Logged(), Texts{"D ExecCommand: exit 3 Finish. res = 768, cmdRes = 3"});
}

TEST_F(ExecCommandTest, ACommandThatASignalEndsIsAnErrorLine) {
    EXPECT_EQ(ExecCommand("kill -9 $$"), 0);
    EXPECT_EQ(Logged(), Texts{"E ExecCommand: kill -9 $$ Finish. res = 9, WIFEXITED(res) = 0"});
}

TEST_F(ExecCommandTest, ALineIsLoggedInPiecesOf1023Characters) {
    EXPECT_EQ(ExecCommand("printf '%01500d\\n' 0"), 0);
    const Texts lines = Logged();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], "D " + std::string(1023, '0'));
    EXPECT_EQ(lines[1], "D " + std::string(477, '0') + "\n");
}

TEST_F(ExecCommandTest, PutsTheChildSignalBackWithItsFlagsAndMask) {
    SetChildHandler();
    const struct sigaction before = ChildDisposition();
    EXPECT_EQ(ExecCommand("exit 1"), 0);
    const struct sigaction after = ChildDisposition();
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_EQ(after.sa_flags, before.sa_flags);
    EXPECT_EQ(sigismember(&after.sa_mask, SIGUSR2), 1);
}

TEST_F(ExecCommandTest, CollectsTheChildAlsoWhereChildrenAreIgnored) {
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(ExecCommand("exit 4"), 0);
    EXPECT_EQ(Logged(), Texts{"D ExecCommand: exit 4 Finish. res = 1024, cmdRes = 4"});
    EXPECT_EQ(ChildDisposition().sa_handler, SIG_IGN);
}

TEST_F(ExecCommandTest, ACommandThatCannotBeStartedLeavesTheSignalAtItsDefault) {
    SetChildHandler();
    rlimit files = {};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit none = {0, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const int result = ExecCommand("true");
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(Logged(), Texts{"E popen true error! Too many open files"});
    EXPECT_EQ(ChildDisposition().sa_handler, SIG_DFL);
}

TEST_F(ExecCommandTest, AStatusThatSomebodyElseTookLeavesTheSignalAtItsDefault) {
    SetChildHandler();
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    // The shell ends at once; what holds its output open ends after the theft.
    const std::string command = "cat fifo & exit 0";
    std::thread thief(StealChild, "fifo");
    EXPECT_EQ(ExecCommand(command.c_str()), -1);
    thief.join();
    EXPECT_EQ(Logged(), Texts{"E pclose " + command + " error! No child processes"});
    EXPECT_EQ(ChildDisposition().sa_handler, SIG_DFL);
}
