// Removing directories: everything inside, and nothing that is not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "BSW/BasicFun/FileUtils.h"
#include "BSW/Log/Log.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;

namespace {

class DirRemove : public MountingTest {
  protected:
    // A directory "outside" that has to stay as it is, and "d" with links to it.
    static void MakeLinkedTree() {
        fs::create_directories("outside/sub");
        WriteFile("outside/keep");
        WriteFile("outside/sub/keep");
        fs::create_directories("d/sub");
        fs::create_directory_symlink("../outside", "d/link");
        fs::create_directory_symlink("../../outside", "d/sub/link");
        fs::create_symlink("../outside/keep", "d/to_file");
        fs::create_symlink("nowhere", "d/dangling");
        fs::create_symlink("loop", "d/loop");
        fs::create_directory_symlink("..", "d/up");
    }

    static bool OutsideIsWhole() { return fs::exists("outside/keep") && fs::exists("outside/sub/keep"); }

    // Makes `levels` directories "x" inside one another; their path may be too long to be named.
    static void MakeDeep(const char *top, int levels) {
        ASSERT_EQ(mkdir(top, 0755), 0);
        int directory = open(top, O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < levels; ++i) {
            ASSERT_EQ(mkdirat(directory, "x", 0755), 0);
            const int next = openat(directory, "x", O_RDONLY | O_DIRECTORY);
            close(directory);
            directory = next;
        }
        close(directory);
    }

    std::vector<std::string> Errors() const {
        std::vector<std::string> errors;
        for (const std::string &line : m_log.Texts())
            if (line[0] == 'E')
                errors.push_back(line);
        return errors;
    }
};

struct Remover {
    const char *name;
    int (*remove)(const char *);
};

void PrintTo(const Remover &remover, std::ostream *out) {
    *out << remover.name;
}

int RemoveOrStop(const char *path) {
    return XRemoveDirectory(path, 0);
}

int RemoveAndGoOn(const char *path) {
    return XRemoveDirectory(path, 1);
}

// Every way to remove a directory with what is in it.
class RemoveAll : public DirRemove, public testing::WithParamInterface<Remover> {
  protected:
    static int Remove(const char *path) { return GetParam().remove(path); }
    static bool Keeps() { return GetParam().remove == ClearDir; }

    static bool IsGone(const char *path) { return Keeps() ? fs::is_empty(path) : !fs::exists(path); }
};

INSTANTIATE_TEST_SUITE_P(Ways, RemoveAll,
                         testing::Values(Remover{"RemoveOrStop", RemoveOrStop}, Remover{"RemoveAndGoOn", RemoveAndGoOn},
                                         Remover{"DeleDir", DeleDir}, Remover{"ClearDir", ClearDir}),
                         [](const auto &way) { return std::string(way.param.name); });

} // namespace

