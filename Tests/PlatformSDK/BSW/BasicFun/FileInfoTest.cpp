// Names, sizes and kinds of files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileUtils.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class FileInfo : public testing::Test {
  protected:
    LogCapture m_log;
};

std::string ExtensionOf(const std::string &name) {
    std::vector<char> ext(FILE_EXT_NAME_SIZE, 'x'); // not a byte more
    const int found = GetFileExtName(name.c_str(), ext.data());
    EXPECT_EQ(found, ext[0] != '\0') << name;
    return ext.data();
}

} // namespace

TEST_F(FileInfo, TheExtensionIsBehindTheLastDot) {
    EXPECT_EQ(ExtensionOf("file.txt"), "txt");
    EXPECT_EQ(ExtensionOf("/a/b.d/file.tar.gz"), "gz");
    EXPECT_EQ(ExtensionOf(".profile.bak"), "bak");
    EXPECT_EQ(ExtensionOf("100%.%s"), "%s");
    EXPECT_EQ(ExtensionOf("\xff.\x80"), "\x80");
    for (const char *name : {"", ".", "..", "...", ".profile", "file", "file.", "b.d/file", "b.d/", "..x"})
        EXPECT_EQ(ExtensionOf(name), "") << name;
}

TEST_F(FileInfo, AnExtensionIsCutToTheBuffer) {
    EXPECT_EQ(ExtensionOf("f." + std::string(255, 'e')), std::string(255, 'e'));
    EXPECT_EQ(ExtensionOf("f." + std::string(600, 'e')), std::string(255, 'e'));
    char ext[FILE_EXT_NAME_SIZE];
    EXPECT_EQ(GetFileExtName(nullptr, ext), 0);
    EXPECT_EQ(GetFileExtName("a.b", nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameters!", "E bad parameters!"));
}

TEST_F(FileInfo, SizesAreBytes) {
    WriteFile("file", std::string(12345, 'x'));
    WriteFile("empty", "");
    fs::create_symlink("file", "link");
    WriteFile("large", "");
    ASSERT_EQ(truncate("large", 5000000000), 0);
    unsigned long size = 0;
    long long longSize = 0;
    EXPECT_EQ(XGetFileSize("file", &size), 1);
    EXPECT_EQ(size, 12345U);
    EXPECT_EQ(XGetFileSize("link", &size), 1);
    EXPECT_EQ(size, 12345U);
    EXPECT_EQ(XGetFileSize("empty", &size), 1);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(GetFileSize("large", &longSize), 1);
    EXPECT_EQ(longSize, 5000000000);
}

TEST_F(FileInfo, WhatIsNoFileHasNoSize) {
    unsigned long size = 7;
    long long longSize = 7;
    EXPECT_EQ(XGetFileSize("100%d", &size), 0);
    EXPECT_EQ(XGetFileSize(".", &size), 0);
    EXPECT_EQ(GetFileSize("/dev/null", &longSize), 0);
    EXPECT_EQ(GetFileSize("", &longSize), 0);
    EXPECT_EQ(XGetFileSize(nullptr, &size), 0);
    EXPECT_EQ(XGetFileSize("log", nullptr), 0);
    EXPECT_EQ(GetFileSize(nullptr, &longSize), 0);
    EXPECT_EQ(GetFileSize("log", nullptr), 0);
    EXPECT_EQ(size, 7U);
    EXPECT_EQ(longSize, 7);
    const std::string bad = "E bad parameters!";
    EXPECT_THAT(m_log.Texts(), ElementsAre("E stat 100%d error. No such file or directory",
                                           "E stat . error. Is a directory", "E stat /dev/null error. Invalid argument",
                                           "E stat  error. No such file or directory", bad, bad, bad, bad));
}

TEST_F(FileInfo, TheCurrentPathIsAbsolute) {
    const std::string &expected = m_log.Directory().Path();
    std::vector<char> path(expected.size() + 1, 'x');
    EXPECT_EQ(XGetCurrentPath(path.data(), static_cast<int>(path.size())), 1);
    EXPECT_EQ(fs::path(path.data()), fs::canonical(expected));
    EXPECT_EQ(XGetCurrentPath(path.data(), static_cast<int>(path.size()) - 1), 0);
    EXPECT_STREQ(path.data(), "");
    EXPECT_EQ(XGetCurrentPath(path.data(), 0), 0);
    EXPECT_EQ(XGetCurrentPath(path.data(), -5), 0);
    EXPECT_EQ(XGetCurrentPath(nullptr, 100), 0);
    const std::string bad = "E bad parameters!";
    EXPECT_THAT(m_log.Texts(), ElementsAre("E getcwd error. Numerical result out of range", bad, bad, bad));
}

TEST_F(FileInfo, ARemovedDirectoryIsNoCurrentPath) {
    fs::create_directory("gone");
    ASSERT_EQ(chdir("gone"), 0);
    fs::remove("../gone");
    char path[4096] = "before";
    EXPECT_EQ(XGetCurrentPath(path, sizeof path), 0);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(chdir(m_log.Directory().Path().c_str()), 0);
}

TEST_F(FileInfo, DirectoriesAndFilesAreToldApart) {
    fs::create_directory("d");
    WriteFile("file");
    fs::create_directory_symlink("d", "to_d");
    fs::create_symlink("file", "to_file");
    fs::create_symlink("nowhere", "dangling");
    fs::create_symlink("loop", "loop");
    for (const char *path : {"d", "d/", "to_d", ".", "/"}) {
        EXPECT_EQ(IsDirExist(path), 1) << path;
        EXPECT_FALSE(IsFileExist(path)) << path;
    }
    for (const char *path : {"file", "to_file", "/dev/null"}) {
        EXPECT_EQ(IsDirExist(path), 0) << path;
        EXPECT_TRUE(IsFileExist(path)) << path;
    }
    for (const char *path : {"", "missing", "dangling", "loop", "file/"}) {
        EXPECT_EQ(IsDirExist(path), 0) << path;
        EXPECT_FALSE(IsFileExist(path)) << path;
    }
    EXPECT_FALSE(IsFileExist(std::string(5000, 'x')));
    EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
    EXPECT_EQ(IsDirExist(nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameters!"));
}
