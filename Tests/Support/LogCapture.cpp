#include "Support/LogCapture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>

#include "BSW/Log/Log.h"
#include "Support/WaitUntil.h"

namespace {

const std::regex &RecordStart() {
    static const std::regex start(R"(\[\d\d:\d\d:\d\d,\d\d\d\] )");
    return start;
}

LogLine TakeApart(std::string raw) {
    static const std::regex head("\\[([EWID])\\]\\[([^:\\]]*):([ 0-9]*)\\] \033\\[[01];3[1236]m");
    const std::string tail = "\033[0m";
    LogLine line;
    std::smatch match;
    if (std::regex_search(raw, match, head, std::regex_constants::match_continuous)) {
        line.level = match[1].str()[0];
        line.file = match[2];
        line.line = std::atoi(match[3].str().c_str());
        line.text = match.suffix();
        if (line.text.ends_with(tail))
            line.text.resize(line.text.size() - tail.size());
    } else {
        line.text = raw;
    }
    line.raw = std::move(raw);
    return line;
}

} // namespace

bool operator==(const LogLine &line, const std::string &levelAndText) {
    return std::string(1, line.level) + " " + line.text == levelAndText;
}

std::vector<LogLine> ParseLog(const std::string &content) {
    std::vector<LogLine> lines;
    std::sregex_iterator record(content.begin(), content.end(), RecordStart());
    for (; record != std::sregex_iterator(); ++record) {
        const auto start = static_cast<std::size_t>(record->position() + record->length());
        const auto next = std::next(record);
        std::size_t end = next == std::sregex_iterator() ? content.size() : static_cast<std::size_t>(next->position());
        if (end > start && content[end - 1] == '\n')
            --end;
        lines.push_back(TakeApart(content.substr(start, end - start)));
    }
    return lines;
}

LogCapture::LogCapture() {
    // Made by the log itself it would have no search permission, and only root gets through.
    std::filesystem::create_directory("log");
    CLog::instance()->Init("log", false);
    Clear();
}

std::vector<LogLine> LogCapture::Lines() const {
    return ParseLog(ReadWholeFile(m_directory.Path() + "/log/system.log").substr(m_start));
}

std::vector<std::string> LogCapture::Texts() const {
    std::vector<std::string> texts;
    for (const LogLine &line : Lines())
        texts.push_back(std::string(1, line.level) + " " + line.text);
    return texts;
}

std::vector<std::string> LogCapture::TextsOf(const std::string &file) const {
    std::vector<std::string> texts;
    for (const LogLine &line : Lines())
        if (line.file == file)
            texts.push_back(std::string(1, line.level) + " " + line.text);
    return texts;
}

void LogCapture::Clear() {
    m_start = ReadWholeFile(m_directory.Path() + "/log/system.log").size();
}

bool LogCapture::WaitFor(const std::string &levelAndText, int timeoutMs) const {
    return WaitUntil(
        [&] {
            const auto texts = Texts();
            return std::find(texts.begin(), texts.end(), levelAndText) != texts.end();
        },
        timeoutMs);
}
