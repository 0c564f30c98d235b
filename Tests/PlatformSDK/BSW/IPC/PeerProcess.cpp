#include "PeerProcess.h"

#include <stdexcept>

#include <unistd.h>

#include "Support/WaitUntil.h"

namespace {

std::vector<std::string> CommandLine(std::vector<std::string> words, const PeerDatagrams &datagrams) {
    words.insert(words.begin(), IPC_PEER);
    for (const PeerDatagram &datagram : datagrams) {
        words.push_back(std::to_string(datagram.size));
        words.push_back(std::to_string(datagram.seed));
    }
    return words;
}

void WaitUntilBound(const std::string &path) {
    if (!WaitUntil([&] { return access(path.c_str(), F_OK) == 0; }, 20000))
        throw std::runtime_error("the peer process has not bound " + path);
}

} // namespace

PeerDatagrams SeededDatagrams(unsigned count, unsigned size) {
    PeerDatagrams datagrams;
    for (unsigned i = 0; i < count; ++i)
        datagrams.push_back({size, i});
    return datagrams;
}

PeerDatagrams DatagramsOfSizes(const std::vector<unsigned> &sizes) {
    PeerDatagrams datagrams;
    for (const unsigned size : sizes)
        datagrams.push_back({size, size});
    return datagrams;
}

PeerProcess::PeerProcess(const std::string &role, const std::string &path, const std::string &backTo,
                         const PeerDatagrams &datagrams)
    : m_process("ipc_peer", CommandLine({role, path, backTo}, datagrams)) {
    if (role == "receive")
        WaitUntilBound(path);
}

PeerProcess PeerProcess::Sending(const std::string &path, const PeerDatagrams &datagrams) {
    return PeerProcess("send", path, "-", datagrams);
}

PeerProcess PeerProcess::Receiving(const std::string &path, const PeerDatagrams &datagrams) {
    return PeerProcess("receive", path, "-", datagrams);
}

PeerProcess PeerProcess::Echoing(const std::string &path, const std::string &backTo, const PeerDatagrams &datagrams) {
    return PeerProcess("receive", path, backTo, datagrams);
}

int PeerProcess::Wait() {
    const ExitStatus end = m_process.Wait(30000);
    return end.exited && !end.timedOut ? end.code : -1;
}
