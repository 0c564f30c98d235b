// Binding, listening, accepting and a socket's own address.
#include "BSW/IPC/zr_socket_address.h"

#include <cstring>

#include <arpa/inet.h>
#include <unistd.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

// A local address of any of the families, with its length.
struct LocalAddress {
    sockaddr_storage storage = {};
    socklen_t length = 0;

    template <typename Address> void Set(const Address &address) {
        static_assert(sizeof(Address) <= sizeof(storage));
        std::memcpy(&storage, &address, sizeof(address));
        length = sizeof(Address);
    }
};

bool SetInet(LocalAddress &local, const ZR_S8 *host, ZR_U16 port) {
    static const ZR_S8 any[] = "0.0.0.0";
    sockaddr_in address;
    if (!MakeIpAddress(host ? host : any, port, address))
        return false;
    local.Set(address);
    return true;
}

bool SetInet6(LocalAddress &local, const ZR_S8 *host, ZR_U16 port) {
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    if (!host || inet_pton(AF_INET6, Text(host), &address.sin6_addr) != 1)
        return false;
    local.Set(address);
    return true;
}

bool SetPath(LocalAddress &local, const ZR_S8 *path) {
    if (!path)
        return false;
    local.Set(MakePathAddress(Text(path), PATH_CAPACITY - 1));
    return true;
}

bool SetAddress(LocalAddress &local, SA_FAMILY_E family, const ZR_S8 *host, ZR_U16 port) {
    switch (family) {
    case EM_SA_INET:
        return SetInet(local, host, port);
    case EM_SA_INET6:
        return SetInet6(local, host, port);
    case EM_SA_UNIX:
        return SetPath(local, host);
    }
    return false;
}

// The socket's own IPv4 address. False after a line in the log.
bool ReadOwnAddress(ZR_S32 handle, sockaddr_in &own) {
    sockaddr_storage address = {};
    socklen_t length = sizeof(address);
    if (getsockname(handle, Generic(address), &length) < 0) {
        LOG_ERR("getsockname failure, errno = %d!", errno);
        return false;
    }
    if (address.ss_family != AF_INET) {
        LOG_ERR("no IPv4 socket!");
        return false;
    }
    std::memcpy(&own, &address, sizeof(own));
    return true;
}

// The peer's address and port, an empty text and 0 for a peer without.
bool PutPeer(const sockaddr_storage &peer, ZR_S8 *text, ZR_S32 size, ZR_U16 *port) {
    if (peer.ss_family != AF_INET) {
        *text = 0;
        *port = 0;
        return true;
    }
    sockaddr_in address;
    std::memcpy(&address, &peer, sizeof(address));
    if (!PutIp(address.sin_addr, text, size))
        return false;
    *port = ntohs(address.sin_port);
    return true;
}

} // namespace

ZR_S32 zr_bind(ZR_S32 handle, SA_FAMILY_E family, const ZR_S8 *szHost, ZR_U16 u16Port) {
    LocalAddress local;
    if (!SetAddress(local, family, szHost, u16Port)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (bind(handle, Generic(local.storage), local.length) < 0) {
        LOG_ERR("bind failure, errno = %d!", errno);
        return -1;
    }
    return 0;
}

ZR_S32 zr_listen(ZR_S32 handle, ZR_S32 nBacklog) {
    if (nBacklog < 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (listen(handle, nBacklog) < 0) {
        LOG_ERR("listen failure, errno = %d!", errno);
        return -1;
    }
    return 0;
}

ZR_S32 zr_accept(ZR_S32 handle, ZR_S8 *szDst, ZR_S32 nBufNum, ZR_U16 *puPort) {
    if (!szDst || nBufNum <= 0 || !puPort) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    sockaddr_storage peer = {};
    const int connection = Uninterrupted([&] {
        socklen_t length = sizeof(peer);
        return accept(handle, Generic(peer), &length);
    });
    if (connection < 0) {
        LOG_ERR("accept failure, errno = %d!", errno);
        return -1;
    }
    if (!PutPeer(peer, szDst, nBufNum, puPort)) {
        close(connection);
        return -1;
    }
    return connection;
}

ZR_S32 zr_get_sockname(ZR_S32 sock, ZR_S8 *szIp, ZR_S32 nIpNum, ZR_U16 *puPort) {
    if (!szIp || nIpNum <= 0 || !puPort) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    sockaddr_in own;
    if (!ReadOwnAddress(sock, own) || !PutIp(own.sin_addr, szIp, nIpNum))
        return -1;
    *puPort = ntohs(own.sin_port);
    return 0;
}

ZR_S32 zr_get_sockipaddr(ZR_S32 handle, ZR_S8 *szIp, ZR_S32 nNum) {
    ZR_U16 port = 0;
    return zr_get_sockname(handle, szIp, nNum, &port);
}
