// The command-line tool, as a second process beside a running card.
#include <cerrno>

#include "CardFixture.h"
#include "Support/ChildProcess.h"

class Tool : public CardTest {
  protected:
    // Runs zrcard; its outputs are in `out` and `err`.
    int Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), ZR_BINARY_DIR "/bin/zrcard");
        ChildProcess child("zrcard", arguments);
        const ExitStatus status = child.Wait();
        out = child.Stdout();
        err = child.Stderr();
        return status.exited ? status.code : -1;
    }

    // Runs zrcard on this test's card.
    int Control(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), config.ControlPath());
        return Run(std::move(arguments));
    }

    std::string out;
    std::string err;
};

TEST_F(Tool, ShowsTheStatus) {
    UseManualClock();
    const auto pcm = StartPlayback();
    ASSERT_EQ(Control({"status"}), 0);
    EXPECT_NE(out.find("card     present, tags normal"), std::string::npos) << out;
    EXPECT_NE(out.find("clock    standing, 1 times real time"), std::string::npos) << out;
    EXPECT_NE(out.find("capture  closed, standing, 0 periods"), std::string::npos) << out;
    EXPECT_NE(out.find("playback open, running, 6 periods"), std::string::npos) << out;
}

TEST_F(Tool, MakesAFreshCard) {
    ASSERT_EQ(Run({"fresh.control", "create"}), 0) << err;
    CardControl fresh;
    ASSERT_TRUE(fresh.Open("fresh.control"));
    fresh.SetPresence(CardPresence::Missing);
    ASSERT_EQ(Run({"fresh.control", "create"}), 0) << err;
    ASSERT_TRUE(CardControl().Open("fresh.control"));
    ASSERT_EQ(Run({"fresh.control", "status"}), 0);
    EXPECT_NE(out.find("card     present"), std::string::npos) << out;
    EXPECT_EQ(Run({"no-such-directory/fresh.control", "create"}), 2);
    EXPECT_NE(err.find("cannot be made"), std::string::npos) << err;
}

TEST_F(Tool, ControlsARunningCard) {
    UseManualClock();
    const auto pcm = StartCapture();
    Period period;
    ASSERT_EQ(Control({"fault", "error", "capture", "--value", "5", "--count", "2"}), 0);
    ASSERT_EQ(Control({"tags", "zero", "--periods", "1", "--value", "30"}), 0);
    ASSERT_EQ(Control({"advance", "1"}), 0);
    EXPECT_EQ(pcm->Read(period), -EIO);
    EXPECT_EQ(pcm->Read(period), -EIO);
    EXPECT_EQ(pcm->Read(period), 32);
    EXPECT_EQ(period[30] >> 16, 0u);
    ASSERT_EQ(Control({"unplug"}), 0);
    EXPECT_EQ(pcm->Read(period), -ENODEV);
}

TEST_F(Tool, ControlsTheClock) {
    Use();
    ASSERT_EQ(Control({"speed", "2.5"}), 0);
    EXPECT_DOUBLE_EQ(card.Status().speed, 2.5);
    ASSERT_EQ(Control({"stop"}), 0);
    EXPECT_FALSE(card.Status().clockRunning);
    ASSERT_EQ(Control({"start"}), 0);
    EXPECT_TRUE(card.Status().clockRunning);
    ASSERT_EQ(Control({"busy"}), 0);
    EXPECT_EQ(card.Status().presence, CardPresence::Busy);
    ASSERT_EQ(Control({"plug"}), 0);
    EXPECT_EQ(card.Status().presence, CardPresence::Present);
}

TEST_F(Tool, WrongUseIsOneLineAndStatusTwo) {
    Use();
    const std::string file = config.ControlPath();
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {file},
        {file, "dance"},
        {file, "fault", "overrun"},
        {file, "fault", "overrun", "playback"},
        {file, "fault", "fire", "capture"},
        {file, "tags", "blue"},
        {file, "speed", "0"},
        {file, "speed", "fast"},
        {file, "advance", "1"},
        {file, "advance", "-1"},
        {file, "status", "more"},
        {"asound.conf", "status"},
        {"nowhere", "status"},
    };
    for (const std::vector<std::string> &arguments : wrong) {
        EXPECT_EQ(Run(arguments), 2) << testing::PrintToString(arguments);
        EXPECT_EQ(err.find("zrcard: "), 0u) << err;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
        EXPECT_EQ(out, "");
    }
}

TEST_F(Tool, HelpIsNotWrongUse) {
    EXPECT_EQ(Run({"--help"}), 0);
    EXPECT_NE(out.find("advance"), std::string::npos);
}
