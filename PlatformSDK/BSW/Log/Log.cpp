// The process-wide log. Init and CleanUp run on the main thread, everything else on the
// thread that logs; the worker thread has nothing to do.
#include "BSW/Log/Log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <log4cpp/Category.hh>

#include "BSW/BasicFun/FileUtils.h"
#include "BSW/BasicFun/Function.h"
#include "BSW/Log/LogStreams.h"
#include "common/Guard.h"
#include "common/Relaxed.h"

namespace {

constexpr std::size_t LINE_SIZE = 81920;
constexpr std::size_t NAME_SIZE = 64;
constexpr std::size_t COMMAND_SIZE = 256;

constexpr std::size_t MAIN_MAX_SIZE = 10240000;
constexpr std::size_t MODULE_MAX_SIZE = 51200000;

// Expands one line into `buffer`, which is terminated whatever the format does.
int FormatLine(char (&buffer)[LINE_SIZE], const char *fmt, va_list args) {
    const int len = std::vsnprintf(buffer, LINE_SIZE, fmt, args);
    buffer[LINE_SIZE - 1] = '\0';
    if (len < 0 || len > static_cast<int>(LINE_SIZE) - 1)
        std::fprintf(stderr, "vsnprintf len warn! len = %d\n", len);
    return len;
}

} // namespace

CLog::CLog() : CThread(false, 0, 0, "CZRLog"), m_Mutex("") {
    if (const char *level = std::getenv("DEBUG_LOG_LEVEL"))
        m_loglevel = std::atoi(level);
}

// The worker may not have run yet: it is joined before the object goes.
CLog::~CLog() {
    DestroyThread(true, true);
}

int CLog::Init(const char *logdir, bool bCoutOn) {
    if (Observe(m_bInited))
        return 1;
    RelaxedStore(m_bCoutOn, bCoutOn);
    // Without search permission for others, and whether it could be made or not.
    if (!XFilePathExists(logdir))
        XCreateFullPathDir(logdir, 0666);
    std::strncpy(m_strLogPath, logdir, sizeof(m_strLogPath) - 1);
    _OpenMainStreams(logdir);
    _OpenModuleStreams(logdir);
    SetDebugLevel(m_loglevel);
    Publish(m_bInited, true);
    return CreateThread(0) ? 1 : 0;
}

void CLog::_OpenMainStreams(const char *logdir) {
    Publish(m_DebugCategory, LogOpenConsole("Debug "));
    m_DebugCategory->setPriority(LogPriorityOf(LOG_LEVEL_DBG));

    struct {
        log4cpp::Category **category;
        const char *name;
        const char *file;
        unsigned int backups;
    } const streams[] = {
        {&m_SystemCategory, "System", "system.log", 10},
        {&m_AccessCategory, "Access", "access.log", 10},
        {&m_AlarmCategory, "Alarm ", "alarm.log", 1}, // one backup only, unlike the other two
    };
    for (const auto &stream : streams) {
        char path[NAME_SIZE];
        std::snprintf(path, sizeof(path), "%s/%s", logdir, stream.file);
        Publish(*stream.category, LogOpenFile({stream.name, path, MAIN_MAX_SIZE, stream.backups}));
        (*stream.category)->setPriority(LogPriorityOf(LOG_LEVEL_INF));
    }
}

void CLog::_OpenModuleStreams(const char *logdir) {
    for (std::size_t i = 0; i < MODULE_LOG_SIZE; ++i) {
        char path[NAME_SIZE] = {};
        std::snprintf(path, sizeof(path), "%s/%s%zu.log", logdir, "Module", i);
        const std::string name = "Module" + std::to_string(i);
        Publish(m_ModuleCategory[i], LogOpenFile({name.c_str(), path, MODULE_MAX_SIZE, 1}));
        m_ModuleCategory[i]->setPriority(LogPriorityOf(LOG_LEVEL_DBG));
    }
}

