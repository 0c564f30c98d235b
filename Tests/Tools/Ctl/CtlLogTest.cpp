// Records of the log, and following it over rolling.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Ctl/CtlError.h"
#include "Ctl/LogFiles.h"
#include "Support/ScratchDir.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A record as the service writes it.
std::string Record(char level, const std::string &text) {
    return std::string("[12:34:56,789] [") + level + "][File.cpp:  12] \033[1;31m" + text + "\033[0m\n";
}

std::vector<std::string> TextsOf(const std::vector<LogRecord> &records) {
    std::vector<std::string> texts;
    for (const LogRecord &record : records)
        texts.push_back(record.text);
    return texts;
}

class CtlLog : public testing::Test {
  protected:
    static void Write(const std::string &name, const std::string &text) { std::ofstream(name, std::ios::app) << text; }

    static void Roll(const char *backup) { std::filesystem::rename("system.log", backup); }

    ScratchDir m_directory;
};

TEST_F(CtlLog, TakesARecordApart) {
    const LogRecord record = ParseLogRecord("[01:02:03,004] [W][AudioNet.cpp: 123] \033[1;33mtwo\nlines\033[0m");
    EXPECT_EQ(record.time, "01:02:03,004");
    EXPECT_EQ(record.level, 'W');
    EXPECT_EQ(record.text, "two\nlines");
    EXPECT_EQ(ParseLogRecord("no head").text, "no head");
    EXPECT_EQ(ParseLogRecord("no head").level, 0);
}

TEST_F(CtlLog, StripsEveryColour) {
    EXPECT_EQ(StripColours("\033[1;31ma\033[0mb"), "ab");
    EXPECT_EQ(StripColours("cut\033[1;3"), "cut");
    EXPECT_EQ(StripColours("[D] plain"), "[D] plain");
}

TEST_F(CtlLog, LevelsBySeverity) {
    EXPECT_TRUE(IsSevere('E', 'W'));
    EXPECT_TRUE(IsSevere('W', 'W'));
    EXPECT_FALSE(IsSevere('I', 'W'));
    EXPECT_FALSE(IsSevere(0, 'I'));
    EXPECT_TRUE(IsSevere(0, 'D'));
}

TEST_F(CtlLog, JoinsWhatComesInPieces) {
    LogRecordJoiner joiner;
    const std::string text = Record('E', "one\ntwo") + Record('D', "three");
    std::vector<std::string> texts;
    for (const char byte : text)
        for (const LogRecord &record : joiner.Add({byte}))
            texts.push_back(record.text);
    EXPECT_THAT(texts, ElementsAre("one\ntwo", "three"));
}

TEST_F(CtlLog, ARecordWithoutTailEndsWithTheNext) {
    LogRecordJoiner joiner;
    EXPECT_THAT(TextsOf(joiner.Add("[12:34:56,789] [E][File.cpp:  12] \033[1;31mcut\n")), IsEmpty());
    EXPECT_THAT(TextsOf(joiner.Add(Record('D', "next"))), ElementsAre("cut", "next"));
}

TEST_F(CtlLog, FollowsFromTheEnd) {
    Write("system.log", Record('D', "old"));
    LogFollower log("system.log");
    EXPECT_THAT(TextsOf(log.Poll()), IsEmpty());
    Write("system.log", Record('D', "new"));
    EXPECT_THAT(TextsOf(log.Poll()), ElementsAre("new"));
}

TEST_F(CtlLog, FollowsOverRolling) {
    Write("system.log", "");
    LogFollower log("system.log");
    Write("system.log", Record('D', "a"));
    Roll("system.log.01");
    EXPECT_THAT(TextsOf(log.Poll()), ElementsAre("a")); // nothing has begun a new file yet
    Write("system.log", Record('D', "b"));
    EXPECT_THAT(TextsOf(log.Poll()), ElementsAre("b"));
}

TEST_F(CtlLog, FollowsOverSeveralRollings) {
    Write("system.log", "");
    LogFollower log("system.log");
    Write("system.log", Record('D', "a"));
    Roll("system.log.3");
    Write("system.log.2", Record('D', "b"));
    Write("system.log.1", Record('D', "c"));
    Write("system.log", Record('D', "d"));
    EXPECT_THAT(TextsOf(log.Poll()), ElementsAre("a", "b", "c", "d"));
}

TEST_F(CtlLog, FollowsAfterTheFilesWereDeleted) {
    Write("system.log", "");
    LogFollower log("system.log");
    std::filesystem::remove("system.log");
    EXPECT_THAT(TextsOf(log.Poll()), IsEmpty());
    Write("system.log", Record('D', "again"));
    EXPECT_THAT(TextsOf(log.Poll()), ElementsAre("again"));
}

TEST_F(CtlLog, LastRecordsReachBackIntoOlderFiles) {
    Write("system.log.10", Record('E', "1"));
    Write("system.log.2", Record('D', "2") + Record('E', "3"));
    Write("system.log", Record('W', "4") + Record('D', "5"));
    Write("system.log.txt", Record('E', "no backup"));
    EXPECT_THAT(TextsOf(LastLogRecords("system.log", 3, 'D')), ElementsAre("3", "4", "5"));
    EXPECT_THAT(TextsOf(LastLogRecords("system.log", 20, 'E')), ElementsAre("1", "3"));
    EXPECT_THAT(TextsOf(LastLogRecords("system.log", 0, 'D')), IsEmpty());
}

TEST_F(CtlLog, LastRecordsEndWithAnUnfinishedOne) {
    Write("system.log", Record('D', "whole") + "[12:34:56,789] [E][File.cpp:  12] cut");
    EXPECT_THAT(TextsOf(LastLogRecords("system.log", 5, 'D')), ElementsAre("whole", "cut"));
    EXPECT_THAT(TextsOf(LastLogRecords("system.log", 1, 'D')), ElementsAre("cut"));
}

TEST_F(CtlLog, AMissingLogHasItsOwnStatus) {
    try {
        LogFollower("nowhere/system.log");
        FAIL();
    } catch (const CtlError &error) {
        EXPECT_EQ(static_cast<int>(error.Exit()), 7);
    }
}

} // namespace
