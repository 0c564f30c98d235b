// What the topics of the socket library share: addresses, repeating of interrupted calls,
// streams, interface requests. For its own sources only; each runs on the caller's thread.
#pragma once

#include <cerrno>
#include <cstddef>

#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include "common/Types.h"

namespace SocketInternal {

inline const char *Text(const ZR_S8 *text) {
    return reinterpret_cast<const char *>(text);
}

template <typename Address> const sockaddr *Generic(const Address &address) {
    return reinterpret_cast<const sockaddr *>(&address);
}

template <typename Address> sockaddr *Generic(Address &address) {
    return reinterpret_cast<sockaddr *>(&address);
}

// Makes a system call again as long as a signal interrupts it.
template <typename Call> auto Uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

constexpr std::size_t PATH_CAPACITY = sizeof(sockaddr_un::sun_path);

// The address of `path`. One of up to `longest` characters is used whole (108 leave no
// terminator inside the address), a longer one is cut to its first 107.
sockaddr_un MakePathAddress(const char *path, std::size_t longest = PATH_CAPACITY);

// The path of an address as terminated text.
struct PathText {
    explicit PathText(const sockaddr_un &address);
    char text[PATH_CAPACITY + 1] = {};
};

// Removes any file at `path` and binds there, with the full address length. False with errno.
bool BindToPath(int handle, const char *path);

// False for null and for what is no IPv4 address. Logs nothing.
bool ParseIp(const ZR_S8 *text, in_addr &ip);
bool MakeIpAddress(const ZR_S8 *text, ZR_U16 port, sockaddr_in &address);

// Writes an IPv4 address as text, nothing when it does not fit. False after a line in the log.
bool PutIp(const in_addr &ip, ZR_S8 *text, ZR_S32 size);

// Sends all of it. False with errno.
bool SendAll(int handle, const void *data, std::size_t size);

// Receives what is there, blocks until there is something. As recv.
ssize_t ReceiveSome(int handle, void *data, std::size_t size);

// Stores the name of an interface; false for null and for an empty or too long one.
bool CopyFaceName(const ZR_S8 *face, char (&name)[IFNAMSIZ]);

// Makes the request called `step` about interface `face`, whose name it puts into `request`.
// False after a line in the log.
bool AskInterface(const ZR_S8 *face, unsigned long code, const char *step, ifreq &request);

// The 6 bytes of an Ethernet interface's hardware address. False after a line in the log.
bool ReadMac(const ZR_S8 *face, ZR_U8 *mac);

// Makes a request of the system through a socket of its own. As ioctl.
int AskSystem(unsigned long code, void *request);

} // namespace SocketInternal
