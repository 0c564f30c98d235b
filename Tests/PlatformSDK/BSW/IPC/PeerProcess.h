// The other end of a datagram socket in a second process: the program ipc_peer.
#pragma once

#include <string>
#include <vector>

#include "Support/ChildProcess.h"

// One datagram of the exchange: Pattern(size, seed).
struct PeerDatagram {
    unsigned size;
    unsigned seed;
};

using PeerDatagrams = std::vector<PeerDatagram>;

// `count` datagrams of `size` bytes, each with its number for a seed.
PeerDatagrams SeededDatagrams(unsigned count, unsigned size);

// One datagram of each size, which is its seed as well.
PeerDatagrams DatagramsOfSizes(const std::vector<unsigned> &sizes);

class PeerProcess {
  public:
    // Sends the datagrams to `path`.
    static PeerProcess Sending(const std::string &path, const PeerDatagrams &datagrams);

    // Binds `path`, where nothing is yet, and receives the datagrams; returns when it is bound.
    static PeerProcess Receiving(const std::string &path, const PeerDatagrams &datagrams);

    // The same, and sends each to `backTo` with one more byte, 0x55.
    static PeerProcess Echoing(const std::string &path, const std::string &backTo, const PeerDatagrams &datagrams);

    // Its exit status: 0 when everything was as it should be, 1 for a wrong or missing
    // datagram, 2 when it could not send; -1 when it had to be killed.
    int Wait();

  private:
    PeerProcess(const std::string &role, const std::string &path, const std::string &backTo,
                const PeerDatagrams &datagrams);

    ChildProcess m_process;
};
