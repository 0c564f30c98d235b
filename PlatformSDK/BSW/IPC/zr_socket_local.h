// Socket library: Unix-domain streams. zr_socket.h tells what holds for every function.
//
// A connection: the server is made here, then zr_listen and zr_accept; the client comes
// from zr_socket(EM_TCP_LOCAL_SOCK). Paths have the lengths of the Unix-domain datagrams:
// up to 108 characters are used whole, a longer path is cut to its first 107.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// A Unix-domain stream socket bound to `svrPath`, from which any file is removed first. It
// does not listen yet. The socket, or -1; the file stays when the socket is closed.
ZR_S32 zr_create_local_tcpsvr(const ZR_S8 *svrPath);

// Connects to the server at `pu8SvrPath`; blocks while the server's backlog is full, except
// on a socket in non-blocking mode, where that is a failure. 0, or -1.
ZR_S32 zr_local_tcp_connect(ZR_S32 handle, const ZR_U8 *pu8SvrPath);

// Sends all `u32Len` bytes; blocks until the last is on its way, whatever the socket's mode.
// `u32Len`, or -1: then some bytes may have gone out.
ZR_S32 zr_local_tcp_send(ZR_S32 handle, const ZR_U8 *pu8Data, ZR_U32 u32Len);

// Receives what is there, at most `u32Len` bytes; blocks until there is something, whatever
// the socket's mode. Bytes received, 0 when the peer has closed, or -1.
ZR_S32 zr_local_tcp_recv(ZR_S32 handle, ZR_U8 *pu8Data, ZR_U32 u32Len);
}
