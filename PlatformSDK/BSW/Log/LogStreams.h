// The streams of the log as log4cpp categories. log4cpp owns everything made here: a
// category its appenders, an appender its layout, the library the categories.
#pragma once

#include <cstddef>

namespace log4cpp {
class Category;
}

// One rolling file and the category that writes to it.
struct LogFile {
    const char *category; // name of the category
    const char *path;     // file, opened for appending with mode 0644
    std::size_t maxSize;  // bytes from which on the file is rolled
    unsigned int backups; // rolled files that are kept
};

// The category `name` with an appender on standard output.
log4cpp::Category *LogOpenConsole(const char *name);

// The category of `file` with its file opened. log4cpp reports what fails.
log4cpp::Category *LogOpenFile(const LogFile &file);

// log4cpp priority of a level of Init or SetDebugLevel: 1 ERROR, 2 WARN, 3 INFO, else DEBUG.
int LogPriorityOf(int level);

// Writes `text` with a log4cpp priority, as a format without arguments of its own: a "%"
// in it acts as LogHarmlessFormat says.
void LogExpandAgain(log4cpp::Category &category, int priority, const char *text);
