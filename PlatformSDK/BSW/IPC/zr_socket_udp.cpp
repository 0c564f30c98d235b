// IPv4 datagrams.
#include "BSW/IPC/zr_socket_udp.h"

#include <arpa/inet.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

ZR_S32 zr_udp_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S8 *szDst, ZR_S32 nDstNum, ZR_U16 *pPort,
                   ZR_S32 nRecvNum) {
    if (!szBuf || nRecvNum <= 0 || nRecvNum > nBufNum || !szDst || nDstNum <= 0 || !pPort) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    sockaddr_in sender = {};
    const ssize_t received = Uninterrupted([&] {
        socklen_t length = sizeof(sender);
        return recvfrom(handle, szBuf, static_cast<std::size_t>(nRecvNum), 0, Generic(sender), &length);
    });
    if (received < 0) {
        LOG_ERR("recv failure, errno = %d!", errno);
        return -1;
    }
    if (sender.sin_family != AF_INET) {
        LOG_ERR("no IPv4 sender!");
        return -1;
    }
    if (!PutIp(sender.sin_addr, szDst, nDstNum))
        return -1;
    *pPort = ntohs(sender.sin_port);
    return static_cast<ZR_S32>(received);
}

ZR_S32 zr_udp_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum, const ZR_S8 *szDst, ZR_U16 u16Port) {
    sockaddr_in address;
    if (!szBuf || nBufNum <= 0 || !MakeIpAddress(szDst, u16Port, address)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ssize_t sent = Uninterrupted([&] {
        return sendto(handle, szBuf, static_cast<std::size_t>(nBufNum), MSG_NOSIGNAL, Generic(address),
                      sizeof(address));
    });
    if (sent != nBufNum) {
        LOG_ERR("send failure, errno = %d!", errno);
        return -1;
    }
    return nBufNum;
}
