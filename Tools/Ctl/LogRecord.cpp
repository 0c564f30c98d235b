// See LogRecord.h.
#include "Ctl/LogRecord.h"

#include <cctype>
#include <string_view>

namespace {

constexpr std::string_view TAIL = "\033[0m";
constexpr std::string_view LEVELS = "EWID";
constexpr std::string_view TIME_SHAPE = "[00:00:00,000] "; // 0 stands for a digit

bool StartsRecord(const std::string &line) {
    if (line.size() < TIME_SHAPE.size())
        return false;
    for (std::size_t i = 0; i < TIME_SHAPE.size(); ++i) {
        const bool isDigit = std::isdigit(static_cast<unsigned char>(line[i]));
        if (TIME_SHAPE[i] == '0' ? !isDigit : line[i] != TIME_SHAPE[i])
            return false;
    }
    return true;
}

// Length of "[E][File.cpp:  12] " at the start of `text`, 0 when it has no such head.
std::size_t HeadLength(const std::string &text) {
    if (text.size() < 4 || text[0] != '[' || LEVELS.find(text[1]) == LEVELS.npos || text.compare(2, 2, "][") != 0)
        return 0;
    const std::size_t end = text.find("] ", 4);
    return end == text.npos ? 0 : end + 2;
}

} // namespace

std::string StripColours(const std::string &text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\033[") != 0) {
            plain += text[i];
            continue;
        }
        i = text.find_first_not_of("0123456789;", i + 2); // the letter that ends it
        if (i == text.npos)
            break;
    }
    return plain;
}

LogRecord ParseLogRecord(const std::string &raw) {
    LogRecord record;
    record.raw = raw;
    std::string text = raw;
    if (StartsRecord(text)) {
        record.time = text.substr(1, TIME_SHAPE.size() - 3);
        text.erase(0, TIME_SHAPE.size());
    }
    if (const std::size_t head = HeadLength(text)) {
        record.level = text[1];
        text.erase(0, head);
    }
    record.text = StripColours(text);
    return record;
}

bool IsSevere(char level, char least) {
    return LEVELS.find(level) <= LEVELS.find(least) || least == LEVELS.back();
}

std::vector<LogRecord> LogRecordJoiner::Add(const std::string &bytes) {
    std::vector<LogRecord> records;
    std::size_t start = 0;
    for (std::size_t end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n', start)) {
        _AddLine(m_line + bytes.substr(start, end - start), records);
        m_line.clear();
        start = end + 1;
    }
    m_line += bytes.substr(start);
    return records;
}

void LogRecordJoiner::_AddLine(const std::string &line, std::vector<LogRecord> &records) {
    if (m_isOpen && StartsRecord(line)) {
        records.push_back(ParseLogRecord(m_record));
        m_isOpen = false;
    }
    m_record = m_isOpen ? m_record + "\n" + line : line;
    m_isOpen = true;
    if (line.ends_with(TAIL)) {
        records.push_back(ParseLogRecord(m_record));
        m_isOpen = false;
    }
}

std::optional<LogRecord> LogRecordJoiner::Finish() {
    if (!m_line.empty())
        m_record = m_isOpen ? m_record + "\n" + m_line : m_line;
    const bool hasRecord = m_isOpen || !m_line.empty();
    m_line.clear();
    m_isOpen = false;
    return hasRecord ? std::optional(ParseLogRecord(m_record)) : std::nullopt;
}
