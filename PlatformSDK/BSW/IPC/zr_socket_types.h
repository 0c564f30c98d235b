// Socket library: kinds of sockets, of readiness and of addresses; the frame header.
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
