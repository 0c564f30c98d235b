// ipc_peer send PATH - SIZE SEED...
// ipc_peer receive PATH BACK_TO|- SIZE SEED...
//
// The second process of the socket tests (PeerProcess.h); the words behind the paths are
// the datagrams, in order.
#include <cstdlib>
#include <string>
#include <vector>

#include "LocalSockets.h"

namespace {

enum Exit { RIGHT, WRONG_DATAGRAM, NOT_SENT, WRONG_USE };

std::vector<Bytes> DatagramsOf(int words, char **word) {
    std::vector<Bytes> datagrams;
    for (int i = 0; i + 1 < words; i += 2)
        datagrams.push_back(
            Pattern(std::strtoul(word[i], nullptr, 10), static_cast<unsigned>(std::strtoul(word[i + 1], nullptr, 10))));
    return datagrams;
}

Exit SendAll(const std::string &path, const std::vector<Bytes> &datagrams) {
    const int socket = RawSocket();
    for (const Bytes &datagram : datagrams)
        if (!RawSend(socket, path, datagram))
            return NOT_SENT;
    return RIGHT;
}

Exit ReceiveAll(const std::string &path, const std::string &backTo, const std::vector<Bytes> &datagrams) {
    const int socket = RawSocket(path);
    for (const Bytes &expected : datagrams) {
        Bytes datagram = RawReceive(socket);
        if (datagram != expected)
            return WRONG_DATAGRAM;
        datagram.push_back(0x55);
        if (backTo != "-" && !RawSend(socket, backTo, datagram))
            return NOT_SENT;
    }
    return RIGHT;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 4)
        return WRONG_USE;
    const std::vector<Bytes> datagrams = DatagramsOf(argc - 4, argv + 4);
    return std::string(argv[1]) == "send" ? SendAll(argv[2], datagrams) : ReceiveAll(argv[2], argv[3], datagrams);
}
