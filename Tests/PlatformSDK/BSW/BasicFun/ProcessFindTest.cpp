// Processes found by name: those that the tests start.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "Support/ChildProcess.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"

using Texts = std::vector<std::string>;

namespace {

constexpr int LONG_WAIT_MS = 30000;

// A number of seconds that no other process of the machine sleeps.
std::string UniqueSeconds() {
    return "90000." + std::to_string(getpid());
}

// Whether `find` gives the child's pid, once it is in the list.
template <typename Find> bool Finds(const ChildProcess &child, Find find) {
    return WaitUntil([&] { return find() == child.Pid(); }, LONG_WAIT_MS);
}

} // namespace

class ProcessFindTest : public testing::Test {
  protected:
    Texts Logged() const { return m_log.TextsOf("ProcessFind.cpp"); }

    LogCapture m_log;
    std::string m_seconds = UniqueSeconds();
};

TEST_F(ProcessFindTest, AnAppletOfBusyboxIsFound) {
    const ChildProcess other("other", {"sleep", m_seconds});
    const ChildProcess applet("applet", {"busybox", "sleep", m_seconds});
    EXPECT_TRUE(Finds(applet, [&] { return FindBusyboxPid(m_seconds.c_str()); }));
}

TEST_F(ProcessFindTest, AnAppletIsBusyboxesOnly) {
    const ChildProcess other("other", {"sleep", m_seconds});
    ASSERT_TRUE(Finds(other, [&] { return XGetProgressIDByProgramName("sleep", m_seconds.c_str()); }));
    EXPECT_EQ(FindBusyboxPid(m_seconds.c_str()), -1);
    EXPECT_EQ(Logged(), Texts{});
}

TEST_F(ProcessFindTest, AProgramIsFoundByItsNameWithOrWithoutItsDirectory) {
    const std::string name = "zr" + std::to_string(getpid());
    std::filesystem::create_symlink("/bin/sleep", name);
    const std::string path = std::filesystem::absolute(name);
    const ChildProcess program("program", {path, "1000"});
    EXPECT_TRUE(Finds(program, [&] { return XGetProgressIDByProgramName(name.c_str(), nullptr); }));
    EXPECT_EQ(XGetProgressIDByProgramName(path.c_str(), ""), program.Pid());
    EXPECT_EQ(XGetProgressIDByProgramName(name.c_str(), "1000"), program.Pid());
    EXPECT_EQ(XGetProgressIDByProgramName(name.c_str(), "1001"), -1);
    EXPECT_EQ(XGetProgressIDByProgramName(name.substr(0, name.size() - 1).c_str(), nullptr), -1);
    EXPECT_EQ(XGetProgressIDByProgramName(name.substr(1).c_str(), nullptr), -1);
    EXPECT_EQ(Logged(), Texts{});
}

TEST_F(ProcessFindTest, TheKeywordTellsTwoOfAProgramApart) {
    const ChildProcess first("first", {"sleep", m_seconds + "1"});
    const ChildProcess second("second", {"sleep", m_seconds + "2"});
    EXPECT_TRUE(Finds(first, [&] { return XGetProgressIDByProgramName("sleep", (m_seconds + "1").c_str()); }));
    EXPECT_TRUE(Finds(second, [&] { return XGetProgressIDByProgramName("sleep", (m_seconds + "2").c_str()); }));
}

// A command line longer than a piece of the pipe is one line all the same: the last piece
// of this one would do as a line of another process.
TEST_F(ProcessFindTest, ALongCommandLineIsNoNewLine) {
    const std::string padding = std::string(3000, 'x') + " 1 0 0 00:00 ? 00:00:00 zrfalse";
    const ChildProcess program("program", {"sh", "-c", "kill -STOP $$", m_seconds, padding});
    ASSERT_TRUE(Finds(program, [&] { return XGetProgressIDByProgramName("sh", m_seconds.c_str()); }));
    EXPECT_EQ(XGetProgressIDByProgramName("zrfalse", nullptr), -1);
}

TEST_F(ProcessFindTest, ANameThatTheShellWouldReadIsRefused) {
    const char *bad[] = {"a;touch made", "a b", "$(touch made)", "`touch made`", "a|b", "a>made", "a&", "%s",
                         "'a",           "\"a", "a\\b",          "a\nb",         "*",   "-v",     "",   "\xc3\xa4"};
    for (const char *name : bad) {
        m_log.Clear();
        EXPECT_EQ(FindBusyboxPid(name), -1);
        EXPECT_EQ(XGetProgressIDByProgramName(name, nullptr), -1);
        EXPECT_EQ(Logged(), (Texts{"E FindBusyboxPid: bad name \"" + std::string(name) + "\"",
                                   "E XGetProgressIDByProgramName: bad name \"" + std::string(name) + "\""}));
    }
    EXPECT_FALSE(std::filesystem::exists("made"));
}

TEST_F(ProcessFindTest, SoAreNullAndANameThatIsTooLong) {
    EXPECT_EQ(FindBusyboxPid(nullptr), -1);
    EXPECT_EQ(FindBusyboxPid(std::string(PROGRAM_NAME_LENGTH + 1, 'n').c_str()), -1);
    EXPECT_EQ(Logged(), (Texts{"E FindBusyboxPid: bad name \"\"",
                               "E FindBusyboxPid: bad name \"" + std::string(PROGRAM_NAME_LENGTH, 'n') + "\""}));
    m_log.Clear();
    EXPECT_EQ(FindBusyboxPid(std::string(PROGRAM_NAME_LENGTH, 'n').c_str()), -1);
    EXPECT_EQ(Logged(), Texts{});
}

TEST_F(ProcessFindTest, WithoutAPipeThereIsAnErrorLine) {
    rlimit files = {};
    getrlimit(RLIMIT_NOFILE, &files);
    const rlimit none = {0, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(XGetProgressIDByProgramName("sleep", nullptr), -1);
    EXPECT_EQ(FindBusyboxPid("sleep"), -1);
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_EQ(Logged(),
              (Texts{"E popen ps -ef error. Too many open files",
                     "E popen ps -ef | grep busybox | grep -v grep | grep sleep error. Too many open files"}));
}
