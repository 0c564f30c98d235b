// Ethernet frames.
#include "BSW/IPC/zr_socket_raw.h"

#include <cstdint>
#include <cstring>
#include <iterator>

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

#include "BSW/IPC/zr_socket.h"
#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

// Smaller numbers in the header's type field are lengths.
constexpr ZR_U16 LOWEST_ETHERTYPE = 0x0600;

// Everything but the socket. False after a line in the log.
bool FillInfo(ZR_U16 etherType, const ZR_S8 *destination, const ZR_S8 *face, RAW_SOCKINFO_S &info) {
    if (zr_trans_macstr2bin(destination, info.stEthHdr.u8DstMac) < 0 || !ReadMac(face, info.stEthHdr.u8SrcMac))
        return false;
    info.stEthHdr.u16EthType = htons(etherType);
    ifreq request = {};
    if (!AskInterface(face, SIOCGIFINDEX, "SIOCGIFINDEX", request))
        return false;
    info.s32InterfaceIdx = request.ifr_ifindex;
    static_assert(sizeof(info.u8Interface) >= sizeof(request.ifr_name));
    std::memcpy(info.u8Interface, request.ifr_name, sizeof(request.ifr_name));
    return true;
}

// Passes frames of the header's type to the header's source address or to a group.
bool AttachFilter(int handle, const RAW_ETHHDR_S &header) {
    const ZR_U8 *own = header.u8SrcMac;
    const ZR_U32 high = static_cast<ZR_U32>(own[0]) << 24 | own[1] << 16 | own[2] << 8 | own[3];
    const ZR_U32 low = static_cast<ZR_U32>(own[4] << 8 | own[5]);
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(RAW_ETHHDR_S, u16EthType)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ntohs(header.u16EthType), 0, 7), // else drop
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 0),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, 1, 4, 0), // group bit: pass
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, high, 0, 3), // else drop
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 4),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, low, 0, 1), // else drop
        BPF_STMT(BPF_RET | BPF_K, UINT32_MAX),          // pass, whole
        BPF_STMT(BPF_RET | BPF_K, 0),                   // drop
    };
    const sock_fprog whole{static_cast<unsigned short>(std::size(program)), program};
    if (setsockopt(handle, SOL_SOCKET, SO_ATTACH_FILTER, &whole, sizeof(whole)) < 0) {
        LOG_ERR("SO_ATTACH_FILTER failure, errno = %d!", errno);
        return false;
    }
    return true;
}

bool BindToFace(int handle, const RAW_SOCKINFO_S &info) {
    sockaddr_ll address = {};
    address.sll_family = AF_PACKET;
    address.sll_protocol = info.stEthHdr.u16EthType;
    address.sll_ifindex = info.s32InterfaceIdx;
    if (bind(handle, Generic(address), sizeof(address)) < 0) {
        LOG_ERR("bind failure, errno = %d!", errno);
        return false;
    }
    return true;
}

// False, after a line in the log, for what is no link-layer socket.
bool IsRaw(int handle) {
    int domain = AF_UNSPEC;
    socklen_t length = sizeof(domain);
    if (getsockopt(handle, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_PACKET)
        return true;
    LOG_ERR("no raw socket!");
    return false;
}

// Header and data as one frame.
struct Frame {
    Frame(void *header, void *data, std::size_t size) : parts{{header, sizeof(RAW_ETHHDR_S)}, {data, size}} {
        message.msg_iov = parts;
        message.msg_iovlen = 2;
    }
    Frame(const Frame &) = delete;
    Frame &operator=(const Frame &) = delete;

    iovec parts[2];
    msghdr message = {};
};

} // namespace

ZR_S32 zr_socket_raw(ZR_U16 u16EthType, const ZR_S8 *szDstMac, const ZR_S8 *szFace, RAW_SOCKINFO_S *pstSockInfo) {
    if (u16EthType < LOWEST_ETHERTYPE || !pstSockInfo) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    RAW_SOCKINFO_S info = {};
    if (!FillInfo(u16EthType, szDstMac, szFace, info))
        return -1;
    // Of no protocol: nothing arrives before the filter is there and the socket is bound.
    info.fd = socket(AF_PACKET, SOCK_RAW, 0);
    if (info.fd < 0) {
        LOG_ERR("create socket failure,errno = %d!", errno);
        return -1;
    }
    if (!AttachFilter(info.fd, info.stEthHdr) || !BindToFace(info.fd, info)) {
        close(info.fd);
        return -1;
    }
    *pstSockInfo = info;
    return 0;
}

ZR_S32 zr_socket_raw_send(const RAW_SOCKINFO_S *pstSockInfo, const ZR_U8 *pu8Data, ZR_U32 u32Len) {
    if (!pstSockInfo || !pu8Data || u32Len == 0 || u32Len > INT32_MAX) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (!IsRaw(pstSockInfo->fd))
        return -1;
    RAW_ETHHDR_S header = pstSockInfo->stEthHdr;
    const Frame frame(&header, const_cast<ZR_U8 *>(pu8Data), u32Len);
    if (Uninterrupted([&] { return sendmsg(pstSockInfo->fd, &frame.message, MSG_NOSIGNAL); }) < 0) {
        LOG_ERR("send failure, errno = %d!", errno);
        return -1;
    }
    return static_cast<ZR_S32>(u32Len);
}

ZR_S32 zr_socket_raw_recv(ZR_S32 sock, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 selectMsec, RAW_ETHHDR_S *pstEthHdr) {
    if (!szBuf || nBufNum <= 0 || !pstEthHdr) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    if (!IsRaw(sock))
        return -1;
    ZR_S32 ready = 0;
    const ZR_S32 count = zr_select(&sock, 1, EM_SELECT_READ, selectMsec, &ready);
    if (count <= 0)
        return count;
    RAW_ETHHDR_S header = {};
    Frame frame(&header, szBuf, static_cast<std::size_t>(nBufNum));
    const ssize_t received = Uninterrupted([&] { return recvmsg(sock, &frame.message, MSG_DONTWAIT); });
    if (received < static_cast<ssize_t>(sizeof(header))) {
        LOG_ERR("recv failure, ret:%d errno = %d!", static_cast<int>(received), errno);
        return -1;
    }
    *pstEthHdr = header;
    return static_cast<ZR_S32>(received - static_cast<ssize_t>(sizeof(header)));
}

ZR_S32 zr_socket_raw_close(ZR_S32 handle) {
    if (handle <= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    return zr_close(handle);
}
