// What the tests of the socket functions share: texts, peers made of raw system calls only,
// and times.
#pragma once

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "BSW/IPC/zr_socket.h"
#include "Support/LogCapture.h"

inline const ZR_S8 *Text(const char *text) {
    return reinterpret_cast<const ZR_S8 *>(text);
}

// As long as the text lives.
inline const ZR_S8 *Text(const std::string &text) {
    return Text(text.c_str());
}

// A buffer for a text or bytes, `Size` bytes of '#' at first.
template <std::size_t Size> struct Buffer {
    Buffer() { bytes.fill('#'); }
    operator ZR_S8 *() { return bytes.data(); }
    std::string Str() const { return reinterpret_cast<const char *>(bytes.data()); }
    std::string Bytes(std::size_t count) const { return {bytes.begin(), bytes.begin() + static_cast<long>(count)}; }
    bool Untouched(std::size_t from = 0) const {
        for (std::size_t i = from; i < Size; ++i)
            if (bytes[i] != '#')
                return false;
        return true;
    }

    std::array<ZR_S8, Size> bytes;
};

// Bytes that depend on their place.
std::string Bytes(std::size_t size);

// A socket that its test closes.
class Handle {
  public:
    Handle(int handle) : m_handle(handle) {} // from what a call returns
    ~Handle() { Close(); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    operator int() const { return m_handle; }
    void Close() {
        if (m_handle >= 0)
            close(m_handle);
        m_handle = -1;
    }

  private:
    int m_handle;
};

// A TCP socket that listens at a free port of 127.0.0.1.
struct Listener {
    explicit Listener(int backlog = 5);
    ZR_U16 port = 0; // set with the socket
    Handle socket;
};

// Two connected TCP sockets.
struct TcpPair {
    TcpPair();
    Listener listener;
    Handle near;
    Handle far;
};

// A datagram socket at 127.0.0.1 and a free port.
struct UdpPeer {
    UdpPeer();
    ZR_U16 port = 0; // set with the socket
    Handle socket;
};

// Receives up to `size` bytes, waiting up to 5 s for each portion.
std::string RawRead(int socket, std::size_t size);

// True when there is something to read within `timeoutMs`.
bool Readable(int socket, int timeoutMs);

// Value of an option of whole numbers.
int OptionOf(int handle, int level, int option);

// A descriptor that was closed a moment ago.
int ClosedDescriptor();

// Lets this process have `count` descriptors, more than one fd_set holds, and select wait for
// them. Why that cannot be had here (a limit, an emulated processor); empty when it can.
std::string NoDescriptorsUpTo(int count);

class Stopwatch {
  public:
    int Milliseconds() const {
        return static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start).count());
    }

  private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

class SocketTest : public testing::Test {
  protected:
    // The only line in the log since the last look, as "E text"; more or none as one text.
    std::string _Logged() {
        std::string all;
        for (const std::string &text : m_log.Texts())
            all += (all.empty() ? "" : "|") + text;
        m_log.Clear();
        return all;
    }

    LogCapture m_log;
};
