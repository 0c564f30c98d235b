// The other end of a socket in a second process, made of raw system calls only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

using Bytes = std::vector<unsigned char>;

// `size` bytes that depend on `seed` and on their place.
Bytes Pattern(std::size_t size, unsigned seed);

// An unconnected datagram socket; with a path, bound to it (any file there is removed).
int RawSocket(const std::string &path = {});

// Sends `datagram` from `socket` to `path`. False when not all of it went out.
bool RawSend(int socket, const std::string &path, const Bytes &datagram);

// One datagram, waited for up to 5 s; a single byte 'T' when none came.
Bytes RawReceive(int socket);

// Ends the process without running anything: the threads of a process that was forked or
// that leaves objects behind on purpose are no leak to report.
[[noreturn]] void ExitAtOnce(int status);

class ForkedPeer {
  public:
    // Runs `body` in a second process; what it returns is the exit status. `body` calls
    // the function it is given when it is ready, which the constructor waits for.
    explicit ForkedPeer(const std::function<int(const std::function<void()> &ready)> &body);

    // Collects the process; it is killed by a timer of its own after 20 s.
    ~ForkedPeer();

    ForkedPeer(const ForkedPeer &) = delete;
    ForkedPeer &operator=(const ForkedPeer &) = delete;

    // Exit status of the body; -1 when it was killed.
    int Wait();

  private:
    pid_t m_pid = -1;
    int m_status = -1;
};
