// A node report as a table for people and as JSON for machines. Any thread.
#pragma once

#include <string>

#include "Ctl/NodeReport.h"

// A table with one row for each number; with `change`, also what it grew by and its rate.
std::string ReportTable(const NodeReport &report, const NodeChange *change);

// One line of JSON: an object with one object for each section; with `change`, also
// "seconds", "restarted", and the same sections below "difference" and "rate" (per second).
std::string ReportJson(const NodeReport &report, const NodeChange *change);
