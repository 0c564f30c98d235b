// Questions about the content of a directory.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

#include "BSW/BasicFun/FileUtils.h"
#include "BSW/BasicFun/StringUtils.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using StringUtils::GetFilesName;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> g_seen;
std::string g_bad;

// Remembers what it is called with and finds g_bad bad.
int Remember(int isDir, char *path) {
    const std::string text(path);
    g_seen.push_back((isDir ? "D " : "F ") + text);
    std::fill_n(path, text.size(), '!'); // the text is the call's own
    return text == g_bad ? 5 : 0;
}

class DirList : public testing::Test {
  protected:
    std::vector<std::string> Errors() const {
        std::vector<std::string> errors;
        for (const std::string &line : m_log.Texts())
            if (line[0] == 'E')
                errors.push_back(line);
        return errors;
    }

    LogCapture m_log;
    char m_name[256] = "before";
};

} // namespace

TEST_F(DirList, ADirectoryIsEmptyWithoutEntries) {
    fs::create_directory("d");
    EXPECT_EQ(isDirEmpty("d"), 1);
    fs::create_symlink("nowhere", "d/dangling");
    EXPECT_EQ(isDirEmpty("d"), 0);
    fs::remove("d/dangling");
    WriteFile("d/...");
    EXPECT_EQ(isDirEmpty("d"), 0);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DirList, WhatCannotBeReadIsNotEmpty) {
    WriteFile("file");
    EXPECT_EQ(isDirEmpty("missing"), 0);
    EXPECT_EQ(isDirEmpty("file"), 0);
    EXPECT_EQ(isDirEmpty(nullptr), 0);
    fs::create_directory("closed");
    chmod("closed", 0);
    EXPECT_EQ(RunAsOrdinaryUser([] { return isDirEmpty("closed"); }), 0);
    chmod("closed", 0755);
    EXPECT_THAT(Errors(), ElementsAre("E opendir missing error. No such file or directory",
                                      "E opendir file error. Not a directory", "E bad parameters!",
                                      "E opendir closed error. Permission denied"));
}

TEST_F(DirList, TheFirstFileIsTheFirstByName) {
    fs::create_directories("d/a directory");
    EXPECT_EQ(GetFileFromDir("d", m_name, sizeof m_name), 0);
    EXPECT_STREQ(m_name, "");
    WriteFile("d/c");
    WriteFile("d/b 100%s");
    WriteFile("d/\xff");
    EXPECT_EQ(GetFileFromDir("d", m_name, sizeof m_name), 1);
    EXPECT_STREQ(m_name, "b 100%s");
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DirList, ANameThatDoesNotFitIsRefused) {
    fs::create_directory("d");
    WriteFile("d/" + std::string(255, 'n'));
    EXPECT_EQ(GetFileFromDir("d", m_name, 256), 1);
    EXPECT_EQ(std::string(255, 'n'), m_name);
    EXPECT_EQ(GetFileFromDir("d", m_name, 255), 0);
    EXPECT_STREQ(m_name, "");
    EXPECT_EQ(GetFileFromDir("d", m_name, 0), 0);
    EXPECT_EQ(GetFileFromDir("d", m_name, -1), 0);
    EXPECT_EQ(GetFileFromDir("d", nullptr, 10), 0);
    EXPECT_EQ(GetFileFromDir(nullptr, m_name, 10), 0);
    EXPECT_THAT(Errors(), ElementsAre("E name needs 256 bytes, size = 255", "E bad parameters!", "E bad parameters!",
                                      "E bad parameters!", "E bad parameters!"));
}

