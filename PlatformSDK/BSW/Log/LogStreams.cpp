// Builds the categories of the log and hands texts to them. Building runs on the thread
// that calls CLog::Init, writing on the thread that logs.
#include "BSW/Log/LogStreams.h"

#include <cstring>
#include <iostream>
#include <utility>

#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>
#include <log4cpp/RollingFileAppender.hh>

#include "BSW/Log/LogFormat.h"
#include "trace_public.h"

namespace {

log4cpp::Layout *NewLayout() {
    auto *layout = new log4cpp::PatternLayout();
    layout->setConversionPattern("[%d{%H:%M:%S,%l}] %m%n");
    return layout;
}

log4cpp::Category *Attach(const char *name, log4cpp::Appender *appender) {
    appender->setLayout(NewLayout());
    log4cpp::Category &category = log4cpp::Category::getInstance(name);
    category.addAppender(appender);
    return &category;
}

// Zeros for every argument that a harmless format takes. Integers first: they fill the
// general registers and then the stack, with two slots for each argument because a long
// double may take 16 bytes there; the doubles then fill the floating point registers.
template <std::size_t... INTEGER, std::size_t... DOUBLE>
void CallWithZeros(log4cpp::Category &category, int priority, const char *format, std::index_sequence<INTEGER...>,
                   std::index_sequence<DOUBLE...>) {
    category.log(priority, format, (0 * INTEGER)..., (0.0 * DOUBLE)...);
}

constexpr std::size_t GENERAL_REGISTERS = 8;
constexpr std::size_t FLOAT_REGISTERS = 8;

} // namespace

log4cpp::Category *LogOpenConsole(const char *name) {
    return Attach(name, new log4cpp::OstreamAppender("strQAppender", &std::cout));
}

log4cpp::Category *LogOpenFile(const LogFile &file) {
    return Attach(file.category, new log4cpp::RollingFileAppender("rollfileAppender", file.path, file.maxSize,
                                                                  file.backups, true, 0644));
}

int LogPriorityOf(int level) {
    switch (level) {
    case LOG_LEVEL_ERR:
        return log4cpp::Priority::ERROR;
    case LOG_LEVEL_WRN:
        return log4cpp::Priority::WARN;
    case LOG_LEVEL_INF:
        return log4cpp::Priority::INFO;
    default:
        return log4cpp::Priority::DEBUG;
    }
}

void LogExpandAgain(log4cpp::Category &category, int priority, const char *text) {
    if (!std::strchr(text, '%')) {
        category.log(priority, text);
        return;
    }
    CallWithZeros(category, priority, LogHarmlessFormat(text).c_str(),
                  std::make_index_sequence<GENERAL_REGISTERS + 2 * LOG_FORMAT_MAX_ARGS>{},
                  std::make_index_sequence<FLOAT_REGISTERS>{});
}
