// zrctl on files: recordings, the log, and what is delivered beside the program.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "CtlProgram.h"
#include "Emulation/Startable.h"
#include "Sound/SoundFile.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

using testing::HasSubstr;

namespace {

constexpr int CHANNELS = 24;

// Every channel with a signal of its own, `frames` frames; channel 3 silent, 9 clipped.
std::int16_t Sample(int frame, int channel) {
    if (channel == 3)
        return 0;
    if (channel == 9 && frame == 7)
        return 32767;
    return static_cast<std::int16_t>(channel * 1000 + frame % 500);
}

void WriteRecording(const std::string &path, int frames) {
    std::ofstream file(path, std::ios::binary);
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 1; channel <= CHANNELS; ++channel) {
            const auto sample = static_cast<std::uint16_t>(Sample(frame, channel));
            file.put(static_cast<char>(sample & 0xFF)).put(static_cast<char>(sample >> 8));
        }
}

void ExpectChannel(const Samples &samples, int channel, int frames) {
    ASSERT_EQ(samples.size(), static_cast<std::size_t>(frames)) << channel;
    for (int frame = 0; frame < frames; ++frame)
        ASSERT_EQ(samples[static_cast<std::size_t>(frame)], Sample(frame, channel)) << channel << " " << frame;
}

CtlEnd RunTool(const std::vector<std::string> &arguments) {
    return RunCtl("unix:path=/nowhere/bus", arguments);
}

// Runs a command of the system; its exit status.
int Shell(const std::string &command, std::string *output = nullptr) {
    ChildProcess shell("shell", {"bash", "-c", command});
    const ExitStatus end = shell.Wait(30000);
    if (output)
        *output = shell.Stdout() + shell.Stderr();
    return end.exited ? end.code : -1;
}

class CtlFiles : public testing::Test {
  protected:
    ScratchDir m_directory;
};

TEST_F(CtlFiles, WavHoldsEveryChannel) {
    WriteRecording("take.pcm", 5000);
    const CtlEnd end = RunTool({"wav", "take.pcm"});
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_EQ(end.output, "take.wav\n");
    std::string error;
    const auto channels = ReadChannels16k("take.wav", error);
    ASSERT_EQ(channels.size(), 24u) << error;
    for (int channel = 1; channel <= CHANNELS; ++channel)
        ExpectChannel(channels[static_cast<std::size_t>(channel) - 1], channel, 5000);
}

TEST_F(CtlFiles, SplitWritesOneFileForEachChannel) {
    WriteRecording("take.pcm", 5000);
    EXPECT_EQ(RunTool({"wav", "take.pcm", "--split", "-o", "out.wav"}).status, 0);
    for (int channel = 1; channel <= CHANNELS; ++channel) {
        std::string error;
        const std::string name = (channel < 10 ? "out_ch0" : "out_ch") + std::to_string(channel) + ".wav";
        ExpectChannel(ReadMono16k(name, error), channel, 5000);
    }
}

TEST_F(CtlFiles, ABrokenEndIsLeftOutAndTold) {
    WriteRecording("take.pcm", 10);
    std::ofstream("take.pcm", std::ios::app) << "xyz";
    const CtlEnd end = RunTool({"wav", "take.pcm"});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(end.errors, HasSubstr("3 bytes"));
}

TEST_F(CtlFiles, FilesThatCannotBeUsed) {
    std::ofstream("empty.pcm").close();
    WriteRecording("take.pcm", 10);
    for (const char *command : {"wav", "levels"}) {
        EXPECT_EQ(RunTool({command, "none.pcm"}).status, 1);
        EXPECT_EQ(RunTool({command, "."}).status, 1);
        EXPECT_EQ(RunTool({command, "empty.pcm"}).errors, "zrctl: empty.pcm: holds no audio\n");
    }
    EXPECT_EQ(RunTool({"wav", "take.pcm", "-o", "take.pcm"}).status, 2);
    EXPECT_EQ(RunTool({"wav", "take.pcm", "-o", "no/such/dir.wav"}).status, 1);
    EXPECT_EQ(std::filesystem::file_size("take.pcm"), 480u);
}

TEST_F(CtlFiles, LevelsNameSilentAndClippedChannels) {
    WriteRecording("take.pcm", 16000);
    const CtlEnd end = RunTool({"levels", "take.pcm"});
    EXPECT_EQ(end.status, 0);
    EXPECT_THAT(end.output, HasSubstr("take.pcm: 1.000 s\n"));
    EXPECT_THAT(end.output, HasSubstr("Silent channels: 3\nClipped channels: 9\n"));
}

TEST_F(CtlFiles, AFullStandardOutputIsAFailure) {
    WriteRecording("take.pcm", 10);
    std::string output;
    EXPECT_EQ(Shell(zr_startable_text(ZRCTL) + " levels take.pcm >/dev/full", &output), 1);
    EXPECT_THAT(output, HasSubstr("standard output"));
}

