#include "NetNamespace.h"

#include <cstdio>
#include <fstream>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Support/WaitUntil.h"

namespace {

// An ordinary user's PATH may lack the directory of `ip`.
const std::string IP = "PATH=$PATH:/usr/sbin:/sbin ip ";

bool WriteTo(const char *path, const std::string &text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

// Root needs no more; anybody else becomes root of a namespace first. There only one user can
// be known, and a process of several threads (ThreadSanitizer's) cannot enter.
bool Enter() {
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    if (unshare(CLONE_NEWNET) == 0)
        return true;
    return unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && WriteTo("/proc/self/setgroups", "deny") &&
           WriteTo("/proc/self/uid_map", "0 " + user + " 1") && WriteTo("/proc/self/gid_map", "0 " + group + " 1");
}

// Switched on and its link there: before, frames are lost.
bool IsRunning(const std::string &face) {
    ifreq request = {};
    face.copy(request.ifr_name, IFNAMSIZ - 1);
    const int any = socket(AF_INET, SOCK_DGRAM, 0);
    const bool known = ioctl(any, SIOCGIFFLAGS, &request) == 0;
    close(any);
    return known && (request.ifr_flags & IFF_RUNNING) != 0;
}

} // namespace

NetNamespace::NetNamespace() {
    if (!Enter())
        m_missing = "no right to make a network namespace";
    else if (!Ip("link set lo up\n"
                 "link add zr0 address 02:00:00:00:00:01 type veth peer name zr1 address 02:00:00:00:00:02\n"
                 "address add 10.77.0.1/24 dev zr0\n"
                 "link set zr0 up\n"
                 "link set zr1 up\n"
                 "neighbour add 10.77.0.9 lladdr 02:00:00:00:00:99 dev zr0\n"))
        m_missing = "no iproute2 or no virtual Ethernet interfaces";
    else
        WaitUntil([] { return IsRunning("zr0") && IsRunning("zr1"); });
}

bool NetNamespace::Ip(const std::string &commands) {
    FILE *batch = popen((IP + "-batch - >/dev/null 2>&1").c_str(), "w");
    if (!batch)
        return false;
    fputs(commands.c_str(), batch);
    return pclose(batch) == 0;
}

std::string NetNamespace::IpOutput(const std::string &arguments) {
    std::string output;
    if (FILE *program = popen((IP + arguments).c_str(), "r")) {
        for (int character = fgetc(program); character != EOF; character = fgetc(program))
            output += static_cast<char>(character);
        pclose(program);
    }
    return output;
}
