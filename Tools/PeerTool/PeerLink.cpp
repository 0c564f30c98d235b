// See PeerLink.h.
#include "PeerTool/PeerLink.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "PeerTool/Stop.h"
#include "Sound/BlockPacer.h"

namespace {
constexpr int RECEIVE_WAIT_MS = 100;
constexpr int SEND_WAIT_MS = 1000;
} // namespace

int zr_fail(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::fputs("zrpeer: ", stderr);
    std::vfprintf(stderr, format, arguments);
    std::fputc('\n', stderr);
    va_end(arguments);
    return 1;
}

bool PeerLink::BindReceiver() {
    const int result = m_socket.Bind(zrpeer::AUDIO_FROM_SERVICE);
    if (result == -EADDRINUSE)
        zr_fail("another peer is using %s", zrpeer::AUDIO_FROM_SERVICE);
    else if (result < 0)
        zr_fail("cannot bind %s: %s", zrpeer::AUDIO_FROM_SERVICE, std::strerror(-result));
    return result == 0;
}

bool PeerLink::OpenSender() {
    const int result = m_socket.Open();
    if (result < 0)
        zr_fail("cannot open a socket: %s", std::strerror(-result));
    return result == 0;
}

bool PeerLink::Receive(zrpeer::AudioBlock &block) {
    stModIpcMsg msg;
    const int size = m_socket.Receive(msg, RECEIVE_WAIT_MS);
    if (size < 0)
        return false;
    const bool isAudio =
        zrpeer::Check(msg, static_cast<std::size_t>(size)) == zrpeer::Fault::None && zrpeer::GetAudio(msg, block);
    ++(isAudio ? m_received : m_wrong);
    return isAudio;
}

bool PeerLink::Send(const stModIpcMsg &msg, const char *path) {
    const int result = m_socket.Send(msg, path, SEND_WAIT_MS);
    if (result == 0)
        ++m_sent;
    else if (result == -EAGAIN || result == -EINTR)
        ++m_notTaken;
    else if (result == -ENOENT || result == -ECONNREFUSED)
        zr_fail("no service at %s", path);
    else
        zr_fail("cannot send to %s: %s", path, std::strerror(-result));
    return result == 0 || result == -EAGAIN || result == -EINTR;
}

int zr_receive_blocks(PeerLink &link, double seconds, const BlockHandler &handler) {
    if (!link.BindReceiver())
        return 1;
    RunTime time(seconds);
    zrpeer::AudioBlock block;
    while (!time.IsOver() && !(handler.isDone && handler.isDone())) {
        if (link.Receive(block)) {
            const std::int64_t arrivalNs = MonotonicNs();
            time.Begin();
            if (!handler.onBlock(block, arrivalNs))
                return 1;
        }
        if (handler.onRound)
            handler.onRound();
    }
    if (seconds > 0 && !time.HasBegun() && !zr_stop_requested())
        return zr_fail("no audio came to %s within %g s; is the service running?", zrpeer::AUDIO_FROM_SERVICE, seconds);
    return 0;
}
