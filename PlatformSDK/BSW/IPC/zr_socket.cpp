// Creation by kind and Unix-domain datagrams. Each function runs on the thread that calls it.
#include "BSW/IPC/zr_socket.h"

#include <cerrno>
#include <cstring>

#include <algorithm>

#include <sys/socket.h>
#include <unistd.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

void CopySenderPath(const sockaddr_un &sender, ZR_U8 *path, ZR_U32 capacity) {
    const PathText from(sender);
    std::memset(path, 0, capacity);
    std::memcpy(path, from.text, std::min<std::size_t>(strlen(from.text), capacity));
}

} // namespace

ZR_S32 zr_socket(SOCKET_TYPE_E emSockType) {
    const bool local = emSockType == EM_TCP_LOCAL_SOCK || emSockType == EM_UDP_LOCAL_SOCK;
    const bool stream = emSockType == EM_TCP_SOCK || emSockType == EM_TCP_LOCAL_SOCK;
    if (!local && !stream && emSockType != EM_UDP_SOCK) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const int handle = socket(local ? AF_UNIX : AF_INET, stream ? SOCK_STREAM : SOCK_DGRAM, 0);
    if (handle < 0) {
        const int error = errno;
        LOG_ERR("create socket failure,errno = %d!", error);
        return -1;
    }
    return handle;
}

ZR_S32 zr_close(ZR_S32 handle) {
    // Descriptor 0 is never closed.
    if (handle <= 0)
        return -1;
    if (close(handle) < 0) {
        const int error = errno;
        LOG_ERR(" close failure,errno = %d!", error);
        return -1;
    }
    return 0;
}

ZR_S32 zr_create_local_udpsvr(ZR_S8 *svrPath, bool bRecv) {
    if (!svrPath) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ZR_S32 handle = zr_socket(EM_UDP_LOCAL_SOCK);
    if (handle < 0) {
        LOG_ERR("create socket failure!!");
        return -1;
    }
    if (bRecv && !BindToPath(handle, reinterpret_cast<const char *>(svrPath))) {
        close(handle);
        LOG_ERR("bind failure!!");
        return -1;
    }
    return handle;
}

ZR_S32 zr_local_udp_send(ZR_S32 handle, ZR_U8 *pu8SvrPath, ZR_U8 *pu8Data, ZR_U32 u32Len) {
    if (!pu8Data) // without a message
        return -1;
    if (!pu8SvrPath) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const char *path = reinterpret_cast<const char *>(pu8SvrPath);
    const sockaddr_un address = MakePathAddress(path);
    const ssize_t sent = sendto(handle, pu8Data, u32Len, 0, Generic(address), sizeof(address));
    if (sent != static_cast<ssize_t>(u32Len)) {
        const int error = errno;
        LOG_ERR("send ret:%d err %d %s ", static_cast<int>(sent), error, path);
        return -1;
    }
    return static_cast<ZR_S32>(u32Len);
}

ZR_S32 zr_local_udp_recv(ZR_S32 handle, ZR_U8 *pu8SvrPath, ZR_U32 u32SvrLen, ZR_U8 *pu8Data, ZR_U32 u32Len) {
    if (!pu8Data || u32Len == 0) {
        LOG_ERR("bad parameter!!");
        return -1;
    }
    const bool wantsPath = pu8SvrPath && u32SvrLen != 0;
    // Zeroed, because an unbound sender writes no path.
    sockaddr_un sender = {};
    socklen_t senderLength = sizeof(sender);
    const ssize_t received =
        wantsPath ? recvfrom(handle, pu8Data, u32Len, 0, reinterpret_cast<sockaddr *>(&sender), &senderLength)
                  : recv(handle, pu8Data, u32Len, 0);
    if (received < 0) {
        const int error = errno;
        LOG_ERR("recv err %d", error);
        return -1;
    }
    if (wantsPath)
        CopySenderPath(sender, pu8SvrPath, u32SvrLen);
    return static_cast<ZR_S32>(received);
}
