// The process-wide log: rolling files in one directory and an optional console
// stream, over log4cpp. Every log line goes through LOG_ERR, LOG_WRN, LOG_INF or
// LOG_DBG. Any thread may log; a logging thread needs about 80 KB of stack beyond
// its own use.
#pragma once

#include <cerrno>
#include <cstdarg>

#include "BSW/MultiTask/Thread.h"
#include "common/Mutex.h"
#include "common/Singleton.h"
#include "trace_public.h"

namespace log4cpp {
class Category;
class StringQueueAppender;
} // namespace log4cpp

class CLog : public CThread, public Singleton<CLog> {
    friend class Singleton<CLog>;

  public:
    // Opens every file of the log below `logdir` (made with its parents when missing,
    // mode 0666) and the console stream, which writes only with `bCoutOn`.
    // 1 on success or when already initialised (then nothing changes), 0 when the
    // worker thread cannot be started. A path is kept to its first 63 characters.
    int Init(const char *logdir, bool bCoutOn);

    // Stops the worker thread and closes every file. Always 1.
    int CleanUp();

    // Sets the priority of every stream: 1 error, 2 warning, 3 information, any other
    // value debug. Only after Init. Does not change the level kept for the next Init.
    void SetDebugLevel(int loglevel);

    // Write one line to system.log, access.log or alarm.log, cut at 81919 characters.
    // The text is expanded twice: a "%" in the result of the first expansion acts as a
    // conversion again, of nothing but zeros, as LogHarmlessFormat tells in full.
    // Formatted length of the first expansion (uncut), 1 when the file streams are
    // switched off, -1 before Init.
    int System(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
    int Access(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
    int Alarm(const char *fmt, ...) __attribute__((format(printf, 2, 3)));

    // As System, to Module<num>.log; -1 also for a bad number, with a line on stderr.
    int Module(MODULE_LOG num, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

    // Writes one line to the console stream if that is on. Always 0.
    int Debug(tagLOG_E_LEVEL loglevel, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

    // Switches all file streams (despite its name not only the module logs). Always 1.
    int OpenOrCloseModuleLog(bool bFlag);

    // The log directory, at most 63 characters. Valid as long as the object.
    const char *GetLogPath() const;

    // Archives /data/log (not the directory given to Init) to `target`/Log.tar.bz2.
    // Blocks until tar has ended. 0 for a null target, else 1 whatever tar says.
    int CopyLogToUdisk(const char *target);

    // Removes every file of the log directory. Blocks until rm has ended.
    void DeleteLog();

    // Nothing to do: the base class asks for a body.
    void ThreadProc() override;

  private:
    CLog();
    ~CLog() override;

    void _OpenMainStreams(const char *logdir);
    void _OpenModuleStreams(const char *logdir);
    void _SetModuleDebugLevel(int priority);
    // One line to the category in `slot`; null stands for a bad module number.
    int _WriteFile(log4cpp::Category *const *slot, LOG_E_LEVEL level, const char *fmt, va_list args);

    bool m_bInited = false;
    bool m_bCoutOn = false;
    int m_loglevel = LOG_LEVEL_DBG;
    bool m_bOpenModule = true;
    char m_strLogPath[64] = {};
    log4cpp::Category *m_SystemCategory = nullptr;
    log4cpp::Category *m_AccessCategory = nullptr;
    log4cpp::Category *m_AlarmCategory = nullptr;
    log4cpp::Category *m_DebugCategory = nullptr;
    log4cpp::Category *m_ModuleCategory[MODULE_LOG_SIZE] = {};
    log4cpp::StringQueueAppender *m_strQAppender = nullptr;
    CMutex m_Mutex;
};

// The text after the last "/" of a source path, or all of it.
constexpr const char *LogBaseName(const char *path) {
    const char *base = path;
    for (const char *p = path; *p != '\0'; ++p)
        if (*p == '/')
            base = p + 1;
    return base;
}

// One log line to the console stream and to system.log, as one statement. Both calls
// expand the arguments, so an argument is evaluated twice; errno is the same for both
// and for the code after the line.
#define ZR_LOG_LINE(level, head, fmt, ...)                                                                             \
    do {                                                                                                               \
        constexpr const char *zrLogBase = LogBaseName(__FILE__);                                                       \
        const int zrLogErrno = errno;                                                                                  \
        CLog *const zrLog = CLog::instance();                                                                          \
        errno = zrLogErrno;                                                                                            \
        __extension__ zrLog->Debug(level, head fmt "\033[0m", zrLogBase, __LINE__ __VA_OPT__(, ) __VA_ARGS__);         \
        errno = zrLogErrno;                                                                                            \
        __extension__ zrLog->System(head fmt "\033[0m", zrLogBase, __LINE__ __VA_OPT__(, ) __VA_ARGS__);               \
        errno = zrLogErrno;                                                                                            \
    } while (0)

#define LOG_ERR(fmt, ...) ZR_LOG_LINE(LOG_LEVEL_ERR, "[E][%s:%4d] \033[1;31m", fmt __VA_OPT__(, ) __VA_ARGS__)
#define LOG_WRN(fmt, ...) ZR_LOG_LINE(LOG_LEVEL_WRN, "[W][%s:%4d] \033[1;33m", fmt __VA_OPT__(, ) __VA_ARGS__)
#define LOG_INF(fmt, ...) ZR_LOG_LINE(LOG_LEVEL_INF, "[I][%s:%4d] \033[1;36m", fmt __VA_OPT__(, ) __VA_ARGS__)
#define LOG_DBG(fmt, ...) ZR_LOG_LINE(LOG_LEVEL_DBG, "[D][%s:%4d] \033[0;32m", fmt __VA_OPT__(, ) __VA_ARGS__)
