#include "Support/DatagramSocket.h"

#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int SEND_TIMEOUT_S = 5;

sockaddr_un AddressOf(const std::string &path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

} // namespace

DatagramSocket::DatagramSocket() : m_fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const timeval timeout{SEND_TIMEOUT_S, 0};
    setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
}

DatagramSocket::DatagramSocket(const std::string &path) : DatagramSocket() {
    m_path = path;
    unlink(path.c_str());
    const sockaddr_un address = AddressOf(path);
    if (bind(m_fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0)
        throw std::runtime_error("cannot bind " + path);
}

DatagramSocket::~DatagramSocket() {
    close(m_fd);
    if (!m_path.empty())
        unlink(m_path.c_str());
}

bool DatagramSocket::SendTo(const std::string &path, const Bytes &datagram) {
    const sockaddr_un address = AddressOf(path);
    const ssize_t sent = sendto(m_fd, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr *>(&address),
                                sizeof(address));
    return sent == static_cast<ssize_t>(datagram.size());
}

std::optional<DatagramSocket::Bytes> DatagramSocket::Receive(int timeoutMs) {
    pollfd ready{m_fd, POLLIN, 0};
    if (poll(&ready, 1, timeoutMs) < 1)
        return std::nullopt;
    Bytes datagram(70000);
    const ssize_t length = recv(m_fd, datagram.data(), datagram.size(), 0);
    if (length < 0)
        return std::nullopt;
    datagram.resize(static_cast<std::size_t>(length));
    return datagram;
}

namespace message {

std::uint8_t CheckByte(const DatagramSocket::Bytes &msg) {
    return static_cast<std::uint8_t>(msg[0] ^ msg[1] ^ msg[2] ^ msg[3] ^ msg[6] ^ msg[4]);
}

DatagramSocket::Bytes Make(std::uint8_t command, const DatagramSocket::Bytes &payload, std::uint16_t length) {
    DatagramSocket::Bytes msg = {
        0xAA, 0xBB, command, 1, static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8), 0,
        0,    0,    0,       0};
    msg[10] = CheckByte(msg);
    msg.insert(msg.end(), payload.begin(), payload.end());
    msg.resize(1547);
    return msg;
}

DatagramSocket::Bytes PlanarPayload(unsigned period) {
    DatagramSocket::Bytes payload;
    for (unsigned channel = 1; channel <= 24; ++channel)
        for (unsigned frame = 0; frame < 32; ++frame) {
            const unsigned sample = channel * 2711 + period * 389 + frame * 7;
            payload.push_back(static_cast<std::uint8_t>(sample));
            payload.push_back(static_cast<std::uint8_t>(sample >> 8));
        }
    return payload;
}

} // namespace message
