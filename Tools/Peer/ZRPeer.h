// Everything a peer process needs to talk to the service: build, check and take apart
// messages, reach the channel blocks of a payload, and the socket to send and receive
// them. Header-only, C++17, no exceptions; include paths App/Include and PlatformSDK/Include.
//
// A peer in a few lines:
//
//     zrpeer::Socket socket;
//     int result = socket.Bind(zrpeer::AUDIO_FROM_SERVICE);     // 0, or a negative errno
//     stModIpcMsg msg;
//     while (socket.Receive(msg, 1000) == int(sizeof msg)) {
//         zrpeer::AudioBlock block;
//         if (zrpeer::Check(msg) == zrpeer::Fault::None && zrpeer::GetAudio(msg, block))
//             socket.Send(zrpeer::AudioMessage(block), zrpeer::AUDIO_TO_SERVICE, 20);
//     }
//
// Receive promptly: the kernel holds only 11 datagrams for a socket by default, 22 ms of
// audio; behind them the service waits, and drops its oldest audio when its buffer is full.
// Messages to the service carry u8Describe 1, messages from the service carry 0.
#pragma once

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "AudioStreamIpcDef.h"

namespace zrpeer {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "messages are little-endian and used in place");

// ---- Figures and paths ----------------------------------------------------------------

constexpr int CHANNELS = 24;       // numbered 1 to 24, as on the card
constexpr int BLOCK_FRAMES = 32;   // frames (samples per channel) of one message
constexpr int SAMPLE_RATE = 16000; // Hz
constexpr int BLOCK_MICROSECONDS = 2000;
constexpr int BLOCKS_PER_SECOND = 500;

constexpr const char *AUDIO_FROM_SERVICE = "/tmp/AudioStream_Fpga_to_Arm"; // the peer binds it and receives
constexpr const char *AUDIO_TO_SERVICE = "/tmp/AudioStream_Arm_to_Fpga";   // the service's; audio messages only
constexpr const char *CONTROL_TO_SERVICE = "/tmp/CtrlStream_Arm_to_Fpga";  // the service's; control and debug

// 32 samples of one channel, and the 24 of them in a payload (planar): block[channel - 1][frame].
using ChannelBlock = std::array<std::int16_t, BLOCK_FRAMES>;
using AudioBlock = std::array<ChannelBlock, CHANNELS>;
static_assert(sizeof(AudioBlock) == IPC_PAYLOAD_BYTES, "a payload is 24 blocks of 32 samples");

// ---- Building messages ----------------------------------------------------------------

// Computes the check byte anew; call it after changing a header field.
inline void Seal(stModIpcMsg &msg) {
    msg.u8XOR8 = IpcMsgXor8(msg);
}

// A sealed message with a zeroed payload. `length` counts the payload bytes that mean something.
inline stModIpcMsg EmptyMessage(emIpcCmd command, std::size_t length, emIpcMod sender = EM_IPC_MODTYPE_AUDSTREAM) {
    stModIpcMsg msg;
    std::memset(&msg, 0, sizeof msg);
    msg.u8HDR[0] = IPC_HDR_0;
    msg.u8HDR[1] = IPC_HDR_1;
    msg.u8Cmd = static_cast<ZR_U8>(command);
    msg.u8Describe = static_cast<ZR_U8>(sender);
    msg.u16DataLen = static_cast<ZR_U16>(length);
    Seal(msg);
    return msg;
}

// One period of audio for AUDIO_TO_SERVICE.
inline stModIpcMsg AudioMessage(const AudioBlock &block, emIpcMod sender = EM_IPC_MODTYPE_AUDSTREAM) {
    stModIpcMsg msg = EmptyMessage(EM_IPC_MSGCMD_AUDIO, sizeof block, sender);
    std::memcpy(msg.pBuf, block.data(), sizeof block);
    return msg;
}

// A request for CONTROL_TO_SERVICE: `command` EM_STREAM_CTRL_OPEN or EM_STREAM_CTRL_CLOSE.
inline stModIpcMsg ControlMessage(ZR_U8 command, ZR_U8 channel) {
    const StreamCtrl control{command, channel};
    stModIpcMsg msg = EmptyMessage(EM_IPC_MSGCMD_CTRL, sizeof control);
    std::memcpy(msg.pBuf, &control, sizeof control);
    return msg;
}

// A debug request for CONTROL_TO_SERVICE; the service logs its number.
inline stModIpcMsg DebugMessage(ZR_U8 number) {
    const StreamDebug debug{number};
    stModIpcMsg msg = EmptyMessage(EM_IPC_MSGCMD_DEBUG, sizeof debug);
    std::memcpy(msg.pBuf, &debug, sizeof debug);
    return msg;
}

