// The process's log opened in "log" of a scratch directory and closed again at the end.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "BSW/Log/Log.h"
#include "Support/ScratchDir.h"

// `content` of a log file without the time of day in front of its lines.
inline std::string Untimed(const std::string &content) {
    static const std::regex time(R"(\[([01]\d|2[0-3]):[0-5]\d:[0-5]\d,\d\d\d\] )");
    return std::regex_replace(content, time, "");
}

class LogTest : public testing::Test {
  protected:
    // The directory stands before: one that the log makes can be searched by root only.
    LogTest() {
        std::filesystem::create_directory("log");
        m_log->OpenOrCloseModuleLog(true);
    }
    ~LogTest() override { m_log->CleanUp(); }

    void Open(bool console = false) { ASSERT_EQ(m_log->Init("log", console), 1); }

    static std::string Raw(const std::string &file) { return ReadWholeFile("log/" + file); }
    static std::string Text(const std::string &file) { return Untimed(Raw(file)); }

    ScratchDir m_directory;
    CLog *m_log = CLog::instance();
};
