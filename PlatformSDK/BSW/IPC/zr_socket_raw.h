// Socket library: Ethernet frames. zr_socket.h tells what holds for every function.
//
// Raw sockets ask for the right to them (CAP_NET_RAW). The fields of a RAW_ETHHDR_S are as on
// the wire, the type in network byte order.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Makes a link-layer socket on interface `szFace` that receives frames of EtherType
// `u16EthType` (the machine's byte order, 0x0600 or more) which are addressed to the
// interface or to a group, and fills `pstSockInfo`: the socket, the interface and the header
// of frames to `szDstMac` (text, as zr_trans_macstr2bin reads it). 0, or -1. The socket is
// closed with zr_socket_raw_close.
ZR_S32 zr_socket_raw(ZR_U16 u16EthType, const ZR_S8 *szDstMac, const ZR_S8 *szFace, RAW_SOCKINFO_S *pstSockInfo);

// Sends one frame: the header of `pstSockInfo` and `u32Len` bytes of data, at most the
// interface's MTU. Blocks while the socket's send buffer is full. `u32Len`, or -1.
ZR_S32 zr_socket_raw_send(const RAW_SOCKINFO_S *pstSockInfo, const ZR_U8 *pu8Data, ZR_U32 u32Len);

// Waits up to `selectMsec` milliseconds for a frame; its header goes to `pstEthHdr`, its data
// to `szBuf`, of which `nBufNum` is the size; data beyond is lost. A short frame may come with
// the padding of the wire behind its data. Bytes of data, 0 when the time is up (or for a frame
// without data), or -1.
ZR_S32 zr_socket_raw_recv(ZR_S32 sock, ZR_S8 *szBuf, ZR_S32 nBufNum, ZR_S32 selectMsec, RAW_ETHHDR_S *pstEthHdr);

// Closes a raw socket. 0, or -1.
ZR_S32 zr_socket_raw_close(ZR_S32 handle);
}
