#include "BSW/IPC/zr_socket_internal.h"

#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "BSW/Log/Log.h"

namespace {

// After a call that failed: true when it is to be made again, because a signal interrupted
// it, or because a socket in non-blocking mode had nothing to give or no room. In that case
// waits until it has.
bool GoesOn(int handle, short event) {
    if (errno == EINTR)
        return true;
    if (errno != EAGAIN || (fcntl(handle, F_GETFL) & O_NONBLOCK) == 0)
        return false;
    pollfd awaited{handle, event, 0};
    return poll(&awaited, 1, -1) > 0 || errno == EINTR;
}

} // namespace

namespace SocketInternal {

PathText::PathText(const sockaddr_un &address) {
    std::memcpy(text, address.sun_path, PATH_CAPACITY);
}

sockaddr_un MakePathAddress(const char *path, std::size_t longest) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::size_t length = strnlen(path, PATH_CAPACITY + 1);
    std::memcpy(address.sun_path, path, length <= longest ? length : PATH_CAPACITY - 1);
    return address;
}

bool BindToPath(int handle, const char *path) {
    const sockaddr_un address = MakePathAddress(path);
    unlink(PathText(address).text);
    return bind(handle, Generic(address), sizeof(address)) == 0;
}

bool ParseIp(const ZR_S8 *text, in_addr &ip) {
    return text && inet_pton(AF_INET, Text(text), &ip) == 1;
}

bool MakeIpAddress(const ZR_S8 *text, ZR_U16 port, sockaddr_in &address) {
    address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    return ParseIp(text, address.sin_addr);
}

bool PutIp(const in_addr &ip, ZR_S8 *text, ZR_S32 size) {
    char whole[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &ip, whole, sizeof(whole));
    const std::size_t needed = strlen(whole) + 1;
    if (size < 0 || static_cast<std::size_t>(size) < needed) {
        LOG_ERR("address buffer of %d bytes too small!", size);
        return false;
    }
    std::memcpy(text, whole, needed);
    return true;
}

bool SendAll(int handle, const void *data, std::size_t size) {
    const char *bytes = static_cast<const char *>(data);
    std::size_t sent = 0;
    while (sent < size) {
        const ssize_t count = send(handle, bytes + sent, size - sent, MSG_NOSIGNAL);
        if (count >= 0)
            sent += static_cast<std::size_t>(count);
        else if (!GoesOn(handle, POLLOUT))
            return false;
    }
    return true;
}

ssize_t ReceiveSome(int handle, void *data, std::size_t size) {
    for (;;) {
        const ssize_t received = recv(handle, data, size, 0);
        if (received >= 0 || !GoesOn(handle, POLLIN))
            return received;
    }
}

} // namespace SocketInternal
