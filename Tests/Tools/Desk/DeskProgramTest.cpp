// zrdesk as a program: wrong use, and whole runs of the service with it.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Peer/ZRPeer.h"
#include "Sound/SoundFile.h"
#include "Support/ChildProcess.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

const std::string ZRDESK = ZR_BINARY_DIR "/bin/zrdesk";
constexpr int RUN_MS = 60000;

int CountOf(const std::string &text, const std::string &in) {
    int count = 0;
    for (std::size_t at = in.find(text); at != std::string::npos; at = in.find(text, at + text.size()))
        ++count;
    return count;
}

// A run with its files in the scratch directory. ThreadSanitizer would end the service
// for logging from its signal handler, which it does on purpose.
class DeskProgram : public testing::Test {
  protected:
    std::unique_ptr<ChildProcess> Start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), ZRDESK);
        if (std::getenv("ZR_EMULATOR") && CountOf("--out", testing::PrintToString(arguments)) > 0)
            arguments.insert(arguments.end(), {"--speed", "0.5"}); // a run, too slow for real time there
        const char *options = std::getenv("TSAN_OPTIONS");
        return std::make_unique<ChildProcess>(
            "run" + std::to_string(++m_runs), arguments,
            ChildProcess::Environment{
                {"TMPDIR", "."}, {"TSAN_OPTIONS", std::string(options ? options : "") + ":report_signal_unsafe=0"}});
    }

    // Waits until a run that measures has told its progress `times` (once a second), so that
    // what happens now happens to counted audio.
    static bool WaitForProgress(const ChildProcess &run, int times = 1) {
        return WaitUntil([&] { return CountOf("periods to the peer", run.Stdout()) >= times; }, RUN_MS);
    }

    ScratchDir m_scratch;
    int m_runs = 0;
};

// The number and parent of a process as /proc/NUMBER/stat tells them.
struct ProcessEntry {
    pid_t pid = 0;
    pid_t parent = 0;
};

ProcessEntry ReadProcess(const std::filesystem::path &directory) {
    ProcessEntry process;
    std::string line;
    std::getline(std::ifstream(directory / "stat"), line);
    const std::size_t close = line.rfind(')');
    if (close == std::string::npos)
        return process;
    std::string state;
    std::istringstream(line.substr(close + 1)) >> state >> process.parent;
    process.pid = std::stoi(line);
    return process;
}

// True when `name` is the program of a command line; an emulator may stand before it.
bool Runs(const std::filesystem::path &directory, const std::string &name) {
    std::istringstream words(ReadWholeFile(directory / "cmdline"));
    for (std::string word; std::getline(words, word, '\0');)
        if (std::filesystem::path(word).filename() == name)
            return true;
    return false;
}

// The process named `name` whose parent is `parent`; 0 when there is none.
pid_t ChildNamed(pid_t parent, const std::string &name) {
    pid_t found = 0;
    const auto look = [&] {
        for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
            const ProcessEntry process = ReadProcess(entry.path());
            if (process.parent == parent && Runs(entry.path(), name))
                found = process.pid;
        }
        return found != 0;
    };
    WaitUntil(look);
    return found;
}

// The three processes of a run.
struct RunProcesses {
    explicit RunProcesses(pid_t run)
        : service(ChildNamed(run, "ZRFpgaMng")), peer(ChildNamed(run, "zrdesk")), bus(ChildNamed(run, "dbus-daemon")) {}

    bool AreThere() const { return service > 0 && peer > 0 && bus > 0; }
    bool AreGone() const { return IsGone(service) && IsGone(peer) && IsGone(bus); }
    static bool IsGone(pid_t pid) { return kill(pid, 0) < 0; }

    pid_t service;
    pid_t peer;
    pid_t bus;
};

} // namespace

