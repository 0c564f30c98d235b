// The systemd unit: accepted by systemd, closed up, and able to tell a stop from a crash.
#include <filesystem>
#include <fstream>

#include "DeployFixture.h"
#include "UnitFile.h"

namespace {

class DeployUnit : public Deploy {
  protected:
    // Runs a command of the unit as systemd would, with the runtime directory in the scratch directory.
    CommandEnd RunSetting(const std::string &name, const std::string &environment) {
        std::string command = UnitSetting(name);
        EXPECT_FALSE(command.empty());
        for (std::size_t at; (at = command.find("%t")) != command.npos;)
            command.replace(at, 2, m_directory.Path());
        return RunShell("unset MAINPID; " + environment + " " + command);
    }

    // What the last command of the unit says to an end with `exitStatus`.
    int StatusAfter(const std::string &exitStatus) {
        return RunSetting("ExecStopPost", "EXIT_STATUS=" + exitStatus).status;
    }
};

TEST_F(DeployUnit, SystemdHasNothingToSay) {
    if (!HasProgram("systemd-analyze"))
        GTEST_SKIP() << "systemd-analyze (package systemd) is not on this machine";
    std::string unit = ReadWholeFile(UNIT_FILE);
    const std::string start = "ExecStart=" + UnitSetting("ExecStart");
    unit.replace(unit.find(start), start.size(), "ExecStart=" ZR_BINARY_DIR "/bin/ZRFpgaMng");
    std::ofstream("zrfpgamng.service") << unit;
    const CommandEnd end = RunShell("systemd-analyze verify --man=no ./zrfpgamng.service");
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output + end.errors, "");
}

TEST_F(DeployUnit, ExposureIsAtMostTwo) {
    if (!HasProgram("systemd-analyze"))
        GTEST_SKIP() << "systemd-analyze (package systemd) is not on this machine";
    const CommandEnd end = RunShell("systemd-analyze security --no-pager --offline=yes --threshold=20 " + UNIT_FILE);
    EXPECT_EQ(end.status, 0) << end.output << end.errors;
}

TEST_F(DeployUnit, StartsWhatIsInstalled) {
    const auto files = Install("service");
    EXPECT_TRUE(files.contains(UnitSetting("ExecStart").substr(sizeof "/usr/" - 1)));
}

TEST_F(DeployUnit, AbortAfterAStopIsNoFailure) {
    std::filesystem::create_directory("zrfpgamng");
    EXPECT_EQ(RunSetting("ExecStop", "MAINPID=4711").status, 0);
    EXPECT_EQ(StatusAfter("ABRT"), 0);
}

// Without a main process there is nobody to stop: the service ended before.
TEST_F(DeployUnit, AbortOfItsOwnIsAFailure) {
    std::filesystem::create_directory("zrfpgamng");
    EXPECT_EQ(RunSetting("ExecStop", "").status, 0);
    EXPECT_NE(StatusAfter("ABRT"), 0);
}

TEST_F(DeployUnit, OtherEndsAreLeftToSystemd) {
    std::filesystem::create_directory("zrfpgamng");
    for (const char *end : {"15", "SEGV", "KILL", "0"})
        EXPECT_EQ(StatusAfter(end), 0) << end;
    EXPECT_EQ(UnitSetting("SuccessExitStatus"), "2 3 15 SIGABRT");
}

} // namespace