TEST_F(CtlFiles, LogByLevelWithoutColours) {
    std::ofstream("system.log") << "[12:34:56,789] [D][A.cpp:   1] \033[0;32mone\033[0m\n"
                                << "[12:34:56,790] [E][A.cpp:   2] \033[1;31mtwo\033[0m\n"
                                << "[12:34:56,791] [W][A.cpp:   3] \033[1;33mthree\033[0m\n";
    EXPECT_EQ(RunTool({"log", "--log-file", "system.log", "--level", "W"}).output,
              "[12:34:56,790] [E][A.cpp:   2] two\n[12:34:56,791] [W][A.cpp:   3] three\n");
    EXPECT_EQ(RunTool({"log", "--log-file", "system.log", "--lines", "1"}).output,
              "[12:34:56,791] [W][A.cpp:   3] three\n");
    std::string onTerminal;
    Shell("script -qec '" + zr_startable_text(ZRCTL) + " log --log-file system.log --level E' /dev/null </dev/null",
          &onTerminal);
    EXPECT_THAT(onTerminal, HasSubstr("\033[1;31mtwo\033[0m"));
}

TEST_F(CtlFiles, LogFollowsOverRollingUntilInterrupted) {
    std::ofstream("system.log") << "[12:34:56,789] [D][A.cpp:   1] \033[0;32mone\033[0m\n";
    ChildProcess tool("zrctl", {ZRCTL, "log", "--log-file", "system.log", "--follow"});
    ASSERT_TRUE(WaitUntil([&] { return tool.Stdout().find("one") != std::string::npos; }, 10000));
    std::ofstream("system.log", std::ios::app) << "[12:34:56,790] [D][A.cpp:   2] \033[0;32mtwo\033[0m\n";
    std::filesystem::rename("system.log", "system.log.01");
    std::ofstream("system.log") << "[12:34:56,791] [D][A.cpp:   3] \033[0;32mthree\033[0m\n";
    EXPECT_TRUE(WaitUntil([&] { return tool.Stdout().find("three") != std::string::npos; }, 10000));
    tool.Signal(SIGINT);
    const CtlEnd end = EndOf(tool);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output, "[12:34:56,789] [D][A.cpp:   1] one\n[12:34:56,790] [D][A.cpp:   2] two\n"
                          "[12:34:56,791] [D][A.cpp:   3] three\n");
}

TEST_F(CtlFiles, NoLog) {
    EXPECT_EQ(RunTool({"log", "--log-file", "none"}).status, 7);
}

TEST_F(CtlFiles, NoRightToReadTheLog) {
    std::ofstream("system.log").close();
    ASSERT_EQ(chmod("system.log", 0000), 0); // nothing to root
    ASSERT_EQ(chmod(m_directory.Path().c_str(), 0711), 0);
    if (geteuid() == 0 && !CanBecomeOthers())
        GTEST_SKIP() << ONE_USER_ONLY;
    const std::vector<std::string> arguments = {"log", "--log-file", "system.log"};
    const CtlEnd end = geteuid() == 0 ? RunCtlAs(User::Stranger, arguments) : RunTool(arguments);
    EXPECT_EQ(end.status, 7);
    EXPECT_EQ(end.errors, "zrctl: no right to read the log system.log\n");
}

TEST_F(CtlFiles, CompletionLoadsAndCompletes) {
    const std::string file = ZR_SOURCE_DIR "/Deploy/completion/zrctl";
    EXPECT_EQ(Shell("bash -n " + file), 0);
    std::string output;
    const std::string complete = "set -u; source " + file +
                                 "; complete -p zrctl; try() { COMP_WORDS=(zrctl \"$@\"); "
                                 "COMP_CWORD=$#; COMPREPLY=(); _zrctl; echo \"${COMPREPLY[*]}\"; }; ";
    WriteRecording("take.pcm", 1);
    std::ofstream("other.txt").close();
    EXPECT_EQ(Shell(complete + "try st; try print ''; try log --level ''; try status --w; try wav ''; try frob --au",
                    &output),
              0);
    EXPECT_EQ(output, "complete -F _zrctl zrctl\nstatus\non off\nE W I D\n--watch\ntake.pcm\n--audio-dir\n");
}

TEST_F(CtlFiles, ManPageIsCleanAndComplete) {
    const std::string page = ZR_SOURCE_DIR "/Docs/man/zrctl.1";
    std::string output;
    EXPECT_EQ(Shell("groff -ww -man -z " + page, &output), 0);
    EXPECT_EQ(output, "");
    EXPECT_EQ(Shell("MANWIDTH=200 man -l " + page, &output), 0);
    for (const char *word : {"commands", "status", "print", "record", "wav", "levels", "log", "raw", "EXIT STATUS"})
        EXPECT_THAT(output, HasSubstr(word));
    std::string help = RunTool({"--help"}).output;
    help.erase(0, help.find("Exit status:\n") + 13);
    for (std::size_t end = help.find('\n'); end != help.npos && end > 7; end = help.find('\n')) {
        EXPECT_THAT(output, HasSubstr(help.substr(7, end - 7))); // the same table
        help.erase(0, end + 1);
    }
}

} // namespace