TEST_F(DeskProgram, AnswersWrongUseWithOneLineAndStatus2) {
    const std::vector<std::vector<std::string>> wrong = {{"--bogus"},
                                                         {"something"},
                                                         {"--seconds"},
                                                         {"--seconds", "soon"},
                                                         {"--seconds", "0"},
                                                         {"--seconds", "-1"},
                                                         {"--forever", "--seconds", "3"},
                                                         {"--service", "/no/such/program"},
                                                         {"--calls", "0"},
                                                         {"--speed", "0"}};
    for (const auto &arguments : wrong) {
        const auto run = Start(arguments);
        const ExitStatus status = run->Wait();
        EXPECT_TRUE(status.exited && status.code == 2) << arguments[0];
        EXPECT_THAT(run->Stderr(), MatchesRegex("zrdesk: [^\n]+\n")) << arguments[0];
        EXPECT_EQ(run->Stdout(), "");
    }
}

TEST_F(DeskProgram, ExplainsItself) {
    const auto run = Start({"--help"});
    EXPECT_EQ(run->Wait().code, 0);
    EXPECT_THAT(run->Stdout(), HasSubstr("--seconds"));
    EXPECT_THAT(run->Stdout(), HasSubstr("--forever"));
    EXPECT_THAT(run->Stdout(), Not(HasSubstr("--speed")));
}

TEST_F(DeskProgram, MovesAudioBothWaysAndKeepsItAsSound) {
    const auto run = Start({"--seconds", "2", "--out", "out"});
    const ExitStatus status = run->Wait(RUN_MS);
    ASSERT_TRUE(status.exited && status.code == 0)
        << run->Stdout() << run->Stderr() << ReadWholeFile("out/service.txt");
    EXPECT_THAT(run->Stdout(), HasSubstr("periods                    1000           1000\n"));
    EXPECT_THAT(run->Stdout(), HasSubstr("arrived                    1000           1000\n"));
    EXPECT_THAT(run->Stdout(), HasSubstr("every period arrived in order and bit for bit\n"));
    for (const char *path : {"out/peer/ch24.wav", "out/card/ch24.wav"}) {
        std::string error;
        const Samples counter = ReadMono16k(path, error);
        ASSERT_EQ(counter.size(), 32000u) << path << error;
        for (std::size_t i = 1; i < counter.size(); ++i)
            ASSERT_EQ(static_cast<uint16_t>(counter[i]), static_cast<uint16_t>(counter[i - 1] + 1)) << path << " " << i;
    }
    EXPECT_THAT(ReadWholeFile("out/log/system.log"), HasSubstr("Stack trace:"));
    for (const auto &entry : std::filesystem::directory_iterator("."))
        EXPECT_FALSE(entry.is_directory() && entry.path().filename() != "out") << entry.path() << " left behind";
}

TEST_F(DeskProgram, ShowsTheNodeReportAndTheLevelsOfARecording) {
    const auto run = Start({"--seconds", "2", "--record", "--out", "out"});
    const ExitStatus status = run->Wait(RUN_MS);
    ASSERT_TRUE(status.exited && status.code == 0) << run->Stdout() << run->Stderr();
    EXPECT_THAT(run->Stdout(), ContainsRegex("periods captured +[1-9][0-9]+\n"));
    EXPECT_THAT(run->Stdout(), ContainsRegex("messages received +[1-9][0-9]+\n"));
    EXPECT_THAT(run->Stdout(), ContainsRegex("PcmRd_24chn_.*\\.pcm: 2\\.000 s\n"));
    EXPECT_THAT(run->Stdout(), ContainsRegex("PcmWr_24chn_.*\\.pcm: 2\\.000 s\n"));
    for (const auto &entry : std::filesystem::directory_iterator("out")) {
        if (entry.path().extension() != ".pcm")
            continue;
        EXPECT_EQ(entry.file_size(), 2u * 500 * 1536) << entry.path();
    }
}

TEST_F(DeskProgram, CallsTheServiceMeanwhile) {
    const auto run = Start({"--seconds", "2", "--calls", "200", "--out", "out"});
    run->Wait(RUN_MS);
    EXPECT_THAT(run->Stdout(), ContainsRegex("the operator called [1-9][0-9][0-9]+ times, ")) << run->Stderr();
    EXPECT_THAT(run->Stdout(), Not(HasSubstr("calls of the operator got no")));
    EXPECT_GT(CountOf("[Pcm]ReadThread ", ReadWholeFile("out/log/system.log")), 50); // every second call
}

