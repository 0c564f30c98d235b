// The four level macros: the bytes that reach system.log and the console.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "FdCapture.h"
#include "LogFixture.h"

static_assert(std::string_view(LogBaseName("/a/b/c.cpp")) == "c.cpp");
static_assert(std::string_view(LogBaseName("c.cpp")) == "c.cpp");
static_assert(std::string_view(LogBaseName("a/")).empty());

using LogMacros = LogTest;

void LogFromFixedLines();

TEST_F(LogMacros, WriteHeadTextAndTailOfTheirLevel) {
    Open();
    LogFromFixedLines();
    EXPECT_EQ(Text("system.log"), "[E][Probe.cpp:   7] \033[1;31mopen eth0: 3\n\033[0m\n"
                                  "[W][Probe.cpp:  42] \033[1;33mlate\033[0m\n"
                                  "[I][Probe.cpp: 123] \033[1;36mready\033[0m\n"
                                  "[D][Probe.cpp:1234] \033[0;32mstep 1\033[0m\n"
                                  "[E][Plain.cpp:12345] \033[1;31mend\033[0m\n");
}

TEST_F(LogMacros, ReachTheConsoleWithTheTerminatingZero) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    LogFromFixedLines();
    using namespace std::string_literals;
    EXPECT_EQ(Untimed(console.Text()), "[E][Probe.cpp:   7] \033[1;31mopen eth0: 3\n\033[0m\0\n"
                                       "[W][Probe.cpp:  42] \033[1;33mlate\033[0m\0\n"
                                       "[I][Probe.cpp: 123] \033[1;36mready\033[0m\0\n"
                                       "[D][Probe.cpp:1234] \033[0;32mstep 1\033[0m\0\n"
                                       "[E][Plain.cpp:12345] \033[1;31mend\033[0m\0\n"s);
}

TEST_F(LogMacros, WriteNothingToAConsoleThatIsOff) {
    Open(false);
    FdCapture console(STDOUT_FILENO);
    LogFromFixedLines();
    EXPECT_EQ(console.Text(), "");
}

TEST_F(LogMacros, StartEachLineWithTheTimeOfDay) {
    Open();
    LOG_INF("now");
    const std::regex line("\\[([01]\\d|2[0-3]):[0-5]\\d:[0-5]\\d,\\d{3}\\] \\[I\\]\\[LogMacrosTest\\.cpp:[ \\d]{4}\\] "
                          "\033\\[1;36mnow\033\\[0m\n");
    EXPECT_TRUE(std::regex_match(Raw("system.log"), line)) << Raw("system.log");
}

TEST_F(LogMacros, AreOneStatementEach) {
    Open();
    for (const bool error : {true, false})
        if (error)
            LOG_ERR("yes");
        else
            LOG_DBG("no");
    const std::string text = Text("system.log");
    EXPECT_NE(text.find("yes"), std::string::npos);
    EXPECT_NE(text.find("no"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
}

TEST_F(LogMacros, EvaluateArgumentsForBothStreams) {
    Open();
    int calls = 0;
    LOG_INF("%d", ++calls);
    EXPECT_EQ(calls, 2);
    EXPECT_NE(Text("system.log").find("\033[1;36m2\033[0m"), std::string::npos);
}

TEST_F(LogMacros, KeepErrnoForBothStreamsAndForTheCaller) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    errno = ENOENT;
    LOG_ERR("%m|%d|", errno);
    EXPECT_EQ(errno, ENOENT);
    const std::string expected = std::string("\033[1;31m") + std::strerror(ENOENT) + "|2|\033[0m";
    EXPECT_NE(Text("system.log").find(expected), std::string::npos) << Text("system.log");
    EXPECT_NE(console.Text().find(expected), std::string::npos) << console.Text();
}

// Below, the lines and files are those that the directives name.
void LogFromFixedLines() {
#line 7 "some/dir/Probe.cpp"
    LOG_ERR("open %s: %d\n", "eth0", 3);
#line 42 "some/dir/Probe.cpp"
    LOG_WRN("late");
#line 123 "some/dir/Probe.cpp"
    LOG_INF("ready");
#line 1234 "some/dir/Probe.cpp"
    LOG_DBG("step %d", 1);
#line 12345 "Plain.cpp"
    LOG_ERR("end");
}
