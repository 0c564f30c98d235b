// The real log, opened in a scratch directory, and what was written to it.
//
// Expected lines are given as the caller's level and text; the capture knows the
// head, the tail and the time of day that stand around them.
#pragma once

#include <string>
#include <vector>

#include "Support/ScratchDir.h"

// One line of system.log, taken apart.
struct LogLine {
    char level = 0;   // 'E', 'W', 'I' or 'D'
    std::string file; // base name of the source file
    int line = 0;     // source line
    std::string text; // between head and tail
    std::string raw;  // the line as it stands in the file, without its time of day
};

bool operator==(const LogLine &line, const std::string &levelAndText);

class LogCapture {
  public:
    // Opens the process's log in the directory "log" of a scratch directory.
    LogCapture();

    // Everything in system.log since the last call of Clear, record by record. A
    // message may hold line breaks; records are told apart by their time of day.
    std::vector<LogLine> Lines() const;

    // The same as "E text", "W text", ... for comparing whole sequences.
    std::vector<std::string> Texts() const;

    // The same, only lines of source file `file` (base name).
    std::vector<std::string> TextsOf(const std::string &file) const;

    // Forgets everything written so far.
    void Clear();

    // Waits until a line equals "E text" (level, blank, text). False after `timeoutMs`.
    bool WaitFor(const std::string &levelAndText, int timeoutMs = 5000) const;

    const ScratchDir &Directory() const { return m_directory; }

  private:
    ScratchDir m_directory;
    std::size_t m_start = 0;
};

// The records of a log file's content, also of one that another process wrote.
std::vector<LogLine> ParseLog(const std::string &content);
