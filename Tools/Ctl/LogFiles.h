// The service's rolling log files: system.log is renamed to system.log.1 (or .01) when it
// is full, older ones move up, and a new system.log begins. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Ctl/LogRecord.h"

// The files of `path` that exist, the oldest backup first and `path` itself last.
std::vector<std::string> LogFilesOf(const std::string &path);

// The last `count` records at least as severe as `least`, backups included, the newest
// last. Throws CtlError (NoLog).
std::vector<LogRecord> LastLogRecords(const std::string &path, std::size_t count, char least);

// Reads what the service writes from the moment of construction on, over rolling.
class LogFollower {
  public:
    // Starts at the end of the file, or in it with what LastLogRecords would give kept for
    // Before(): no record is missed or doubled. Throws CtlError (NoLog).
    explicit LogFollower(const std::string &path);
    LogFollower(const std::string &path, std::size_t count, char least);
    ~LogFollower();

    LogFollower(const LogFollower &) = delete;
    LogFollower &operator=(const LogFollower &) = delete;

    // The last records before the start.
    const std::vector<LogRecord> &Before() const { return m_before; }

    // The records completed since the last call; does not wait.
    std::vector<LogRecord> Poll();

    // The record at the end that is not complete yet. Ends the following.
    std::optional<LogRecord> Unfinished() { return m_joiner.Finish(); }

  private:
    bool _ReadSome(std::vector<LogRecord> &records);
    bool _OpenNext(std::vector<LogRecord> &records);

    std::string m_path;
    int m_file;
    LogRecordJoiner m_joiner;
    std::vector<LogRecord> m_before;
};
