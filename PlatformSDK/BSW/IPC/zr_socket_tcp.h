// Socket library: bytes over TCP. zr_socket.h tells what holds for every function.
//
// Receiving takes one portion: `nBufNum` is the size of `szBuf`, `nRecvNum` the most bytes
// wanted, 1 to `nBufNum`. The result is the bytes received, 0 when the peer has closed, -1.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Receives what is there without waiting, whatever the socket's mode. That there is nothing
// yet is a failure like any other, with errno EAGAIN.
ZR_S32 zr_tcp_noblock_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 nRecvNum);

// Receives what is there; blocks until there is something, whatever the socket's mode.
ZR_S32 zr_tcp_block_recv(ZR_S32 handle, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 nRecvNum);

// Sends as many of the `nBufNum` bytes as the socket takes at once, whatever its mode. As
// long as it takes none, pauses 20 ms and tries again. Bytes sent, at least 1 and possibly
// fewer than asked, or -1.
ZR_S32 zr_tcp_noblock_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum);

// The same until all `nBufNum` bytes are out. `nBufNum`, or -1: then some may have gone out.
ZR_S32 zr_tcp_noblock_send_ccufile(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum);

// Sends all `nBufNum` bytes; blocks until the last is on its way, whatever the socket's mode.
// `nBufNum`, or -1: then some may have gone out.
ZR_S32 zr_tcp_block_send(ZR_S32 handle, const ZR_S8 *szBuf, ZR_S32 nBufNum);
}
