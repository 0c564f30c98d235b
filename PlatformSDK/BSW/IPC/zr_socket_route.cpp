// The IPv4 routing table.
#include "BSW/IPC/zr_socket_route.h"

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <net/route.h>
#include <sys/ioctl.h>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using namespace SocketInternal;

namespace {

// What names a route.
struct RouteName {
    char face[IFNAMSIZ];
    in_addr destination;
    in_addr mask;

    bool Parse(const ZR_S8 *faceText, const ZR_S8 *destinationText, const ZR_S8 *maskText) {
        return CopyFaceName(faceText, face) && ParseIp(destinationText, destination) && ParseIp(maskText, mask);
    }
};

void PutSockaddr(const in_addr &ip, sockaddr &place) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr = ip;
    std::memcpy(&place, &address, sizeof(address));
}

// `name` is kept by reference.
rtentry MakeEntry(RouteName &name) {
    rtentry entry = {};
    entry.rt_dev = name.face;
    PutSockaddr(name.destination, entry.rt_dst);
    PutSockaddr(name.mask, entry.rt_genmask);
    entry.rt_flags = RTF_UP;
    return entry;
}

// One line of the system's table; addresses as they are in memory.
struct TableLine {
    std::string face;
    in_addr_t destination = 0, gateway = 0, mask = 0;
    unsigned flags = 0;

    // False for what is no line of the table, such as its heading.
    bool Parse(const std::string &line) {
        std::istringstream fields(line);
        std::string references, uses, metric;
        fields >> face >> std::hex >> destination >> gateway >> flags >> references >> uses >> metric >> mask;
        return !fields.fail();
    }

    bool Is(const RouteName &name) const {
        return face == name.face && destination == name.destination.s_addr && mask == name.mask.s_addr;
    }

    bool HasGateway() const { return (flags & RTF_UP) != 0 && (flags & RTF_GATEWAY) != 0; }
};

// False after a line in the log.
bool FindGateway(const RouteName &name, in_addr &gateway) {
    std::ifstream table("/proc/net/route");
    if (!table) {
        LOG_ERR("open /proc/net/route failure, errno = %d!", errno);
        return false;
    }
    for (std::string text; std::getline(table, text);) {
        TableLine line;
        if (line.Parse(text) && line.Is(name) && line.HasGateway()) {
            gateway.s_addr = line.gateway;
            return true;
        }
    }
    LOG_ERR("no such route!");
    return false;
}

} // namespace

ZR_S32 zr_set_localgatewayip(const ZR_S8 *szFace, const ZR_S8 *szDstIp, const ZR_S8 *szDstNetMask,
                             const ZR_S8 *szGatewayip) {
    RouteName name;
    in_addr gateway;
    if (!name.Parse(szFace, szDstIp, szDstNetMask) || !ParseIp(szGatewayip, gateway)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    rtentry entry = MakeEntry(name);
    // Without a gateway, so that it goes whatever its gateway was.
    if (AskSystem(SIOCDELRT, &entry) < 0 && errno != ESRCH) {
        LOG_ERR("SIOCDELRT failure, errno = %d!", errno);
        return -1;
    }
    PutSockaddr(gateway, entry.rt_gateway);
    entry.rt_flags |= RTF_GATEWAY;
    if (AskSystem(SIOCADDRT, &entry) < 0) {
        LOG_ERR("SIOCADDRT failure, errno = %d!", errno);
        return -1;
    }
    return 0;
}

ZR_S32 zr_get_localgatewayip(const ZR_S8 *szFace, const ZR_S8 *szDstIp, const ZR_S8 *szDstNetMask, ZR_S8 *szGatewayip,
                             ZR_S32 nGwNum) {
    RouteName name;
    if (!name.Parse(szFace, szDstIp, szDstNetMask) || !szGatewayip || nGwNum <= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    in_addr gateway;
    return FindGateway(name, gateway) && PutIp(gateway, szGatewayip, nGwNum) ? 0 : -1;
}
