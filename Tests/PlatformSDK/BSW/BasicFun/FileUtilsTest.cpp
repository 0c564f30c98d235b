// Existence of files and creation of directory paths.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>

#include "BSW/BasicFun/FileUtils.h"
#include "Support/ScratchDir.h"

namespace fs = std::filesystem;

class FileUtils : public testing::Test {
  protected:
    // Mode bits of a path below the scratch directory.
    static unsigned ModeOf(const char *path) {
        struct stat status = {};
        stat(path, &status);
        return status.st_mode & 07777U;
    }

    ScratchDir m_directory;
};

TEST_F(FileUtils, AnythingThatIsThereExists) {
    std::ofstream("file") << "x";
    fs::create_directory("directory");
    fs::create_symlink("nowhere", "dangling");
    EXPECT_EQ(XFilePathExists("file"), 1);
    EXPECT_EQ(XFilePathExists("directory"), 1);
    EXPECT_EQ(XFilePathExists("missing"), 0);
    EXPECT_EQ(XFilePathExists("dangling"), 0);
    EXPECT_EQ(XFilePathExists(""), 0);
    EXPECT_EQ(XFilePathExists(nullptr), 0);
}

TEST_F(FileUtils, EveryMissingDirectoryIsMade) {
    EXPECT_EQ(XCreateFullPathDir("a/b/c", 0755), 1);
    EXPECT_TRUE(fs::is_directory("a/b/c"));
    EXPECT_EQ(XCreateFullPathDir("d/e/f/", 0755), 1);
    EXPECT_TRUE(fs::is_directory("d/e/f"));
    EXPECT_EQ(XCreateFullPathDir("a/b/x//y", 0755), 1);
    EXPECT_TRUE(fs::is_directory("a/b/x/y"));
    const std::string absolute = m_directory.Path() + "/g/h";
    EXPECT_EQ(XCreateFullPathDir(absolute.c_str(), 0755), 1);
    EXPECT_TRUE(fs::is_directory("g/h"));
}

TEST_F(FileUtils, TheModeIsPassedOnAsItIs) {
    const mode_t previous = umask(022);
    EXPECT_EQ(XCreateFullPathDir("plain", 0666), 1);
    EXPECT_EQ(XCreateFullPathDir("private", 0700), 1);
    umask(previous);
    EXPECT_EQ(ModeOf("plain"), 0644U);
    EXPECT_EQ(ModeOf("private"), 0700U);
}

TEST_F(FileUtils, WhatExistsIsEnoughWhateverItIs) {
    std::ofstream("file") << "x";
    EXPECT_EQ(XCreateFullPathDir("file", 0755), 1);
    EXPECT_EQ(XCreateFullPathDir("/", 0755), 1);
    EXPECT_EQ(XCreateFullPathDir(".", 0755), 1);
}

TEST_F(FileUtils, TheFirstThatCannotBeMadeEndsItAndLeavesTheOthers) {
    fs::create_directory("top");
    std::ofstream("top/file") << "x";
    EXPECT_EQ(XCreateFullPathDir("made/also/../also/", 0755), 1);
    EXPECT_EQ(XCreateFullPathDir("top/new/../file/below", 0755), 0);
    EXPECT_TRUE(fs::is_directory("top/new"));
    EXPECT_EQ(XCreateFullPathDir("/proc/cannot/be/made", 0755), 0);
}

TEST_F(FileUtils, AnEmptyPathIsTheRootAndNullIsRefused) {
    EXPECT_EQ(XCreateFullPathDir("", 0755), 1);
    EXPECT_EQ(XCreateFullPathDir(nullptr, 0755), 0);
}

// Five directories of 50 characters and their slashes are 255; what is behind is lost.
TEST_F(FileUtils, APathIsCutAt255Characters) {
    std::string path;
    for (int i = 0; i < 5; ++i)
        path += std::string(50, static_cast<char>('a' + i)) + "/";
    ASSERT_EQ(path.size(), 255U);
    EXPECT_EQ(XCreateFullPathDir((path + "lost").c_str(), 0755), 1);
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_FALSE(fs::exists(path + "lost"));
}

TEST_F(FileUtils, ASlashThatNoLongerFitsMakesNoDirectory) {
    const std::string first(50, 'a'), last(204, 'b'); // 255 with the slash between them
    EXPECT_EQ(XCreateFullPathDir((first + "/" + last).c_str(), 0755), 1);
    EXPECT_TRUE(fs::is_directory(first));
    EXPECT_FALSE(fs::exists(first + "/" + last));
    EXPECT_EQ(XCreateFullPathDir((first + "/" + last.substr(1)).c_str(), 0755), 1);
    EXPECT_TRUE(fs::is_directory(first + "/" + last.substr(1)));
}
