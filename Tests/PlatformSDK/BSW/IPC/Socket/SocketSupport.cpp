#include "SocketSupport.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

namespace {

int BoundToLoopback(int type, ZR_U16 &port) {
    const int handle = socket(AF_INET, type, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    socklen_t length = sizeof(address);
    if (bind(handle, generic, length) != 0 || getsockname(handle, generic, &length) != 0)
        ADD_FAILURE() << "no port of 127.0.0.1";
    port = ntohs(address.sin_port);
    return handle;
}

int ConnectedTo(ZR_U16 port) {
    const int handle = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(handle, reinterpret_cast<sockaddr *>(&address), sizeof(address)) == 0)
        return handle;
    ADD_FAILURE() << "no connection on 127.0.0.1";
    close(handle);
    return -1;
}

} // namespace

std::string Bytes(std::size_t size) {
    std::string bytes(size, 0);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + (i >> 8));
    return bytes;
}

Listener::Listener(int backlog) : socket(BoundToLoopback(SOCK_STREAM, port)) {
    listen(socket, backlog);
}

TcpPair::TcpPair() : near(ConnectedTo(listener.port)), far(near < 0 ? -1 : accept(listener.socket, nullptr, nullptr)) {}

UdpPeer::UdpPeer() : socket(BoundToLoopback(SOCK_DGRAM, port)) {}

bool Readable(int socket, int timeoutMs) {
    pollfd readable{socket, POLLIN, 0};
    return poll(&readable, 1, timeoutMs) == 1;
}

std::string RawRead(int socket, std::size_t size) {
    std::string read(size, 0);
    std::size_t got = 0;
    while (got < size && Readable(socket, 5000)) {
        const ssize_t count = recv(socket, read.data() + got, size - got, 0);
        if (count <= 0)
            break;
        got += static_cast<std::size_t>(count);
    }
    read.resize(got);
    return read;
}

int OptionOf(int handle, int level, int option) {
    int value = -1;
    socklen_t length = sizeof(value);
    getsockopt(handle, level, option, &value, &length);
    return value;
}

int ClosedDescriptor() {
    const int handle = dup(1);
    close(handle);
    return handle;
}
