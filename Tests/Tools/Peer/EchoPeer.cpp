// A peer process for the tests, built as C++17: binds its first argument and sends every
// message that carries audio back to its second, with itself as the sender. Runs until killed.
#include "Peer/ZRPeer.h"

static_assert(__cplusplus < 202002L, "shows that the header needs no more than C++17");

int main(int argc, char **argv) {
    zrpeer::Socket socket;
    if (argc != 3 || socket.Bind(argv[1]) < 0)
        return 1;
    stModIpcMsg msg;
    zrpeer::AudioBlock block;
    for (;;) {
        const int size = socket.Receive(msg, 1000);
        if (size >= 0 && zrpeer::Check(msg, static_cast<std::size_t>(size)) == zrpeer::Fault::None &&
            zrpeer::GetAudio(msg, block))
            socket.Send(zrpeer::AudioMessage(block), argv[2], 1000);
    }
}
