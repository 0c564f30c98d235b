// Socket library: the IPv4 routing table. zr_socket.h tells what holds for every function.
//
// A route is named by its interface (1 to 15 characters), destination and netmask; "0.0.0.0"
// for both is the default route.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Makes `szGatewayip` the gateway of a route: takes the route out of the table, if it is
// there, and puts it in anew. The destination must have no bits outside the netmask. 0, or
// -1; when it is the second step that fails (a gateway that is out of reach), the old route
// is gone. Asks for the right to administer the network. Does not block.
ZR_S32 zr_set_localgatewayip(const ZR_S8 *szFace, const ZR_S8 *szDstIp, const ZR_S8 *szDstNetMask,
                             const ZR_S8 *szGatewayip);

// Reads a route's gateway into `szGatewayip` of `nGwNum` bytes; the first one the table has
// for it. 0, or -1, also when there is no such route or it has no gateway.
ZR_S32 zr_get_localgatewayip(const ZR_S8 *szFace, const ZR_S8 *szDstIp, const ZR_S8 *szDstNetMask, ZR_S8 *szGatewayip,
                             ZR_S32 nGwNum);
}
