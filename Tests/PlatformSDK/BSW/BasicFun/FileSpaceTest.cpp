// Sizes of file systems and what is mounted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/statvfs.h>

#include "BSW/BasicFun/FileUtils.h"
#include "FileSupport.h"
#include "Support/LogCapture.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

constexpr int SMALL = 256 * 1024;

using FileSpace = MountingTest;

#define MOUNT_OR_SKIP(path)                                                                                            \
    if (!m_mounts.MountTmpfs(path, SMALL))                                                                             \
    GTEST_SKIP() << "nothing can be mounted here"

} // namespace

TEST_F(FileSpace, IsThatOfTheFileSystem) {
    struct statvfs status = {};
    ASSERT_EQ(statvfs("/dev", &status), 0);
    unsigned long long total = 0, free = 0;
    EXPECT_EQ(XGetDiskPartitionSpace("/dev", &total, &free), 1);
    EXPECT_EQ(total, static_cast<unsigned long long>(status.f_blocks) * status.f_frsize);
    EXPECT_LE(free, total);
    EXPECT_EQ(GetTotalSpace("/dev"), static_cast<long long>(total));
}

TEST_F(FileSpace, ShrinksAsItIsWritten) {
    fs::create_directory("disk");
    MOUNT_OR_SKIP("disk");
    unsigned long long total = 0, free = 0;
    ASSERT_EQ(XGetDiskPartitionSpace("disk", &total, &free), 1);
    EXPECT_EQ(total, static_cast<unsigned long long>(SMALL));
    EXPECT_EQ(free, total);
    WriteFile("disk/file", std::string(65536, 'x'));
    EXPECT_EQ(GetFreeSpace("disk/file"), SMALL - 65536);
    EXPECT_EQ(GetTotalSpace("disk/file"), SMALL);
    WriteFile("disk/rest", std::string(SMALL, 'x'));
    EXPECT_EQ(GetFreeSpace("disk"), 0);
}

TEST_F(FileSpace, WhatIsNotThereHasNone) {
    unsigned long long total = 7, free = 7;
    EXPECT_EQ(XGetDiskPartitionSpace("100%d", &total, &free), 0);
    EXPECT_EQ(GetTotalSpace("missing"), -1);
    EXPECT_EQ(GetFreeSpace("missing"), -1);
    EXPECT_EQ(XGetDiskPartitionSpace(nullptr, &total, &free), 0);
    EXPECT_EQ(XGetDiskPartitionSpace("/", nullptr, &free), 0);
    EXPECT_EQ(XGetDiskPartitionSpace("/", &total, nullptr), 0);
    EXPECT_EQ(GetFreeSpace(nullptr), -1);
    EXPECT_EQ(total, 7U);
    EXPECT_EQ(free, 7U);
    const std::string bad = "E bad parameters!";
    EXPECT_THAT(m_log.Texts(), ElementsAre("E statvfs 100%d error. No such file or directory",
                                           "E statvfs missing error. No such file or directory",
                                           "E statvfs missing error. No such file or directory", bad, bad, bad, bad));
}

TEST_F(FileSpace, MountPointsAndDevicesAreFound) {
    EXPECT_EQ(isMounted("/proc"), 1);
    EXPECT_EQ(isMounted("/proc//"), 1);
    EXPECT_EQ(isMounted("/"), 1);
    EXPECT_EQ(isMounted("/pro"), 0);
    EXPECT_EQ(isMounted("/proc/self"), 0);
    EXPECT_EQ(isMounted("/proc/x"), 0);
    EXPECT_EQ(isMounted("0"), 0); // the last fields of a line are no paths
    EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
}

TEST_F(FileSpace, MountPointsMayHaveOddNames) {
    const std::string odd = m_log.Directory().Path() + "/a b\tc\\d\n%s";
    ASSERT_LT(odd.size(), 200U) << "the build directory's path is too long for this test";
    fs::create_directory(odd);
    EXPECT_EQ(isMounted(odd.c_str()), 0);
    MOUNT_OR_SKIP(odd);
    EXPECT_EQ(isMounted(odd.c_str()), 1);
    EXPECT_EQ(isMounted("small"), 1); // its device
    EXPECT_EQ(isMounted("smal"), 0);
}

TEST_F(FileSpace, LongEntriesAreNotFoundAndHideNoOthers) {
    const std::string longer = " " + std::string(199, 'l') + "/" + std::string(200, 'l');
    for (const std::string &path : {longer, std::string("device"), std::string("behind")})
        fs::create_directories(path);
    MOUNT_OR_SKIP(longer);
    ASSERT_TRUE(m_mounts.MountTmpfs("device", SMALL, std::string(255, 'd') + "/rest"));
    ASSERT_TRUE(m_mounts.MountTmpfs("behind", SMALL));
    const std::string &directory = m_log.Directory().Path();
    ASSERT_LT(directory.size(), 200U) << "the build directory's path is too long for this test";
    // What 255 characters of the entry hold, in which the blank takes four.
    EXPECT_EQ(isMounted((directory + "/" + longer).substr(0, 252).c_str()), 0);
    EXPECT_EQ(isMounted("/rest"), 0);
    EXPECT_EQ(isMounted((directory + "/behind").c_str()), 1);
}

TEST_F(FileSpace, BadPathsAreNotMounted) {
    EXPECT_EQ(isMounted(nullptr), 0);
    EXPECT_EQ(isMounted(""), 0);
    EXPECT_EQ(isMounted(std::string(255, 'x').c_str()), 0);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(3, "E bad parameters!"));
}
