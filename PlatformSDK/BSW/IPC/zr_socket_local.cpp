// Unix-domain streams.
#include "BSW/IPC/zr_socket_local.h"

#include <cstdint>

#include <unistd.h>

#include "BSW/IPC/zr_socket.h"
#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

ZR_S32 zr_create_local_tcpsvr(const ZR_S8 *svrPath) {
    if (!svrPath) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ZR_S32 handle = zr_socket(EM_TCP_LOCAL_SOCK);
    if (handle < 0) {
        LOG_ERR("create socket failure!!");
        return -1;
    }
    if (!BindToPath(handle, Text(svrPath))) {
        LOG_ERR("bind failure, errno = %d!", errno);
        close(handle);
        return -1;
    }
    return handle;
}

ZR_S32 zr_local_tcp_connect(ZR_S32 handle, const ZR_U8 *pu8SvrPath) {
    if (!pu8SvrPath) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const sockaddr_un address = MakePathAddress(reinterpret_cast<const char *>(pu8SvrPath));
    // Interrupted, it has done nothing yet.
    if (Uninterrupted([&] { return connect(handle, Generic(address), sizeof(address)); }) < 0) {
        LOG_ERR("connect failure, errno = %d!", errno);
        return -1;
    }
    return 0;
}

ZR_S32 zr_local_tcp_send(ZR_S32 handle, const ZR_U8 *pu8Data, ZR_U32 u32Len) {
    if (!pu8Data || u32Len == 0 || u32Len > INT32_MAX) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (!SendAll(handle, pu8Data, u32Len)) {
        LOG_ERR("send failure, errno = %d!", errno);
        return -1;
    }
    return static_cast<ZR_S32>(u32Len);
}

ZR_S32 zr_local_tcp_recv(ZR_S32 handle, ZR_U8 *pu8Data, ZR_U32 u32Len) {
    if (!pu8Data || u32Len == 0 || u32Len > INT32_MAX) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const ssize_t received = ReceiveSome(handle, pu8Data, u32Len);
    if (received < 0) {
        LOG_ERR("recv failure, errno = %d!", errno);
        return -1;
    }
    return static_cast<ZR_S32>(received);
}