TEST_F(DeskProgram, TellsLossWhenTheServiceStandsStill) {
    const auto run = Start({"--forever", "--out", "out"});
    ASSERT_TRUE(WaitForProgress(*run)) << run->Stdout() << run->Stderr();
    const pid_t service = ChildNamed(run->Pid(), "ZRFpgaMng");
    ASSERT_GT(service, 0);
    kill(service, SIGSTOP);
    EXPECT_TRUE(WaitForProgress(*run, 2)); // far longer than the card's 12 ms of buffer
    kill(service, SIGCONT);
    EXPECT_TRUE(WaitForProgress(*run, 3));
    run->Signal(SIGINT);
    const ExitStatus status = run->Wait(RUN_MS);
    EXPECT_TRUE(status.exited && status.code == 1) << run->Stdout();
    EXPECT_THAT(run->Stdout(), HasSubstr("FAILED: "));
    EXPECT_THAT(run->Stdout(), Not(HasSubstr("overruns 0,")));
    EXPECT_THAT(run->Stdout(), Not(HasSubstr("underruns 0\n")));
    EXPECT_THAT(run->Stdout(), HasSubstr("wrong samples                 0              0\n"));
    EXPECT_THAT(run->Stdout(), Not(HasSubstr("lost                          0 ")));
}

TEST_F(DeskProgram, TellsWhenTheServiceDies) {
    const auto run = Start({"--forever", "--out", "out"});
    ASSERT_TRUE(WaitForProgress(*run)) << run->Stdout() << run->Stderr();
    kill(ChildNamed(run->Pid(), "ZRFpgaMng"), SIGKILL);
    const ExitStatus status = run->Wait(RUN_MS);
    EXPECT_TRUE(status.exited && status.code == 1) << run->Stdout();
    EXPECT_THAT(run->Stdout(), HasSubstr("the service ended early: signal 9 (Killed)\n"));
    EXPECT_THAT(run->Stdout(), HasSubstr("FAILED: "));
}

TEST_F(DeskProgram, EndsEverythingAndReportsOnASignal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto run = Start({"--forever", "--out", "out"});
        ASSERT_TRUE(WaitForProgress(*run)) << run->Stdout() << run->Stderr();
        const RunProcesses processes(run->Pid());
        ASSERT_TRUE(processes.AreThere()) << processes.service << processes.peer << processes.bus;
        run->Signal(signal);
        const ExitStatus status = run->Wait(RUN_MS);
        EXPECT_TRUE(status.exited && status.code == 0) << signal << run->Stdout();
        EXPECT_THAT(run->Stdout(), HasSubstr("every period arrived in order and bit for bit\n"));
        EXPECT_TRUE(processes.AreGone());
    }
}

TEST_F(DeskProgram, TakesEverythingWithItWhenItIsKilled) {
    const auto run = Start({"--forever", "--out", "out"});
    ASSERT_TRUE(WaitForProgress(*run)) << run->Stdout() << run->Stderr();
    const RunProcesses processes(run->Pid());
    ASSERT_TRUE(processes.AreThere()) << processes.service << processes.peer << processes.bus;
    run->Signal(SIGKILL);
    run->Wait();
    EXPECT_TRUE(WaitUntil([&] { return processes.AreGone(); }));
}

TEST_F(DeskProgram, SaysWhyTheServiceDidNotStart) {
    const auto run = Start({"--service", "/bin/false", "--out", "out"});
    const ExitStatus status = run->Wait(RUN_MS);
    EXPECT_TRUE(status.exited && status.code == 1);
    EXPECT_THAT(run->Stdout(), HasSubstr("FAILED: the service ended: exit status 1; see out\n"));
}

TEST_F(DeskProgram, SaysWhenAnotherPeerHasTheSocket) {
    zrpeer::Socket other;
    ASSERT_EQ(other.Bind(zrpeer::AUDIO_FROM_SERVICE), 0);
    const auto run = Start({"--out", "out"});
    const ExitStatus status = run->Wait(RUN_MS);
    EXPECT_TRUE(status.exited && status.code == 1);
    EXPECT_THAT(run->Stdout(), HasSubstr("FAILED: the peer ended: exit status 1; see out\n"));
    EXPECT_THAT(run->Stderr(), HasSubstr("/tmp/AudioStream_Fpga_to_Arm: Address already in use"));
}
