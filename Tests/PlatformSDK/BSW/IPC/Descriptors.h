// The file descriptors of this process.
#pragma once

#include <filesystem>
#include <iterator>

#include <sys/resource.h>
#include <unistd.h>

// Number of open descriptors (with the one that the counting itself uses).
inline int OpenDescriptors() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return static_cast<int>(std::distance(first, {}));
}

// The number that the next opened descriptor gets.
inline int NextDescriptor() {
    const int next = dup(1);
    close(next);
    return next;
}

// While it lives, no descriptor can be opened.
class NoDescriptorsLeft {
  public:
    NoDescriptorsLeft() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptorsLeft() { setrlimit(RLIMIT_NOFILE, &m_before); }

    NoDescriptorsLeft(const NoDescriptorsLeft &) = delete;
    NoDescriptorsLeft &operator=(const NoDescriptorsLeft &) = delete;

  private:
    rlimit m_before = {};
};
