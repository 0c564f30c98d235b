// Runs one function where a process of its own is needed, and prints its result.
//
//   function_child abort          ZRAbort
//   function_child part ROOT      GetRunPart with ROOT as the root directory
//   function_child core MIB       DBG_set_coredump_size without a right, hard limit 1 MiB
//   function_child pattern        DBG_set_coredump_default as somebody who may not write
//   function_child pattern FILE   DBG_set_coredump_default with FILE in the pattern's place
//   function_child clock          XSetSystemTime without the right
//
// Lines of the log go to "log" in the working directory. Exit status 77: this cannot be
// done here, and nothing was.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <grp.h>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "BSW/Log/Log.h"

namespace {

constexpr int CANNOT = 77;
constexpr uid_t NOBODY = 65534;
constexpr const char *CORE_PATTERN = "/proc/sys/kernel/core_pattern";

[[noreturn]] void GiveUp(const char *why) {
    fprintf(stderr, "%s\n", why);
    exit(CANNOT);
}

void OpenLog() {
    std::filesystem::create_directory("log");
    CLog::instance()->Init("log", false);
}

void DropCapabilities() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[2] = {};
    if (syscall(SYS_capset, &header, none) != 0)
        GiveUp("capabilities cannot be dropped");
}

// Root would get its rights back in the shell that it starts.
void BecomeNobody() {
    if (geteuid() == 0 && setgroups(0, nullptr) == 0 && setresgid(NOBODY, NOBODY, NOBODY) == 0)
        (void)!setresuid(NOBODY, NOBODY, NOBODY);
    if (access(CORE_PATTERN, W_OK) == 0)
        GiveUp("the right to write the core pattern cannot be dropped");
}

// Puts the file in the place of the core pattern, in a mount namespace made before.
void CoverCorePattern(const char *file) {
    struct stat cover = {};
    struct stat covered = {};
    if (mount(file, CORE_PATTERN, nullptr, MS_BIND, nullptr) != 0 || stat(file, &cover) != 0 ||
        stat(CORE_PATTERN, &covered) != 0 || cover.st_dev != covered.st_dev || cover.st_ino != covered.st_ino)
        GiveUp("the core pattern cannot be covered");
}

int PrintResult(int result) {
    printf("%d %d\n", result, result == 0 ? 0 : errno);
    return 0;
}

int SetCoreSize(const char *size) {
    const rlimit limits = {0, 1 << 20};
    setrlimit(RLIMIT_CORE, &limits);
    DropCapabilities();
    OpenLog();
    return PrintResult(DBG_set_coredump_size(atoi(size)));
}

int SetCorePattern(const char *file) {
    OpenLog();
    if (file)
        CoverCorePattern(file);
    else
        BecomeNobody();
    DBG_set_coredump_default();
    return 0;
}

int SetClock() {
    DropCapabilities();
    OpenLog();
    return PrintResult(XSetSystemTime(2024, 2, 29, 12, 0, 0));
}

[[noreturn]] void PrintRunPart(const char *root) {
    if (chroot(root) != 0)
        GiveUp("the root directory cannot be changed");
    puts(GetRunPart().c_str());
    fflush(stdout);
    _exit(0); // a search for leaks would need /proc
}

int Abort() {
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    ZRAbort();
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const char *argument = argc > 2 ? argv[2] : nullptr;
    if (task == "abort")
        return Abort();
    if (task == "part" && argument)
        PrintRunPart(argument);
    if (task == "core" && argument)
        return SetCoreSize(argument);
    if (task == "pattern")
        return SetCorePattern(argument);
    if (task == "clock")
        return SetClock();
    return 2;
}
