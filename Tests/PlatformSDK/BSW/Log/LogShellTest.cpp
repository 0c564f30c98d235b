// The operations that run a shell command on the log's files.
#include <gtest/gtest.h>

#include "FdCapture.h"
#include "LogFixture.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;

using LogShell = LogTest;

// The line that tells how the command ended.
static std::string LastText(const std::string &path) {
    const auto lines = ParseLog(ReadWholeFile(path));
    return lines.empty() ? "" : lines.back().text;
}

TEST_F(LogShell, RemovesTheFilesOfItsDirectory) {
    Open();
    m_log->System("text");
    fs::create_hard_link("log/system.log", "kept.log");
    m_log->DeleteLog();
    EXPECT_TRUE(fs::is_empty("log"));
    EXPECT_EQ(LastText("kept.log"), "ExecCommand: rm log/* Finish. res = 0, cmdRes = 0");
}

TEST_F(LogShell, GoesOnWritingToTheRemovedFiles) {
    Open();
    m_log->DeleteLog();
    EXPECT_EQ(m_log->System("text"), 4);
    EXPECT_TRUE(fs::is_empty("log"));
    m_log->CleanUp();
    Open();
    EXPECT_EQ(m_log->System("text"), 4);
    EXPECT_EQ(Text("system.log"), "text\n");
}

// It archives /data/log, not the directory of Init, and does not tell how that ended.
TEST_F(LogShell, ArchivesTheFixedDirectory) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->CopyLogToUdisk("."), 1);
    const std::string text = LastText("log/system.log");
    EXPECT_TRUE(text.starts_with("ExecCommand: tar jcf ./Log.tar.bz2 /data/log Finish. res = ")) << text;
}

TEST_F(LogShell, ArchivesToADirectoryThatExistsOnly) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->CopyLogToUdisk("missing"), 1);
    EXPECT_FALSE(fs::exists("missing"));
}

TEST_F(LogShell, ArchivesNothingWithoutATarget) {
    Open();
    EXPECT_EQ(m_log->CopyLogToUdisk(nullptr), 0);
    EXPECT_EQ(Raw("system.log"), "");
}

// A command has 255 characters; the rest of a long target is lost with the directory.
TEST_F(LogShell, CutsItsCommandAt255Characters) {
    Open();
    FdCapture error(STDERR_FILENO);
    const std::string target(300, 'u');
    EXPECT_EQ(m_log->CopyLogToUdisk(target.c_str()), 1);
    const std::string text = LastText("log/system.log");
    EXPECT_TRUE(text.starts_with("ExecCommand: tar jcf " + target.substr(0, 255 - 8) + " Finish. res = ")) << text;
}
