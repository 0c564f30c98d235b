// The other end of a datagram socket, made of raw system calls only.
#pragma once

#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// `size` bytes that depend on `seed` and on their place.
Bytes Pattern(std::size_t size, unsigned seed);

// An unconnected datagram socket; with a path, bound to it (any file there is removed).
int RawSocket(const std::string &path = {});

// Sends `datagram` from `socket` to `path`. False when not all of it went out.
bool RawSend(int socket, const std::string &path, const Bytes &datagram);

// Waits up to 20 s for a datagram. False when none came.
bool HasDatagram(int socket);

// One datagram, waited for as above; a single byte 'T' when none came.
Bytes RawReceive(int socket);

// Ends the process without running anything: the threads of a process that was forked or
// that leaves objects behind on purpose are no leak to report.
[[noreturn]] void ExitAtOnce(int status);
