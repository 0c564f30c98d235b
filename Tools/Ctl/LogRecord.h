// Records of the service's log: "[12:34:56,789] [E][File.cpp:  12] \e[1;31mtext\e[0m". A
// record's text may hold line breaks. Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct LogRecord {
    std::string time; // "12:34:56,789"; empty for a line outside of every record
    char level = 0;   // 'E', 'W', 'I', 'D'; 0 when the record has no head
    std::string text; // between head and tail, colours removed
    std::string raw;  // all of it as it stands in the file, without the last line break
};

// Takes one whole record apart.
LogRecord ParseLogRecord(const std::string &raw);

// `text` without terminal colours.
std::string StripColours(const std::string &text);

// True when `level` is at least as severe as `least` (E before W before I before D). A
// record without a level passes only when everything does.
bool IsSevere(char level, char least);

// Puts records together from a file's bytes as they come.
class LogRecordJoiner {
  public:
    // Adds bytes and returns the records that they complete: a record is complete with
    // its tail at the end of a line, or when the next one begins.
    std::vector<LogRecord> Add(const std::string &bytes);

    // The record that was still open, for the end of a file.
    std::optional<LogRecord> Finish();

  private:
    void _AddLine(const std::string &line, std::vector<LogRecord> &records);

    std::string m_line;   // bytes since the last line break
    std::string m_record; // lines of the open record
    bool m_isOpen = false;
};
