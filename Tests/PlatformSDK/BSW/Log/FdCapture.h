// What this process writes to standard output or standard error, kept in a file of the
// working directory for as long as the object lives.
#pragma once

#include <cstdio>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "Support/ScratchDir.h"

class FdCapture {
  public:
    // `fd`: STDOUT_FILENO or STDERR_FILENO.
    explicit FdCapture(int fd) : m_fd(fd), m_path("captured." + std::to_string(fd)) {
        _Flush();
        m_saved = dup(m_fd);
        const int file = open(m_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
        dup2(file, m_fd);
        close(file);
    }

    ~FdCapture() {
        _Flush();
        dup2(m_saved, m_fd);
        close(m_saved);
    }

    FdCapture(const FdCapture &) = delete;
    FdCapture &operator=(const FdCapture &) = delete;

    // Everything written so far.
    std::string Text() const {
        _Flush();
        return ReadWholeFile(m_path);
    }

  private:
    static void _Flush() {
        std::cout.flush();
        std::fflush(nullptr);
    }

    int m_fd;
    int m_saved = -1;
    std::string m_path;
};