TEST_F(DirList, AFileIsFoundByItsWholeName) {
    fs::create_directories("d/sub");
    fs::create_symlink("nowhere", "d/dangling");
    fs::create_directory_symlink("sub", "d/to_sub");
    for (const std::string &name : OddNames())
        WriteFile("d/" + name);
    for (const std::string &name : OddNames())
        EXPECT_EQ(IsFileExistInDir("d", name.c_str()), 1) << name;
    EXPECT_EQ(IsFileExistInDir("d/", "dangling"), 1);
    EXPECT_EQ(IsFileExistInDir("d", "to_sub"), 1);
    for (const char *name : {"sub", ".", "..", "a", "missing"})
        EXPECT_EQ(IsFileExistInDir("d", name), 0) << name;
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DirList, ANameIsNoPath) {
    fs::create_directories("d/sub");
    WriteFile("d/sub/file");
    for (const char *name : {"sub/file", "../d", "", static_cast<const char *>(nullptr)})
        EXPECT_EQ(IsFileExistInDir("d", name), 0);
    EXPECT_EQ(Errors(), std::vector<std::string>(4, "E bad parameters!"));
}

TEST_F(DirList, EveryEntryIsChecked) {
    fs::create_directories("d/sub.txt");
    WriteFile("d/a 5%s.txt");
    WriteFile("d/b.bin");
    EXPECT_EQ(CheckDir("d", nullptr, Remember), 1);
    std::sort(g_seen.begin(), g_seen.end());
    EXPECT_THAT(g_seen, ElementsAre("D d/sub.txt", "F d/a 5%s.txt", "F d/b.bin"));
    g_seen.clear();
    EXPECT_EQ(CheckDirIsFail("d/", Remember), 0);
    EXPECT_EQ(g_seen.size(), 3U);
    EXPECT_THAT(g_seen, Contains("F d/b.bin"));
    g_seen.clear();
    EXPECT_EQ(CheckDir("d", "txt", Remember), 1);
    std::sort(g_seen.begin(), g_seen.end());
    EXPECT_THAT(g_seen, ElementsAre("D d/sub.txt", "F d/a 5%s.txt"));
}

TEST_F(DirList, ABadEntryEndsTheCheck) {
    fs::create_directory("d");
    const int before = OpenDescriptors();
    for (const char *name : {"a", "b", "c"})
        WriteFile(std::string("d/") + name);
    g_bad = "d/b";
    EXPECT_EQ(CheckDir("d", "", Remember), 0);
    EXPECT_EQ(g_seen.back(), "F d/b");
    EXPECT_EQ(CheckDirIsFail("d", Remember), 1);
    EXPECT_EQ(g_seen.back(), "F d/b");
    EXPECT_EQ(CheckDir("d", "txt", Remember), 1);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DirList, ADirectoryThatCannotBeOpenedFails) {
    EXPECT_EQ(CheckDir("5%d", nullptr, Remember), 0);
    EXPECT_EQ(CheckDirIsFail("missing", Remember), 1);
    EXPECT_EQ(CheckDir(nullptr, nullptr, Remember), 0);
    EXPECT_EQ(CheckDirIsFail(".", nullptr), 1);
    EXPECT_THAT(g_seen, IsEmpty());
    EXPECT_THAT(Errors(), ElementsAre("E opendir 5%d error. No such file or directory", "E open 5%d error\n",
                                      "E opendir missing error. No such file or directory", "E open missing error\n",
                                      "E bad parameters!", "E bad parameters!"));
}

TEST_F(DirList, NamesAreListedInTheirOrder) {
    fs::create_directories("d/sub");
    std::vector<std::string> files = OddNames(), expected = OddNames();
    for (const std::string &name : expected)
        WriteFile("d/" + name);
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(GetFilesName("d"), expected);
    expected.push_back("sub");
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(getFiles("d", files), 1); // what was in the list goes
    EXPECT_EQ(files, expected);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DirList, WhatCannotBeReadHasNoNames) {
    std::vector<std::string> files = {"before"};
    EXPECT_EQ(getFiles("missing", files), 0);
    EXPECT_THAT(files, IsEmpty());
    EXPECT_THAT(GetFilesName("missing"), IsEmpty());
    EXPECT_THAT(GetFilesName(std::string(300, 'x')), IsEmpty());
    EXPECT_EQ(Errors().size(), 3U);
}
