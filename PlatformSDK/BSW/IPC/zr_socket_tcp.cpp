// Bytes over TCP.
#include "BSW/IPC/zr_socket_tcp.h"

#include "BSW/BasicFun/Clock.h"
#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

constexpr unsigned int SEND_PAUSE_MS = 20;

bool AreGood(const void *buffer, ZR_S32 size, ZR_S32 wanted) {
    return buffer && wanted > 0 && wanted <= size;
}

// Sends what the socket takes of `size` bytes, pausing as long as it takes none. At least 1,
// or -1 after a line in the log.
ZR_S32 SendPortion(ZR_S32 handle, const ZR_S8 *bytes, ZR_S32 size) {
    for (;;) {
        const ssize_t sent = send(handle, bytes, static_cast<std::size_t>(size), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0)
            return static_cast<ZR_S32>(sent);
        if (sent < 0 && errno != EAGAIN && errno != EINTR) {
            LOG_ERR("send failure, errno = %d!", errno);
            return -1;
        }
        XSleep(SEND_PAUSE_MS);
    }
}

} // namespace

ZR_S32 zr_tcp_noblock_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 nRecvNum) {
    if (!AreGood(szBuf, nBufNum, nRecvNum)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ssize_t received =
        Uninterrupted([&] { return recv(handle, szBuf, static_cast<std::size_t>(nRecvNum), MSG_DONTWAIT); });
    if (received < 0) {
        LOG_ERR("recv failure, errno = %d!", errno);
        return -1;
    }
    return static_cast<ZR_S32>(received);
}

ZR_S32 zr_tcp_block_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 nRecvNum) {
    if (!AreGood(szBuf, nBufNum, nRecvNum)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ssize_t received = ReceiveSome(handle, szBuf, static_cast<std::size_t>(nRecvNum));
    if (received < 0) {
        LOG_ERR("recv failure, errno = %d!", errno);
        return -1;
    }
    return static_cast<ZR_S32>(received);
}

ZR_S32 zr_tcp_noblock_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum) {
    if (!AreGood(szBuf, nBufNum, nBufNum)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return SendPortion(handle, szBuf, nBufNum);
}

ZR_S32 zr_tcp_noblock_send_ccufile(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum) {
    if (!AreGood(szBuf, nBufNum, nBufNum)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    for (ZR_S32 sent = 0; sent < nBufNum;) {
        const ZR_S32 portion = SendPortion(handle, szBuf + sent, nBufNum - sent);
        if (portion < 0)
            return -1;
        sent += portion;
    }
    return nBufNum;
}

ZR_S32 zr_tcp_block_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum) {
    if (!AreGood(szBuf, nBufNum, nBufNum)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (!SendAll(handle, szBuf, static_cast<std::size_t>(nBufNum))) {
        LOG_ERR("send failure, errno = %d!", errno);
        return -1;
    }
    return nBufNum;
}
