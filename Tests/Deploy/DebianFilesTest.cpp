// The files that the Debian packages are made with, and what the declared user and
// directories become.
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

#include "DeployFixture.h"

namespace {

class DeployDebian : public Deploy {
  protected:
    static void ExpectDirectory(const char *path, mode_t mode, uid_t user, gid_t group) {
        struct stat status;
        ASSERT_EQ(stat(path, &status), 0) << path;
        EXPECT_EQ(status.st_mode & 07777u, mode) << path;
        EXPECT_EQ(status.st_uid, user) << path;
        EXPECT_EQ(status.st_gid, group) << path;
    }
};

TEST_F(DeployDebian, ChangelogIsWellFormedAndOfThisVersion) {
    const CommandEnd end = RunShell("dpkg-parsechangelog -l " + Source("Deploy/debian/changelog") + " -S Version");
    EXPECT_EQ(end.status, 0);
    EXPECT_TRUE(end.output.starts_with(ZR_VERSION "-")) << end.output;
    EXPECT_EQ(end.errors, "");
}

TEST_F(DeployDebian, ScriptsParseAndCanBeRun) {
    for (const char *script : {"postinst", "prerm", "postrm"}) {
        const std::string path = Source(std::string("Deploy/debian/") + script);
        EXPECT_EQ(RunShell("sh -n " + path).status, 0) << script;
        EXPECT_EQ(access(path.c_str(), X_OK), 0) << script;
    }
}

TEST_F(DeployDebian, DropInMakesTheControlFileThatTheConfigurationNames) {
    const CommandEnd end =
        RunShell("grep -c 'control \"/run/zrcard/card.control\"' " + Source("Deploy/card/asound.conf") +
                 " && grep -c '^ExecStartPre=/usr/bin/zrcard "
                 "/run/zrcard/card.control create$' " +
                 Source("Deploy/card/stand-in.conf"));
    EXPECT_EQ(end.output, "1\n1\n");
}

// Owner, group and mode of the directories, in a root of the test's own.
TEST_F(DeployDebian, DirectoriesAreTheServicesAndTheGroups) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make what belongs to another user";
    if (!HasProgram("systemd-tmpfiles"))
        GTEST_SKIP() << "systemd-tmpfiles (package systemd) is not on this machine";
    const CommandEnd end = RunShell(
        "mkdir -p root/etc && systemd-sysusers --root=\"$PWD/root\" " + Source("Deploy/sysusers/zrfpgamng.conf") +
        " && systemd-tmpfiles --root=\"$PWD/root\" --create " + Source("Deploy/tmpfiles/zrfpgamng.conf") +
        " && awk -F: '$1 == \"zrfpgamng\" {print $3}' root/etc/passwd"
        " && awk -F: '$1 == \"audio\" {print $3}' root/etc/group");
    ASSERT_EQ(end.status, 0) << end.errors;
    std::istringstream ids(end.output);
    uid_t user = 0;
    gid_t group = 0;
    ASSERT_TRUE(ids >> user >> group) << end.output;
    ExpectDirectory("root/firmware/log/ZRFpgaMng", 0750, user, group);
    ExpectDirectory("root/firmware/audio", 02770, user, group);
}

} // namespace
