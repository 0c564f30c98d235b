#include "SocketSupport.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>

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

// Some emulators end a process that asks for it, by exit: a second process tries.
bool SelectTakes(int descriptor) {
    const pid_t child = fork();
    if (child == 0) {
        std::vector<fd_set> sets(static_cast<std::size_t>(descriptor / FD_SETSIZE + 1));
        FD_SET(descriptor % FD_SETSIZE, &sets.back());
        timeval none = {};
        select(descriptor + 1, sets.data(), nullptr, nullptr, &none);
        _exit(7);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 7;
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

std::string NoDescriptorsUpTo(int count) {
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(count);
    if (limit.rlim_max < limit.rlim_cur || setrlimit(RLIMIT_NOFILE, &limit) != 0)
        return "no right to so many descriptors";
    const int highest = dup2(1, count - 1);
    const bool taken = SelectTakes(highest);
    close(highest);
    return taken ? "" : "select takes no descriptors beyond FD_SETSIZE here";
}
