// The walk over a directory and what it says about each entry.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileUtils.h"
#include "BSW/Log/Log.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

class DirWalk : public testing::Test {
  protected:
    // What a whole walk finds, by name; every name once.
    static std::map<std::string, tagXFileFindData> Walk(const char *path) {
        std::map<std::string, tagXFileFindData> found;
        tagDIR_CTX walk;
        tagXFileFindData entry;
        if (!XFindFirstFile(path, &walk, &entry))
            return found;
        do
            EXPECT_TRUE(found.emplace(entry.filename, entry).second) << entry.filename;
        while (XFindNextFile(&walk, &entry));
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(XCloseFindFile(&walk, true), 1);
        return found;
    }

    LogCapture m_log;
    tagDIR_CTX m_walk = {};
    tagXFileFindData m_entry = {};
};

} // namespace

TEST_F(DirWalk, FindsEveryEntryOnceWhateverItIsCalled) {
    fs::create_directory("odd");
    std::vector<std::string> expected = OddNames();
    for (const std::string &name : expected)
        WriteFile("odd/" + name);
    expected.insert(expected.end(), {".", ".."});
    std::vector<std::string> found;
    for (const auto &[name, entry] : Walk("odd"))
        found.push_back(name);
    EXPECT_THAT(found, UnorderedElementsAreArray(expected));
}

TEST_F(DirWalk, DescribesFilesAndDirectories) {
    fs::create_directories("d/sub.dir");
    WriteFile("d/data.bin", std::string(5000, 'x'));
    WriteFile("d/fixed");
    chmod("d/data.bin", 0200);
    chmod("d/fixed", 0444);
    const timespec times[2] = {{1000, 0}, {2000, 0}};
    utimensat(AT_FDCWD, "d/data.bin", times, 0);
    auto found = Walk("d");
    const tagXFileFindData &data = found["data.bin"];
    struct stat status = {};
    ASSERT_EQ(stat("d/data.bin", &status), 0);
    EXPECT_FALSE(data.is_dir);
    EXPECT_FALSE(data.is_readonly);
    EXPECT_EQ(data.size, 5000U);
    EXPECT_EQ(data.space, static_cast<std::uint64_t>(status.st_blocks) * 512);
    EXPECT_EQ(data.access_time, 1000);
    EXPECT_EQ(data.modify_time, 2000);
    EXPECT_EQ(data.create_time, status.st_ctime);
    EXPECT_STREQ(data.extname, "bin");
    EXPECT_TRUE(found["fixed"].is_readonly);
    EXPECT_STREQ(found["fixed"].extname, "");
    EXPECT_TRUE(found["sub.dir"].is_dir);
    EXPECT_TRUE(found["."].is_dir);
}

TEST_F(DirWalk, DescribesALinkAsTheLink) {
    fs::create_directories("d/real");
    fs::create_directory_symlink("real", "d/to_directory");
    fs::create_symlink("nowhere", "d/dangling");
    fs::create_symlink("loop", "d/loop");
    auto found = Walk("d");
    ASSERT_EQ(found.size(), 6U);
    EXPECT_FALSE(found["to_directory"].is_dir);
    EXPECT_EQ(found["to_directory"].size, 4U); // the link's own text
    EXPECT_EQ(found["dangling"].size, 7U);
    EXPECT_FALSE(found["loop"].is_dir);
}

TEST_F(DirWalk, ADirectoryMayBeGivenAsALink) {
    fs::create_directory("d");
    WriteFile("d/file");
    fs::create_directory_symlink("d", "link");
    EXPECT_EQ(Walk("link").count("file"), 1U);
}

TEST_F(DirWalk, OpeningAndClosingIsLogged) {
    fs::create_directory("50%s off%");
    ASSERT_EQ(XFindFirstFile("50%s off%", &m_walk, &m_entry), 1);
    EXPECT_EQ(XCloseFindFile(&m_walk, true), 1);
    ASSERT_EQ(XFindFirstFile("50%s off%", &m_walk, &m_entry), 1);
    EXPECT_EQ(XCloseFindFile(&m_walk, false), 1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("D ********   OPEN DIR 50%s off%", "D ******** CLOSE DIR 50%s off% ********",
                                           "D ********   OPEN DIR 50%s off%", "D ********* CLOSE DIR 50%s off%"));
}

TEST_F(DirWalk, NothingStaysOpen) {
    const int before = OpenDescriptors();
    Walk(".");
    EXPECT_EQ(XFindFirstFile("missing", &m_walk, &m_entry), 0);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(m_walk.dir_ctx, nullptr);
}

TEST_F(DirWalk, WhatIsNoDirectoryCannotBeWalked) {
    WriteFile("file");
    EXPECT_EQ(XFindFirstFile("file", &m_walk, &m_entry), 0);
    EXPECT_EQ(XFindFirstFile("missing", &m_walk, &m_entry), 0);
    EXPECT_EQ(XFindFirstFile("", &m_walk, &m_entry), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E opendir file error. Not a directory",
                                           "E opendir missing error. No such file or directory",
                                           "E opendir  error. No such file or directory"));
}