// ---- Checking and taking apart --------------------------------------------------------

// What is wrong with a message; the first failed test decides, in this order.
enum class Fault { None, Size, StartMark, Sender, CheckByte };

// Tests a message of `size` received bytes. A peer expects the service as the sender.
inline Fault Check(const stModIpcMsg &msg, std::size_t size = sizeof(stModIpcMsg),
                   emIpcMod sender = EM_IPC_MODTYPE_FPGA) {
    if (size != sizeof msg)
        return Fault::Size;
    if (msg.u8HDR[0] != IPC_HDR_0 || msg.u8HDR[1] != IPC_HDR_1)
        return Fault::StartMark;
    if (msg.u8Describe != static_cast<ZR_U8>(sender))
        return Fault::Sender;
    return msg.u8XOR8 == IpcMsgXor8(msg) ? Fault::None : Fault::CheckByte;
}

// The fault in words, for a log line.
inline const char *FaultText(Fault fault) {
    switch (fault) {
    case Fault::None:
        return "no fault";
    case Fault::Size:
        return "wrong size";
    case Fault::StartMark:
        return "wrong start mark";
    case Fault::Sender:
        return "wrong sender";
    case Fault::CheckByte:
        return "wrong check byte";
    }
    return "unknown fault";
}

// True for a message that carries a whole audio block. The service sends audio messages
// of length 0 when it had nothing to send: they are well formed and carry no audio.
inline bool HasAudio(const stModIpcMsg &msg) {
    return msg.u8Cmd == EM_IPC_MSGCMD_AUDIO && msg.u16DataLen == IPC_PAYLOAD_BYTES;
}

// Copies the audio out. False, and `block` untouched, when the message carries none.
inline bool GetAudio(const stModIpcMsg &msg, AudioBlock &block) {
    if (!HasAudio(msg))
        return false;
    std::memcpy(block.data(), msg.pBuf, sizeof block);
    return true;
}

// Copies a control request out. False when the message is none.
inline bool GetControl(const stModIpcMsg &msg, StreamCtrl &control) {
    if (msg.u8Cmd != EM_IPC_MSGCMD_CTRL)
        return false;
    std::memcpy(&control, msg.pBuf, sizeof control);
    return true;
}

// Copies a debug request out. False when the message is none.
inline bool GetDebug(const stModIpcMsg &msg, StreamDebug &debug) {
    if (msg.u8Cmd != EM_IPC_MSGCMD_DEBUG)
        return false;
    std::memcpy(&debug, msg.pBuf, sizeof debug);
    return true;
}

// ---- One channel of a message ---------------------------------------------------------
// Payloads lie at an odd offset, so samples are copied, never pointed at.

// Copies the block of channel 1 to 24 out. False for another channel.
inline bool GetChannel(const stModIpcMsg &msg, int channel, ChannelBlock &samples) {
    if (channel < 1 || channel > CHANNELS)
        return false;
    std::memcpy(samples.data(), msg.pBuf + std::size_t(channel - 1) * sizeof samples, sizeof samples);
    return true;
}

// Puts the block of channel 1 to 24 in; the check byte stays right. False for another channel.
inline bool SetChannel(stModIpcMsg &msg, int channel, const ChannelBlock &samples) {
    if (channel < 1 || channel > CHANNELS)
        return false;
    std::memcpy(msg.pBuf + std::size_t(channel - 1) * sizeof samples, samples.data(), sizeof samples);
    return true;
}

// ---- The socket -----------------------------------------------------------------------

// A Unix datagram socket that sends to paths and, once bound to one, receives there.
// Operations return 0 or a count, or a negative errno value. Open, Bind and Close belong to
// one thread; then one thread may send while another receives.
class Socket {
  public:
    Socket() = default;
    ~Socket() { Close(); }

    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    bool IsOpen() const { return m_fd >= 0; }

    // The descriptor to poll together with others, or -1.
    int Descriptor() const { return m_fd; }

    // Opens the socket for sending only. 0 or a negative errno.
    int Open() {
        Close();
        m_fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        return m_fd < 0 ? -errno : 0;
    }

