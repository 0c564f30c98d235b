// Socket library: binding, listening, accepting and a socket's own address. zr_socket.h
// tells what holds for every function.
#pragma once

#include "BSW/IPC/zr_socket_types.h"

extern "C" {

// Binds to a local address; `family` says what `szHost` is, and has to be the socket's own:
// - EM_SA_INET: an IPv4 address, or null for any address; port 0 takes a free one.
// - EM_SA_INET6: an IPv6 address (not null; "::" for any), with the port as above.
// - EM_SA_UNIX: a path, cut to its first 107 characters when it has 108 or more. A file that
//   is there already is a failure and stays; `u16Port` is not used.
// 0, or -1.
ZR_S32 zr_bind(ZR_S32 handle, SA_FAMILY_E family, const ZR_S8 *szHost, ZR_U16 u16Port);

// Makes a bound stream socket accept connections; about `nBacklog` (0 or more) may wait to
// be accepted. 0, or -1.
ZR_S32 zr_listen(ZR_S32 handle, ZR_S32 nBacklog);

// Accepts one connection; blocks until there is one, on a socket in non-blocking mode none
// is a failure. `szDst` (of `nBufNum` bytes) and `puPort` get the peer's IPv4 address and
// port, or an empty text and 0 when the peer has no IPv4 address. The connection, to be
// closed by the caller, or -1; one whose address does not fit is closed.
ZR_S32 zr_accept(ZR_S32 handle, ZR_S8 *szDst, ZR_S32 nBufNum, ZR_U16 *puPort);

// The local IPv4 address and port of a socket ("0.0.0.0" and 0 while it has none). 0, or -1,
// also for a socket of another family.
ZR_S32 zr_get_sockname(ZR_S32 sock, ZR_S8 *szIp, ZR_S32 nIpNum, ZR_U16 *puPort);

// The same, the address alone.
ZR_S32 zr_get_sockipaddr(ZR_S32 handle, ZR_S8 *szIp, ZR_S32 nNum);
}
