// Socket library: a network interface's addresses and state. zr_socket.h tells what holds
// for every function.
//
// `szFace` is the interface's name, 1 to 15 characters. All return 0 or -1, none blocks;
// setting asks for the right to administer the network.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Sets the IPv4 address; the system gives the netmask of the address's class with it.
ZR_S32 zr_set_localipaddr(const ZR_S8 *szFace, const ZR_S8 *szIp);

// Reads the IPv4 address into `szIp` of `nIpNum` bytes; an interface without one is a failure.
ZR_S32 zr_get_localipaddr(const ZR_S8 *szFace, ZR_S8 *szIp, ZR_S32 nIpNum);

// Sets the netmask of an interface that has an address, as text ("255.255.255.0").
ZR_S32 zr_set_localnetmask(const ZR_S8 *szFace, const ZR_S8 *szMask);

// Reads the netmask into `szMask` of `nMaskNum` bytes.
ZR_S32 zr_get_localnetmask(const ZR_S8 *szFace, ZR_S8 *szMask, ZR_S32 nMaskNum);

// Sets the hardware address from text, as zr_trans_macstr2bin reads it. Many drivers ask for
// the interface to be down.
ZR_S32 zr_set_localmacaddr(const ZR_S8 *szFace, const ZR_S8 *szMac);

// Reads the hardware address into `szMac` of `nMacNum` bytes with the separator `u8Split`, as
// zr_trans_macbin2str writes it. Interfaces that are not Ethernet are a failure; the loopback
// interface has an address of zeros.
ZR_S32 zr_get_localmacaddr(const ZR_S8 *szFace, ZR_S8 *szMac, ZR_S32 nMacNum, ZR_U8 u8Split);

// `pStatus` gets 1 when the interface is up and running (switched on and its link there), else 0.
ZR_S32 zr_get_linkstatus(const ZR_S8 *szFace, ZR_S32 *pStatus);
}
