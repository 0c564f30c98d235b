// What depends on the process: the level in its environment, use before Init, and its end.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <stdlib.h>

#include "LogFixture.h"
#include "Support/ChildProcess.h"

namespace {

const std::string CHILD = ZR_BINARY_DIR "/bin/log_child";

class LogProcess : public testing::Test {
  protected:
    LogProcess() {
        unsetenv("DEBUG_LOG_LEVEL");
        std::filesystem::create_directory("log");
    }

    static std::string Text(const std::string &file) { return Untimed(ReadWholeFile("log/" + file)); }

    ScratchDir m_directory;
};

struct Level {
    std::optional<std::string> environment;
    bool main;     // system, access and alarm are written
    bool module;   // the module files are written
    int lastLevel; // of the levels 1 to 4, the console shows this one and those before it
};

void PrintTo(const Level &level, std::ostream *out) {

    const std::string text = level.environment.value_or("unset");
    *out << (text.empty() ? "empty" : text);
}

class LogLevels : public LogProcess, public testing::WithParamInterface<Level> {};

// The console in the order of writing: levels 0 and 5 count as debug.
std::string ExpectedConsole(int lastLevel) {
    std::string text;
    for (int level = 0; level <= 5; ++level)
        if ((level == 0 || level == 5 ? 4 : level) <= lastLevel)
            text += "console " + std::to_string(level) + std::string("\0\n", 2);
    return text;
}

} // namespace

TEST_P(LogLevels, SilenceWhatIsBelowThem) {
    const Level &level = GetParam();
    ChildProcess::Environment environment;
    if (level.environment)
        environment.emplace_back("DEBUG_LOG_LEVEL", *level.environment);
    ChildProcess child("child", {CHILD, "everything"}, environment);
    EXPECT_EQ(child.Wait().code, 0);
    EXPECT_EQ(Text("system.log"), level.main ? "system\n" : "");
    EXPECT_EQ(Text("access.log"), level.main ? "access\n" : "");
    EXPECT_EQ(Text("alarm.log"), level.main ? "alarm\n" : "");
    EXPECT_EQ(Text("Module0.log"), level.module ? "module\n" : "");
    EXPECT_EQ(Text("Module19.log"), level.module ? "module\n" : "");
    EXPECT_EQ(Untimed(child.Stdout()), ExpectedConsole(level.lastLevel));
    EXPECT_EQ(child.Stderr(), "");
}

INSTANTIATE_TEST_SUITE_P(Environment, LogLevels,
                         testing::Values(Level{std::nullopt, true, true, 4}, Level{"0", true, true, 4},
                                         Level{"1", false, false, 1}, Level{"2", false, false, 2},
                                         Level{"3", true, false, 3}, Level{"4", true, true, 4},
                                         Level{"5", true, true, 4}, Level{"-1", true, true, 4},
                                         Level{"99", true, true, 4}, Level{"debug", true, true, 4},
                                         Level{"3debug", true, false, 3}, Level{"", true, true, 4}));

// The worker of the log may not have run when its object is destroyed.
TEST_F(LogProcess, EndsCleanlyRightAfterInit) {
    for (int run = 0; run < 50; ++run) {
        ChildProcess child("child", {CHILD, "init"});
        const ExitStatus status = child.Wait();
        ASSERT_TRUE(status.exited) << "run " << run << ", signal " << status.signal;
        ASSERT_EQ(status.code, 0) << child.Stderr();
        ASSERT_EQ(child.Stderr(), "");
    }
}

TEST_F(LogProcess, LogsUntilTheLogIsDestroyed) {
    ChildProcess child("child", {CHILD, "leave"});
    EXPECT_EQ(child.Wait().code, 0);
    EXPECT_NE(Text("system.log").find("on the way out"), std::string::npos);
    EXPECT_EQ(child.Stdout(), "late -1\n");
    EXPECT_EQ(child.Stderr(), "");
}

TEST_F(LogProcess, WritesNothingBeforeInit) {
    ChildProcess child("child", {CHILD, "early"});
    EXPECT_EQ(child.Wait().code, 0);
    EXPECT_EQ(child.Stdout(), "-1 -1 -1 -1 -1 0 1 1 ''\n");
    EXPECT_EQ(child.Stderr(), "");
    EXPECT_TRUE(std::filesystem::is_empty("log"));
}
