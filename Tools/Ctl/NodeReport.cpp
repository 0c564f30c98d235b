// See NodeReport.h.
#include "Ctl/NodeReport.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "Ctl/ReportFields.h"

namespace {

constexpr char NUMBER = '#';
constexpr char IGNORED = '~';

// Reads a number at `at` and moves `at` behind it.
bool TakeNumber(const char *&at, const char *end, std::vector<std::int64_t> &numbers) {
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc())
        return false;
    at = stop;
    numbers.push_back(number);
    return true;
}

bool SkipWord(const char *&at, const char *end) {
    const char *const start = at;
    while (at != end && !std::strchr(" \t", *at))
        ++at;
    return at != start;
}

} // namespace

bool MatchReportLine(const char *shape, const std::string &text, std::vector<std::int64_t> &numbers) {
    const char *at = text.data();
    const char *const end = at + text.size();
    for (; *shape; ++shape) {
        if (*shape == NUMBER ? !TakeNumber(at, end, numbers) : *shape == IGNORED && !SkipWord(at, end))
            return false;
        if (*shape == NUMBER || *shape == IGNORED)
            continue;
        if (at == end || *at++ != *shape)
            return false;
    }
    return at == end;
}

std::optional<NodeReport> NodeReportCollector::Add(const std::string &text) {
    const auto lines = ReportLines();
    std::vector<std::int64_t> numbers;
    if (MatchReportLine(lines.front().shape, text, numbers)) { // a new report, whatever became of the last one
        m_next = 0;
        m_report.values.assign(ReportFields().size(), 0);
    } else {
        numbers.clear();
        if (m_next == 0 || !MatchReportLine(lines[m_next].shape, text, numbers))
            return std::nullopt;
    }
    std::copy(numbers.begin(), numbers.end(), m_report.values.begin() + static_cast<long>(lines[m_next].first));
    m_next = (m_next + 1) % lines.size();
    return m_next == 0 ? std::optional(m_report) : std::nullopt;
}

NodeChange CompareReports(const NodeReport &before, const NodeReport &now, double seconds) {
    NodeChange change{seconds, false, {}};
    const auto fields = ReportFields();
    for (std::size_t i = 0; i < fields.size(); ++i) {
        change.difference.push_back(now.values[i] - before.values[i]);
        change.restarted |= fields[i].isCounter && change.difference.back() < 0;
    }
    if (change.restarted)
        change.difference.clear();
    return change;
}
