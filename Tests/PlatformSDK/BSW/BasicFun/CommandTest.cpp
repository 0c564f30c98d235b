// Programs run as children: through the shell, in the background, and for their output.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Alarms.h"
#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"
#include "Support/ScratchDir.h"

using Texts = std::vector<std::string>;

namespace {

// Forbids new descriptors, and so pipes, while it lives.
class NoDescriptors {
  public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none = {0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }

  private:
    rlimit m_before = {};
};

// Points standard error to a file while it lives.
class StderrFile {
  public:
    explicit StderrFile(const char *path) : m_before(dup(STDERR_FILENO)) { freopen(path, "w", stderr); }
    ~StderrFile() {
        dup2(m_before, STDERR_FILENO);
        close(m_before);
    }

  private:
    int m_before;
};

int StatusOf(int pid) {
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return status;
}

} // namespace

class CommandTest : public testing::Test {
  protected:
    Texts Logged() const { return m_log.TextsOf("Command.cpp"); }

    LogCapture m_log;
};

class ResultTest : public CommandTest {
  protected:
    // The output of the command, which has to fit with what guards the buffer's end.
    std::string ResultOf(const char *cmd, int expected = 0) {
        std::string buffer(EXECUTE_CMD_RESULT_SIZE + 64, '#');
        EXPECT_EQ(ExecuteCmdAndGetResult(cmd, buffer.data()), expected);
        EXPECT_EQ(buffer.substr(EXECUTE_CMD_RESULT_SIZE), std::string(64, '#'));
        return buffer.c_str();
    }
};

TEST_F(ResultTest, TheOutputIsCopiedAsItIs) {
    EXPECT_EQ(ResultOf("echo one; echo; printf 'a%%b'"), "one\n\na%b");
    EXPECT_EQ(ResultOf("true"), "");
}

TEST_F(ResultTest, TheStatusDoesNotMatter) {
    EXPECT_EQ(ResultOf("echo text; exit 3"), "text\n");
    EXPECT_EQ(ResultOf("exec 2>&-; no_such_program_here"), "");
}

TEST_F(ResultTest, ALongOutputIsCutAndReadToItsEnd) {
    EXPECT_EQ(ResultOf("printf '%0500d\\n%0600d\\n' 0 0; echo done > done"),
              std::string(500, '0') + "\n" + std::string(522, '0'));
    EXPECT_EQ(ResultOf("head -c 1023 /dev/zero | tr '\\0' x"), std::string(1023, 'x'));
    EXPECT_EQ(ResultOf("head -c 1000000 /dev/zero | tr '\\0' x && echo done > far"), std::string(1023, 'x'));
    EXPECT_TRUE(std::filesystem::exists("done"));
    EXPECT_TRUE(std::filesystem::exists("far"));
}

TEST_F(ResultTest, SignalsDoNotEndTheOutput) {
    const Alarms alarms;
    EXPECT_EQ(ResultOf("printf one; sleep 0.3; echo two; sleep 0.3; echo three"), "onetwo\nthree\n");
}

TEST_F(ResultTest, NullAndNoPipeAreRefused) {
    EXPECT_EQ(ExecuteCmdAndGetResult("echo text", nullptr), -1);
    EXPECT_EQ(ResultOf(nullptr, -1), "");
    EXPECT_EQ(Logged(), (Texts{"E ExecuteCmdAndGetResult: bad parameter", "E ExecuteCmdAndGetResult: bad parameter"}));
    m_log.Clear();
    {
        const NoDescriptors none;
        EXPECT_EQ(ResultOf("echo %s", -1), "");
    }
    EXPECT_EQ(Logged(), Texts{"E popen echo %s error\n"});
}

class ExecCommand2Test : public CommandTest {};

TEST_F(ExecCommand2Test, TheShellRunsTheProgramWithItsArguments) {
    EXPECT_EQ(ExecCommand2("echo", "%s %d > %s", "one", 2, "out"), 0);
    EXPECT_EQ(ReadWholeFile("out"), "one 2\n");
    EXPECT_EQ(ExecCommand2("exit", "%d", 7), 7);
    EXPECT_EQ(ExecCommand2("false", nullptr), 1);
    EXPECT_EQ(Logged(), Texts{});
}

