// Which files and directories Init makes, how they are named, and Init and CleanUp again.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "FdCapture.h"
#include "LogFixture.h"

namespace fs = std::filesystem;

using LogFiles = LogTest;

static unsigned ModeOf(const std::string &path) {
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

static std::size_t FilesIn(const std::string &path) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path), fs::directory_iterator()));
}

TEST_F(LogFiles, AreAllMadeByInit) {
    const mode_t mask = umask(0);
    Open();
    umask(mask);
    for (const char *name : {"system.log", "access.log", "alarm.log"})
        EXPECT_EQ(ModeOf(std::string("log/") + name), 0644u) << name;
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(ModeOf("log/Module" + std::to_string(i) + ".log"), 0644u) << i;
    EXPECT_EQ(FilesIn("log"), 23u);
}

TEST_F(LogFiles, StandInADirectoryThatIsMadeWithItsParents) {
    const mode_t mask = umask(0);
    EXPECT_EQ(m_log->Init("made/deep", false), 1);
    umask(mask);
    EXPECT_EQ(ModeOf("made"), 0666u);
    // Without search permission only root gets below it; the result of Init is the same.
    if (geteuid() == 0) {
        EXPECT_EQ(ModeOf("made/deep"), 0666u);
        EXPECT_EQ(FilesIn("made/deep"), 23u);
    }
}

TEST_F(LogFiles, ThatCannotBeMadeDoNoHarm) {
    fs::create_directory_symlink("nowhere/at/all", "dangling");
    EXPECT_EQ(m_log->Init("dangling/below", true), 1);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->System("text"), 4);
    EXPECT_EQ(m_log->Module(MODULE_LOG_3, "text"), 4);
    m_log->Debug(LOG_LEVEL_ERR, "shown");
    EXPECT_EQ(Untimed(console.Text()), std::string("shown\0\n", 7));
}

TEST_F(LogFiles, ReceiveTheLinesOfTheirOwnStream) {
    Open();
    EXPECT_EQ(m_log->System("to %s", "system"), 9);
    EXPECT_EQ(m_log->Access("to %s", "access"), 9);
    EXPECT_EQ(m_log->Alarm("to %s", "alarm"), 8);
    for (int i = 0; i < MODULE_LOG_SIZE; ++i)
        EXPECT_EQ(m_log->Module(static_cast<MODULE_LOG>(i), "module %02d", i), 9);
    EXPECT_EQ(Text("system.log"), "to system\n");
    EXPECT_EQ(Text("access.log"), "to access\n");
    EXPECT_EQ(Text("alarm.log"), "to alarm\n");
    for (int i = 0; i < MODULE_LOG_SIZE; ++i)
        EXPECT_EQ(Text("Module" + std::to_string(i) + ".log"),
                  "module " + std::string(i < 10 ? "0" : "") + std::to_string(i) + "\n");
}

TEST_F(LogFiles, AreContinuedWhenOpenedAgain) {
    Open();
    m_log->System("before");
    EXPECT_EQ(m_log->CleanUp(), 1);
    EXPECT_EQ(m_log->System("between"), -1);
    Open();
    EXPECT_EQ(m_log->System("after"), 5);
    EXPECT_EQ(Text("system.log"), "before\nafter\n");
    EXPECT_EQ(m_log->CleanUp(), 1);
    EXPECT_EQ(m_log->CleanUp(), 1);
}

TEST_F(LogFiles, MoveToTheDirectoryOfTheNextInitAfterCleanUp) {
    fs::create_directory("two");
    Open();
    m_log->CleanUp();
    EXPECT_EQ(m_log->Init("two", false), 1);
    m_log->System("text");
    EXPECT_STREQ(m_log->GetLogPath(), "two");
    EXPECT_EQ(Text("system.log"), "");
    EXPECT_EQ(Untimed(ReadWholeFile("two/system.log")), "text\n");
}

TEST_F(LogFiles, StayWhereTheyAreOnASecondInit) {
    Open(false);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->Init("other", true), 1);
    EXPECT_STREQ(m_log->GetLogPath(), "log");
    EXPECT_FALSE(fs::exists("other"));
    LOG_ERR("text");
    EXPECT_EQ(console.Text(), "");
    EXPECT_NE(Text("system.log").find("text"), std::string::npos);
}

// Names of 64 characters and more lose their end, the kept path one character more.
TEST_F(LogFiles, HaveNamesOfAtMost63Characters) {
    const std::string directory(58, 'd');
    fs::create_directory(directory);
    EXPECT_EQ(m_log->Init(directory.c_str(), false), 1);
    EXPECT_EQ(m_log->GetLogPath(), directory);
    // system.log, access.log and alarm.log; all module logs fall together.
    for (const char *name : {"syst", "acce", "alar", "Modu"})
        EXPECT_EQ(ModeOf(directory + "/" + name), 0644u) << name;
    EXPECT_EQ(FilesIn(directory), 4u);
    m_log->System("text");
    EXPECT_EQ(Untimed(ReadWholeFile(directory + "/syst")), "text\n");
}

TEST_F(LogFiles, LieBesideADirectoryWhosePathIsTooLong) {
    const std::string directory = std::string(60, 'd') + "/12345";
    fs::create_directories(directory);
    EXPECT_EQ(m_log->Init(directory.c_str(), false), 1);
    EXPECT_EQ(m_log->GetLogPath(), directory.substr(0, 63));
    EXPECT_EQ(std::string(m_log->GetLogPath()).size(), 63u);
    EXPECT_EQ(FilesIn(directory), 0u);
    EXPECT_EQ(ModeOf(directory.substr(0, 63)), 0644u);
}

TEST_F(LogFiles, HaveAKeptPathThatEndsAt63Characters) {
    for (const std::size_t length : {62u, 63u, 64u, 200u}) {
        const std::string directory(length, 'p');
        EXPECT_EQ(m_log->Init(directory.c_str(), false), 1);
        EXPECT_EQ(m_log->GetLogPath(), directory.substr(0, 63));
        m_log->CleanUp();
    }
}
