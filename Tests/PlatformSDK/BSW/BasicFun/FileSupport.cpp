#include "FileSupport.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include <grp.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Support/WaitUntil.h"

namespace {

constexpr unsigned NOBODY = 65534;
constexpr int NOT_RUN = 254;

std::atomic<int> g_handled{0};

void CountSignal(int) {
    g_handled.fetch_add(1);
}

bool BecomeNobody() {
    if (setgroups(0, nullptr) != 0 && errno != EPERM)
        return false;
    return setresgid(NOBODY, NOBODY, NOBODY) == 0 && setresuid(NOBODY, NOBODY, NOBODY) == 0;
}

bool DropCapabilities() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[2] = {};
    return syscall(SYS_capset, &header, none) == 0;
}

void WriteMap(const char *path, const std::string &text) {
    std::ofstream(path) << text;
}

// Root in a user namespace may mount in it.
bool EnterAsOrdinaryUser() {
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    WriteMap("/proc/self/uid_map", "0 " + user + " 1");
    WriteMap("/proc/self/setgroups", "deny");
    WriteMap("/proc/self/gid_map", "0 " + group + " 1");
    return true;
}

// Without what a sanitizer does at the end of a process: it would miss the parent's threads.
void EndAtOnce(int code) {
    syscall(SYS_exit_group, code);
}

int RunInChild(const std::function<bool()> &prepare, const std::function<int()> &body) {
    const pid_t child = fork();
    if (child == 0)
        EndAtOnce(prepare() ? body() : NOT_RUN);
    int status = 0;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status);
    return ended && WEXITSTATUS(status) != NOT_RUN ? WEXITSTATUS(status) : -1;
}

} // namespace

std::vector<std::string> OddNames() {
    return {" ",
            "a b",
            "%s%n%d",
            "100%",
            "line\nbreak",
            "tab\there",
            "-rf",
            "*",
            "...",
            ".hidden",
            "back\\",
            "\"quote\"",
            "\xff\xfe.\x80",
            "\xc3\xa4.txt",
            "a.b.c.",
            "%%5$*1$",
            "\033[31m",
            "\r\n.txt",
            "..x",
            std::string(255, 'n'),
            std::string(250, '%') + ".ext"};
}

void WriteFile(const std::string &path, const std::string &content) {
    std::ofstream(path, std::ios::binary) << content;
}

int OpenDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

int RunAsOrdinaryUser(const std::function<int()> &body) {
    chmod(".", 0777);
    return RunInChild([] { return geteuid() != 0 || BecomeNobody() || DropCapabilities(); }, body);
}

int RunInOwnRoot(const std::string &root, const std::function<int()> &body) {
    return RunInChild([&root] { return chroot(root.c_str()) == 0 && chdir("/") == 0; }, body);
}

OwnMounts::OwnMounts() {
    m_available = unshare(CLONE_NEWNS) == 0 || EnterAsOrdinaryUser();
    m_available = m_available && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

void OwnMounts::Unmount() {
    for (const std::string &path : m_mounted)
        umount2(path.c_str(), MNT_DETACH);
    m_mounted.clear();
}

bool OwnMounts::MountTmpfs(const std::string &path, int bytes, const std::string &device) {
    const std::string options = "mode=0777,size=" + std::to_string(bytes);
    if (!m_available || mount(device.c_str(), path.c_str(), "tmpfs", 0, options.c_str()) != 0)
        return false;
    m_mounted.push_back(std::filesystem::absolute(path));
    return true;
}

Interruptions::Interruptions() {
    struct sigaction action = {};
    action.sa_handler = CountSignal; // no SA_RESTART: calls end with EINTR
    sigaction(SIGUSR1, &action, nullptr);
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGUSR1;
    event._sigev_un._tid = gettid();
    timer_create(CLOCK_MONOTONIC, &event, &m_timer);
    const itimerspec every = {{0, 2000000}, {0, 2000000}};
    timer_settime(m_timer, 0, &every, nullptr);
}

Interruptions::~Interruptions() {
    timer_delete(m_timer);
}

bool Interruptions::WaitForMore(int count) {
    const int target = g_handled.load() + count;
    return WaitUntil([&] { return g_handled.load() >= target; }, 20000);
}