TEST_F(DirWalk, BadParametersAreRefused) {
    tagDIR_CTX closed = {};
    EXPECT_EQ(XFindFirstFile(nullptr, &m_walk, &m_entry), 0);
    EXPECT_EQ(XFindFirstFile(".", nullptr, &m_entry), 0);
    EXPECT_EQ(XFindFirstFile(".", &m_walk, nullptr), 0);
    EXPECT_EQ(XFindNextFile(nullptr, &m_entry), 0);
    EXPECT_EQ(XFindNextFile(&closed, &m_entry), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(XCloseFindFile(nullptr, true), 0);
    EXPECT_EQ(XCloseFindFile(&closed, true), 0);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(7, "E bad parameters!"));
}

// Somebody may close it all the same.
TEST_F(DirWalk, AWalkThatDoesNotBeginIsNotOpen) {
    const std::string tooLong(256, 'x');
    for (const char *path : {static_cast<const char *>(nullptr), tooLong.c_str(), "missing"}) {
        memset(&m_walk, 0x5a, sizeof m_walk);
        EXPECT_EQ(XFindFirstFile(path, &m_walk, &m_entry), 0);
        EXPECT_EQ(m_walk.dir_ctx, nullptr);
        EXPECT_EQ(XCloseFindFile(&m_walk, true), 0);
    }
    memset(&m_walk, 0x5a, sizeof m_walk);
    EXPECT_EQ(XFindFirstFile(".", &m_walk, nullptr), 0);
    EXPECT_EQ(m_walk.dir_ctx, nullptr);
}

TEST_F(DirWalk, APathHas255Characters) {
    std::string path = ".";
    while (path.size() < 255)
        path += path.size() == 254 ? "/" : "/.";
    ASSERT_EQ(path.size(), 255U);
    ASSERT_EQ(XFindFirstFile(path.c_str(), &m_walk, &m_entry), 1);
    EXPECT_EQ(path, m_walk.path);
    EXPECT_EQ(XCloseFindFile(&m_walk, false), 1);
    EXPECT_EQ(XFindFirstFile((path + "/").c_str(), &m_walk, &m_entry), 0);
}

TEST_F(DirWalk, AnEntryThatVanishesIsLeftOut) {
    fs::create_directory("d");
    std::set<std::string> names;
    for (int i = 0; i < 4; ++i) {
        names.insert("file" + std::to_string(i));
        WriteFile("d/file" + std::to_string(i));
    }
    ASSERT_EQ(XFindFirstFile("d", &m_walk, &m_entry), 1); // has read all the names by now
    names.erase(m_entry.filename);
    for (const std::string &name : names)
        fs::remove("d/" + name);
    while (XFindNextFile(&m_walk, &m_entry))
        EXPECT_EQ(names.count(m_entry.filename), 0U) << m_entry.filename;
    XCloseFindFile(&m_walk, true);
    EXPECT_THAT(m_log.Texts(),
                testing::Contains("E lstat64 d/" + *names.begin() + " error. No such file or directory"));
}

TEST_F(DirWalk, WithoutSearchPermissionThereAreNamesOnly) {
    fs::create_directory("d");
    WriteFile("d/file.txt", "1234");
    chmod("d", 0444);
    const int result = RunAsOrdinaryUser([] {
        const auto found = Walk("d");
        const auto file = found.find("file.txt");
        return file != found.end() && file->second.size == 0 && strcmp(file->second.extname, "txt") == 0 ? 7 : 1;
    });
    chmod("d", 0755);
    EXPECT_EQ(result, 7);
    EXPECT_THAT(m_log.Texts(), testing::Contains("E lstat64 d/file.txt error. Permission denied"));
}

TEST_F(DirWalk, WithoutReadPermissionItCannotBeOpened) {
    fs::create_directory("d");
    chmod("d", 0);
    const int result = RunAsOrdinaryUser([this] { return XFindFirstFile("d", &m_walk, &m_entry); });
    chmod("d", 0755);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E opendir d error. Permission denied"));
}

TEST_F(DirWalk, TheConsoleShowsNamesAsTheyAreToo) {
    CLog::instance()->CleanUp();
    CLog::instance()->Init("log", true);
    fs::create_directory("100%d");
    testing::internal::CaptureStdout();
    ASSERT_EQ(XFindFirstFile("100%d", &m_walk, &m_entry), 1);
    XCloseFindFile(&m_walk, true);
    const std::string console = testing::internal::GetCapturedStdout();
    EXPECT_THAT(console, testing::HasSubstr("OPEN DIR 100%d\033"));
    EXPECT_THAT(console, testing::HasSubstr("CLOSE DIR 100%d ***"));
}