    // Opens the socket and binds it to `path`. A socket file that no process reads any more
    // is replaced; one that is in use stays, the result is -EADDRINUSE. 0 or a negative errno.
    int Bind(const char *path) {
        sockaddr_un address;
        int result = _Address(path, address);
        if (result == 0)
            result = Open();
        if (result == 0)
            result = _RemoveStale(address);
        if (result == 0 && ::bind(m_fd, _SockAddr(address), sizeof address) < 0)
            result = -errno;
        if (result < 0) {
            Close();
            return result;
        }
        std::memcpy(m_path, address.sun_path, sizeof m_path);
        m_bound = ::stat(m_path, &m_file) == 0;
        return 0;
    }

    // Sends one whole message to the socket at `path` and waits at most `timeoutMs` while that
    // is full (0: not at all). 0 or a negative errno: -ENOENT or -ECONNREFUSED when nobody
    // is there, -EAGAIN when it stayed full, -EINTR after a signal.
    int Send(const stModIpcMsg &msg, const char *path, int timeoutMs) {
        return SendBytes(&msg, sizeof msg, path, timeoutMs);
    }

    // The same with any bytes, for testing what a receiver does with wrong datagrams.
    int SendBytes(const void *data, std::size_t size, const char *path, int timeoutMs) {
        sockaddr_un address;
        int result = _Address(path, address);
        if (result == 0)
            result = _BoundSend(timeoutMs);
        if (result < 0)
            return result;
        const int flags = MSG_NOSIGNAL | (timeoutMs > 0 ? 0 : MSG_DONTWAIT);
        return ::sendto(m_fd, data, size, flags, _SockAddr(address), sizeof address) < 0 ? -errno : 0;
    }

    // Waits at most `timeoutMs` (0: not at all) for a datagram and zeroes what it does not fill.
    // Returns its size in bytes, which is 1547 for a whole message and may be anything else (of
    // a longer one the first 1547 bytes are kept), or a negative errno: -EAGAIN when none
    // came, -EINTR after a signal.
    int Receive(stModIpcMsg &msg, int timeoutMs) {
        std::memset(&msg, 0, sizeof msg);
        if (m_fd < 0)
            return -EBADF;
        pollfd readable{m_fd, POLLIN, 0};
        const int ready = ::poll(&readable, 1, timeoutMs > 0 ? timeoutMs : 0);
        if (ready <= 0)
            return ready < 0 ? -errno : -EAGAIN;
        const ssize_t size = ::recv(m_fd, &msg, sizeof msg, MSG_DONTWAIT | MSG_TRUNC);
        return size < 0 ? -errno : static_cast<int>(size);
    }

    // Closes the socket and removes its file, unless another process has bound the path since.
    void Close() {
        struct stat file;
        if (m_bound && ::stat(m_path, &file) == 0 && file.st_ino == m_file.st_ino && file.st_dev == m_file.st_dev)
            ::unlink(m_path);
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        m_bound = false;
        m_sendTimeoutMs = 0;
    }

  private:
    static const sockaddr *_SockAddr(const sockaddr_un &address) {
        return reinterpret_cast<const sockaddr *>(&address);
    }

    static int _Address(const char *path, sockaddr_un &address) {
        std::memset(&address, 0, sizeof address);
        address.sun_family = AF_UNIX;
        const int length = std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
        return length < 0 || std::size_t(length) >= sizeof address.sun_path ? -ENAMETOOLONG : 0;
    }

    // A datagram socket that nobody reads any more refuses a connection; only that one goes.
    static int _RemoveStale(const sockaddr_un &address) {
        const int probe = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (probe < 0)
            return -errno;
        const int refusal = ::connect(probe, _SockAddr(address), sizeof address) < 0 ? errno : 0;
        ::close(probe);
        if (refusal == ENOENT)
            return 0;
        if (refusal != ECONNREFUSED)
            return -EADDRINUSE;
        struct stat file;
        if (::stat(address.sun_path, &file) == 0 && !S_ISSOCK(file.st_mode))
            return -EADDRINUSE;
        return ::unlink(address.sun_path) < 0 && errno != ENOENT ? -errno : 0;
    }

    // Polling cannot tell whether the receiving end is full, so the kernel's own bound is used.
    int _BoundSend(int timeoutMs) {
        if (m_fd < 0)
            return -EBADF;
        if (timeoutMs <= 0 || timeoutMs == m_sendTimeoutMs)
            return 0;
        const timeval bound{timeoutMs / 1000, timeoutMs % 1000 * 1000};
        if (::setsockopt(m_fd, SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound) < 0)
            return -errno;
        m_sendTimeoutMs = timeoutMs;
        return 0;
    }

    int m_fd = -1;
    bool m_bound = false;
    int m_sendTimeoutMs = 0;
    struct stat m_file {};
    char m_path[sizeof(sockaddr_un::sun_path)] = {};
};

} // namespace zrpeer
