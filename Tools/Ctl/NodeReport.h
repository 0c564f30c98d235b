// The service's node report, collected from the lines of its log, and what changed
// between two of them. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct NodeReport {
    std::vector<std::int64_t> values; // one for each of ReportFields()
};

// Takes the numbers out of `text` as ReportLine's `shape` says. False when it does not fit.
bool MatchReportLine(const char *shape, const std::string &text, std::vector<std::int64_t> &numbers);

// Collects a report line by line. Lines of other threads may stand between its own; a
// report whose beginning was missed is left out.
class NodeReportCollector {
  public:
    // Takes the next line's text. A report when this line completes one.
    std::optional<NodeReport> Add(const std::string &text);

  private:
    std::size_t m_next = 0; // line that is expected
    NodeReport m_report;
};

// Differences between two reports of one run of the service.
struct NodeChange {
    double seconds = 0;                   // between the two
    bool restarted = false;               // a counter fell: the service began anew
    std::vector<std::int64_t> difference; // one for each field; empty after a restart
};

NodeChange CompareReports(const NodeReport &before, const NodeReport &now, double seconds);
