// Socket library: options of a socket. zr_socket.h tells what holds for every function.
//
// All return 0 or -1, and none blocks. `nOnoff` switches on with any value but 0.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Whether datagrams may go to broadcast addresses (SO_BROADCAST).
ZR_S32 zr_set_sockbroadcast(ZR_S32 handle, ZR_S32 nOnoff);

// Whether idle connections are probed (SO_KEEPALIVE).
ZR_S32 zr_set_sockkeepalive(ZR_S32 handle, ZR_S32 nOnoff);

// Whether an address in use a moment ago may be bound again (SO_REUSEADDR).
ZR_S32 zr_set_sockreuseaddr(ZR_S32 handle, ZR_S32 nOnoff);

// Whether small segments go out at once (TCP_NODELAY); TCP sockets only.
ZR_S32 zr_set_socknodelay(ZR_S32 handle, ZR_S32 nOnoff);

// Size of the send or receive buffer in bytes, 1 or more (SO_SNDBUF, SO_RCVBUF). The system
// doubles it for its own needs and keeps it within its limits.
ZR_S32 zr_set_socksndbuf(ZR_S32 handle, ZR_S32 buf);
ZR_S32 zr_set_sockrcvbuf(ZR_S32 handle, ZR_S32 buf);

// Whether closing waits for unsent data, up to `nSec` seconds, 0 or more (SO_LINGER). On with
// 0 seconds drops unsent data and resets the connection.
ZR_S32 zr_set_socklinger(ZR_S32 handle, ZR_S32 nOnoff, ZR_S32 nSec);

// Sets or clears non-blocking mode (O_NONBLOCK); the descriptor's other flags stay.
ZR_S32 zr_set_socknoblock(ZR_S32 handle, ZR_S32 nOnoff);

// Lets a socket send and receive through interface `szFace` only (SO_BINDTODEVICE).
ZR_S32 zr_bind2device(ZR_S32 handle, const ZR_S8 *szFace);

// Joins or leaves IPv4 multicast group `szMultiaddr` on the interface whose local address is
// `szIp` ("0.0.0.0": the system chooses; IP_ADD_MEMBERSHIP, IP_DROP_MEMBERSHIP). Joining
// twice and leaving a group not joined are failures.
ZR_S32 zr_set_sockaddmembership(ZR_S32 handle, const ZR_S8 *szMultiaddr, const ZR_S8 *szIp);
ZR_S32 zr_set_sockdropmembership(ZR_S32 handle, const ZR_S8 *szMultiaddr, const ZR_S8 *szIp);

// Whether multicast sent comes back to this machine. Despite its name `nOnoff` is the value
// of IP_MULTICAST_LOOP itself: 0 keeps datagrams from coming back.
ZR_S32 zr_set_sockmulticast_noLoop(ZR_S32 handle, ZR_S32 nOnoff);
}