TEST_F(ExecCommand2Test, AProgramThatIsNotThereIs127) {
    const StderrFile quiet("stderr");
    EXPECT_EQ(ExecCommand2("no_such_program_here", nullptr), 127);
}

TEST_F(ExecCommand2Test, ACommandMayBeLong) {
    const std::string text(50000, 'x');
    EXPECT_EQ(ExecCommand2("printf", "%s > out", text.c_str()), 0);
    EXPECT_EQ(ReadWholeFile("out"), text);
}

TEST_F(ExecCommand2Test, WhatTheSystemRefusesIsReported) {
    const std::string tooLong(300000, 'x'); // for one argument of a program
    EXPECT_EQ(ExecCommand2("true", "%s", tooLong.c_str()), -1);
    ASSERT_EQ(Logged().size(), 1U);
    EXPECT_EQ(Logged()[0].substr(0, 25), "E ExecCommand2 true xxxxx");
    m_log.Clear();
    EXPECT_EQ(ExecCommand2("kill", "-9 $$ %%n"), -1);
    EXPECT_EQ(Logged(), Texts{"E ExecCommand2 kill -9 $$ %n killed by signal 9"});
    m_log.Clear();
    EXPECT_EQ(ExecCommand2(nullptr, "%d", 1), -1);
    EXPECT_EQ(ExecCommand2("", "%d", 1), -1);
    EXPECT_EQ(Logged(), (Texts{"E ExecCommand2: no program", "E ExecCommand2: no program"}));
}

// The program alone could do anything but what was meant.
TEST_F(ExecCommand2Test, ATextThatCannotBeFormattedIsNotRun) {
    const wchar_t notInThisLocale[] = {0x4e2d, 0};
    EXPECT_EQ(ExecCommand2("touch made;", "%ls", notInThisLocale), -1);
    EXPECT_FALSE(std::filesystem::exists("made"));
    ASSERT_EQ(Logged().size(), 1U);
    EXPECT_EQ(Logged()[0].substr(0, 35), "E ExecCommand2 format touch made; e");
}

TEST_F(ExecCommand2Test, AStatusThatTheSystemThrowsAwayIsReported) {
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(ExecCommand2("true", nullptr), -1);
    signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(Logged(), Texts{"E ExecCommand2 waitpid true error! No child processes"});
}

class BackgroundTest : public CommandTest {};

TEST_F(BackgroundTest, ReturnsWhileTheProgramRuns) {
    const int pid = ExecCommandBackground("sleep", "sleep", "1000", nullptr);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(Logged(), Texts{"D --------->pid = " + std::to_string(pid)});
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0);
    kill(pid, SIGKILL);
    StatusOf(pid);
}

TEST_F(BackgroundTest, TheArgumentsArriveAsTheyAre) {
    const int pid =
        ExecCommandBackground("sh", "sh", "-c", "printf '%s,' \"$0\" \"$@\" > out", "a b", "", "$HOME", "*", nullptr);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(StatusOf(pid), 0);
    EXPECT_EQ(ReadWholeFile("out"), "a b,,$HOME,*,");
}

// Without the log and its thread: ThreadSanitizer would miss that in the child.
TEST(BackgroundChild, EndsWhenTheFileCannotBeRun) {
    const ScratchDir directory;
    const StderrFile capture("stderr");
    const int pid = ExecCommandBackground("no_such_program_here", "name", nullptr);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WEXITSTATUS(StatusOf(pid)), 127);
    EXPECT_EQ(ReadWholeFile("stderr"), "execvp error.\n");
}

TEST_F(BackgroundTest, WhatNamesNoProgramIsRefused) {
    EXPECT_EQ(ExecCommandBackground(nullptr, "name", nullptr), -1);
    EXPECT_EQ(ExecCommandBackground("", "name", nullptr), -1);
    EXPECT_EQ(ExecCommandBackground("true", nullptr, nullptr), -1);
    EXPECT_EQ(Logged(), Texts(3, "E ExecCommandBackground: no program or no argument"));
}
