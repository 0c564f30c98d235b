// Back-traces, the end by ZRAbort, core dumps, the running partition; and what the system
// refuses to a process without rights. Nothing here changes the machine's settings.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "Emulation/Startable.h"
#include "Support/ChildProcess.h"
#include "Support/LogCapture.h"
#include "Support/ScratchDir.h"

using Texts = std::vector<std::string>;

namespace {

constexpr int CANNOT = 77; // exit status of function_child
constexpr int CHILD_TIMEOUT_MS = 40000;

// The log expands a "%" of its text once more, to nothing but zeros.
const std::string LOGGED_COMMAND = "echo \"/tmp/mmc0/core-0.000000e+00-(null)\" > /proc/sys/kernel/core_pattern";

struct ChildResult {
    ExitStatus status;
    std::string out;
    std::string err;
    Texts logged; // in its log
};

// Runs function_child, with `wrapper` in front of it.
ChildResult RunChild(Texts wrapper, const Texts &arguments) {
    Texts program = {ZR_BINARY_DIR "/bin/function_child"};
    program.insert(program.end(), arguments.begin(), arguments.end());
    program = zr_startable(program);
    wrapper.insert(wrapper.end(), program.begin(), program.end());
    ChildProcess child("child", wrapper);
    ChildResult result;
    result.status = child.Wait(CHILD_TIMEOUT_MS);
    result.out = child.Stdout();
    result.err = child.Stderr();
    for (const LogLine &line : ParseLog(ReadWholeFile("log/system.log")))
        result.logged.push_back(std::string(1, line.level) + " " + line.text);
    return result;
}

// What makes an ordinary user root in a namespace of its own, and what makes mounts private.
Texts AsRoot(bool withMounts) {
    Texts words;
    if (geteuid() != 0)
        words = {"unshare", "--user", "--map-root-user"};
    else if (withMounts)
        words = {"unshare"};
    if (withMounts)
        words.push_back("--mount");
    return words;
}

bool CouldNot(const ChildResult &result) {
    return (result.status.exited && result.status.code == CANNOT) || result.err.starts_with("unshare:");
}

int CallThreeDeep(int depth, std::string &trace) {
    int (*const volatile next)(int, std::string &) = CallThreeDeep; // no optimiser folds the calls
    if (depth > 0)
        return next(depth - 1, trace) + 1;
    trace = GetBackTrace();
    return 0;
}

// Puts the limits of core files back.
class CoreLimits {
  public:
    CoreLimits() { getrlimit(RLIMIT_CORE, &m_before); }
    ~CoreLimits() { setrlimit(RLIMIT_CORE, &m_before); }

    static rlimit Now() {
        rlimit limits = {};
        getrlimit(RLIMIT_CORE, &limits);
        return limits;
    }

  private:
    rlimit m_before = {};
};

std::string LimitLine(rlim_t soft, rlim_t hard) {
    char text[128];
    snprintf(text, sizeof text, "D coredump size, cur[%10lu], max[%10lu]", soft, hard);
    return text;
}

} // namespace

TEST(BackTrace, HasALineForEachCall) {
    std::string trace;
    CallThreeDeep(3, trace);
    EXPECT_GE(std::count(trace.begin(), trace.end(), '\n'), 5); // this test, at least, and main
    EXPECT_TRUE(trace.ends_with("\n"));
    EXPECT_NE(trace.find("test_function"), std::string::npos) << trace;
}

TEST(BackTrace, EndsAt100Calls) {
    std::string trace;
    EXPECT_EQ(CallThreeDeep(300, trace), 300);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 100);
}

TEST(Abort, LeavesItsMarkAndEndsBySigabrt) {
    const ScratchDir directory;
    const ChildResult result = RunChild({}, {"abort"});
    EXPECT_TRUE(result.status.signalled);
    EXPECT_EQ(result.status.signal, SIGABRT);
    EXPECT_EQ(result.out, "[ZR Program crashes] \n");
}

class RunPartTest : public testing::Test {
  protected:
    RunPartTest() { std::filesystem::create_directories("root/config"); }

    void Mark(const char *name) { std::ofstream("root/config/" + std::string(name)) << ""; }

    ScratchDir m_directory;
};

TEST_F(RunPartTest, IsTheOneThatIsMarkedAndAWins) {
    ChildResult result = RunChild(AsRoot(false), {"part", "root"});
    if (CouldNot(result))
        GTEST_SKIP() << "no root directory of the test's own: " << result.err;
    EXPECT_EQ(result.out, "\n");
    Mark("active_B_Part");
    EXPECT_EQ(RunChild(AsRoot(false), {"part", "root"}).out, "/app_B\n");
    Mark("active_A_Part");
    EXPECT_EQ(RunChild(AsRoot(false), {"part", "root"}).out, "/app_A\n");
    std::filesystem::remove("root/config/active_B_Part");
    EXPECT_EQ(RunChild(AsRoot(false), {"part", "root"}).out, "/app_A\n");
}