TEST_P(RemoveAll, RemovesEverythingInside) {
    fs::create_directories("d/a/b/c");
    for (const std::string &name : OddNames()) {
        WriteFile("d/" + name);
        WriteFile("d/a/b/" + name);
    }
    fs::create_directory("d/a/100%s");
    WriteFile("d/a/100%s/file");
    ASSERT_EQ(mkfifo("d/pipe", 0644), 0);
    WriteFile("d/fixed");
    chmod("d/fixed", 0);
    const int before = OpenDescriptors();
    EXPECT_EQ(Remove("d"), 1);
    EXPECT_TRUE(IsGone("d"));
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_P(RemoveAll, SlashesAtTheEndMakeNoDifference) {
    for (const char *path : {"d/", "d///", "./d", "d/."}) {
        fs::create_directories("d/sub");
        WriteFile("d/sub/file");
        const bool refused = !Keeps() && std::string(path) == "d/.";
        EXPECT_EQ(Remove(path), refused ? 0 : 1) << path;
        EXPECT_EQ(fs::exists("d/sub/file"), refused) << path;
    }
}

TEST_P(RemoveAll, ASiblingWhoseNameBeginsAlikeStays) {
    fs::create_directory("d");
    WriteFile("d/x");
    fs::create_directory("dx");
    WriteFile("dx/keep");
    WriteFile("dfile");
    EXPECT_EQ(Remove("d"), 1);
    EXPECT_TRUE(fs::exists("dx/keep"));
    EXPECT_TRUE(fs::exists("dfile"));
}

TEST_P(RemoveAll, LinksAreRemovedAndNotFollowed) {
    MakeLinkedTree();
    EXPECT_EQ(Remove("d"), 1);
    EXPECT_TRUE(IsGone("d"));
    EXPECT_TRUE(OutsideIsWhole());
}

TEST_P(RemoveAll, ALinkInPlaceOfTheDirectoryIsRefused) {
    fs::create_directory("outside");
    WriteFile("outside/file");
    fs::create_directory_symlink("outside", "link");
    for (const char *path : {"link", "link/"}) {
        if (Keeps()) // is given the directory by any name
            continue;
        EXPECT_EQ(Remove(path), 0);
        EXPECT_TRUE(fs::exists("outside/file"));
        EXPECT_TRUE(fs::is_symlink("link"));
    }
    if (Keeps()) {
        EXPECT_EQ(Remove("link"), 1);
        EXPECT_TRUE(fs::is_empty("outside"));
        EXPECT_TRUE(fs::is_symlink("link"));
    }
}

// Another thread exchanges a directory inside for a link to the outside and back. Whenever
// the removal comes by, it must not get out.
TEST_P(RemoveAll, ALinkPutInMeanwhileLeadsNowhere) {
    fs::create_directory("outside");
    for (int i = 0; i < 20; ++i)
        WriteFile("outside/keep" + std::to_string(i));
    fs::create_directory_symlink("../outside", "spare");
    std::atomic<bool> stop{false};
    std::atomic<int> exchanged{0};
    std::thread exchanger([&] {
        while (!stop)
            exchanged += renameat2(AT_FDCWD, "spare", AT_FDCWD, "d/sub", RENAME_EXCHANGE) == 0;
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (exchanged < 50 && std::chrono::steady_clock::now() < deadline) {
        std::error_code ignored;
        fs::create_directories("d/sub", ignored);
        Remove("d");
    }
    stop = true;
    exchanger.join();
    EXPECT_EQ(std::distance(fs::directory_iterator("outside"), fs::directory_iterator()), 20);
    if (exchanged == 0)
        GTEST_SKIP() << "this file system exchanges no names";
}

TEST_P(RemoveAll, ManyFilesGoInOneCall) {
    fs::create_directory("d");
    for (int i = 0; i < 2000; ++i)
        close(open(("d/a file with a name of some length " + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0644));
    CLog::instance()->SetDebugLevel(1);
    EXPECT_EQ(Remove("d"), 1);
    EXPECT_TRUE(IsGone("d"));
}

TEST_P(RemoveAll, PathsMayBecomeLongerThanAnyBuffer) {
    fs::create_directories("d/" + std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c'));
    WriteFile("d/" + std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(255, 'f'));
    MakeDeep("deep", 200);
    EXPECT_EQ(Remove("d"), 1);
    EXPECT_TRUE(IsGone("d"));
    EXPECT_EQ(Remove("deep"), 1);
    EXPECT_TRUE(IsGone("deep"));
}

TEST_P(RemoveAll, ThereIsABoundOnTheLevels) {
    MakeDeep("d", 257);
    EXPECT_EQ(Remove("d"), 0);
    EXPECT_TRUE(fs::exists("d"));
    EXPECT_THAT(Errors(), ElementsAre(testing::EndsWith("/x error. Too many levels")));
}

TEST_P(RemoveAll, WithoutDescriptorsItFailsAndLosesNone) {
    MakeDeep("d", 30);
    const int before = OpenDescriptors();
    rlimit previous = {};
    getrlimit(RLIMIT_NOFILE, &previous);
    const rlimit few = {static_cast<rlim_t>(before + 10), previous.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(Remove("d"), 0);
    setrlimit(RLIMIT_NOFILE, &previous);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(Remove("d"), 1);
}

TEST_P(RemoveAll, WithoutPermissionWhatIsBelowStays) {
    fs::create_directories("d/closed");
    WriteFile("d/closed/file");
    WriteFile("d/file");
    chmod("d", 0777);
    chmod("d/closed", 0);
    EXPECT_EQ(RunAsOrdinaryUser([] { return Remove("d"); }), 0);
    chmod("d/closed", 0755);
    EXPECT_TRUE(fs::exists("d/closed/file"));
    EXPECT_THAT(m_log.Texts(), Contains("E opendir d/closed error. Permission denied"));
}

TEST_P(RemoveAll, WhatIsMountedInsideStays) {
    fs::create_directories("d/mounted");
    if (!m_mounts.MountTmpfs("d/mounted", 65536))
        GTEST_SKIP() << "nothing can be mounted here";
    WriteFile("d/mounted/keep");
    EXPECT_EQ(Remove("d"), 0);
    EXPECT_TRUE(fs::exists("d/mounted/keep"));
    EXPECT_THAT(m_log.Texts(), Contains("E remove d/mounted error. Mounted"));
}

TEST_P(RemoveAll, WhatIsNoDirectoryIsRefused) {
    WriteFile("file");
    for (const char *path : {"file", "missing", "", "file/"})
        EXPECT_EQ(Remove(path), 0) << path;
    EXPECT_EQ(Remove(nullptr), 0);
    EXPECT_EQ(Remove(("./" + std::string(254, 'x')).c_str()), 0);
    EXPECT_TRUE(fs::exists("file"));
    EXPECT_GE(m_log.Texts().size(), 6U);
    for (const std::string &line : m_log.Texts())
        EXPECT_EQ(line[0], line.find("DIR") == std::string::npos ? 'E' : 'D') << line;
}

// In a root of the test's own, of course.
TEST_P(RemoveAll, TheRootIsRefused) {
    fs::create_directory("root");
    WriteFile("root/keep");
    const int result = RunInOwnRoot("root", [] {
        for (const char *path : {"/", "//", "/.", "/..", "."})
            if (Remove(path) != 0)
                return 1;
        return 0;
    });
    if (result < 0)
        GTEST_SKIP() << "the root directory cannot be changed here";
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(fs::exists("root/keep"));
}

// Whatever the order of the entries is, one of the files comes behind an obstacle.
TEST_F(DirRemove, ForceDecidesWhetherItGoesOn) {
    fs::create_directory("d");
    chmod("d", 0777);
    const std::vector<std::string> closed = {"d/closed1", "d/closed2", "d/closed3"};
    const std::vector<std::string> files = {"d/file1", "d/file2", "d/file3", "d/file4", "d/file5", "d/file6"};
    for (const std::string &file : files)
        WriteFile(file);
    for (const std::string &path : closed) {
        fs::create_directory(path);
        chmod(path.c_str(), 0);
    }
    EXPECT_EQ(RunAsOrdinaryUser([] { return XRemoveDirectory("d", 0); }), 0);
    EXPECT_EQ(Errors().size(), 1U);
    m_log.Clear();
    EXPECT_EQ(RunAsOrdinaryUser([] { return XRemoveDirectory("d", 1); }), 0);
    EXPECT_EQ(Errors().size(), 3U);
    for (const std::string &file : files)
        EXPECT_FALSE(fs::exists(file)) << file;
    for (const std::string &path : closed)
        EXPECT_EQ(chmod(path.c_str(), 0755), 0) << path; // still there, and may go now
}

TEST_F(DirRemove, TheShortFormRemovesEmptyDirectoriesOnly) {
    fs::create_directories("d/sub");
    fs::create_directory_symlink("d/sub", "link");
    EXPECT_EQ(XRemoveDirectory("d"), 0);
    EXPECT_EQ(XRemoveDirectory("link"), 0);
    EXPECT_EQ(XRemoveDirectory("d/sub/"), 1);
    EXPECT_EQ(XRemoveDirectory("d"), 1);
    EXPECT_EQ(XRemoveDirectory("d"), 0);
    EXPECT_EQ(XRemoveDirectory(nullptr), 0);
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E remove d error. Directory not empty", "E remove link error. Not a directory",
                            "E remove d error. No such file or directory", "E bad parameters!"));
}

TEST_F(DirRemove, EmptyDirectoriesAlongAPathGo) {
    fs::create_directories("top/keep");
    fs::create_directories("top/a/b/c");
    EXPECT_EQ(XRemoveFullPathEmptyDir("top/a/b//c/"), 1);
    EXPECT_FALSE(fs::exists("top/a"));
    EXPECT_TRUE(fs::exists("top/keep"));
    EXPECT_EQ(XRemoveFullPathEmptyDir("top"), 0);
    EXPECT_EQ(XRemoveFullPathEmptyDir("top/missing"), 0);
    EXPECT_TRUE(fs::exists("top"));
    const std::string absolute = m_log.Directory().Path() + "/top/keep";
    EXPECT_EQ(XRemoveFullPathEmptyDir(absolute.c_str()), 1);
    EXPECT_FALSE(fs::exists("top"));
    EXPECT_TRUE(fs::exists("log")); // which keeps the scratch directory
    EXPECT_EQ(XRemoveFullPathEmptyDir(nullptr), 0);
    EXPECT_EQ(XRemoveFullPathEmptyDir("/"), 0);
}

TEST_F(DirRemove, EmptyDirectoriesBehindALinkGoButNotTheLink) {
    fs::create_directories("real/sub");
    fs::create_directory_symlink("real", "link");
    EXPECT_EQ(XRemoveFullPathEmptyDir("link/sub"), 1);
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_TRUE(fs::is_directory("real"));
}

TEST_F(DirRemove, DeletedFilesAreLogged) {
    fs::create_directory("d");
    WriteFile("d/50% of %s");
    EXPECT_EQ(ClearDir("d/"), 1);
    EXPECT_THAT(m_log.Texts(), Contains("D Delete File d/50% of %s\n"));
    WriteFile("d/50% of %s");
    m_log.Clear();
    EXPECT_EQ(DeleDir("d"), 1);
    EXPECT_THAT(m_log.Texts(), Contains("D Delete File d/50% of %s\n"));
}

TEST_F(DirRemove, TheWorkingDirectoryMayBeCleared) {
    fs::create_directories("d/sub");
    WriteFile("d/file");
    ASSERT_EQ(chdir("d"), 0);
    EXPECT_EQ(ClearDir("."), 1);
    ASSERT_EQ(chdir(".."), 0);
    EXPECT_TRUE(fs::is_empty("d"));
}
