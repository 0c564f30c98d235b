// Socket library: free functions over the system's sockets. This is the header to include;
// the topics are in headers of their own, below. Here: creation by kind and Unix-domain
// datagrams.
//
// What holds for every function, unless said otherwise:
// - Any thread may call it; two threads may send and receive on one socket at a time.
// - A failure is -1 after an error line in the log that names the step; errno then tells
//   the system's reason where it was a system call that failed. Success is 0 or a count.
// - Null pointers, sizes of 0 or less, texts that do not parse and buffers too small for
//   the answer are failures. A failure writes to no result, except where data was received
//   before it; no result is written beyond the size given with it.
// - `sz` arguments are texts with a terminator (ZR_S8) or, named szBuf, plain bytes; the
//   size of a result text counts its terminator. Nothing passed in is kept, nothing handed
//   out has to be freed but sockets (zr_close, zr_socket_raw_close).
// - IPv4 addresses are texts of four decimal numbers ("127.0.0.1", never a host name); 16
//   bytes hold any. Ports are in the machine's byte order.
// - Times are milliseconds; a negative time-out waits without end.
// - A call that a signal interrupts goes on; time-outs still count from the beginning.
// - Sending to a peer that has gone is a failure, never SIGPIPE.
#pragma once

#include "BSW/IPC/zr_socket_address.h"
#include "BSW/IPC/zr_socket_connect.h"
#include "BSW/IPC/zr_socket_interface.h"
#include "BSW/IPC/zr_socket_local.h"
#include "BSW/IPC/zr_socket_mac.h"
#include "BSW/IPC/zr_socket_option.h"
#include "BSW/IPC/zr_socket_raw.h"
#include "BSW/IPC/zr_socket_route.h"
#include "BSW/IPC/zr_socket_tcp.h"
#include "BSW/IPC/zr_socket_types.h"
#include "BSW/IPC/zr_socket_udp.h"

extern "C" {

// A Unix-domain datagram socket that blocks. With `bRecv` it is bound to `svrPath`, from
// which any file is removed first; without, it can only send. A path of up to 108
// characters is used whole, a longer one is cut to its first 107. The socket, or -1.
ZR_S32 zr_create_local_udpsvr(ZR_S8 *svrPath, bool bRecv);

// Sends one datagram of `u32Len` bytes to the socket bound at `pu8SvrPath` (lengths as
// above); blocks while that socket's queue is full; an interrupting signal is a failure then.
// `u32Len`, or -1; null data is -1 without a message.
ZR_S32 zr_local_udp_send(ZR_S32 handle, ZR_U8 *pu8SvrPath, ZR_U8 *pu8Data, ZR_U32 u32Len);

// Receives one datagram into `pu8Data`; what is beyond `u32Len` bytes is lost. Blocks
// until there is one; an interrupting signal is a failure like any other. With a path
// buffer (not null, `u32SvrLen` not 0) the sender's path is stored there in the manner of
// strncpy: zero-filled behind the path, without a terminator when the path takes up all
// of it; empty for an unbound sender. Bytes received (0 for an empty datagram), or -1.
ZR_S32 zr_local_udp_recv(ZR_S32 handle, ZR_U8 *pu8SvrPath, ZR_U32 u32SvrLen, ZR_U8 *pu8Data, ZR_U32 u32Len);

// A socket of the given kind, or -1.
ZR_S32 zr_socket(SOCKET_TYPE_E emSockType);

// Closes a socket. 0, or -1; a handle of 0 or less is -1 without a message and is not
// closed.
ZR_S32 zr_close(ZR_S32 handle);
}
