// Socket library: IPv4 datagrams. zr_socket.h tells what holds for every function.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Receives one datagram into `szBuf` of `nBufNum` bytes, at most `nRecvNum` (1 to `nBufNum`)
// of its bytes; what is beyond is lost. `szDst` (of `nDstNum` bytes) and `pPort` get the
// sender's address and port. Blocks until there is one; on a socket in non-blocking mode none
// is a failure. Bytes received (0 for an empty datagram), or -1; a datagram whose sender's
// address does not fit is lost.
ZR_S32 zr_udp_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S8 *szDst, ZR_S32 nDstNum, ZR_U16 *pPort,
                   ZR_S32 nRecvNum);

// Sends one datagram of `nBufNum` bytes to an IPv4 address and port; blocks while the socket's
// send buffer is full (a failure in non-blocking mode). `nBufNum`, or -1.
ZR_S32 zr_udp_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum, const ZR_S8 *szDst, ZR_U16 u16Port);
}
