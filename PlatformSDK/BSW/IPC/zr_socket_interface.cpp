// A network interface's addresses and state.
#include "BSW/IPC/zr_socket_interface.h"

#include <cstring>

#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/IPC/zr_socket_mac.h"
#include "BSW/Log/Log.h"

namespace SocketInternal {

bool CopyFaceName(const ZR_S8 *face, char (&name)[IFNAMSIZ]) {
    const std::size_t length = face ? strnlen(Text(face), IFNAMSIZ) : 0;
    if (length == 0 || length == IFNAMSIZ)
        return false;
    std::memcpy(name, face, length + 1);
    return true;
}

int AskSystem(unsigned long code, void *request) {
    const int any = socket(AF_INET, SOCK_DGRAM, 0);
    if (any < 0)
        return -1;
    const int result = ioctl(any, code, request);
    const int error = errno;
    close(any);
    errno = error;
    return result;
}

bool AskInterface(const ZR_S8 *face, unsigned long code, const char *step, ifreq &request) {
    if (!CopyFaceName(face, request.ifr_name)) {
        LOG_ERR("bad parameters!");
        return false;
    }
    if (AskSystem(code, &request) < 0) {
        LOG_ERR("%s failure, errno = %d!", step, errno);
        return false;
    }
    return true;
}

bool ReadMac(const ZR_S8 *face, ZR_U8 *mac) {
    ifreq request = {};
    if (!AskInterface(face, SIOCGIFHWADDR, "SIOCGIFHWADDR", request))
        return false;
    const auto kind = request.ifr_hwaddr.sa_family;
    if (kind != ARPHRD_ETHER && kind != ARPHRD_LOOPBACK) {
        LOG_ERR("no Ethernet interface, kind %d!", kind);
        return false;
    }
    std::memcpy(mac, request.ifr_hwaddr.sa_data, 6);
    return true;
}

} // namespace SocketInternal

using namespace SocketInternal;

namespace {

ZR_S32 SetIp(const ZR_S8 *face, unsigned long code, const char *step, const ZR_S8 *ip) {
    sockaddr_in address;
    if (!MakeIpAddress(ip, 0, address)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    ifreq request = {};
    std::memcpy(&request.ifr_addr, &address, sizeof(address));
    return AskInterface(face, code, step, request) ? 0 : -1;
}

ZR_S32 GetIp(const ZR_S8 *face, unsigned long code, const char *step, ZR_S8 *ip, ZR_S32 size) {
    if (!ip || size <= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    ifreq request = {};
    if (!AskInterface(face, code, step, request))
        return -1;
    sockaddr_in address;
    std::memcpy(&address, &request.ifr_addr, sizeof(address));
    return PutIp(address.sin_addr, ip, size) ? 0 : -1;
}

} // namespace

ZR_S32 zr_set_localipaddr(const ZR_S8 *szFace, const ZR_S8 *szIp) {
    return SetIp(szFace, SIOCSIFADDR, "SIOCSIFADDR", szIp);
}

ZR_S32 zr_get_localipaddr(const ZR_S8 *szFace, ZR_S8 *szIp, ZR_S32 nIpNum) {
    return GetIp(szFace, SIOCGIFADDR, "SIOCGIFADDR", szIp, nIpNum);
}

ZR_S32 zr_set_localnetmask(const ZR_S8 *szFace, const ZR_S8 *szMask) {
    return SetIp(szFace, SIOCSIFNETMASK, "SIOCSIFNETMASK", szMask);
}

ZR_S32 zr_get_localnetmask(const ZR_S8 *szFace, ZR_S8 *szMask, ZR_S32 nMaskNum) {
    return GetIp(szFace, SIOCGIFNETMASK, "SIOCGIFNETMASK", szMask, nMaskNum);
}

ZR_S32 zr_set_localmacaddr(const ZR_S8 *szFace, const ZR_S8 *szMac) {
    ZR_U8 mac[6];
    if (zr_trans_macstr2bin(szMac, mac) < 0)
        return -1;
    ifreq request = {};
    request.ifr_hwaddr.sa_family = ARPHRD_ETHER;
    std::memcpy(request.ifr_hwaddr.sa_data, mac, sizeof(mac));
    return AskInterface(szFace, SIOCSIFHWADDR, "SIOCSIFHWADDR", request) ? 0 : -1;
}

ZR_S32 zr_get_localmacaddr(const ZR_S8 *szFace, ZR_S8 *szMac, ZR_S32 nMacNum, ZR_U8 u8Split) {
    ZR_U8 mac[6];
    return ReadMac(szFace, mac) ? zr_trans_macbin2str(szMac, nMacNum, mac, u8Split) : -1;
}

ZR_S32 zr_get_linkstatus(const ZR_S8 *szFace, ZR_S32 *pStatus) {
    if (!pStatus) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    ifreq request = {};
    if (!AskInterface(szFace, SIOCGIFFLAGS, "SIOCGIFFLAGS", request))
        return -1;
    *pStatus = (request.ifr_flags & IFF_UP) != 0 && (request.ifr_flags & IFF_RUNNING) != 0 ? 1 : 0;
    return 0;
}
