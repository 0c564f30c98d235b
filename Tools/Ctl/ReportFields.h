// What the service's node report holds: its numbers and the lines they come in. Any thread.
#pragma once

#include <cstddef>
#include <span>

struct ReportField {
    const char *section; // key in JSON
    const char *key;     // key in JSON
    const char *meaning; // row of the table
    bool isCounter;      // only grows while the service runs: has a rate
};

// One line of the report. In `shape` a '#' stands for a number that is kept, a '~' for one
// that is not and for an address; everything else stands for itself.
struct ReportLine {
    const char *shape;
    std::size_t first; // field of the first '#'; the next ones follow
};

// Every number of a report, in the order of its lines.
std::span<const ReportField> ReportFields();

// Every line of a report in order, the first and the last one complete it.
std::span<const ReportLine> ReportLines();

// The heading of a section for the table.
const char *ReportHeading(const char *section);
