// Back-traces, core dumps and the partition that is run. Any thread.
#include "BSW/BasicFun/Diagnostics.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <execinfo.h>
#include <signal.h>
#include <sys/resource.h>

#include "BSW/BasicFun/Command.h"
#include "BSW/BasicFun/FileUtils.h"
#include "BSW/Log/Log.h"

namespace {

// Shifted in 32 bits, then widened as a signed number.
rlim_t CoreLimit(int sizeM) {
    if (sizeM < 0)
        return RLIM_INFINITY;
    const auto bytes = static_cast<std::int32_t>(static_cast<std::uint32_t>(sizeM) << 20);
    return static_cast<rlim_t>(std::int64_t{bytes});
}

} // namespace

std::string GetBackTrace() {
    void *Buffer[100];
    const int count = backtrace(Buffer, 100);
    char **symbols = backtrace_symbols(Buffer, count);
    std::string trace;
    for (int i = 0; symbols && i < count; ++i)
        trace.append(symbols[i]).append("\n");
    free(symbols);
    return trace;
}

std::string GetRunPart() {
    if (XFilePathExists("/config/active_A_Part"))
        return "/app_A";
    return XFilePathExists("/config/active_B_Part") ? "/app_B" : "";
}

void ZRAbort(void) {
    puts("[ZR Program crashes] ");
    fflush(stdout); // nobody flushes it after the signal
    raise(SIGABRT);
}

void DBG_set_coredump_default(void) {
    DBG_set_coredump_size(512);
    ExecCommand("echo \"/tmp/mmc0/core-%e-%s\" > /proc/sys/kernel/core_pattern");
    LOG_DBG("DBG_set_coredump_default");
}

int DBG_set_coredump_size(int size_m) {
    show_coredump_size();
    const rlimit limits = {CoreLimit(size_m), RLIM_INFINITY};
    const int result = setrlimit(RLIMIT_CORE, &limits);
    show_coredump_size();
    return result;
}

void show_coredump_size(void) {
    rlimit limits = {};
    if (getrlimit(RLIMIT_CORE, &limits) == 0)
        LOG_DBG("coredump size, cur[%10lu], max[%10lu]", limits.rlim_cur, limits.rlim_max);
}
