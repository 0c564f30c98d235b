// Programs that the runner starts: how they end, and that they always do.
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Desk/DeskChild.h"
#include "Desk/PrivateBus.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

namespace {

DeskChildCommand Shell(const std::string &script) {
    DeskChildCommand command;
    command.argv = {"sh", "-c", script};
    return command;
}

} // namespace

TEST(DeskChild, TellsAnExitStatus) {
    DeskChild child("it");
    ASSERT_TRUE(child.Start(Shell("exit 3")));
    EXPECT_TRUE(child.End(0, 5000));
    EXPECT_EQ(child.Ending(), "exit status 3");
    EXPECT_FALSE(child.EndedWell());
    EXPECT_FALSE(child.IsRunning());
}

TEST(DeskChild, TellsASignal) {
    DeskChild child("it");
    ASSERT_TRUE(child.Start(Shell("kill -ABRT $$")));
    EXPECT_TRUE(child.End(0, 5000));
    EXPECT_TRUE(child.EndedBySignal(SIGABRT));
    EXPECT_EQ(child.Ending(), "signal 6 (Aborted)");
}

TEST(DeskChild, KillsWhatDoesNotEndByItself) {
    const ScratchDir scratch;
    DeskChild child("it");
    DeskChildCommand command = Shell("trap '' TERM; echo up; while :; do sleep 0.1; done");
    command.outputPath = "out.txt";
    ASSERT_TRUE(child.Start(command));
    ASSERT_TRUE(WaitUntil([] { return ReadWholeFile("out.txt") == "up\n"; }));
    EXPECT_TRUE(child.IsRunning());
    EXPECT_FALSE(child.End(SIGTERM, 100));
    EXPECT_TRUE(child.EndedBySignal(SIGKILL));
}

TEST(DeskChild, GivesTheChildItsOutputEnvironmentAndNoCoreDumps) {
    const ScratchDir scratch;
    DeskChild child("it");
    DeskChildCommand command = Shell("echo $COLOUR; ulimit -c; echo oops >&2");
    command.environment = {{"COLOUR", "green"}};
    command.outputPath = "out.txt";
    ASSERT_TRUE(child.Start(command));
    EXPECT_TRUE(child.End(0, 5000));
    EXPECT_TRUE(child.EndedWell());
    EXPECT_EQ(ReadWholeFile("out.txt"), "green\n0\noops\n");
}

TEST(DeskChild, StartsOutsideTheTerminalsProcessGroup) {
    const ScratchDir scratch;
    DeskChild child("it");
    DeskChildCommand command;
    command.argv = {"sleep", "60"};
    ASSERT_TRUE(child.Start(command));
    ASSERT_TRUE(WaitUntil([&] { return getpgid(child.Pid()) == child.Pid(); }));
    EXPECT_EQ(getsid(child.Pid()), child.Pid());
}

TEST(DeskChild, EndsWithItsOwner) {
    pid_t pid = 0;
    {
        DeskChild child("it");
        DeskChildCommand command;
        command.argv = {"sleep", "60"};
        ASSERT_TRUE(child.Start(command));
        pid = child.Pid();
    }
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(DeskChild, ReportsAProgramThatIsNotThere) {
    DeskChild child("it");
    DeskChildCommand command;
    command.argv = {"/no/such/program"};
    ASSERT_TRUE(child.Start(command));
    EXPECT_TRUE(child.End(0, 5000));
    EXPECT_EQ(child.Ending(), "exit status 127");
}
