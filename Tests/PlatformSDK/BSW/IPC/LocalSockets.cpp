#include "LocalSockets.h"

#include <algorithm>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

sockaddr_un AddressOf(const std::string &path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), std::min(path.size(), sizeof(address.sun_path)));
    return address;
}

} // namespace

Bytes Pattern(std::size_t size, unsigned seed) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(seed * 31 + i * 7 + (i >> 8));
    return bytes;
}

int RawSocket(const std::string &path) {
    const int handle = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (!path.empty()) {
        const sockaddr_un address = AddressOf(path);
        unlink(path.c_str());
        if (bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
            close(handle);
            return -1;
        }
    }
    return handle;
}

bool RawSend(int socket, const std::string &path, const Bytes &datagram) {
    const sockaddr_un address = AddressOf(path);
    return sendto(socket, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr *>(&address),
                  sizeof(address)) == static_cast<ssize_t>(datagram.size());
}

bool HasDatagram(int socket) {
    pollfd readable{socket, POLLIN, 0};
    return poll(&readable, 1, 20000) == 1;
}

Bytes RawReceive(int socket) {
    if (!HasDatagram(socket))
        return {'T'};
    Bytes datagram(200000);
    const ssize_t received = recv(socket, datagram.data(), datagram.size(), 0);
    datagram.resize(received < 0 ? 0 : static_cast<std::size_t>(received));
    return datagram;
}

void ExitAtOnce(int status) {
    for (;;)
        syscall(SYS_exit_group, status);
}
