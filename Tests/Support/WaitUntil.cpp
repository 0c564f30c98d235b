#include "Support/WaitUntil.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>

bool WaitUntil(const std::function<bool()> &condition, int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

static bool HasThreadNamed(const std::string &name) {
    std::error_code error;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::string found;
        std::getline(std::ifstream(task.path() / "comm"), found);
        if (found == name)
            return true;
    }
    return false;
}

bool WaitForThreadNamed(const char *name, int timeoutMs) {
    return WaitUntil([&] { return HasThreadNamed(name); }, timeoutMs);
}

int ThreadCount() {
    std::error_code error;
    int count = 0;
    for (std::filesystem::directory_iterator task("/proc/self/task", error), end; task != end; task.increment(error))
        ++count;
    return count;
}
