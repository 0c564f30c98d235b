// Making, renaming, copying and deleting of files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileUtils.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class FileChange : public MountingTest {
  protected:
    static unsigned ModeOf(const char *path) {
        struct stat status = {};
        stat(path, &status);
        return status.st_mode & 07777U;
    }

    const std::string m_bad = "E bad parameters!";
};

} // namespace

TEST_F(FileChange, FilesOfAnyNameAreDeleted) {
    for (const std::string &name : OddNames()) {
        WriteFile(name);
        EXPECT_EQ(XDeleteFile(("./" + name).c_str()), 1) << name;
        EXPECT_FALSE(fs::exists(name)) << name;
        WriteFile(name);
        m_log.Clear();
        EXPECT_EQ(DeleFile(name.c_str()), 1) << name;
        EXPECT_FALSE(fs::exists(name)) << name;
        EXPECT_THAT(m_log.Texts(), ElementsAre("D Delete File " + name + "\n"));
    }
}

TEST_F(FileChange, ALinkIsDeletedItself) {
    WriteFile("file");
    fs::create_symlink("file", "link");
    EXPECT_EQ(DeleFile("link"), 1);
    EXPECT_TRUE(fs::exists("file"));
    EXPECT_FALSE(fs::is_symlink("link"));
}

TEST_F(FileChange, WhatCannotBeDeletedIsReported) {
    fs::create_directory("d");
    WriteFile("d/file");
    EXPECT_EQ(XDeleteFile("d"), 0);
    EXPECT_EQ(DeleFile("100%s"), 0);
    EXPECT_EQ(XDeleteFile(nullptr), 0);
    EXPECT_EQ(DeleFile(nullptr), 0);
    EXPECT_EQ(DeleFile(std::string(5000, 'x').c_str()), 0);
    chmod("d", 0);
    EXPECT_EQ(RunAsOrdinaryUser([] { return XDeleteFile("d/file"); }), 0);
    chmod("d", 0755);
    EXPECT_TRUE(fs::exists("d/file"));
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E unlink d error. Is a directory", "E unlink 100%s error. No such file or directory",
                            m_bad, m_bad, "E unlink " + std::string(5000, 'x') + " error. File name too long",
                            "E unlink d/file error. Permission denied"));
}

TEST_F(FileChange, RenamingReplacesAFile) {
    for (auto function : {XRenameFile, ReName}) {
        WriteFile("old", "content");
        WriteFile("100%d", "before");
        EXPECT_EQ(function("old", "100%d"), 1);
        EXPECT_EQ(ReadWholeFile("100%d"), "content");
        EXPECT_FALSE(fs::exists("old"));
        m_log.Clear();
        EXPECT_EQ(function("old", "100%d"), 0);
        EXPECT_EQ(function(nullptr, "x"), 0);
        EXPECT_EQ(function("x", nullptr), 0);
        EXPECT_THAT(m_log.Texts(), ElementsAre("E rename old to 100%d error. No such file or directory", m_bad, m_bad));
    }
}

TEST_F(FileChange, AFileIsMadeOrKept) {
    const mode_t previous = umask(022);
    EXPECT_EQ(MakeFile("new"), 1);
    umask(previous);
    EXPECT_EQ(ReadWholeFile("new"), "");
    EXPECT_EQ(ModeOf("new"), 0644U);
    WriteFile("new", "content");
    EXPECT_EQ(MakeFile("new"), 1);
    EXPECT_EQ(ReadWholeFile("new"), "content");
    EXPECT_EQ(MakeFile("missing/5%s"), 0);
    EXPECT_EQ(MakeFile("."), 0);
    EXPECT_EQ(MakeFile(nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E open missing/5%s error. No such file or directory",
                                           "E open . error. Is a directory", m_bad));
}

TEST_F(FileChange, ADirectoryIsMadeOrKept) {
    const mode_t previous = umask(022);
    EXPECT_EQ(MakeDir("d"), 1);
    umask(previous);
    EXPECT_EQ(ModeOf("d"), 0755U);
    EXPECT_EQ(MakeDir("d/"), 1);
    WriteFile("file");
    EXPECT_EQ(MakeDir("file"), 0);
    EXPECT_EQ(MakeDir("missing/5%s"), 0);
    EXPECT_EQ(MakeDir(nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E mkdir file error. File exists",
                                           "E mkdir missing/5%s error. No such file or directory", m_bad));
}

