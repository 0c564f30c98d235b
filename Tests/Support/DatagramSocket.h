// A Unix-domain datagram socket for tests: the raw other end of the service's sockets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class DatagramSocket {
  public:
    using Bytes = std::vector<std::uint8_t>;

    // Unbound: sends only.
    DatagramSocket();

    // Bound to `path`; an old file there is removed first. Removes its own at the end.
    explicit DatagramSocket(const std::string &path);
    ~DatagramSocket();

    DatagramSocket(const DatagramSocket &) = delete;
    DatagramSocket &operator=(const DatagramSocket &) = delete;

    // Sends one datagram to `path`; false when it was not taken whole within 5 s.
    bool SendTo(const std::string &path, const Bytes &datagram);

    // The next datagram, or nothing within `timeoutMs`.
    std::optional<Bytes> Receive(int timeoutMs = 5000);

  private:
    int m_fd;
    std::string m_path;
};

namespace message {

// The bytes of one message to the service, made by hand: sender 1, sequence 0, right
// check byte, `payload` (padded with zeros to 1536 bytes) of length field `length`.
DatagramSocket::Bytes Make(std::uint8_t command, const DatagramSocket::Bytes &payload, std::uint16_t length = 1536);

// The check byte of a message's first 10 bytes.
std::uint8_t CheckByte(const DatagramSocket::Bytes &msg);

// A planar payload in which every channel of every period has samples of its own.
DatagramSocket::Bytes PlanarPayload(unsigned period);

} // namespace message
