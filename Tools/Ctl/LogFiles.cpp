// See LogFiles.h.
#include "Ctl/LogFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Ctl/CtlError.h"

namespace {

constexpr std::size_t READ_BYTES = 65536;

[[noreturn]] void FailToRead(const std::string &path, int error) {
    throw CtlError(CtlExit::NoLog, error == EACCES || error == EPERM ? "no right to read the log " + path
                                                                     : "no log " + path + ": " + std::strerror(error));
}

int OpenLog(const std::string &path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        FailToRead(path, errno);
    return file;
}

// The number behind "system.log.", 0 for anything else.
int BackupNumber(const std::string &name, const std::string &base) {
    const std::string prefix = base + ".";
    if (!name.starts_with(prefix) || name.find_first_not_of("0123456789", prefix.size()) != name.npos)
        return 0;
    return std::atoi(name.c_str() + prefix.size());
}

bool IsSameFile(int file, const std::string &path) {
    struct stat open {};
    struct stat named {};
    return fstat(file, &open) == 0 && stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
           open.st_dev == named.st_dev;
}

std::vector<LogRecord> RecordsOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    LogRecordJoiner joiner;
    auto records = joiner.Add({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    if (const auto last = joiner.Finish())
        records.push_back(*last);
    return records;
}

} // namespace

std::vector<std::string> LogFilesOf(const std::string &path) {
    const std::filesystem::path current(path);
    const auto directory = current.has_parent_path() ? current.parent_path() : std::filesystem::path(".");
    std::map<int, std::string, std::greater<>> numbered;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory, error), end; entry != end; entry.increment(error))
        if (const int number = BackupNumber(entry->path().filename(), current.filename()))
            numbered[number] = entry->path();
    std::vector<std::string> files;
    for (const auto &[number, name] : numbered)
        files.push_back(name);
    if (std::filesystem::exists(current, error))
        files.push_back(path);
    return files;
}

std::vector<LogRecord> LastLogRecords(const std::string &path, std::size_t count, char least) {
    LogFollower log(path, count, least);
    std::vector<LogRecord> records = log.Before();
    if (const auto unfinished = log.Unfinished(); unfinished && IsSevere(unfinished->level, least))
        records.push_back(*unfinished);
    if (records.size() > count)
        records.erase(records.begin());
    return records;
}

LogFollower::LogFollower(const std::string &path) : m_path(path), m_file(OpenLog(path)) {
    lseek(m_file, 0, SEEK_END);
}

LogFollower::LogFollower(const std::string &path, std::size_t count, char least) : m_path(path), m_file(OpenLog(path)) {
    std::deque<LogRecord> last;
    const auto prepend = [&](const std::vector<LogRecord> &records) {
        for (auto record = records.rbegin(); record != records.rend() && last.size() < count; ++record)
            if (IsSevere(record->level, least))
                last.push_front(*record);
    };
    std::vector<LogRecord> own;
    while (_ReadSome(own)) {
    }
    prepend(own);
    const auto files = LogFilesOf(path);
    auto file = std::find_if(files.rbegin(), files.rend(), [this](const auto &f) { return IsSameFile(m_file, f); });
    while (file != files.rend() && ++file != files.rend() && last.size() < count)
        prepend(RecordsOf(*file));
    m_before.assign(last.begin(), last.end());
}

LogFollower::~LogFollower() {
    close(m_file);
}

std::vector<LogRecord> LogFollower::Poll() {
    std::vector<LogRecord> records;
    do {
        while (_ReadSome(records)) {
        }
    } while (_OpenNext(records));
    return records;
}

bool LogFollower::_ReadSome(std::vector<LogRecord> &records) {
    std::string bytes(READ_BYTES, '\0');
    const ssize_t got = read(m_file, bytes.data(), bytes.size());
    if (got <= 0)
        return false;
    bytes.resize(static_cast<std::size_t>(got));
    auto completed = m_joiner.Add(bytes);
    std::move(completed.begin(), completed.end(), std::back_inserter(records));
    return true;
}

// Goes on with the file that was begun after this one; false while this one is the newest.
bool LogFollower::_OpenNext(std::vector<LogRecord> &records) {
    const auto files = LogFilesOf(m_path);
    const auto own = std::find_if(files.begin(), files.end(), [this](const auto &f) { return IsSameFile(m_file, f); });
    if (files.empty() || own == files.end() - 1)
        return false;
    // One that is no longer among the backups was deleted: the newest holds what comes.
    const int next = open(own == files.end() ? m_path.c_str() : (own + 1)->c_str(), O_RDONLY | O_CLOEXEC);
    if (next < 0)
        return false;            // between two renames: the next call sees it
    while (_ReadSome(records)) { // what came between the last read and the renaming
    }
    close(m_file);
    m_file = next;
    return true;
}
