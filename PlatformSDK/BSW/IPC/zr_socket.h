// Socket library: creation by kind and Unix-domain datagrams.
//
// Free functions over the system's sockets, callable from any thread; two threads may
// send and receive on one socket at a time. Failures are -1 after an error line in the
// log, unless said otherwise. Paths are terminated texts.
#pragma once

#include "common/Types.h"

typedef enum _SOCKET_TYPE : ZR_S32 {
    EM_TCP_SOCK = 0,       // IPv4 stream
    EM_UDP_SOCK = 1,       // IPv4 datagram
    EM_TCP_LOCAL_SOCK = 2, // Unix-domain stream
    EM_UDP_LOCAL_SOCK = 3, // Unix-domain datagram
    EM_SOCK_TYPE_UNKNOWN = 4,
} SOCKET_TYPE_E;

typedef enum _SELECT_TYPE : ZR_S32 {
    EM_SELECT_READ = 1,
    EM_SELECT_WRITE = 2,
    EM_SELECT_EXCEPT = 4,
    EM_SELECT_TYPE_UNKNOWN = 5,
} SELECT_TYPE_E;

typedef enum _SA_FAMILY : ZR_S32 {
    EM_SA_INET = 0,
    EM_SA_INET6 = 1,
    EM_SA_UNIX = 2,
} SA_FAMILY_E;

// Ethernet header as on the wire.
typedef struct _RAW_ETHHDR_S {
    ZR_U8 u8DstMac[6];
    ZR_U8 u8SrcMac[6];
    ZR_U16 u16EthType;
} RAW_ETHHDR_S;
static_assert(sizeof(RAW_ETHHDR_S) == 14);

typedef struct _RAW_SOCKETINFO_S {
    int fd;
    ZR_S32 s32InterfaceIdx;
    ZR_U8 u8Interface[32]; // interface name
    RAW_ETHHDR_S stEthHdr; // put in front of each frame sent
} RAW_SOCKINFO_S;

extern "C" {

// A Unix-domain datagram socket that blocks. With `bRecv` it is bound to `svrPath`, from
// which any file is removed first; without, it can only send. A path of up to 108
// characters is used whole, a longer one is cut to its first 107. The socket, or -1.
ZR_S32 zr_create_local_udpsvr(ZR_S8 *svrPath, bool bRecv);

// Sends one datagram of `u32Len` bytes to the socket bound at `pu8SvrPath` (lengths as
// above); blocks while that socket's queue is full. `u32Len`, or -1; null data or a null
// path is -1 without a message.
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