TEST(CoreSize, TheLimitsAreLogged) {
    const LogCapture log;
    const CoreLimits before;
    const rlimit limits = {4096, CoreLimits::Now().rlim_max};
    if (limits.rlim_max < limits.rlim_cur)
        GTEST_SKIP() << "core files are forbidden here";
    setrlimit(RLIMIT_CORE, &limits);
    show_coredump_size();
    EXPECT_EQ(log.TextsOf("Diagnostics.cpp"), Texts{LimitLine(4096, limits.rlim_max)});
}

// MiB asked for, and the limit in bytes.
struct CoreSize {
    int sizeM;
    rlim_t limit;
};

void PrintTo(const CoreSize &size, std::ostream *out) {
    *out << size.sizeM << " MiB";
}

class CoreSizeTest : public testing::TestWithParam<CoreSize> {};

TEST_P(CoreSizeTest, BecomesTheSoftLimit) {
    const LogCapture log;
    const CoreLimits putBack;
    const rlimit before = CoreLimits::Now();
    const rlimit unlimited = {before.rlim_cur, RLIM_INFINITY};
    if (setrlimit(RLIMIT_CORE, &unlimited) != 0)
        GTEST_SKIP() << "the hard limit of core files cannot be raised";
    EXPECT_EQ(DBG_set_coredump_size(GetParam().sizeM), 0);
    EXPECT_EQ(CoreLimits::Now().rlim_cur, GetParam().limit);
    EXPECT_EQ(CoreLimits::Now().rlim_max, RLIM_INFINITY);
    EXPECT_EQ(log.TextsOf("Diagnostics.cpp"),
              (Texts{LimitLine(before.rlim_cur, RLIM_INFINITY), LimitLine(GetParam().limit, RLIM_INFINITY)}));
}

INSTANTIATE_TEST_SUITE_P(Sizes, CoreSizeTest,
                         testing::Values(CoreSize{0, 0}, CoreSize{1, 1 << 20}, CoreSize{512, 512U << 20},
                                         CoreSize{2047, 2047U << 20}, CoreSize{2048, 0xffffffff80000000},
                                         CoreSize{4095, 0xfffffffffff00000}, CoreSize{4096, 0}, CoreSize{4097, 1 << 20},
                                         CoreSize{-1, RLIM_INFINITY}, CoreSize{-2147483647 - 1, RLIM_INFINITY}));

TEST(CoreSize, IsRefusedBelowALowerHardLimit) {
    const ScratchDir directory;
    const ChildResult result = RunChild({}, {"core", "512"});
    EXPECT_EQ(result.out, "-1 1\n"); // EPERM
    EXPECT_EQ(result.logged, (Texts{LimitLine(0, 1 << 20), LimitLine(0, 1 << 20)}));
}

TEST(CorePattern, ARefusalIsInTheLog) {
    const ScratchDir directory;
    const std::string before = ReadWholeFile("/proc/sys/kernel/core_pattern");
    const ChildResult result = RunChild({}, {"pattern"});
    if (CouldNot(result))
        GTEST_SKIP() << result.err;
    ASSERT_GE(result.logged.size(), 2U);
    const Texts end(result.logged.end() - 2, result.logged.end());
    EXPECT_EQ(end[0].find("D ExecCommand: " + LOGGED_COMMAND + " Finish. res = "), 0U) << end[0];
    EXPECT_FALSE(end[0].ends_with("cmdRes = 0")) << end[0];
    EXPECT_EQ(end[1], "D DBG_set_coredump_default");
    EXPECT_EQ(ReadWholeFile("/proc/sys/kernel/core_pattern"), before);
}

TEST(CorePattern, NamesTheProgramAndTheSignal) {
    const ScratchDir directory;
    const std::string before = ReadWholeFile("/proc/sys/kernel/core_pattern");
    std::ofstream("pattern") << "core\n";
    const ChildResult result = RunChild(AsRoot(true), {"pattern", "pattern"});
    if (CouldNot(result))
        GTEST_SKIP() << "no mounts of the test's own: " << result.err;
    EXPECT_EQ(ReadWholeFile("pattern"), "/tmp/mmc0/core-%e-%s\n");
    ASSERT_EQ(result.logged.size(), 4U);
    EXPECT_EQ(result.logged[2], "D ExecCommand: " + LOGGED_COMMAND + " Finish. res = 0, cmdRes = 0");
    EXPECT_EQ(result.logged[3], "D DBG_set_coredump_default");
    EXPECT_EQ(ReadWholeFile("/proc/sys/kernel/core_pattern"), before);
}

TEST(ClockSetting, IsRefusedWithoutTheRight) {
    const ScratchDir directory;
    const ChildResult result = RunChild({}, {"clock"});
    if (CouldNot(result))
        GTEST_SKIP() << result.err;
    EXPECT_EQ(result.out, "-1 1\n"); // EPERM
    EXPECT_EQ(result.logged, Texts{"E set system time 2024-02-29 12:00:00 error! Operation not permitted"});
}
