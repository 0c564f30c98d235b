// A peer that plays back what the card captures, until it is killed:
//   c++ -std=c++17 echo-peer.cpp $(pkg-config --cflags zrpeer) -o echo-peer
// Its socket must be open to the service: sg audio -c 'umask 007; ./echo-peer'
#include <cstdio>
#include <cstring>

#include <ZRPeer.h>

int main() {
    zrpeer::Socket socket;
    if (const int result = socket.Bind(zrpeer::AUDIO_FROM_SERVICE); result < 0) {
        std::fprintf(stderr, "echo-peer: %s: %s\n", zrpeer::AUDIO_FROM_SERVICE, std::strerror(-result));
        return 1;
    }
    stModIpcMsg msg;
    zrpeer::AudioBlock block; // block[channel - 1][frame]
    for (;;) {
        const int size = socket.Receive(msg, 1000);
        if (size >= 0 && zrpeer::Check(msg, static_cast<std::size_t>(size)) == zrpeer::Fault::None &&
            zrpeer::GetAudio(msg, block))
            socket.Send(zrpeer::AudioMessage(block), zrpeer::AUDIO_TO_SERVICE, 20);
    }
}
