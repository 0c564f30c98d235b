// The operations of an open log: results, switches, levels, lengths, and after CleanUp.
#include <gtest/gtest.h>

#include <cwchar>

#include "FdCapture.h"
#include "LogFixture.h"

using LogStreams = LogTest;

TEST_F(LogStreams, GiveTheFormattedLength) {
    Open();
    EXPECT_EQ(m_log->System("%d-%s", 12, "abc"), 6);
    EXPECT_EQ(m_log->Access("%s", ""), 0);
    EXPECT_EQ(Text("system.log"), "12-abc\n");
    EXPECT_EQ(Text("access.log"), "\n");
}

TEST_F(LogStreams, AreAllSwitchedByTheModuleSwitch) {
    Open(true);
    EXPECT_EQ(m_log->OpenOrCloseModuleLog(false), 1);
    FdCapture error(STDERR_FILENO);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->System("long text"), 1);
    EXPECT_EQ(m_log->Access("long text"), 1);
    EXPECT_EQ(m_log->Alarm("long text"), 1);
    EXPECT_EQ(m_log->Module(MODULE_LOG_0, "long text"), 1);
    EXPECT_EQ(m_log->Module(MODULE_LOG_SIZE, "long text"), 1);
    EXPECT_EQ(m_log->Debug(LOG_LEVEL_INF, "long text"), 0);
    EXPECT_EQ(error.Text(), "");
    EXPECT_EQ(Untimed(console.Text()), std::string("long text\0\n", 11));
    for (const char *file : {"system.log", "access.log", "alarm.log", "Module0.log"})
        EXPECT_EQ(Raw(file), "") << file;

    EXPECT_EQ(m_log->OpenOrCloseModuleLog(true), 1);
    EXPECT_EQ(m_log->System("on"), 2);
    EXPECT_EQ(Text("system.log"), "on\n");
}

TEST_F(LogStreams, RefuseModulesThatDoNotExist) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->Module(MODULE_LOG_SIZE, "text"), -1);
    EXPECT_EQ(error.Text(), "MODULE_LOG error!\n");
    EXPECT_EQ(m_log->Module(static_cast<MODULE_LOG>(1000), "text"), -1);
    EXPECT_EQ(m_log->Module(static_cast<MODULE_LOG>(-1), "text"), -1);
    EXPECT_EQ(error.Text(), "MODULE_LOG error!\nMODULE_LOG error!\nMODULE_LOG error!\n");
    EXPECT_EQ(m_log->System("still here"), 10);
}

TEST_F(LogStreams, FollowTheLevelThatIsSet) {
    struct {
        int level;
        bool main;
        bool module;
        int console; // lines of the four levels
    } const cases[] = {{1, false, false, 1}, {2, false, false, 2}, {3, true, false, 3}, {4, true, true, 4},
                       {0, true, true, 4},   {5, true, true, 4},   {-7, true, true, 4}, {1000, true, true, 4}};
    Open(true);
    for (const auto &step : cases) {
        m_log->SetDebugLevel(step.level);
        const auto system = Raw("system.log").size(), alarm = Raw("alarm.log").size();
        const auto access = Raw("access.log").size(), module = Raw("Module7.log").size();
        FdCapture console(STDOUT_FILENO);
        EXPECT_EQ(m_log->System("x"), 1);
        EXPECT_EQ(m_log->Access("x"), 1);
        EXPECT_EQ(m_log->Alarm("x"), 1);
        EXPECT_EQ(m_log->Module(MODULE_LOG_7, "x"), 1);
        for (const LOG_E_LEVEL level : {LOG_LEVEL_ERR, LOG_LEVEL_WRN, LOG_LEVEL_INF, LOG_LEVEL_DBG})
            EXPECT_EQ(m_log->Debug(level, "x"), 0);
        EXPECT_EQ(Raw("system.log").size() > system, step.main) << step.level;
        EXPECT_EQ(Raw("access.log").size() > access, step.main) << step.level;
        EXPECT_EQ(Raw("alarm.log").size() > alarm, step.main) << step.level;
        EXPECT_EQ(Raw("Module7.log").size() > module, step.module) << step.level;
        const std::string shown = console.Text();
        EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), step.console) << step.level;
    }
}

