// Socket library: waiting for readiness and IPv4 connections. zr_socket.h tells what holds
// for every function.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Waits up to `timeout` milliseconds until at least one of `len` sockets is ready for `type`,
// which is one of the three kinds. `flag`, an array of `len` like `sock`, gets 1 for a socket
// that is ready and 0 for one that is not. A peer that has closed makes a socket ready to
// read. Descriptors of any number will do. The number of ones, 0 when the time is up, or -1,
// also when one of the descriptors is not open.
ZR_S32 zr_select(ZR_S32 *sock, ZR_S32 len, SELECT_TYPE_E type, ZR_S32 timeout, ZR_S32 *flag);

// Connects to an IPv4 address and port and waits at most `nMiSec` milliseconds for it. The
// socket is in non-blocking mode meanwhile and gets back the mode it had. 0, or -1 (errno
// ETIMEDOUT when the time is up); after -1 the socket is only good for closing.
ZR_S32 zr_noblock_connect(ZR_S32 handle, const ZR_S8 *szDst, ZR_U16 u16Port, ZR_S32 nMiSec);

// The same, waiting as long as the system does, whatever the socket's mode. 0, or -1.
ZR_S32 zr_block_connect(ZR_S32 handle, const ZR_S8 *szDst, ZR_U16 u16Port);
}
