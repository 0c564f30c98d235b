// See ProcessUsage.h.
#include "Desk/ProcessUsage.h"

#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

#include "Sound/BlockPacer.h"

namespace {

// Fields 14 and 15 of stat; the name, field 2, may hold blanks but ends with the last ')'.
double CpuSeconds(const std::string &stat) {
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    uint64_t user = 0, system = 0;
    fields >> user >> system;
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

} // namespace

ProcessUsage ProcessUsage::Of(pid_t pid) {
    ProcessUsage usage;
    const std::string directory = "/proc/" + std::to_string(pid);
    std::string line;
    if (std::getline(std::ifstream(directory + "/stat"), line))
        usage.cpuSeconds = CpuSeconds(line);
    std::ifstream status(directory + "/status");
    while (std::getline(status, line)) {
        std::istringstream fields(line);
        std::string name;
        fields >> name;
        if (name == "VmRSS:")
            fields >> usage.residentKib;
        else if (name == "VmHWM:")
            fields >> usage.peakKib;
    }
    usage.atNs = MonotonicNs();
    return usage;
}