TEST_F(LogStreams, ForgetTheSetLevelAtTheNextInit) {
    Open();
    m_log->SetDebugLevel(LOG_LEVEL_ERR);
    m_log->System("silenced");
    m_log->CleanUp();
    Open();
    m_log->System("heard");
    EXPECT_EQ(Text("system.log"), "heard\n");
}

TEST_F(LogStreams, CutLinesAt81919Characters) {
    Open();
    FdCapture error(STDERR_FILENO);
    const std::string fits(81919, 'a');
    EXPECT_EQ(m_log->System("%s", fits.c_str()), 81919);
    EXPECT_EQ(error.Text(), "");
    EXPECT_EQ(Text("system.log"), fits + "\n");

    const std::string tooLong(81920, 'b');
    EXPECT_EQ(m_log->Access("%s", tooLong.c_str()), 81920);
    EXPECT_EQ(error.Text(), "vsnprintf len warn! len = 81920\n");
    EXPECT_EQ(Text("access.log"), tooLong.substr(1) + "\n");

    const std::string wayTooLong(200000, 'c');
    EXPECT_EQ(m_log->Module(MODULE_LOG_1, "%s", wayTooLong.c_str()), 200000);
    EXPECT_EQ(error.Text(), "vsnprintf len warn! len = 81920\nvsnprintf len warn! len = 200000\n");
    EXPECT_EQ(Text("Module1.log"), wayTooLong.substr(0, 81919) + "\n");
}

TEST_F(LogStreams, GoOnWithWhatABadFormatLeft) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->Alarm("left%lcover", static_cast<std::wint_t>(0x7ffffff0)), -1);
    EXPECT_EQ(error.Text(), "vsnprintf len warn! len = -1\n");
    EXPECT_EQ(Text("alarm.log"), "left\n");
    EXPECT_EQ(m_log->Alarm("next"), 4);
    EXPECT_EQ(Text("alarm.log"), "left\nnext\n");
}

// The length is reported before the number is tested.
TEST_F(LogStreams, ReportBothALongLineAndABadModule) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->Module(MODULE_LOG_SIZE, "%s", std::string(90000, 'x').c_str()), -1);
    EXPECT_EQ(error.Text(), "vsnprintf len warn! len = 90000\nMODULE_LOG error!\n");
}

TEST_F(LogStreams, ShowTextsOfAnyLengthOnTheConsole) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    const std::string text(200000, 'd');
    EXPECT_EQ(m_log->Debug(LOG_LEVEL_INF, "%s", text.c_str()), 0);
    EXPECT_EQ(Untimed(console.Text()), text + std::string("\0\n", 2));
}

TEST_F(LogStreams, ShowNoEmptyTextOnTheConsole) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->Debug(LOG_LEVEL_ERR, "%s", ""), 0);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(LogStreams, ExpandATextOnlyOnceOnTheConsole) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->Debug(LOG_LEVEL_ERR, "%s", "%d %n %% 100%"), 0);
    EXPECT_EQ(Untimed(console.Text()), std::string("%d %n %% 100%\0\n", 15));
}

TEST_F(LogStreams, WriteNothingAfterCleanUp) {
    Open(true);
    FdCapture console(STDOUT_FILENO);
    EXPECT_EQ(m_log->CleanUp(), 1);
    EXPECT_EQ(m_log->System("x"), -1);
    EXPECT_EQ(m_log->Access("x"), -1);
    EXPECT_EQ(m_log->Alarm("x"), -1);
    EXPECT_EQ(m_log->Module(MODULE_LOG_0, "x"), -1);
    EXPECT_EQ(m_log->Debug(LOG_LEVEL_ERR, "x"), 0);
    m_log->SetDebugLevel(LOG_LEVEL_DBG);
    LOG_ERR("x");
    EXPECT_EQ(console.Text(), "");
    EXPECT_EQ(Raw("system.log"), "");
    EXPECT_STREQ(m_log->GetLogPath(), "log");
}