int CLog::CleanUp() {
    Publish(m_bInited, false);
    DestroyThread(true, true);
    // Closes and frees the appenders; log4cpp keeps the categories themselves to its end,
    // so that a thread that is still in a call finds a category that writes nowhere.
    log4cpp::Category::shutdown();
    return 1;
}

void CLog::SetDebugLevel(int loglevel) {
    const int priority = LogPriorityOf(loglevel);
    for (log4cpp::Category *const *slot : {&m_SystemCategory, &m_AccessCategory, &m_AlarmCategory, &m_DebugCategory})
        if (log4cpp::Category *category = Observe(*slot))
            category->setPriority(priority);
    _SetModuleDebugLevel(priority);
}

void CLog::_SetModuleDebugLevel(int priority) {
    for (log4cpp::Category *const &slot : m_ModuleCategory)
        if (log4cpp::Category *category = Observe(slot))
            category->setPriority(priority);
}

int CLog::_WriteFile(log4cpp::Category *const *slot, LOG_E_LEVEL level, const char *fmt, va_list args) {
    if (!RelaxedLoad(m_bOpenModule))
        return 1;
    char buffer[LINE_SIZE];
    std::memset(buffer, 0, sizeof(buffer));
    if (!Observe(m_bInited))
        return -1;
    CGuard guard(m_Mutex);
    const int len = FormatLine(buffer, fmt, args);
    if (!slot) {
        std::fputs("MODULE_LOG error!\n", stderr);
        return -1;
    }
    LogExpandAgain(*Observe(*slot), LogPriorityOf(level), buffer);
    return len;
}

int CLog::System(const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int res = _WriteFile(&m_SystemCategory, LOG_LEVEL_INF, fmt, args);
    va_end(args);
    return res;
}

int CLog::Access(const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int res = _WriteFile(&m_AccessCategory, LOG_LEVEL_INF, fmt, args);
    va_end(args);
    return res;
}

int CLog::Alarm(const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int res = _WriteFile(&m_AlarmCategory, LOG_LEVEL_INF, fmt, args);
    va_end(args);
    return res;
}

int CLog::Module(MODULE_LOG num, const char *fmt, ...) {
    // Only the upper bound is tested; taken as unsigned, a negative number is above it.
    const bool valid = static_cast<unsigned int>(num) < MODULE_LOG_SIZE;
    va_list args;
    va_start(args, fmt);
    const int res = _WriteFile(valid ? &m_ModuleCategory[num] : nullptr, LOG_LEVEL_DBG, fmt, args);
    va_end(args);
    return res;
}

int CLog::Debug(tagLOG_E_LEVEL loglevel, const char *fmt, ...) {
    log4cpp::Category *category = RelaxedLoad(m_bCoutOn) ? Observe(m_DebugCategory) : nullptr;
    if (!category)
        return 0;
    va_list args;
    va_start(args, fmt);
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (size >= 1) {
        // The terminating zero is part of what is written.
        std::string text(static_cast<std::size_t>(size) + 1, '\0');
        std::vsnprintf(text.data(), text.size(), fmt, args);
        category->log(LogPriorityOf(loglevel), text);
    }
    va_end(args);
    return 0;
}

int CLog::OpenOrCloseModuleLog(bool bFlag) {
    RelaxedStore(m_bOpenModule, bFlag);
    return 1;
}

const char *CLog::GetLogPath() const {
    return m_strLogPath;
}

int CLog::CopyLogToUdisk(const char *target) {
    if (!target)
        return 0;
    char command[COMMAND_SIZE] = {};
    std::snprintf(command, sizeof(command), "tar jcf %s/Log.tar.bz2 %s", target, "/data/log");
    ExecCommand(command);
    return 1;
}

void CLog::DeleteLog() {
    char command[COMMAND_SIZE] = {};
    std::snprintf(command, sizeof(command), "rm %s/*", m_strLogPath);
    ExecCommand(command);
}

void CLog::ThreadProc() {}