TEST_F(FileChange, AWholePathIsMade) {
    EXPECT_EQ(EasyMakeDir("a/b 5%s/c"), 1);
    EXPECT_TRUE(fs::is_directory("a/b 5%s/c"));
    EXPECT_EQ(EasyMakeDir("a/b 5%s/c/"), 1);
    WriteFile("5%d");
    EXPECT_EQ(EasyMakeDir("5%d"), 0);
    EXPECT_EQ(EasyMakeDir("5%d/x"), 0);
    EXPECT_EQ(EasyMakeDir(""), 0);
    EXPECT_EQ(EasyMakeDir(nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E mkdir 5%d error.", "E mkdir 5%d/x error.", m_bad, m_bad));
}

TEST_F(FileChange, APathThatWouldBeCutIsNotMade) {
    const std::string first(127, 'a'), last(126, 'b');
    EXPECT_EQ(EasyMakeDir((first + "/" + last + "b").c_str()), 0);
    EXPECT_FALSE(fs::exists(first));
    EXPECT_EQ(EasyMakeDir((first + "/" + last).c_str()), 1); // 254 characters
    EXPECT_TRUE(fs::is_directory(first + "/" + last));
}

TEST_F(FileChange, ACopyHasTheSameBytes) {
    std::string content(100001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * i >> 3);
    WriteFile("source", content);
    WriteFile("old", std::string(200000, 'x'));
    fs::create_symlink("source", "link");
    const int before = OpenDescriptors();
    EXPECT_EQ(CopyFile("source", "100%s"), 1);
    EXPECT_EQ(ReadWholeFile("100%s"), content);
    EXPECT_EQ(CopyFile("link", "old"), 1);
    EXPECT_EQ(ReadWholeFile("old"), content);
    WriteFile("empty", "");
    EXPECT_EQ(CopyFile("empty", "old"), 1);
    EXPECT_EQ(ReadWholeFile("old"), "");
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(FileChange, AFileIsNotCopiedToItself) {
    WriteFile("file", "content");
    fs::create_symlink("file", "link");
    fs::create_hard_link("file", "hard");
    for (const char *name : {"file", "link", "hard", "./file"})
        EXPECT_EQ(CopyFile("file", name), 0) << name;
    EXPECT_EQ(ReadWholeFile("file"), "content");
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E Error opening destination file"));
}

TEST_F(FileChange, WhatCannotBeOpenedIsNotCopied) {
    WriteFile("file");
    ASSERT_EQ(mkfifo("pipe", 0644), 0);
    const int before = OpenDescriptors();
    for (const char *source : {"missing", ".", "pipe", "/dev/null"}) {
        EXPECT_EQ(CopyFile(source, "new"), 0) << source;
        EXPECT_FALSE(fs::exists("new")) << source;
    }
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E Error opening source file"));
    m_log.Clear();
    EXPECT_EQ(CopyFile("file", "missing/new"), 0);
    EXPECT_EQ(CopyFile("file", "."), 0);
    EXPECT_EQ(CopyFile(nullptr, "new"), 0);
    EXPECT_EQ(CopyFile("file", nullptr), 0);
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E open missing/new error. No such file or directory", "E Error opening destination file",
                            "E open . error. Is a directory", "E Error opening destination file", m_bad, m_bad));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FileChange, ASourceWithoutPermissionIsNotCopied) {
    WriteFile("closed");
    chmod("closed", 0);
    EXPECT_EQ(RunAsOrdinaryUser([] { return CopyFile("closed", "new"); }), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Error opening source file"));
}

TEST_F(FileChange, AFullDeviceEndsTheCopy) {
    WriteFile("file", "content");
    EXPECT_EQ(CopyFile("file", "/dev/full"), 0);
    EXPECT_THAT(m_log.Texts(), Contains("E Error writing to destination file"));
}

TEST_F(FileChange, AFileSizeLimitEndsTheCopy) {
    constexpr rlim_t LIMIT = (1 << 20) + 100; // ends inside the last block of the copy
    WriteFile("file", std::string(LIMIT + 1, 'x'));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous = {};
    getrlimit(RLIMIT_FSIZE, &previous);
    const rlimit small = {LIMIT, previous.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(CopyFile("file", "copy"), 0);
    setrlimit(RLIMIT_FSIZE, &previous);
    EXPECT_EQ(fs::file_size("copy"), LIMIT);
    EXPECT_THAT(m_log.Texts(), Contains("E Error writing to destination file"));
}

TEST_F(FileChange, AFullFileSystemEndsTheCopy) {
    fs::create_directory("disk");
    if (!m_mounts.MountTmpfs("disk", 65536))
        GTEST_SKIP() << "nothing can be mounted here";
    WriteFile("file", std::string(100000, 'x'));
    EXPECT_EQ(CopyFile("file", "disk/copy"), 0);
    EXPECT_THAT(m_log.Texts(), Contains("E Error writing to destination file"));
    EXPECT_EQ(GetFreeSpace("disk"), 0);
}

TEST_F(FileChange, SyncingReturns) {
    WriteFile("file");
    SyncFS();
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}
