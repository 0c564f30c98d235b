// Options of a socket.
#include "BSW/IPC/zr_socket_option.h"

#include <cstring>

#include <fcntl.h>
#include <netinet/tcp.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

// An option of the system, with its name for the log.
struct Option {
    int level;
    int number;
    const char *name;
};

template <typename Value> ZR_S32 SetOption(ZR_S32 handle, const Option &option, const Value &value) {
    if (setsockopt(handle, option.level, option.number, &value, sizeof(value)) < 0) {
        LOG_ERR("set %s failure, errno = %d!", option.name, errno);
        return -1;
    }
    return 0;
}

ZR_S32 Switch(ZR_S32 handle, const Option &option, ZR_S32 onOff) {
    return SetOption(handle, option, onOff != 0 ? 1 : 0);
}

ZR_S32 SetBufferSize(ZR_S32 handle, const Option &option, ZR_S32 size) {
    if (size <= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return SetOption(handle, option, size);
}

ZR_S32 SetMembership(ZR_S32 handle, const Option &option, const ZR_S8 *group, const ZR_S8 *local) {
    ip_mreq membership = {};
    if (!ParseIp(group, membership.imr_multiaddr) || !ParseIp(local, membership.imr_interface)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return SetOption(handle, option, membership);
}

} // namespace

ZR_S32 zr_set_sockbroadcast(ZR_S32 handle, ZR_S32 nOnoff) {
    return Switch(handle, {SOL_SOCKET, SO_BROADCAST, "SO_BROADCAST"}, nOnoff);
}

ZR_S32 zr_set_sockkeepalive(ZR_S32 handle, ZR_S32 nOnoff) {
    return Switch(handle, {SOL_SOCKET, SO_KEEPALIVE, "SO_KEEPALIVE"}, nOnoff);
}

ZR_S32 zr_set_sockreuseaddr(ZR_S32 handle, ZR_S32 nOnoff) {
    return Switch(handle, {SOL_SOCKET, SO_REUSEADDR, "SO_REUSEADDR"}, nOnoff);
}

ZR_S32 zr_set_socknodelay(ZR_S32 handle, ZR_S32 nOnoff) {
    return Switch(handle, {IPPROTO_TCP, TCP_NODELAY, "TCP_NODELAY"}, nOnoff);
}

ZR_S32 zr_set_socksndbuf(ZR_S32 handle, ZR_S32 buf) {
    return SetBufferSize(handle, {SOL_SOCKET, SO_SNDBUF, "SO_SNDBUF"}, buf);
}

ZR_S32 zr_set_sockrcvbuf(ZR_S32 handle, ZR_S32 buf) {
    return SetBufferSize(handle, {SOL_SOCKET, SO_RCVBUF, "SO_RCVBUF"}, buf);
}

ZR_S32 zr_set_socklinger(ZR_S32 handle, ZR_S32 nOnoff, ZR_S32 nSec) {
    if (nSec < 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return SetOption(handle, {SOL_SOCKET, SO_LINGER, "SO_LINGER"}, linger{nOnoff != 0 ? 1 : 0, nSec});
}

ZR_S32 zr_set_socknoblock(ZR_S32 handle, ZR_S32 nOnoff) {
    const int flags = fcntl(handle, F_GETFL);
    if (flags < 0 || fcntl(handle, F_SETFL, nOnoff != 0 ? flags | O_NONBLOCK : flags & ~O_NONBLOCK) < 0) {
        LOG_ERR("set O_NONBLOCK failure, errno = %d!", errno);
        return -1;
    }
    return 0;
}

ZR_S32 zr_bind2device(ZR_S32 handle, const ZR_S8 *szFace) {
    char name[IFNAMSIZ] = {};
    if (!CopyFaceName(szFace, name)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return SetOption(handle, {SOL_SOCKET, SO_BINDTODEVICE, "SO_BINDTODEVICE"}, name);
}

ZR_S32 zr_set_sockaddmembership(ZR_S32 handle, const ZR_S8 *szMultiaddr, const ZR_S8 *szIp) {
    return SetMembership(handle, {IPPROTO_IP, IP_ADD_MEMBERSHIP, "IP_ADD_MEMBERSHIP"}, szMultiaddr, szIp);
}

ZR_S32 zr_set_sockdropmembership(ZR_S32 handle, const ZR_S8 *szMultiaddr, const ZR_S8 *szIp) {
    return SetMembership(handle, {IPPROTO_IP, IP_DROP_MEMBERSHIP, "IP_DROP_MEMBERSHIP"}, szMultiaddr, szIp);
}

ZR_S32 zr_set_sockmulticast_noLoop(ZR_S32 handle, ZR_S32 nOnoff) {
    return Switch(handle, {IPPROTO_IP, IP_MULTICAST_LOOP, "IP_MULTICAST_LOOP"}, nOnoff);
}
