// Socket library: MAC addresses as text. zr_socket.h tells what holds for every function.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Writes the 6 bytes at `pu8Mac` into `szMac` of `nBuffLen` bytes: two lower-case hexadecimal
// digits each with `splitchar` between them, 18 bytes with the terminator. A separator of 0
// stands for none (13 bytes); a hexadecimal digit is refused. 0, or -1.
ZR_S32 zr_trans_macbin2str(ZR_S8 *szMac, ZR_S32 nBuffLen, const ZR_U8 *pu8Mac, ZR_U8 splitchar);

// Reads a text as written above, in either case, into the 6 bytes at `pu8Mac`. The separator
// may be any one character but a hexadecimal digit, the same throughout, or none. 0, or -1.
ZR_S32 zr_trans_macstr2bin(const ZR_S8 *szMac, ZR_U8 *pu8Mac);
}
